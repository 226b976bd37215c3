#include "GroupQuantizer.h"

#include <algorithm>
#include <cmath>

GroupQuantizer::GroupQuantizer(double duration32_s)
    : duration32_s(duration32_s)
{
}

void GroupQuantizer::setMinQuantizationLevel(int level) { minQuantizationLevel = std::max(level, 1); }

void GroupQuantizer::setQuantizationType(QuantizationType type) { quantizationType = type; }

std::map<int, std::vector<PipeTuneModel::Item>> GroupQuantizer::quantize(const PipeTuneQuantizer::Group& input)
{
    group = input;
    normalizeGroup();
    switch (quantizationType) {
    case QuantizationAbsolute: return quantizeAbsolute();
    case QuantizationSetPattern: return quantizeSetPattern();
    }
    return {};
}

void GroupQuantizer::normalizeGroup()
{
    // Rubato and overhang are forgotten here: only the notes' proportions within the beat count.
    const float factor = group.getNoteWrapperDuration_s() / group.duration_s;
    for (PipeTuneQuantizer::NoteWrapper& wrapper : group.notes)
        wrapper.note.setDuration_s(wrapper.note.duration_s() / factor);
}

std::vector<PipeTuneModel::Item> GroupQuantizer::noteItems(int noteIndex, int length32) const
{
    const PipeTuneQuantizer::NoteWrapper& wrapper = group.notes[noteIndex];
    std::vector<PipeTuneModel::Item> items;
    for (const PipeNote& grace : wrapper.graceNotes)
        items.emplace_back(grace.noteName(), 32, 0, PipeTuneModel::NoteFlagNone);
    for (PipeTuneModel::Item item : getItemsFrom32s(length32)) {
        item.noteName = wrapper.note.noteName();
        items.push_back(item);
    }
    return items;
}

std::map<int, std::vector<PipeTuneModel::Item>> GroupQuantizer::quantizeAbsolute()
{
    std::map<int, std::vector<PipeTuneModel::Item>> result;
    const int noteCount = int(group.notes.size());
    // One or two notes in a beat are never written finer than semiquavers.
    const int grid = noteCount < 3 ? std::max(minQuantizationLevel, 2) : minQuantizationLevel;
    std::vector<float> residuals_s;
    int total = 0;
    for (int i = 0; i < noteCount; ++i) {
        const double duration_s = group.notes[i].note.duration_s();
        const int rounded = grid * int(std::lround(duration_s / (grid * duration32_s)));
        const int length = std::max(minQuantizationLevel, rounded);
        total += length;
        residuals_s.push_back(float(duration_s - length * duration32_s));
        result[i] = noteItems(i, length);
    }

    // A beat that came out short by a grid step or more gets one step back, on the note that
    // lost the most to rounding. A beat that came out long stays long: no note is shortened.
    const int groupLength = int(std::lround(group.duration_s / float(duration32_s)));
    if (noteCount == 0 || groupLength - total < minQuantizationLevel)
        return result;
    int chosen = 0;
    float largest_s = 0.0f;
    for (int i = 0; i < noteCount; ++i) {
        if (residuals_s[i] > largest_s) {
            largest_s = residuals_s[i];
            chosen = i;
        }
    }
    int length = minQuantizationLevel;
    for (const PipeTuneModel::Item& item : result[chosen])
        if (isMelodyNote(item.noteName))
            length += item.totalDuration32();
    result[chosen] = noteItems(chosen, length);
    return result;
}

std::map<int, std::vector<PipeTuneModel::Item>> GroupQuantizer::quantizeSetPattern()
{
    // Made for a compound beat of 12 thirty-second notes: three quavers, a crotchet and a quaver,
    // or a dotted quaver, a semiquaver and a quaver in some order.
    std::map<int, std::vector<PipeTuneModel::Item>> result;
    const int noteCount = int(group.notes.size());
    const double short_s = 3.0 * duration32_s;
    auto duration_s = [this](int i) { return double(group.notes[i].note.duration_s()); };

    int longest = -1;
    if (minQuantizationLevel < 4 && noteCount == 3) {
        for (int i = 0; i < noteCount; ++i) {
            if (duration_s(i) > short_s)
                continue;
            const int a = (i + 1) % 3;
            const int b = (i + 2) % 3;
            const int first = std::min(a, b);
            const int second = std::max(a, b);
            longest = duration_s(second) > duration_s(first) ? second : first;
        }
    }

    for (int i = 0; i < noteCount; ++i) {
        int length = 4;
        if (noteCount == 1)
            length = 12;
        else if (noteCount == 2)
            length = std::lround(duration_s(i) / duration32_s) > 6 ? 8 : 4;
        else if (longest != -1 && !(duration_s(i) > short_s))
            length = 2;
        else if (longest != -1 && i == longest)
            length = 6;
        result[i] = noteItems(i, length);
    }
    return result;
}

std::vector<PipeTuneModel::Item> getItemsFrom32s(int n)
{
    std::vector<PipeTuneModel::Item> items;
    while (n > 0) {
        PipeTuneModel::Item item(Unknown, getMaxDurationFrom32s(n), 1, PipeTuneModel::NoteFlagNone);
        if (item.totalDuration32() == n) {
            items.push_back(item);
            break;
        }
        item.dots = 0;
        items.push_back(item);
        n -= getDurationIn32s(item.duration);
    }
    return items;
}
