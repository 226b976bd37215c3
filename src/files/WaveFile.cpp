#include "WaveFile.h"

#include <QSaveFile>
#include <QtEndian>

#include <cstring>

namespace {

const uint16_t kBitsPerSample = 16;
const uint16_t kBytesPerSample = kBitsPerSample / 8;

void putId(std::vector<uint8_t>& bytes, const char (&id)[4]) { bytes.insert(bytes.end(), id, id + 4); }

template <typename T> void putLittleEndian(std::vector<uint8_t>& bytes, T value)
{
    uint8_t raw[sizeof(T)];
    qToLittleEndian<T>(value, raw);
    bytes.insert(bytes.end(), raw, raw + sizeof(T));
}

} // namespace

WaveFile::Header WaveFile::generateHeader(int numSamples, int sampleRate)
{
    Header header;
    std::memcpy(header.riffId, "RIFF", 4);
    std::memcpy(header.waveId, "WAVE", 4);
    std::memcpy(header.formatId, "fmt ", 4);
    std::memcpy(header.dataId, "data", 4);
    // Unsigned, so that recordings past 1 GiB keep their true size up to the format's 4 GiB.
    header.dataSize_B = uint32_t(numSamples) * kBytesPerSample;
    header.riffSize_B = header.dataSize_B + 36;
    header.formatSize_B = 16;
    header.audioFormat = 1;
    header.channelCount = 1;
    header.sampleRate_Hz = uint32_t(sampleRate);
    header.byteRate = uint32_t(sampleRate) * kBytesPerSample;
    header.blockAlign_B = kBytesPerSample;
    header.bitsPerSample = kBitsPerSample;
    return header;
}

std::vector<uint8_t> WaveFile::rawHeader(const Header& header)
{
    std::vector<uint8_t> bytes;
    bytes.reserve(kHeaderSize_B);
    putId(bytes, header.riffId);
    putLittleEndian(bytes, header.riffSize_B);
    putId(bytes, header.waveId);
    putId(bytes, header.formatId);
    putLittleEndian(bytes, header.formatSize_B);
    putLittleEndian(bytes, header.audioFormat);
    putLittleEndian(bytes, header.channelCount);
    putLittleEndian(bytes, header.sampleRate_Hz);
    putLittleEndian(bytes, header.byteRate);
    putLittleEndian(bytes, header.blockAlign_B);
    putLittleEndian(bytes, header.bitsPerSample);
    putId(bytes, header.dataId);
    putLittleEndian(bytes, header.dataSize_B);
    return bytes;
}

bool WaveFile::save(const QString& path, const QByteArray& audioData, int sampleRate_Hz, QString& error)
{
    // A trailing odd byte is half a sample: the header could not count it.
    const int numSamples = audioData.size() / kBytesPerSample;
    const std::vector<uint8_t> header = rawHeader(generateHeader(numSamples, sampleRate_Hz));
    QByteArray bytes(reinterpret_cast<const char*>(header.data()), int(header.size()));
    bytes += audioData.left(numSamples * kBytesPerSample);

    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
        error = file.errorString();
        return false;
    }
    if (file.write(bytes) != bytes.size()) {
        error = file.errorString();
        return false;
    }
    if (!file.commit()) {
        error = file.errorString();
        return false;
    }
    return true;
}
