#include "MetreDefaults.h"

bool MetreDefaults::of(int timeSignatureIndex, MetreDefaults& defaults)
{
    // Only the simple metres clear "played round"; for reels and jigs the player's choice stands.
    static const MetreDefaults kByIndex[] = {
        {72.0f, true}, // 4/4
        {72.0f, true}, // 3/4
        {52.0f, true}, // 2/4
        {62.0f, false}, // cut common time
        {72.0f, false}, // 6/8
    };
    if (timeSignatureIndex < 0 || timeSignatureIndex >= int(sizeof kByIndex / sizeof kByIndex[0]))
        return false;
    defaults = kByIndex[timeSignatureIndex];
    return true;
}
