#include "PipeTuneQuantizer.h"

#include "CeolmarkUtils.h"
#include "GroupQuantizer.h"
#include "TimeRange.h"

#include <algorithm>
#include <cmath>

void PipeTuneQuantizer::NoteWrapper::clear()
{
    note = PipeNote();
    graceNotes.clear();
}

void PipeTuneQuantizer::BarWrapper::clear()
{
    groupCount = 0;
    bar.clear();
}

void PipeTuneQuantizer::Group::clear()
{
    start_s = 0.0f;
    duration_s = 0.0f;
    notes.clear();
    items.clear();
}

float PipeTuneQuantizer::Group::getNoteWrapperDuration_s() const
{
    float total_s = 0.0f;
    for (const NoteWrapper& wrapper : notes)
        total_s += wrapper.note.duration_s();
    return total_s;
}

int PipeTuneQuantizer::Group::getNextMelodyNote(int index) const
{
    for (int i = index + 1; i < int(items.size()); ++i)
        if (isMelodyNote(items[i].noteName))
            return i;
    return -1;
}

int PipeTuneQuantizer::Group::getPrevMelodyNote(int index) const
{
    for (int i = std::min(index, int(items.size())) - 1; i >= 0; --i)
        if (isMelodyNote(items[i].noteName))
            return i;
    return -1;
}

PipeTuneQuantizer::PipeTuneQuantizer() = default;
PipeTuneQuantizer::~PipeTuneQuantizer() = default;

void PipeTuneQuantizer::setTimeSignature(int numerator, int denominator)
{
    mTimeSigNumerator = numerator;
    mTimeSigDenominator = denominator;
}

void PipeTuneQuantizer::setCrotchetDuration_s(float duration_s) { mCrotchetDuration_s = duration_s; }

void PipeTuneQuantizer::setRounding(bool on) { mRounding = on; }

void PipeTuneQuantizer::setBarsPerRow(int count) { mBarsPerRow = std::max(count, 1); }

void PipeTuneQuantizer::quantize(float timeShift_s, const NoteMap& melody, const NoteMap& grace)
{
    mModel.clear();
    mModel.setTimeSigNumerator(mTimeSigNumerator);
    mModel.setTimeSigDenominator(mTimeSigDenominator);
    mGroupsPerBar = 0;
    mMelodyNotes.clear();
    mGraceNotes.clear();

    timeShiftNotes(timeShift_s, melody, grace, mMelodyNotes, mGraceNotes);
    if (mMelodyNotes.empty())
        return;
    const std::vector<PipeNote> notes = combineMelodyAndGraceNotes(mMelodyNotes, mGraceNotes);
    const PipeNote finalNote = mMelodyNotes.rbegin()->second;

    const float t32_s = mCrotchetDuration_s * 0.125f;
    int beatLength = 1;
    QuantizationType type = QuantizationAbsolute;
    int minLevel = mRounding ? 2 : 1;
    if (mTimeSigDenominator == 8) {
        // Compound time is counted in dotted crotchets, two to the bar whatever the numerator.
        mGroupsPerBar = 2;
        beatLength = 3;
        type = QuantizationSetPattern;
        minLevel = mRounding ? 4 : 2;
    } else if (mTimeSigNumerator == 2 && mTimeSigDenominator == 2) {
        mGroupsPerBar = 2;
        minLevel = mRounding ? 4 : 2;
    } else {
        mGroupsPerBar = mTimeSigNumerator;
    }
    mGroupDuration_s = float(32 / mTimeSigDenominator * beatLength) * t32_s;

    mGroupQuantizer = std::make_unique<GroupQuantizer>(double(t32_s));
    mGroupQuantizer->setQuantizationType(type);
    mGroupQuantizer->setMinQuantizationLevel(minLevel);

    PipeTuneModel::Part part;
    BarWrapper barWrapper;
    Group group;
    group.duration_s = mGroupDuration_s;
    NoteWrapper pending;

    for (const PipeNote& note : notes) {
        const bool isLast
            = isInRange(TimeRange(finalNote.start_s() - 0.001f, finalNote.start_s() + 0.001f), note.start_s())
            && note.noteName() == finalNote.noteName();
        if (!isMelodyNote(note.noteName())) {
            pending.graceNotes.push_back(note);
            continue;
        }
        if (note.getEnd_s() > 0.0f) {
            pending.note = note;
            const std::vector<Group> completed = addNoteWapperToGroup(group, pending, isLast);
            for (size_t j = 0; j < completed.size(); ++j) {
                std::vector<PipeTuneModel::Item>& items = barWrapper.bar.items;
                items.insert(items.end(), completed[j].items.begin(), completed[j].items.end());
                ++barWrapper.groupCount;
                if ((isLast && j + 1 == completed.size()) || barWrapper.groupCount == mGroupsPerBar) {
                    barWrapper.bar.rowBreak = (int(part.bars.size()) + 1) % mBarsPerRow == 0;
                    part.bars.push_back(barWrapper.bar);
                    barWrapper.clear();
                }
            }
        }
        // A melody note that ended before the first beat takes its grace notes with it.
        pending.clear();
    }

    if (!part.bars.empty())
        mModel.parts.push_back(part);
    if (!mModel.parts.empty() && !mModel.parts.back().bars.empty())
        mModel.parts.back().bars.back().rowBreak = true;
}

