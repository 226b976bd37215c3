#pragma once

#include <ctime>

// CPU time of the calling thread, in seconds: the machine may be busy with other work.
inline double threadSeconds()
{
    timespec now = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}
