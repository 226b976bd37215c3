// The embellishment recognition of Ceolmark: movements named from the consolidated stream,
// and the movements too fast for any frame-level note, found as dips in a melody note.

#include "Ceolmark.h"

#include "CeolmarkUtils.h"

#include <algorithm>
#include <map>

namespace {

PipeNotePattern::Match matchOf(std::initializer_list<PipeNote> notes)
{
    PipeNotePattern::Match match;
    for (const PipeNote& note : notes)
        insertNote(match.notes, note);
    return match;
}

PipeNote renamed(PipeNote note, PipeNoteName name)
{
    note.setNoteName(name);
    return note;
}

} // namespace

void Ceolmark::getGdes()
{
    const std::set<PipeNoteName> low{LG, LA, B, C};
    PipeNotePattern pattern(0.2f, 0.15f, 0.005f);
    pattern.items = {PipeNotePattern::Item(HG), PipeNotePattern::Item(low), PipeNotePattern::Item(D),
        PipeNotePattern::Item(low), PipeNotePattern::Item(E), PipeNotePattern::Item(low)};
    for (const PipeNotePattern::Match& match : detectPattern(pattern, true)) {
        const std::vector<PipeNote> notes = match.notesInOrder();
        if (notes[1].noteName() != notes[3].noteName() || notes[3].noteName() != notes[5].noteName())
            continue;
        insertNote(mProcessedNotes, renamed(notes[0], gg));
        insertNote(mProcessedNotes, renamed(notes[2], dg));
        insertNote(mProcessedNotes, renamed(notes[4], eg));
        // The low notes stay in the stream as melody.
        const PipeNotePattern::Match gracing = matchOf({notes[0], notes[2], notes[4]});
        mGdeRanges.push_back(gracing.getRange());
        removePatternMatch(gracing, mConsolidatedNotes);
    }
}

void Ceolmark::getDoublings()
{
    using Item = PipeNotePattern::Item;
    const TimeRange any(0.0f, 0.0f);
    struct Row {
        PipeNoteName result;
        std::vector<Item> items;
        bool limitLastNote;
        bool followsMelodyNote;
        int melodyNoteIndex;
        bool keepLastNote;
    };
    const std::set<PipeNoteName> taorluathEnd{C, B, LA, LG};
    // The longest forms first: a pattern that has taken its notes leaves them to no later one.
    const Row rows[] = {
        {tar,
            {Item(LG, {0.02f, 0.2f}), Item(D, {0.005f, 0.2f}), Item(LG, {0.02f, 0.2f}), Item(E, {0.02f, 0.2f}),
                Item(taorluathEnd, any)},
            false, false, 3, true},
        {tarb,
            {Item(LG, {0.02f, 0.2f}), Item(B, {0.02f, 0.2f}), Item(LG, {0.02f, 0.2f}), Item(E, {0.02f, 0.2f}),
                Item(taorluathEnd, any)},
            false, false, 0, true},
        {dblg, {HG, LG, D, LG}, false, false, 0, true},
        {tdblg, {HA, LG, D, LG}, false, false, 0, true},
        {grp, {LG, D, LG}, true, false, 3, false},
        {hdblg, {LG, D, LG}, false, true, 0, true},
        {dbla, {HG, LA, D, LA}, false, false, 0, true},
        {tdbla, {HA, LA, D, LA}, false, false, 0, true},
        {hdbla, {LA, D, LA}, false, true, 0, true},
        {dbb, {HG, B, D, B}, false, false, 0, true},
        {tdbb, {HA, B, D, B}, false, false, 0, true},
        {hdbb, {B, D, B}, false, true, 0, true},
        {dbc, {HG, C, D, C}, false, false, 0, true},
        {tdbc, {HA, C, D, C}, false, false, 0, true},
        {hdbc, {C, D, C}, false, true, 0, true},
        {dbd, {HG, D, E, D}, false, false, 0, true},
        {tdbd, {HA, D, E, D}, false, false, 0, true},
        {hdbd, {D, E, D}, false, true, 0, true},
        {dbe, {HG, E, F, E}, false, false, 0, true},
        {tdbe, {HA, E, F, E}, false, false, 0, true},
        {hdbe, {E, F, E}, false, true, 0, true},
        {dbf, {HG, F, HG, F}, false, false, 0, true},
        {tdbf, {HA, F, HG, F}, false, false, 0, true},
        {hdbf, {F, HG, F}, false, true, 0, true},
        // Again: the second run finds what the first left.
        {tdbf, {HA, F, HG, F}, false, false, 0, true},
        {dbhg, {HG, F, HG}, false, false, 0, true},
        {dbha, {Item(HA), Item(HG, {0.02f, 0.15f}), Item(HA)}, false, false, 0, true},
        {grp, {Item(LG, {0.02f, 0.15f}), Item(D, {0.02f, 0.15f}), Item({LA, B, C}, {0.1500001f, 30.0f})}, false, false,
            0, true},
    };
    PipeNotePattern pattern(0.2f, 0.15f, 0.005f);
    for (const Row& row : rows) {
        pattern.clear();
        pattern.items = row.items;
        pattern.limitLastNote = row.limitLastNote;
        pattern.followsMelodyNote = row.followsMelodyNote;
        std::vector<PipeNotePattern::Match> matches = detectPattern(pattern, false);
        if (row.result == dbha) {
            // The high G of a doubling on high A comes quickly.
            matches.erase(std::remove_if(matches.begin(), matches.end(),
                              [](const PipeNotePattern::Match& match) {
                                  const std::vector<PipeNote> notes = match.notesInOrder();
                                  return !(notes[1].start_s() - notes[0].start_s() < 0.2f);
                              }),
                matches.end());
        }
        myApplyPatternMatches(row.result, matches, row.melodyNoteIndex, row.keepLastNote);
    }
}

