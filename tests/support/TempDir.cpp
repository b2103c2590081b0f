#include "TempDir.h"

#include <cstdlib>
#include <filesystem>

TempDir::TempDir() : m_strPath((std::filesystem::temp_directory_path() / "zq-test-XXXXXX").string()) {
    if (mkdtemp(m_strPath.data()) == nullptr) {
        std::abort();
    }
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(m_strPath, ignored);
}

std::string TempDir::Path(const std::string& name) const { return name.empty() ? m_strPath : m_strPath + "/" + name; }
