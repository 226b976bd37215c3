#include "ProgressBar.h"

#include <algorithm>

#include <unistd.h>

namespace {
constexpr int kWidth = 30;
}

ProgressBar::ProgressBar(const char* label, bool enabled, std::FILE* to)
    : mLabel(label)
    , mEnabled(enabled)
    , mTo(to)
{
}

ProgressBar::~ProgressBar() { finish(); }

bool ProgressBar::isTerminal(std::FILE* stream) { return isatty(fileno(stream)) == 1; }

void ProgressBar::update(float share)
{
    if (!mEnabled)
        return;
    const int percent = std::clamp(int(share * 100.0f), 0, 100);
    if (percent == mShown_percent)
        return;
    mShown_percent = percent;
    char bar[kWidth + 1];
    const int filled = percent * kWidth / 100;
    for (int i = 0; i < kWidth; ++i)
        bar[i] = i < filled ? '#' : '.';
    bar[kWidth] = '\0';
    std::fprintf(mTo, "\r%s [%s] %3d%%", mLabel, bar, percent);
    std::fflush(mTo);
}

void ProgressBar::finish()
{
    if (!mEnabled || mShown_percent < 0)
        return;
    std::fputc('\n', mTo);
    std::fflush(mTo);
    mShown_percent = -1;
    mEnabled = false;
}