void Ceolmark::extractThrd()
{
    using Item = PipeNotePattern::Item;
    PipeNotePattern pattern(0.2f, 0.15f, 0.005f);
    pattern.items
        = {Item(LG, {0.02f, 30.0f}), Item(D, {0.03f, 1.0f}), Item(C, {0.02f, 0.15f}), Item(D, {0.02f, 30.0f})};
    for (const PipeNotePattern::Match& match : detectPattern(pattern, false)) {
        const std::vector<PipeNote> notes = match.notesInOrder();
        const PipeNote& a = notes[0];
        const PipeNote& b = notes[1];
        const PipeNote& c = notes[2];
        // After a long low G the movement is the half throw from D.
        const bool half = a.duration_s() > 0.3f;
        const float start_s = half ? b.start_s() : a.start_s();
        PipeNote movement(half ? hthrd : thrd, start_s, c.getEnd_s() - start_s);
        movement.setMelodyNoteStartOffset_s(b.start_s() - start_s);
        insertNote(mProcessedNotes, movement);
        removePatternMatch(half ? matchOf({b, c}) : matchOf({a, b, c}), mConsolidatedNotes);
    }

    // The C of a throw that is not heard as a note shows as a trough in the D.
    pattern.clear();
    pattern.items = {Item(LG, {0.02f, 30.0f}), Item(D, {0.02f, 30.0f})};
    const float centre_Hz = mTuning.getReferenceNoteCentreFrequency_Hz(PipeTuning::D);
    for (const PipeNotePattern::Match& match : detectPattern(pattern, false)) {
        const std::vector<PipeNote> notes = match.notesInOrder();
        const PipeNote& a = notes[0];
        const PipeNote& d = notes[1];
        const bool half = a.duration_s() > 0.3f;
        const float start_s = half ? d.start_s() : a.start_s();
        if (!(d.duration_s() > 0.1f))
            continue;
        const float lo_s = d.start_s() + 0.03;
        const float hi_s = std::min(d.getEnd_s(), float(d.start_s() + 1.0));
        const std::vector<float> troughs
            = findConfirmedTroughs({lo_s, hi_s}, centre_Hz, 1.0f, 50.0f, 0.03f, 0.02f, 0.7f, 0.015f);
        if (troughs.empty())
            continue;
        const float t_s = lo_s + troughs.front();
        PipeNote movement(half ? hthrd : thrd, start_s, t_s - start_s);
        movement.setMelodyNoteStartOffset_s(d.start_s() - start_s);
        insertNote(mProcessedNotes, movement);
        if (!half)
            removePatternMatch(matchOf({a}), mConsolidatedNotes);
    }
}

void Ceolmark::getSingleGracenotes()
{
    std::vector<PipeNotePattern::Match> taken;
    for (auto it = mConsolidatedNotes.begin(); it != mConsolidatedNotes.end(); ++it) {
        const PipeNote& note = it->second;
        if (!isInRange({0.015f, 0.15f}, note.duration_s()))
            continue;
        PipeNoteName name = melodyToSingleGraceNote(note.noteName());
        if (note.noteName() == LG && !overlapsGde(note)) {
            // Between two long notes of different names a low G is a G grace note played
            // low; anywhere else it is a strike.
            name = strlg;
            const auto next = std::next(it);
            if (it != mConsolidatedNotes.begin() && next != mConsolidatedNotes.end()) {
                const PipeNote& before = std::prev(it)->second;
                const PipeNote& after = next->second;
                if (before.duration_s() > 0.1500001f && after.duration_s() > 0.1500001f
                    && before.noteName() != after.noteName())
                    name = gg;
            }
        }
        if (name == Unknown)
            continue;
        taken.push_back(matchOf({note}));
        insertNote(mProcessedNotes, renamed(note, name));
    }
    for (const PipeNotePattern::Match& match : taken)
        removePatternMatch(match, mConsolidatedNotes);
}

