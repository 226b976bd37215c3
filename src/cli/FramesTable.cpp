#include "FramesTable.h"

#include <QSaveFile>

#include <cstdio>

const char* const FramesTable::kHeader = "time_s\tfrequency_Hz\tpicked_Hz\tquality\tvolume\n";

void FramesTable::appendRow(QByteArray& table, double time_s, const TranscriptionFrames::Frame& frame)
{
    char line[128];
    const int length = std::snprintf(line, sizeof line, "%.6f\t%.3f\t%.3f\t%.4f\t%.4f\n", time_s,
        double(frame.frequency_Hz), double(frame.pickedFrequency_Hz), double(frame.quality), double(frame.volume));
    table.append(line, length);
}

QByteArray FramesTable::fromArrays(const std::vector<float>& frequencies, const std::vector<float>& pickedFrequencies,
    const std::vector<float>& qualities, const std::vector<float>& volumes, double framePeriod_s)
{
    QByteArray table = kHeader;
    table.reserve(int(frequencies.size()) * 48 + table.size());
    for (std::size_t i = 0; i < frequencies.size(); ++i) {
        TranscriptionFrames::Frame frame;
        frame.frequency_Hz = frequencies[i];
        frame.pickedFrequency_Hz = pickedFrequencies.at(i);
        frame.quality = qualities.at(i);
        frame.volume = volumes.at(i);
        appendRow(table, double(i) * framePeriod_s, frame);
    }
    return table;
}

bool FramesTable::write(const QString& path, const QByteArray& table, QString& error)
{
    // A save file, so that a failed write leaves an earlier table as it was.
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(table) != table.size() || !file.commit()) {
        error = file.errorString();
        return false;
    }
    return true;
}
