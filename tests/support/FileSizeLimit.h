#pragma once

// A disk that is full, as the process sees it: a limit on the size any file may grow to.
#include <csignal>
#include <sys/resource.h>

/** While it lives, no file of this process may grow past `bytes`: a write beyond fails as on
    a full disk, and the signal that would end the process is ignored. */
class FileSizeLimit
{
public:
    explicit FileSizeLimit (rlim_t bytes)
    {
        getrlimit (RLIMIT_FSIZE, &previous);
        previousHandler = std::signal (SIGXFSZ, SIG_IGN);
        rlimit limit = previous;
        limit.rlim_cur = bytes;
        setrlimit (RLIMIT_FSIZE, &limit);
    }

    ~FileSizeLimit()
    {
        setrlimit (RLIMIT_FSIZE, &previous);
        std::signal (SIGXFSZ, previousHandler);
    }

    FileSizeLimit (const FileSizeLimit&) = delete;
    FileSizeLimit& operator= (const FileSizeLimit&) = delete;

private:
    rlimit previous{};
    void (*previousHandler) (int) = nullptr;
};
