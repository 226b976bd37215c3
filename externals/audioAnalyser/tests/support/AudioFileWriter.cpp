#include "AudioFileWriter.h"

#include <sndfile.h>

#include <algorithm>

bool AudioFileWriter::write(const QString& path, const std::vector<short>& samples, int sampleRate_Hz, QString& error,
    Container container, Encoding encoding, int channels)
{
    SF_INFO info = {};
    info.samplerate = sampleRate_Hz;
    info.channels = channels;
    switch (container) {
    case Wav: info.format = SF_FORMAT_WAV; break;
    case Flac: info.format = SF_FORMAT_FLAC; break;
    case Ogg: info.format = SF_FORMAT_OGG; break;
    case Aiff: info.format = SF_FORMAT_AIFF; break;
    }
    if (container == Ogg) {
        info.format |= SF_FORMAT_VORBIS;
    } else {
        switch (encoding) {
        case Pcm16: info.format |= SF_FORMAT_PCM_16; break;
        case Float: info.format |= SF_FORMAT_FLOAT; break;
        case Pcm24: info.format |= SF_FORMAT_PCM_24; break;
        case Pcm8: info.format |= container == Wav ? SF_FORMAT_PCM_U8 : SF_FORMAT_PCM_S8; break;
        }
    }
    if (channels < 1 || !sf_format_check(&info)) {
        error = "libsndfile cannot write this combination of container, encoding and channels";
        return false;
    }
    SNDFILE* file = sf_open(path.toLocal8Bit().constData(), SFM_WRITE, &info);
    if (!file) {
        error = QString("cannot write %1: %2").arg(path, sf_strerror(nullptr));
        return false;
    }
    // Integers go in as integers, so 16-bit files hold the very samples given; floats are
    // samples / 32768, which a normalising reader maps back exactly.
    const std::size_t width = std::size_t(channels);
    sf_count_t written = 0;
    if (encoding == Float || container == Ogg) {
        std::vector<float> frames(samples.size() * width);
        for (std::size_t i = 0; i < samples.size(); ++i)
            for (std::size_t c = 0; c < width; ++c)
                frames[i * width + c] = float(c == 0 ? samples[i] : -samples[i]) / 32768.0f;
        written = sf_writef_float(file, frames.data(), sf_count_t(samples.size()));
    } else {
        std::vector<short> frames(samples.size() * width);
        for (std::size_t i = 0; i < samples.size(); ++i)
            for (std::size_t c = 0; c < width; ++c)
                frames[i * width + c] = c == 0 ? samples[i] : short(std::max(-32767, -int(samples[i])));
        written = sf_writef_short(file, frames.data(), sf_count_t(samples.size()));
    }
    const bool ok = written == sf_count_t(samples.size());
    if (!ok)
        error = QString("cannot write %1: %2").arg(path, sf_strerror(file));
    sf_close(file);
    return ok;
}
