// The clean-up stages of Ceolmark: melody and gracing rebuilt from the recognised stream,
// then put right by musical rules that a pitch tracker cannot know.

#include "Ceolmark.h"

#include "CeolmarkUtils.h"

#include <algorithm>
#include <cstdlib>
#include <functional>

namespace {

// Moves a note's start and keeps its end.
void startAt(PipeNote& note, float start_s)
{
    const float end_s = note.getEnd_s();
    note.setStart_s(start_s);
    note.setDuration_s(end_s - start_s);
}

// Melody and gracing merged into one list and walked from first to last. A rule sees an
// entry with both neighbours and may change the entries after it; then the entry is filed
// back by its type. Lists of fewer than three entries are left alone.
void mergedWalk(NoteMap& melody, NoteMap& gracing, const std::function<void(std::vector<PipeNote>&, size_t)>& rule)
{
    std::vector<PipeNote> list = combineMelodyAndGraceNotes(melody, gracing);
    if (list.size() < 3)
        return;
    melody.clear();
    gracing.clear();
    for (size_t i = 0; i < list.size(); ++i) {
        if (i != 0 && i + 1 != list.size())
            rule(list, i);
        insertNote(noteTypeFromName(list[i].noteName()) == MelodyNoteType ? melody : gracing, list[i]);
    }
}

} // namespace

void Ceolmark::reformMelodyAndGracing()
{
    mNotes.clear();
    mGraceNotes.clear();
    if (mConsolidatedNotes.empty())
        return;

    NoteMap work = mProcessedNotes;
    // The opening sentinel's melody note is the first note of the stream.
    PipeNote opening(Unknown, -1.0f, 1.0f);
    opening.setMelodyNoteStartOffset_s(mConsolidatedNotes.begin()->second.start_s() + 1);
    insertNote(work, opening);
    insertNote(work, PipeNote(Unknown, 3600.0f, 0.0f));

    for (auto a = work.begin(); a != work.end(); ++a) {
        const PipeNote& movement = a->second;
        const float lo_s = std::max(movement.start_s(), 0.0f);
        if (movement.start_s() >= 0.0f && 3600.0f > movement.getEnd_s())
            insertNote(mGraceNotes, movement);
        const auto b = std::next(a);
        if (b == work.end())
            break;
        const PipeNote& following = b->second;
        if (!(following.start_s() - movement.getEnd_s() > 0.02f))
            continue;
        const NoteMap m = filterByDuration(
            constrainNotes(notesOverlappingRange(mConsolidatedNotes, {movement.getEnd_s(), following.start_s()}, 0.02f),
                {lo_s, following.start_s()}),
            0.02f, 30.0f);
        if (m.empty())
            continue;
        std::vector<PipeNote> melody;
        for (const auto& entry : m)
            melody.push_back(entry.second);
        // A melody note after a movement sounds from where the movement reached it ...
        if (0.5f > melody.front().start_s() - movement.getEnd_s())
            startAt(melody.front(), std::max(movement.melodyNoteStart_s(), 0.0f));
        // ... and one that runs into a movement lasts until the movement's melody note.
        melody.back().setDuration_s(melody.back().duration_s() + following.melodyNoteStartOffset_s());
        for (const PipeNote& note : melody)
            insertNote(mNotes, note);
    }
}

void Ceolmark::stripUnlikelyGracenotes()
{
    for (auto it = mGraceNotes.begin(); it != mGraceNotes.end();) {
        const PipeNote g = it->second;
        bool unlikely = false;
        NoteMap around = notesEndingAt(mNotes, g.start_s(), 0.02f);
        for (const auto& entry : notesStartingAt(mNotes, g.start_s(), 0.02f))
            around.insert(entry);
        for (const auto& entry : around)
            unlikely = unlikely || entry.second.noteName() == g.noteName();
        if (!unlikely && g.duration_s() < 0.08f) {
            for (const auto& entry : notesStartingAt(mGraceNotes, g.getEnd_s(), 0.15f)) {
                const PipeNoteName next = entry.second.noteName();
                unlikely = unlikely || (next != g.noteName() && isComplexMovement(next));
            }
        }
        if (!unlikely && isMelodyNote(g.noteName()) && g.duration_s() > 0.15f)
            unlikely = true;
        it = unlikely ? mGraceNotes.erase(it) : std::next(it);
    }
}

