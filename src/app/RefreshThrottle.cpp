#include "RefreshThrottle.h"

bool RefreshThrottle::admit(float time_s)
{
    if (!mFullRedrawForced && !mRefreshForced && time_s < mNextRenderTime_s) {
        mRefreshForced = false;
        mFullRedrawForced = false;
        return false;
    }
    return true;
}

void RefreshThrottle::rendered(float time_s, float rate_Hz)
{
    // -1 and below switches the throttle off for good.
    if (mNextRenderTime_s > -1.0f)
        mNextRenderTime_s = time_s + 1.0f / rate_Hz;
    mRefreshForced = false;
    mFullRedrawForced = false;
}

void RefreshThrottle::reset()
{
    mNextRenderTime_s = 0.0f;
    mRefreshForced = false;
}
