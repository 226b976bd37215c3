#pragma once

#include <QString>

#include <vector>

// Reads an audio file for analysis: WAV, FLAC or OGG Vorbis, with 16-bit integer or float
// samples, at any rate from 8000 Hz; of several channels only the first. Samples come out
// at 16-bit magnitude, as the analysis expects. Any thread; one reader per thread.
class AudioFileReader {
public:
    static constexpr int kMinimumSampleRate_Hz = 8000;

    // Reads the whole file. False with a message naming the reason (missing, unreadable,
    // not audio, unsupported format or encoding, rate too low, empty); the reader then
    // holds nothing.
    bool read(const QString& path, QString& error);

    // The first channel at 16-bit magnitude: floats are scaled by 32768 and held to the
    // 16-bit range.
    const std::vector<short>& samples() const { return mSamples; }
    int sampleRate_Hz() const { return mSampleRate_Hz; }
    int channelCount() const { return mChannelCount; }
    double duration_s() const { return mSampleRate_Hz ? double(mSamples.size()) / mSampleRate_Hz : 0.0; }
    // e.g. "WAV, 16-bit integer" or "OGG, Vorbis".
    QString formatDescription() const { return mFormatDescription; }

private:
    void clear();

    std::vector<short> mSamples;
    int mSampleRate_Hz = 0;
    int mChannelCount = 0;
    QString mFormatDescription;
};
