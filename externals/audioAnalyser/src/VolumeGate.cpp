#include "VolumeGate.h"

bool VolumeGate::pass(float volume_normalized)
{
    const std::size_t frame = mFrames++;
    mVolumes[frame % mVolumes.size()] = volume_normalized;
    // Summed in slot order, as the transcription always has, so results stay bit for bit.
    float sum = 0.0f;
    for (float volume : mVolumes)
        sum += volume;
    const float mean = sum / 10.0f;
    return frame <= 9 || mean > mMinimumVolume_normalized;
}
