#pragma once

#include <sys/resource.h>

// Lowers this process's file-size limit for its lifetime, so that writes fail after a known
// number of bytes; unlike permissions, this binds root too. SIGXFSZ is ignored meanwhile,
// so an oversized write fails with EFBIG instead of ending the process.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t limit_B);
    ~FileSizeLimit();
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

    bool active() const { return mActive; }

private:
    rlimit mOldLimit{};
    void (*mOldHandler)(int) = nullptr;
    bool mActive = false;
};
