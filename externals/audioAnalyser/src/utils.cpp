#include "utils.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>

namespace utils {

namespace {
// Deliberately a little above 1200 / log10(2): every tuning figure is told in this scale.
constexpr double kCentsPerDecade = 3986.4460836000003;
// n = a log10(f) - b puts 440 Hz at 69.
constexpr double kNoteNumberPerDecade = 39.86313713864835;
constexpr double kNoteNumberOffset = 36.37631656229591;
} // namespace

float freqRatioToCents(float f1, float f2) { return float(std::log10(double(f2) / double(f1)) * kCentsPerDecade); }

double centsToFreqRatio(double cents) { return std::pow(10.0, cents / kCentsPerDecade); }

double frequencyToNoteNumber(double frequency_Hz)
{
    return kNoteNumberPerDecade * std::log10(frequency_Hz) - kNoteNumberOffset;
}

int frequencyToRoundedNoteNumber(double frequency_Hz) { return int(std::round(frequencyToNoteNumber(frequency_Hz))); }

std::string midiNoteNumberToNoteName(int noteNumber)
{
    static const char* const kNames[] = {"C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"};
    return kNames[std::abs(noteNumber) % 12];
}

std::string midiNoteNumberToNoteName(double noteNumber)
{
    return midiNoteNumberToNoteName(int(std::round(noteNumber)));
}

double linear2dB(double value, double floor)
{
    if (!(value > 0.0))
        return floor;
    double dB = 20.0 * std::log10(value);
    if (dB < floor)
        return floor;
    return dB > 0.0 ? 0.0 : dB;
}

std::string intToString(int value) { return std::to_string(value); }

bool recursiveDelete(const QString& path)
{
    QFileInfo info(path);
    if (!info.isDir())
        return !QFile::exists(path) || QFile::remove(path);

    bool ok = true;
    QDirIterator files(path, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (files.hasNext())
        ok = QFile::remove(files.next()) && ok;

    // Each directory goes with whichever of its parents it leaves empty, up to the root.
    const QString root = QDir(path).absolutePath();
    QDirIterator dirs(root, QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (dirs.hasNext()) {
        QString dir = dirs.next();
        while (dir != root && dir.startsWith(root) && QDir().rmdir(dir))
            dir = QFileInfo(dir).path();
    }

    if (QDir(path).exists())
        ok = QDir().rmdir(path) && ok;
    return ok;
}

void getVersionComponents(int version, int& major, int& minor)
{
    major = version / 1000 + 1;
    minor = version % 1000;
}

QByteArray getMd5Binary(QString path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QByteArray();
    QCryptographicHash hash(QCryptographicHash::Md5);
    if (!hash.addData(&file))
        return QByteArray();
    return hash.result();
}

QString getMd5String(QString path)
{
    const QByteArray digest = getMd5Binary(path);
    return digest.isEmpty() ? QString() : QString::fromLatin1(digest.toHex());
}

void removeDcOffset(float* samples, int n)
{
    if (n <= 0)
        return;
    double sum = 0.0;
    for (int i = 0; i < n; ++i)
        sum += samples[i];
    const float mean = float(sum / n);
    for (int i = 0; i < n; ++i)
        samples[i] -= mean;
}

void generateHanningCoefficients(float* coefficients, int n)
{
    const double pi = 3.14159265358979323846;
    for (int i = 0; i < n; ++i)
        coefficients[i] = float((1.0 - std::cos(2.0 * pi * (i + 1) / (n + 1))) / 2.0);
}

std::vector<float> autoCorrelationTimeDomain(const std::vector<float>& samples)
{
    const int16_t n = int16_t(samples.size());
    std::vector<float> result(std::max<int>(n, 0));
    for (int lag = 0; lag < n; ++lag) {
        double sum = 0.0;
        for (int j = 0; j + lag < n; ++j)
            sum += double(samples[j]) * samples[j + lag];
        result[lag] = float(sum);
    }
    return result;
}

int findSnacMaxima(const float* snac, int size, int first, int last, std::vector<int>& maxima)
{
    maxima.clear();
    if (size <= 0)
        return 0;
    int i = std::clamp(first, 0, size - 1);
    const int end = std::min(last, size - 1);
    while (i < end && !(snac[i] > 0.0f))
        ++i;
    if (i >= end)
        return 0;
    // Every test looks one index back.
    if (i == 0)
        i = 1;

    int best = 0;
    float bestValue = 0.0f;
    int regionMax = -1;
    auto closeRegion = [&]() {
        if (regionMax < 0)
            return;
        maxima.push_back(regionMax);
        if (snac[regionMax] > bestValue) {
            best = regionMax;
            bestValue = snac[regionMax];
        }
        regionMax = -1;
    };
    for (; i < end; ++i) {
        if (!(snac[i] > 0.0f)) {
            closeRegion();
            continue;
        }
        if (snac[i] > snac[i - 1] && snac[i] >= snac[i + 1] && (regionMax < 0 || snac[i] > snac[regionMax]))
            regionMax = i;
    }
    closeRegion();
    return best;
}

int findSnacSubMaximum(const float* snac, int size, int first, int last, float k, float minimumPeak, int& bestIndex)
{
    // Reused across frames: the frame path should not allocate once warmed up.
    thread_local std::vector<int> maxima;
    bestIndex = findSnacMaxima(snac, size, first, last, maxima);
    if (maxima.empty())
        return 0;
    const float threshold = std::max(minimumPeak, k * snac[bestIndex]);
    for (int index : maxima)
        if (snac[index] >= threshold)
            return index;
    return 0;
}

} // namespace utils
