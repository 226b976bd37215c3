#pragma once

#include "KestoFileCmk.h"

#include <QByteArray>
#include <QString>

#include <ostream>

// Files and audio for the file tests, made here with exactly known content.
class TestFiles {
public:
    // numSamples of a chanter-like tone as 16-bit little-endian PCM: a 441 Hz sawtooth (a period
    // of exactly 100 samples at 44100 Hz, every harmonic present), a 147 Hz drone and a fixed
    // pseudo-random noise. Integer arithmetic only, so the bytes are the same on every machine.
    static QByteArray chanterPcm(int numSamples);

    // A recording with every field set and 0.1 s of chanterPcm: the golden file's content.
    static KestoFileCmk knownRecording();

    // A recording file put together by hand: header with version, the XML as given, gap bytes,
    // then the audio.
    static QByteArray cmkBytes(
        const QByteArray& xml, const QByteArray& audio, qint32 version = 1, const QByteArray& gap = QByteArray());

    static QByteArray readFile(const QString& path);
    static void writeFile(const QString& path, const QByteArray& bytes);
};

// Readable failure messages for Qt's strings.
inline void PrintTo(const QString& text, std::ostream* os) { *os << '"' << text.toStdString() << '"'; }
inline void PrintTo(const QByteArray& bytes, std::ostream* os)
{
    *os << bytes.size() << " bytes " << bytes.left(64).toHex().toStdString();
}
