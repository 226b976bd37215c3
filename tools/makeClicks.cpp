// Makes the metronome's two click sounds as mono 16-bit WAV files at 44100 Hz:
// click1.wav for an ordinary beat (a dry woodblock-like tick) and click2.wav for the first
// beat of a bar (higher, brighter, a little louder).
//
//   makeClicks OUTDIR
//
// The results are committed as resources/sounds/click1.wav and click2.wav; regenerate them
// from the top of the source tree (tools/ is configured when tests or benchmarks are on) with
//   cmake --build BUILD --target makeClicks && BUILD/tools/makeClicks resources/sounds

#include "WaveFile.h"

#include <QByteArray>
#include <QDir>
#include <QString>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

namespace {

constexpr int kSampleRate_Hz = 44100;
constexpr double kPi = 3.14159265358979323846;

// One exponentially decaying partial.
struct Partial {
    double frequency_Hz;
    double amplitude;
    double decay_s; // time to fall to 1/e
};

struct Click {
    const char* fileName;
    double length_s;
    double peak_dBFS;
    double attack_s;  // raised-cosine onset, so the first samples do not jump from zero
    double release_s; // raised-cosine fade at the end, so the tail does not stop with a step
    std::vector<Partial> partials;
};

// Inharmonic partials with fast decays read as struck wood; the bar's click sits higher,
// with a fifth and an octave above for a brighter, slightly bell-like edge.
const std::vector<Click> kClicks = {
    {"click1.wav", 0.030, -7.0, 0.0015, 0.003, {{1900.0, 1.0, 0.0050}, {5150.0, 0.35, 0.0020}}},
    {"click2.wav", 0.036, -5.0, 0.0015, 0.004, {{2900.0, 1.0, 0.0070}, {4350.0, 0.40, 0.0040}, {5800.0, 0.25, 0.0025}}},
};

std::vector<double> render(const Click& click)
{
    const int numSamples = int(std::lround(click.length_s * kSampleRate_Hz));
    std::vector<double> samples(size_t(numSamples), 0.0);
    for (int i = 0; i < numSamples; ++i) {
        const double t_s = double(i) / kSampleRate_Hz;
        double value = 0.0;
        for (const Partial& partial : click.partials)
            value += partial.amplitude * std::exp(-t_s / partial.decay_s) * std::sin(2.0 * kPi * partial.frequency_Hz * t_s);
        const double toEnd_s = double(numSamples - 1 - i) / kSampleRate_Hz;
        if (t_s < click.attack_s)
            value *= 0.5 - 0.5 * std::cos(kPi * t_s / click.attack_s);
        if (toEnd_s < click.release_s)
            value *= 0.5 - 0.5 * std::cos(kPi * toEnd_s / click.release_s);
        samples[size_t(i)] = value;
    }
    // Scaled so the loudest sample sits exactly at the wanted peak, whatever the partials add to.
    double peak = 0.0;
    for (double value : samples)
        peak = std::max(peak, std::fabs(value));
    const double gain = std::pow(10.0, click.peak_dBFS / 20.0) / peak;
    for (double& value : samples)
        value *= gain;
    return samples;
}

QByteArray toPcm16(const std::vector<double>& samples)
{
    QByteArray bytes;
    bytes.reserve(int(samples.size() * 2));
    for (double value : samples) {
        const long scaled = std::clamp(std::lround(value * 32767.0), -32768L, 32767L);
        const auto word = uint16_t(int16_t(scaled));
        bytes.append(char(word & 0xff));
        bytes.append(char(word >> 8));
    }
    return bytes;
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc != 2) {
        std::fprintf(stderr, "Usage: makeClicks OUTDIR\n");
        return 2;
    }
    const QDir outDir(QString::fromLocal8Bit(argv[1]));
    for (const Click& click : kClicks) {
        const std::vector<double> samples = render(click);
        const QString path = outDir.filePath(QString::fromLatin1(click.fileName));
        QString error;
        if (!WaveFile::save(path, toPcm16(samples), kSampleRate_Hz, error)) {
            std::fprintf(stderr, "makeClicks: %s: %s\n", qPrintable(path), qPrintable(error));
            return 1;
        }
        std::printf("%s: %zu samples, peak %.1f dBFS\n", qPrintable(path), samples.size(), click.peak_dBFS);
    }
    return 0;
}
