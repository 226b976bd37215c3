#include "FileSizeLimit.h"

#include <csignal>

FileSizeLimit::FileSizeLimit(rlim_t limit_B)
{
    mOldHandler = std::signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &mOldLimit);
    rlimit limited = mOldLimit;
    limited.rlim_cur = limit_B;
    mActive = setrlimit(RLIMIT_FSIZE, &limited) == 0;
}

FileSizeLimit::~FileSizeLimit()
{
    setrlimit(RLIMIT_FSIZE, &mOldLimit);
    std::signal(SIGXFSZ, mOldHandler);
}
