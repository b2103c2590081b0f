#ifndef ZQTESTS_PROCTEXT_H
#define ZQTESTS_PROCTEXT_H

#include "WorkDir.h"

#include <LinuxOSApi/ZQProcFile.h>
#include <fstream>
#include <sys/resource.h>

/// A file with a text that stands for one of `/proc`, opened.
class ProcText : public WorkDir, public ZQProcFile {
public:
    explicit ProcText(const std::string& text) : ZQProcFile(Write(text)) {}

private:
    static const char* Write(const std::string& text) {
        std::ofstream("text") << text;
        return "text";
    }
};

/// No file can be opened while it lives.
class NoFiles {
public:
    NoFiles() {
        getrlimit(RLIMIT_NOFILE, &m_limit);
        const rlimit none = {0, m_limit.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoFiles() { setrlimit(RLIMIT_NOFILE, &m_limit); }

private:
    rlimit m_limit;
};

#endif
