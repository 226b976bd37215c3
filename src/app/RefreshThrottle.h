#pragma once

// When a transcription result is drawn. Results arrive every 0.1 s of audio; drawing them
// all would take the interface thread, so they are drawn at the refresh rate, except when a
// refresh is forced (a recording's start and end, a view shown again, a save that needs
// both views). Interface thread only.
class RefreshThrottle {
public:
    // True if the result at audio time time_s is to be drawn. A refused result clears the
    // forcing flags, which were not set anyway.
    bool admit(float time_s);
    // The result at time_s has been drawn: the next one is due 1 / rate_Hz later.
    void rendered(float time_s, float rate_Hz);
    void reset();

    void forceRefresh() { mRefreshForced = true; }
    void forceFullRedraw() { mFullRedrawForced = true; }
    // Both views are drawn, visible or not.
    bool fullRedrawForced() const { return mFullRedrawForced; }
    float nextRenderTime_s() const { return mNextRenderTime_s; }

private:
    float mNextRenderTime_s = 0.0f;
    bool mRefreshForced = false;
    bool mFullRedrawForced = false;
};
