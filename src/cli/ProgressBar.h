#pragma once

#include <cstdio>

// A one-line progress bar redrawn in place on a terminal: "label [#####.....]  50%".
// Draws nothing unless enabled, so callers need not test for a terminal themselves.
// Main thread only.
class ProgressBar {
public:
    ProgressBar(const char* label, bool enabled, std::FILE* to = stderr);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    // share 0..1; redraws only when the shown percentage changes.
    void update(float share);
    // Ends the line; called by the destructor too.
    void finish();

    // Whether the stream is a terminal: a bar in a file or a pipe would only be noise.
    static bool isTerminal(std::FILE* stream);

private:
    const char* mLabel;
    bool mEnabled;
    std::FILE* mTo;
    int mShown_percent = -1;
};
