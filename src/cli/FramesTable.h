#pragma once

#include "TranscriptionFrames.h"

#include <QByteArray>
#include <QString>

#include <vector>

// The per-frame table of ceolmark-cli, what the transcription works on: a header line
// "time_s<TAB>frequency_Hz<TAB>picked_Hz<TAB>quality<TAB>volume", then one line per frame,
// "\n" line ends. Written by `frames` and by `transcribe --frames`. Main thread only.
class FramesTable {
public:
    static const char* const kHeader;

    // One frame's line: start of the frame in seconds, its frequencies, quality and volume.
    static void appendRow(QByteArray& table, double time_s, const TranscriptionFrames::Frame& frame);
    // The whole table from per-frame arrays of equal length; frame i starts at i * framePeriod_s.
    static QByteArray fromArrays(const std::vector<float>& frequencies, const std::vector<float>& pickedFrequencies,
        const std::vector<float>& qualities, const std::vector<float>& volumes, double framePeriod_s);
    // Replaces the file in one write; false with a message when it cannot.
    static bool write(const QString& path, const QByteArray& table, QString& error);
};
