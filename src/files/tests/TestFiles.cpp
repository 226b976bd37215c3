#include "TestFiles.h"

#include <QFile>
#include <QtEndian>

#include <cstdint>

QByteArray TestFiles::chanterPcm(int numSamples)
{
    QByteArray pcm(2 * numSamples, '\0');
    uint32_t noise = 12345;
    for (int n = 0; n < numSamples; ++n) {
        const int chanter = (n % 100) * 400 - 19800; // 441 Hz, -19800..19800
        const int drone = (n % 300) * 40 - 5980; // 147 Hz, an octave and a fifth below
        noise = noise * 1664525u + 1013904223u;
        const int hiss = int(noise >> 24) - 128;
        qToLittleEndian<qint16>(qint16(chanter + drone + hiss), pcm.data() + 2 * n);
    }
    return pcm;
}

KestoFileCmk TestFiles::knownRecording()
{
    KestoFileCmk cmk;
    cmk.setAudioData(chanterPcm(4410));
    cmk.setRecordingFrequency_Hz(44100);
    cmk.setTuneName("The Known Recording");
    cmk.setTuneType("Reel");
    cmk.setComposedBy("The Ceolmark developers");
    cmk.setTimeSigNumerator(2);
    cmk.setTimeSigDenominator(2);
    cmk.setBpm(92.5f);
    cmk.setTimeShift_s(0.04f);
    PipeTuning tuning;
    tuning.setLowA_Hz(479.5f);
    cmk.setChanterTuning(tuning);
    cmk.setRecordedAppVersion(8);
    cmk.setRecordedTime("2024-03-01T09:15:00Z");
    cmk.setRecordedInstallId("{00000000-0000-0000-0000-000000000001}");
    cmk.setAppVersion(8);
    cmk.setFileCreationTime("2024-03-02T18:45:30Z");
    cmk.setFileCreationInstallId("{00000000-0000-0000-0000-000000000002}");
    return cmk;
}

QByteArray TestFiles::cmkBytes(const QByteArray& xml, const QByteArray& audio, qint32 version, const QByteArray& gap)
{
    QByteArray header("kesto_cmk\0\0\0", 12);
    header.resize(20);
    qToLittleEndian<qint32>(version, header.data() + 12);
    qToLittleEndian<qint32>(xml.size(), header.data() + 16);
    return header + xml + gap + audio;
}

QByteArray TestFiles::readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void TestFiles::writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(bytes);
}
