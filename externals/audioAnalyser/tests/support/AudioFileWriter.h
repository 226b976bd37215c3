#pragma once

#include <QString>

#include <vector>

// Writes samples as an audio file through libsndfile, for tools and for tests that need
// files in many formats. The default is what the application records: mono 16-bit WAV.
// Stateless; any thread.
class AudioFileWriter {
public:
    enum Container {
        Wav,
        Flac,
        Ogg, // Vorbis; lossy, so only the pitch survives exactly
        Aiff,
    };
    enum Encoding {
        Pcm16,
        Float, // samples / 32768, so full scale is 1.0
        Pcm24,
        Pcm8,
    };

    // samples at 16-bit magnitude. With channels > 1 the first channel holds the samples
    // and the others their negation, so a reader that mixes channels gets silence.
    // False with a message when libsndfile cannot write that combination or the file.
    static bool write(const QString& path, const std::vector<short>& samples, int sampleRate_Hz, QString& error,
        Container container = Wav, Encoding encoding = Pcm16, int channels = 1);
};
