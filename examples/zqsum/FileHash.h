#ifndef ZQSUM_FILEHASH_H
#define ZQSUM_FILEHASH_H

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <openssl/evp.h>
#include <string>

/// A SHA-256.
typedef std::array<unsigned char, 32> Digest;

/// A file to hash and what became of it.
struct FileEntry
{
    enum EnumState : unsigned char
    {
        Waiting,  ///< Not hashed, or dropped.
        Done,     ///< The digest is valid.
        Failed,   ///< The error is valid.
        Skipped,  ///< No regular file any more, so none of ours.
    };

    std::string strPath;
    bool bFollow;  ///< Whether a link is hashed as what it leads to.
    EnumState state;
    int nError;
    Digest digest;
};

/// Hashes one file after the other with the same context and buffer. Threads: one at a time.
class FileHash
{
public:
    /// @param pMethod  SHA-256, fetched once for all; outlives this object
    explicit FileHash(const EVP_MD* pMethod);

    /// Hashes the file of @p entry and sets its state, digest and error.
    /// @param bytes  grows by what has been read, while it is being read
    void Run(FileEntry& entry, std::atomic<uint64_t>& bytes);

private:
    struct FreeContext
    {
        void operator()(EVP_MD_CTX* pContext) const
        {
            EVP_MD_CTX_free(pContext);
        }
    };

    int Read(int fd, uint64_t size, std::atomic<uint64_t>& bytes);

    const EVP_MD* const m_pMethod;
    const std::unique_ptr<EVP_MD_CTX, FreeContext> m_pContext;
    const std::unique_ptr<unsigned char[]> m_pBuffer;
};

#endif
