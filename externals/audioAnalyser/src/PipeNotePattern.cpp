#include "PipeNotePattern.h"

#include "CeolmarkUtils.h"

#include <algorithm>

PipeNotePattern::Item::Item(PipeNoteName name, TimeRange durationRange)
    : names({name})
    , durationRange(durationRange)
{
}

PipeNotePattern::Item::Item(std::set<PipeNoteName> names, TimeRange durationRange)
    : names(std::move(names))
    , durationRange(durationRange)
{
}

TimeRange PipeNotePattern::Match::getRange() const
{
    if (notes.empty())
        return TimeRange(-1.0f, -1.0f);
    return TimeRange(notes.begin()->second.start_s(), notes.rbegin()->second.start_s());
}

std::vector<PipeNote> PipeNotePattern::Match::notesInOrder() const
{
    std::vector<PipeNote> inOrder;
    for (const auto& entry : notes)
        inOrder.push_back(entry.second);
    return inOrder;
}

PipeNotePattern::PipeNotePattern(float maxNoteDuration_s, float joinTolerance_s, float overlapTolerance_s)
    : maxNoteDuration_s(maxNoteDuration_s)
    , joinTolerance_s(joinTolerance_s)
    , overlapTolerance_s(overlapTolerance_s)
{
}

void PipeNotePattern::clear()
{
    items.clear();
    followsMelodyNote = false;
    limitLastNote = false;
}

std::vector<PipeNotePattern::Match> PipeNotePattern::detect(const NoteMap& consolidated, const NoteMap& melody,
    const NoteMap& processed, const std::vector<TimeRange>& gdeRanges, bool limitFirstOnly) const
{
    std::vector<Match> result;
    // The last item is held to maxNoteDuration_s only through a range of its own.
    const size_t limited = limitFirstOnly ? 1 : items.size() - 1;
    auto c = consolidated.begin();
    while (c != consolidated.end()) {
        Match match;
        float expected_s = c->second.start_s();
        size_t k = 0;
        auto n = c;
        while (n != consolidated.end() && k < items.size()) {
            const PipeNote& note = n->second;
            const Item& item = items[k];
            if (item.hasDurationRange()) {
                if (!isInRange(item.durationRange, note.duration_s()))
                    break;
            } else if (k < limited && !(note.duration_s() < maxNoteDuration_s)) {
                break;
            }
            if (!item.names.count(note.noteName()))
                break;
            if (!isInRange({expected_s - joinTolerance_s, expected_s + joinTolerance_s}, note.start_s()))
                break;
            match.notes.insert({note.start_s(), note});
            expected_s = note.getEnd_s();
            ++k;
            ++n;
        }
        if (match.notes.size() == items.size()) {
            bool accepted = true;
            if (followsMelodyNote && notesEndingAt(melody, c->second.start_s(), joinTolerance_s).empty())
                accepted = false;
            if (limitLastNote && match.notes.rbegin()->second.duration_s() > 2 * maxNoteDuration_s)
                accepted = false;
            if (!notesOverlappingRange(processed, match.getRange(), overlapTolerance_s).empty())
                accepted = false;
            if (patternMatchOverlapsRange(match, gdeRanges))
                accepted = false;
            if (accepted) {
                result.push_back(match);
                c = n;
                continue;
            }
        }
        ++c;
    }
    return result;
}

void applyPatternMatches(PipeNoteName name, const std::vector<PipeNotePattern::Match>& matches, NoteMap& processed,
    NoteMap& consolidated, int melodyNoteIndex, bool keepLastNote)
{
    for (const PipeNotePattern::Match& match : matches) {
        PipeNotePattern::Match copy = match;
        float start_s = 0.0f;
        float duration_s = 0.0f;
        if (!copy.notes.empty()) {
            start_s = copy.notes.begin()->second.start_s();
            duration_s = copy.notes.rbegin()->second.start_s() - start_s;
        }
        PipeNote movement(name, start_s, duration_s);
        if (melodyNoteIndex != 0 && !copy.notes.empty()) {
            const size_t index = size_t(std::max(melodyNoteIndex, 0));
            if (copy.notes.size() <= index) {
                movement.setMelodyNoteStartOffset_s(copy.notes.rbegin()->second.getEnd_s() - start_s);
            } else {
                movement.setMelodyNoteStartOffset_s(
                    std::next(copy.notes.begin(), long(index))->second.start_s() - start_s);
            }
        }
        processed.insert({movement.start_s(), movement});
        if (keepLastNote && !copy.notes.empty())
            copy.notes.erase(std::prev(copy.notes.end()));
        removePatternMatch(copy, consolidated);
    }
}

void removePatternMatch(const PipeNotePattern::Match& match, NoteMap& notes)
{
    for (const auto& entry : match.notes) {
        const PipeNote& note = entry.second;
        const auto range = notes.equal_range(note.start_s());
        for (auto it = range.first; it != range.second; ++it) {
            if (it->second.noteName() == note.noteName() && it->second.duration_s() == note.duration_s()) {
                notes.erase(it);
                break;
            }
        }
    }
}

bool patternMatchOverlapsRange(const PipeNotePattern::Match& match, const std::vector<TimeRange>& ranges)
{
    const float t_s = match.getRange().first + 0.02;
    for (const TimeRange& range : ranges)
        if (isInRange(range, t_s))
            return true;
    return false;
}
