// While it lives, files of this process and of its children end at `bytes`, as on a disk that is full.
#pragma once

#include <csignal>
#include <stdexcept>

#include <sys/resource.h>

class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        if (getrlimit(RLIMIT_FSIZE, &before) != 0) throw std::runtime_error("getrlimit");
        handler = std::signal(SIGXFSZ, SIG_IGN); // the write fails instead
        const rlimit limit{bytes, before.rlim_max};
        if (setrlimit(RLIMIT_FSIZE, &limit) != 0) throw std::runtime_error("setrlimit");
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handler);
    }

private:
    rlimit before{};
    void (*handler)(int) = SIG_DFL;
};