void Ceolmark::extractHighADoubling()
{
    for (const auto& entry : mNotes) {
        const PipeNote& n = entry.second;
        if (n.noteName() != HA)
            continue;
        const float end_s = n.start_s() + std::min(0.2f, n.duration_s());
        const std::vector<float> troughs
            = findConfirmedTroughs({n.start_s(), end_s}, 2 * mLowA_Hz, 3.0f, 80.0f, 0.03f, 0.02f, 0.7f, 0.015f);
        if (troughs.empty())
            continue;
        const float t_s = n.start_s() + troughs.front();
        insertNote(mGraceNotes, PipeNote(dbha, n.start_s(), t_s - n.start_s()));
    }
}

void Ceolmark::extractBirls()
{
    const int block = int(0.003 * mSamplingFrequency_Hz / mFrameHop_samples);
    const int distance = int(0.02 * mSamplingFrequency_Hz / (mFrameHop_samples * block));
    const NoteMap melody = mNotes;
    for (const auto& entry : melody) {
        const PipeNote& n = entry.second;
        if (n.noteName() != LA)
            continue;
        const int first = int(n.start_s() * mSamplingFrequency_Hz / mFrameHop_samples);
        const int last = int(n.getEnd_s() * mSamplingFrequency_Hz / mFrameHop_samples);
        const std::vector<float> q = smoothSamples(mQualities, block, first, last, 0.0f, 1.0f, 1.0f);
        std::vector<float> times;
        for (int index : detectTroughs(q, distance, 0.05f, 50.0f))
            times.push_back(float(index * block * mFrameHop_samples) / mSamplingFrequency_Hz);

        for (size_t k = 0; k < times.size(); ++k) {
            const float t1_s = times[k];
            if (!(t1_s > 0.05f))
                continue;
            size_t second = times.size();
            for (size_t j = k + 1; j < times.size(); ++j) {
                const float apart_s = times[j] - t1_s;
                if (apart_s > 0.2f)
                    break;
                if (apart_s > 0.04f) {
                    second = j;
                    break;
                }
            }
            if (second == times.size())
                continue;
            const float t2_s = times[second];
            const float a1_s = n.start_s() + t1_s;
            const float a2_s = n.start_s() + t2_s;

            PipeNoteName name = Unknown;
            float start_s = 0.0f;
            bool refused = false;
            for (const auto& gracing : notesOverlappingRange(mGraceNotes, {a1_s - 0.2, a2_s}, 0.0f)) {
                const PipeNote& g = gracing.second;
                if (g.noteName() != gg && g.noteName() != tg) {
                    refused = true;
                    break;
                }
                if (g.getEnd_s() < float(a1_s - 0.005)) {
                    // The gracing that opens the birl belongs to it.
                    mGraceNotes.erase(g.start_s());
                    name = g.noteName() == gg ? gbr : tbr;
                    start_s = g.start_s();
                    break;
                }
            }
            if (refused)
                continue;
            if (name == Unknown) {
                name = t1_s > 0.1500001f ? brl : abr;
                start_s = name == brl ? a1_s : n.start_s();
            }
            insertNote(mGraceNotes, PipeNote(name, start_s, a2_s - start_s));
            if (name == brl) {
                // A birl late in the note starts a melody note of its own.
                const auto own = getIteratorForNote(n, mNotes);
                if (own != mNotes.end())
                    own->second.setDuration_s(start_s - n.start_s());
                insertNote(mNotes, PipeNote(n.noteName(), start_s, n.getEnd_s() - start_s));
                break;
            }
            // The second trough belongs to this birl: look on behind it.
            k = second;
        }
    }
}

void Ceolmark::extractStrikes()
{
    // A strike on a note is played with the note shown here, which is not melodyToStrike.
    static const std::map<PipeNoteName, PipeNoteName> strikeOf{
        {LA, strlg}, {B, strlg}, {C, strlg}, {D, strc}, {E, strla}, {F, stre}, {HG, strf}, {HA, strhg}};
    const NoteMap melody = mNotes;
    for (const auto& entry : melody) {
        const PipeNote& n = entry.second;
        if (n.noteName() == LG)
            continue;
        const float lo_s = n.start_s() + 0.05;
        const float hi_s = n.getEnd_s() - 0.1;
        const float centre_Hz = mTuning.getReferenceNoteCentreFrequency_Hz(noteNameToReferenceNote(n.noteName()));
        for (float trough_s : findConfirmedTroughs({lo_s, hi_s}, centre_Hz, 1.0f, 120.0f, 0.02f, 0.03f, 0.9f, 0.015f)) {
            const float t_s = lo_s + trough_s;
            if (!notesOverlappingRange(mGraceNotes, {t_s - 0.01, t_s + 0.01}, 0.05f).empty())
                continue;
            const auto strike = strikeOf.find(n.noteName());
            if (strike == strikeOf.end())
                continue;
            insertNote(mGraceNotes, PipeNote(strike->second, t_s, 0.02f));
            // Every further strike in the note cuts the same first entry, from the note's own start.
            const auto own = getIteratorForNote(n, mNotes);
            if (own != mNotes.end())
                own->second.setDuration_s(t_s - n.start_s());
            insertNote(mNotes, PipeNote(n.noteName(), t_s, n.getEnd_s() - t_s));
        }
    }
}