void Ceolmark::extractShortMelodyNotes()
{
    // A short melody note comes out of the note extraction as a long grace note.
    mergedWalk(mNotes, mGraceNotes, [](std::vector<PipeNote>& list, size_t i) {
        PipeNote& e = list[i];
        if (!isSingleGraceNote(e.noteName()) || !(e.duration_s() > 0.08f))
            return;
        const PipeNote* p = &list[i - 1];
        if (!isMelodyNote(p->noteName()) && i >= 2)
            p = &list[i - 2];
        const PipeNote* n = &list[i + 1];
        if (!isMelodyNote(n->noteName()) && i + 2 < list.size())
            n = &list[i + 2];
        if (!isMelodyNote(p->noteName()) || !isMelodyNote(n->noteName()))
            return;
        const PipeNoteName melody = graceNoteToMelodyNote(e.noteName());
        PipeNote& next = list[i + 1];
        if (n->start_s() - p->getEnd_s() > 0.05f) {
            // Room for a note between its neighbours.
            e.setNoteName(melody);
            if (e.getEnd_s() >= next.start_s() && next.getEnd_s() - e.getEnd_s() > 0.015f)
                startAt(next, e.getEnd_s());
            return;
        }
        // No room, but a run of the scale.
        const int step = melodyNoteOrdinalValue(melody) - melodyNoteOrdinalValue(p->noteName());
        if (std::abs(step) == 1 && step == melodyNoteOrdinalValue(n->noteName()) - melodyNoteOrdinalValue(melody)) {
            e.setNoteName(melody);
            startAt(next, e.getEnd_s());
        }
    });
}

void Ceolmark::applyBusinessLogic()
{
    mergedWalk(mNotes, mGraceNotes, [this](std::vector<PipeNote>& list, size_t i) {
        PipeNote& e = list[i];
        const PipeNote& p = list[i - 1];
        PipeNote& n = list[i + 1];
        if (e.noteName() == fg) {
            if (p.noteName() == HA && n.noteName() == HG)
                e.setNoteName(strf);
            else if (e.duration_s() < 0.08f)
                e.setNoteName(gg);
        }
        if (p.noteName() != gg)
            return;
        // A G grace note followed by a short note is a doubling that was not seen as such.
        const bool d = e.noteName() == dg || (e.noteName() == D && e.duration_s() < 0.15f);
        const bool f = e.noteName() == fg || (e.noteName() == F && e.duration_s() < 0.15f);
        const bool g = e.noteName() == eg || (e.noteName() == E && e.duration_s() < 0.15f);
        PipeNoteName movement = Unknown;
        if (d) {
            switch (n.noteName()) {
            case LG: movement = dblg; break;
            case LA: movement = dbla; break;
            case B: movement = dbb; break;
            case C: movement = dbc; break;
            default: break;
            }
        } else if (f && n.noteName() == E) {
            movement = dbe;
        } else if (g && n.noteName() == D) {
            movement = dbd;
        }
        if (movement == Unknown)
            return;
        if (!mGraceNotes.empty())
            mGraceNotes.erase(std::prev(mGraceNotes.end()));
        e.setNoteName(movement);
        startAt(e, p.start_s());
        startAt(n, p.start_s());
    });
}