std::vector<PipeTuneQuantizer::Group> PipeTuneQuantizer::addNoteWapperToGroup(
    Group& group, NoteWrapper wrapper, bool isLast)
{
    const float t32_s = mCrotchetDuration_s * 0.125f;
    const float half_s = t32_s * 0.5f;
    PipeNote& note = wrapper.note;

    // Up to two thirty-second notes early still counts as on the beat: the note is pulled onto it
    // whole. Anything earlier has already been written in the previous group.
    const float end_s = note.getEnd_s();
    const float start_s = std::max(group.start_s - 2.0f * t32_s, note.start_s());
    note.setStart_s(start_s);
    note.setDuration_s(end_s - start_s);

    const long d32 = std::lround(note.duration_s() / t32_s);
    if (d32 < 1)
        return {};
    if (end_s < group.start_s + half_s)
        return {};

    bool carry = false;
    if (end_s < group.getEnd_s() + half_s) {
        group.notes.push_back(wrapper);
        // The final note closes its group at once, since no later note will.
        if (!isLast)
            return {};
    } else if (start_s > group.getEnd_s() - half_s) {
        carry = true;
    } else {
        const float groupEnd_s = group.getEnd_s();
        const float durIn_s = std::min(note.duration_s(), groupEnd_s - start_s);
        const float durOut_s = std::min(note.duration_s(), end_s - groupEnd_s);
        const long in32 = std::lround(durIn_s / t32_s);
        const long out32 = std::lround(durOut_s / t32_s);
        if (d32 > 6 && in32 > 3 && out32 > 3) {
            // Long enough on both sides to be written as two notes; the grace notes belong to
            // the first.
            note.setDuration_s(durIn_s);
            group.notes.push_back(wrapper);
            wrapper.graceNotes.clear();
            note.setStart_s(groupEnd_s);
            note.setDuration_s(durOut_s);
            carry = true;
        } else if (durIn_s > durOut_s) {
            group.notes.push_back(wrapper);
        } else {
            carry = true;
        }
    }

    finaliseGroup(group);
    std::vector<Group> closed{group};
    group.start_s += group.duration_s;
    group.notes.clear();
    group.items.clear();

    if (carry) {
        const std::vector<Group> more = addNoteWapperToGroup(group, wrapper, isLast);
        closed.insert(closed.end(), more.begin(), more.end());
    }
    return closed;
}

void PipeTuneQuantizer::finaliseGroup(Group& group)
{
    if (group.notes.empty())
        return;
    for (const auto& entry : mGroupQuantizer->quantize(group))
        group.items.insert(group.items.end(), entry.second.begin(), entry.second.end());
    if (group.notes.size() < 2)
        return;

    // Beams join the short notes of one beat only, so flags never reach over a group.
    bool joined = false;
    for (int i = 0; i < int(group.items.size()); ++i) {
        PipeTuneModel::Item& item = group.items[i];
        if (!isMelodyNote(item.noteName))
            continue;
        if (item.duration < 5) {
            joined = false;
            continue;
        }
        const int prev = group.getPrevMelodyNote(i);
        const int next = group.getNextMelodyNote(i);
        const bool shortPrev = prev != -1 && group.items[prev].duration > 4;
        const bool shortNext = next != -1 && group.items[next].duration > 4;
        if (!shortPrev && !shortNext) {
            joined = true;
            continue;
        }
        item.flag = joined ? PipeTuneModel::NoteFlagLeft : PipeTuneModel::NoteFlagRight;
        joined = true;
    }
}

float getCrotchetDuration_s(float tempo, int numerator, int denominator)
{
    const double beat_s = 1.0 / (double(tempo) / 60.0);
    if (denominator == 4 && (numerator == 2 || numerator == 3 || numerator == 4))
        return float(beat_s);
    if (numerator == 6 && denominator == 8)
        return float((beat_s + beat_s) / 3.0);
    if (numerator == 2 && denominator == 2)
        return float(beat_s * 0.5);
    return 0.0f;
}

int getMaxDurationFrom32s(int n)
{
    if (n == 0)
        return 0;
    if (n < 2)
        return 32;
    if (n < 4)
        return 16;
    if (n < 8)
        return 8;
    if (n < 16)
        return 4;
    if (n < 32)
        return 2;
    return 1;
}

int getDurationIn32s(int duration) { return 32 / duration; }
