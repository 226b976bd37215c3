#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <vector>

// The 44-byte header of a mono 16-bit PCM RIFF WAVE file, and the file itself.
// Stateless; any thread may call.
class WaveFile {
public:
    // Host values; rawHeader lays them out little-endian in this order.
    struct Header {
        char riffId[4];
        uint32_t riffSize_B; // everything after this field
        char waveId[4];
        char formatId[4];
        uint32_t formatSize_B;
        uint16_t audioFormat; // 1: PCM
        uint16_t channelCount;
        uint32_t sampleRate_Hz;
        uint32_t byteRate; // bytes per second
        uint16_t blockAlign_B;
        uint16_t bitsPerSample;
        char dataId[4];
        uint32_t dataSize_B;
    };

    static const int kHeaderSize_B = 44;

    // numSamples >= 0 mono 16-bit samples at sampleRate Hz.
    static Header generateHeader(int numSamples, int sampleRate);
    // The header as the 44 bytes at the start of the file.
    static std::vector<uint8_t> rawHeader(const Header& header);

    // Writes the header and audioData (mono 16-bit little-endian samples at sampleRate_Hz)
    // through a temporary beside path, so that a failure leaves any existing file as it was.
    static bool save(const QString& path, const QByteArray& audioData, int sampleRate_Hz, QString& error);
};