void Ceolmark::dealWithMelodyGaps()
{
    for (auto a = mNotes.begin(); a != mNotes.end(); ++a) {
        const auto b = std::next(a);
        if (b == mNotes.end())
            break;
        const float start_s = b->second.start_s();
        if (!(start_s - a->second.getEnd_s() > 0.02f))
            continue;
        // The note before a throw stretches up to it.
        const NoteMap o = notesOverlappingRange(mGraceNotes, {start_s - 0.02, start_s + 0.02}, 0.0f);
        if (!o.empty() && o.begin()->second.noteName() == thrd)
            a->second.setDuration_s(start_s - a->second.start_s());
    }
}

void Ceolmark::dealWithContigousGracing()
{
    // Two grace notes that touch cannot both be grace notes.
    mergedWalk(mNotes, mGraceNotes, [](std::vector<PipeNote>& list, size_t i) {
        PipeNote& a = list[i];
        PipeNote& b = list[i + 1];
        if (!isSingleGraceNote(a.noteName()) || !isSingleGraceNote(b.noteName()))
            return;
        const bool aPrimary = isPrimaryGracenote(a.noteName());
        const bool bPrimary = isPrimaryGracenote(b.noteName());
        if (aPrimary && !bPrimary) {
            b.setNoteName(graceNoteToMelodyNote(b.noteName()));
            startAt(b, a.start_s());
            if (i + 2 < list.size() && isMelodyNote(list[i + 2].noteName()))
                startAt(list[i + 2], b.getEnd_s());
        } else if (bPrimary && !aPrimary) {
            a.setNoteName(graceNoteToMelodyNote(a.noteName()));
        }
    });
    mergedWalk(mNotes, mGraceNotes, [](std::vector<PipeNote>& list, size_t i) {
        PipeNote& a = list[i];
        PipeNote& b = list[i + 1];
        if (isMelodyNote(a.noteName()) || isMelodyNote(b.noteName()))
            return;
        if (isSingleGraceNote(b.noteName()) && b.duration_s() >= 0.08f) {
            b.setNoteName(graceNoteToMelodyNote(b.noteName()));
            startAt(b, a.start_s());
            if (i + 2 < list.size() && isMelodyNote(list[i + 2].noteName()))
                startAt(list[i + 2], b.getEnd_s());
        } else if (isSingleGraceNote(a.noteName()) && a.duration_s() >= 0.08f) {
            a.setNoteName(graceNoteToMelodyNote(a.noteName()));
        }
    });
}

void Ceolmark::finalGraceNoteCheck()
{
    mergedWalk(mNotes, mGraceNotes, [](std::vector<PipeNote>& list, size_t i) {
        PipeNote& g = list[i];
        const PipeNote& p = list[i - 1];
        const PipeNote& n = list[i + 1];
        if (noteTypeFromName(g.noteName()) != SingleGraceNoteType || noteTypeFromName(p.noteName()) != MelodyNoteType
            || noteTypeFromName(n.noteName()) != MelodyNoteType)
            return;
        const PipeNoteName m = graceNoteToMelodyNote(g.noteName());
        const int ordinal = melodyNoteOrdinalValue(m);
        const int before = melodyNoteOrdinalValue(p.noteName());
        const int after = melodyNoteOrdinalValue(n.noteName());
        const bool isLong = g.duration_s() >= 0.08f;
        const auto makeMelody = [&]() {
            g.setNoteName(m);
            startAt(list[i + 1], g.getEnd_s());
        };
        if (ordinal > before && ordinal > after)
            return; // what a grace note is
        if (ordinal < before && ordinal < after) {
            const PipeNoteName s = melodyToStrike(m);
            if (s == strb && isLong && n.noteName() != C)
                makeMelody();
            else if (s == strc && isLong && n.noteName() != D)
                makeMelody();
            else if (s != Unknown)
                g.setNoteName(s);
            return;
        }
        if (isLong)
            makeMelody();
    });
}

bool Ceolmark::overlapsGde(const PipeNote& note)
{
    const float t_s = note.start_s() + 0.02;
    for (const TimeRange& range : mGdeRanges)
        if (isInRange(range, t_s))
            return true;
    return false;
}
