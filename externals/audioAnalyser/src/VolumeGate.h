#pragma once

#include <array>
#include <cstddef>

// The gate on quiet frames in a pass over a recording's frames: after the first ten, a
// frame passes only while the mean volume of the newest ten (zeros before the first
// frame) is above the minimum. Feed every frame in order; one pass per gate; any thread.
class VolumeGate {
public:
    // minimumVolume_normalized: 0..1 on the pitch finder's level scale.
    explicit VolumeGate(float minimumVolume_normalized)
        : mMinimumVolume_normalized(minimumVolume_normalized)
    {
    }

    // The next frame's volume (0..1); true when that frame passes.
    bool pass(float volume_normalized);

private:
    std::array<float, 10> mVolumes{};
    std::size_t mFrames = 0;
    float mMinimumVolume_normalized;
};
