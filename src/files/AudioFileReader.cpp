#include "AudioFileReader.h"

#include <QFileInfo>

#include <sndfile.h>

#include <algorithm>
#include <cmath>

namespace {

QString containerName(int format)
{
    switch (format & SF_FORMAT_TYPEMASK) {
    case SF_FORMAT_WAV: return "WAV";
    case SF_FORMAT_WAVEX: return "WAV";
    case SF_FORMAT_FLAC: return "FLAC";
    case SF_FORMAT_OGG: return "OGG";
    default: break;
    }
    SF_FORMAT_INFO info = {};
    info.format = format & SF_FORMAT_TYPEMASK;
    return sf_command(nullptr, SFC_GET_FORMAT_INFO, &info, sizeof info) == 0 && info.name ? QString(info.name)
                                                                                          : QString("unknown");
}

QString encodingName(int format)
{
    switch (format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_16: return "16-bit integer";
    case SF_FORMAT_FLOAT: return "32-bit float";
    case SF_FORMAT_VORBIS: return "Vorbis";
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8: return "8-bit integer";
    case SF_FORMAT_PCM_24: return "24-bit integer";
    case SF_FORMAT_PCM_32: return "32-bit integer";
    case SF_FORMAT_DOUBLE: return "64-bit float";
    default: break;
    }
    SF_FORMAT_INFO info = {};
    info.format = format & SF_FORMAT_SUBMASK;
    return sf_command(nullptr, SFC_GET_FORMAT_SUBTYPE, &info, sizeof info) == 0 && info.name ? QString(info.name)
                                                                                             : QString("unknown");
}

bool supportedContainer(int format)
{
    const int container = format & SF_FORMAT_TYPEMASK;
    return container == SF_FORMAT_WAV || container == SF_FORMAT_WAVEX || container == SF_FORMAT_FLAC
        || container == SF_FORMAT_OGG;
}

bool supportedEncoding(int format)
{
    const int encoding = format & SF_FORMAT_SUBMASK;
    // Vorbis decodes to floats.
    return encoding == SF_FORMAT_PCM_16 || encoding == SF_FORMAT_FLOAT || encoding == SF_FORMAT_VORBIS;
}

} // namespace

void AudioFileReader::clear()
{
    mSamples.clear();
    mSampleRate_Hz = 0;
    mChannelCount = 0;
    mFormatDescription.clear();
}

bool AudioFileReader::read(const QString& path, QString& error)
{
    clear();
    const QFileInfo file(path);
    if (!file.exists()) {
        error = "no such file";
        return false;
    }
    if (file.isDir()) {
        error = "is a directory, not an audio file";
        return false;
    }
    if (!file.isReadable()) {
        error = "cannot be read (permission denied)";
        return false;
    }

    SF_INFO info = {};
    SNDFILE* sound = sf_open(QFile::encodeName(path).constData(), SFM_READ, &info);
    if (!sound) {
        error = QString("not an audio file that can be read (%1)").arg(QString(sf_strerror(nullptr)).simplified());
        return false;
    }
    auto fail = [&](const QString& message) {
        sf_close(sound);
        clear();
        error = message;
        return false;
    };

    const QString description = containerName(info.format) + ", " + encodingName(info.format);
    if (!supportedContainer(info.format))
        return fail(QString("unsupported file format %1: use WAV, FLAC or OGG").arg(containerName(info.format)));
    if (!supportedEncoding(info.format))
        return fail(QString("unsupported encoding %1: use 16-bit integer or float samples").arg(description));
    if (info.samplerate < kMinimumSampleRate_Hz)
        return fail(
            QString("sample rate %1 Hz is below the %2 Hz needed").arg(info.samplerate).arg(kMinimumSampleRate_Hz));
    if (info.channels < 1 || info.frames <= 0)
        return fail("holds no audio");

    // Normalised floats are exact for 16-bit integers (sample / 32768), so scaling back by
    // 32768 returns the very samples that were written.
    sf_command(sound, SFC_SET_NORM_FLOAT, nullptr, SF_TRUE);
    const int channels = info.channels;
    constexpr sf_count_t kChunk_frames = 8192;
    std::vector<float> chunk(std::size_t(kChunk_frames) * std::size_t(channels));
    mSamples.reserve(std::size_t(info.frames));
    for (;;) {
        const sf_count_t got = sf_readf_float(sound, chunk.data(), kChunk_frames);
        if (got <= 0)
            break;
        for (sf_count_t i = 0; i < got; ++i) {
            const float value = chunk[std::size_t(i) * std::size_t(channels)] * 32768.0f;
            mSamples.push_back(short(std::clamp(std::lround(value), -32768L, 32767L)));
        }
    }
    if (sf_error(sound) != SF_ERR_NO_ERROR)
        return fail(QString("read failed (%1)").arg(QString(sf_strerror(sound)).simplified()));
    if (mSamples.empty())
        return fail("holds no audio");
    sf_close(sound);
    mSampleRate_Hz = info.samplerate;
    mChannelCount = channels;
    mFormatDescription = description;
    return true;
}
