// The grace-note search of Ceolmark: every short note that could be a grace note, and the
// consolidated stream that the movement recognition works on.

#include "Ceolmark.h"

#include "CeolmarkUtils.h"

#include <algorithm>

namespace {

bool hasNameIn(const NoteMap& notes, std::initializer_list<PipeNoteName> names)
{
    for (const auto& entry : notes)
        if (std::find(names.begin(), names.end(), entry.second.noteName()) != names.end())
            return true;
    return false;
}

} // namespace

void Ceolmark::getGraceNotes()
{
    const float framePeriod = framePeriod_s();
    const NoteMap lowered = extractNotes(mLoweredFrameNotes, 0.005f, 0.15f, framePeriod);
    const NoteMap picked = extractNotes(mPickedFrameNotes, 0.002f, 0.15f, framePeriod);
    const NoteMap plain = extractNotes(mFrameNotes, 0.002f, 0.15f, framePeriod);
    NoteMap veryShortNotes;

    // Earlier rows outrank later ones: each name is trimmed against everything found before it.
    struct Row {
        std::vector<PipeNoteName> names;
        const NoteMap* source;
        float mergeGap_s;
        TimeRange graceDuration;
        TimeRange veryShortDuration;
    };
    const TimeRange none(0.0f, 0.0f);
    const auto runRow = [&](const Row& row) {
        for (PipeNoteName name : row.names) {
            NoteMap g = filterByNote(name, *row.source);
            simpleCombineNotes(g, row.mergeGap_s);
            trimUsingExisting(mGraceNotes, g);
            for (const auto& entry : g) {
                const float duration_s = entry.second.duration_s();
                if (isInRange(row.graceDuration, duration_s))
                    insertNote(mGraceNotes, entry.second);
                else if (isInRange(row.veryShortDuration, duration_s))
                    insertNote(veryShortNotes, entry.second);
            }
        }
    };
    runRow({{D, E}, &lowered, 0.01f, {0.015f, 0.15f}, {0.005f, 0.015f}});
    runRow({{HA}, &plain, 0.02f, {0.02f, 0.15f}, none});

    // High G: the peak picker often shows a neighbouring low G or a very short F inside it.
    NoteMap w = picked;
    trimUsingExisting(mGraceNotes, w);
    recursiveCombineNotes(w, HG, {HG, LG}, {F}, 0.005f, 0.02f);
    w = filterByNote(HG, w);
    w = stretchNotesByQuality(w, 0.7f, 0.08f);
    simpleCombineNotes(w, 0.02f);
    trimUsingExisting(mGraceNotes, w);
    simpleCombineNotes(w, 0.02f);
    for (const auto& entry : filterByDuration(w, 0.015f, 0.15f))
        insertNote(mGraceNotes, entry.second);

    runRow({{F}, &lowered, 0.005f, {0.02f, 0.15f}, {0.005f, 0.02f}});
    runRow({{C, B, LA, LG}, &lowered, 0.005f, {0.02f, 0.2f}, none});

    // A very short note is believed only in the first 0.2 s of a melody note.
    trimUsingExisting(mGraceNotes, veryShortNotes);
    for (const auto& shortEntry : veryShortNotes) {
        const PipeNote& note = shortEntry.second;
        for (const auto& melodyEntry : mNotes) {
            const PipeNote& melody = melodyEntry.second;
            const float limit_s = std::min(float(melody.start_s() + 0.2), melody.getEnd_s());
            if (note.start_s() > melody.start_s() && limit_s > note.start_s())
                insertNote(mGraceNotes, note);
        }
    }
}

void Ceolmark::initialGraceNoteStrip()
{
    // After high A the pitch falls away through high G, which is no note.
    auto a = mGraceNotes.begin();
    while (a != mGraceNotes.end()) {
        const auto b = std::next(a);
        if (b == mGraceNotes.end())
            break;
        const float end_s = a->second.getEnd_s();
        if (a->second.noteName() == HA && b->second.noteName() == HG
            && isInRange(TimeRange(end_s - 0.02, end_s + 0.02), b->second.start_s())) {
            mGraceNotes.erase(b);
            continue;
        }
        a = b;
    }
    stripImpossibleGracenoteTransitions();
}

void Ceolmark::stripImpossibleGracenoteTransitions()
{
    for (auto it = mGraceNotes.begin(); it != mGraceNotes.end();) {
        const PipeNote& g = it->second;
        bool impossible = false;
        if (g.duration_s() < 0.08f) {
            const NoteMap after = notesStartingAt(mNotes, g.getEnd_s(), 0.05f);
            const NoteMap before = notesEndingAt(mNotes, g.start_s(), 0.05f);
            switch (g.noteName()) {
            case HG: impossible = hasNameIn(before, {HA, HG}) || hasNameIn(after, {HA}); break;
            case HA: impossible = hasNameIn(before, {HA}); break;
            case LG: impossible = hasNameIn(after, {HG}); break;
            default: break;
            }
        }
        it = impossible ? mGraceNotes.erase(it) : std::next(it);
    }
}

void Ceolmark::removeTransitionGraceNotes(const NoteMap& stream, PipeNoteName before, PipeNoteName target,
    PipeNoteName transition, PipeNoteName after, TimeRange transitionDuration)
{
    PipeNotePattern pattern(0.2f, 0.15f, 0.005f);
    for (int pass = 0; pass < 2; ++pass) {
        pattern.clear();
        if (before != Unknown)
            pattern.items.emplace_back(before);
        const PipeNotePattern::Item targetItem(target, TimeRange(0.002f, 0.15f));
        const PipeNotePattern::Item transitionItem(transition, transitionDuration);
        pattern.items.push_back(pass == 0 ? targetItem : transitionItem);
        pattern.items.push_back(pass == 0 ? transitionItem : targetItem);
        if (after != Unknown)
            pattern.items.emplace_back(after);

        for (const PipeNotePattern::Match& match : pattern.detect(stream, mNotes, mProcessedNotes, mGdeRanges, false)) {
            const std::vector<PipeNote> notes = match.notesInOrder();
            const size_t inner = before != Unknown ? 1 : 0;
            const NoteMap gx = notesStartingAt(mGraceNotes, notes[inner].start_s(), 0.02f);
            const NoteMap gy = notesStartingAt(mGraceNotes, notes[inner + 1].start_s(), 0.02f);
            if (gx.empty() || gy.empty())
                continue;
            // The grace notes' own times, not the stream's.
            const PipeNote a = gx.begin()->second;
            const PipeNote b = gy.begin()->second;
            mGraceNotes.erase(a.start_s());
            mGraceNotes.erase(b.start_s());
            insertNote(mGraceNotes, PipeNote(target, a.start_s(), b.getEnd_s() - a.start_s()));
        }
    }
}

void Ceolmark::advancedGraceNoteSearch()
{
    const NoteMap c = consolidate();

    // A C between two low Gs is a D that fell short.
    PipeNotePattern pattern(0.2f, 0.15f, 0.005f);
    pattern.items
        = {PipeNotePattern::Item(LG), PipeNotePattern::Item(C, TimeRange(0.002f, 0.08f)), PipeNotePattern::Item(LG)};
    for (const PipeNotePattern::Match& match : pattern.detect(c, mNotes, mProcessedNotes, mGdeRanges, false)) {
        const NoteMap found = notesStartingAt(mGraceNotes, match.notesInOrder()[1].start_s(), 0.02f);
        if (found.empty())
            continue;
        const auto entry = mGraceNotes.lower_bound(found.begin()->second.start_s());
        if (entry != mGraceNotes.end() && entry->first == found.begin()->second.start_s())
            entry->second.setNoteName(D);
    }

    const TimeRange transition(0.002f, 0.04f);
    removeTransitionGraceNotes(c, LG, D, C, LG, transition);
    removeTransitionGraceNotes(c, Unknown, E, D, Unknown, transition);
    removeTransitionGraceNotes(c, Unknown, HG, D, C, transition);
    removeTransitionGraceNotes(c, LG, D, E, LG, transition);

    // A D grace note inside a long low G: the frequency rises above B for a moment.
    const float limit_Hz = mTuning.getReferenceNoteCentreFrequency_Hz(PipeTuning::B);
    const float framesPerSecond = mSamplingFrequency_Hz / float(mFrameHop_samples);
    const int w = int(0.005 * mSamplingFrequency_Hz / mFrameHop_samples);
    for (const auto& entry : c) {
        const PipeNote& n = entry.second;
        if (n.noteName() != LG || !(n.duration_s() > 0.06f))
            continue;
        const float from_s = n.start_s() + 0.02;
        const float to_s = n.getEnd_s() - 0.02 - 0.005;
        int i = int(from_s * mSamplingFrequency_Hz / mFrameHop_samples);
        const int last = int(to_s * mSamplingFrequency_Hz / mFrameHop_samples);
        while (i < last) {
            if (!(calcWindowAverage(mFrequencies, i, w, 0.75f) > limit_Hz)) {
                ++i;
                continue;
            }
            const float t0_s = float(i * mFrameHop_samples) / mSamplingFrequency_Hz;
            ++i;
            while (i < last && calcWindowAverage(mFrequencies, i - 1, w, 0.75f) > limit_Hz)
                ++i;
            const float t1_s = std::min(float(i * mFrameHop_samples) / mSamplingFrequency_Hz, to_s);
            const PipeNote candidate(D, t0_s, t1_s - t0_s);
            bool clash = false;
            for (const auto& other :
                notesOverlappingRange(mGraceNotes, TimeRange(candidate.start_s(), candidate.getEnd_s()), 0.05f))
                clash = clash || other.second.noteName() != LG;
            if (clash) {
                ++i;
                continue;
            }
            insertNote(mGraceNotes, candidate);
            i = int((candidate.getEnd_s() + 0.05) * framesPerSecond) + 1;
        }
    }
}

NoteMap Ceolmark::consolidate()
{
    NoteMap work = mGraceNotes;
    // Sentinels, so that melody before the first and after the last grace note is filled in.
    insertNote(work, PipeNote(Unknown, -1.0f, 1.0f));
    insertNote(work, PipeNote(Unknown, 3600.0f, 0.0f));

    NoteMap result;
    for (auto a = work.begin(); a != work.end(); ++a) {
        const PipeNote& note = a->second;
        if (note.start_s() >= 0.0f && 3600.0f > note.getEnd_s())
            insertNote(result, note);
        const auto b = std::next(a);
        if (b == work.end())
            break;
        const TimeRange gap(note.getEnd_s(), b->second.start_s());
        if (gap.second - gap.first > 0.02f) {
            for (const auto& melody :
                filterByDuration(constrainNotes(notesOverlappingRange(mNotes, gap, 0.0f), gap), 0.02f, 30.0f))
                insertNote(result, melody.second);
        }
    }

    size_t sizeBefore;
    do {
        sizeBefore = result.size();
        auto a = result.begin();
        while (a != result.end()) {
            const auto b = std::next(a);
            if (b == result.end())
                break;
            const PipeNote first = a->second;
            const PipeNote second = b->second;
            const float gap_s = second.start_s() - first.getEnd_s();
            if (first.noteName() == second.noteName() && 0.15f > gap_s) {
                const float start_s = std::min(first.start_s(), second.start_s());
                const float end_s = std::max(first.getEnd_s(), second.getEnd_s());
                result.erase(a);
                result.erase(b);
                a = result.insert({start_s, PipeNote(first.noteName(), start_s, end_s - start_s)});
            } else if (gap_s < 0.0f) {
                // The later note gives way; ending inside the earlier one leaves it a negative duration.
                result.erase(b);
                insertNote(result, PipeNote(second.noteName(), first.getEnd_s(), second.getEnd_s() - first.getEnd_s()));
            } else {
                a = b;
            }
        }
    } while (result.size() != sizeBefore);
    return result;
}

void Ceolmark::stripCrossingNoises()
{
    // Between a high note and low G the finger passes low A for a moment.
    const std::set<PipeNoteName> high{E, F, HG, HA};
    const PipeNotePattern::Item crossing(LA, TimeRange(0.005f, 0.1f));
    PipeNotePattern pattern(0.2f, 0.15f, 0.005f);
    pattern.items = {PipeNotePattern::Item(high), crossing, PipeNotePattern::Item(LG)};
    for (const PipeNotePattern::Match& match : detectPattern(pattern, false)) {
        const std::vector<PipeNote> notes = match.notesInOrder();
        const PipeNote& la = notes[1];
        const PipeNote& lg = notes[2];
        mConsolidatedNotes.erase(la.start_s());
        const auto entry = mConsolidatedNotes.find(lg.start_s());
        if (entry == mConsolidatedNotes.end())
            continue;
        mConsolidatedNotes.erase(entry);
        insertNote(mConsolidatedNotes, PipeNote(LG, la.start_s(), lg.getEnd_s() - la.start_s()));
    }

    pattern.clear();
    pattern.items = {PipeNotePattern::Item(LG), crossing, PipeNotePattern::Item(high)};
    for (const PipeNotePattern::Match& match : detectPattern(pattern, false)) {
        const std::vector<PipeNote> notes = match.notesInOrder();
        const PipeNote& lg = notes[0];
        const PipeNote& la = notes[1];
        mConsolidatedNotes.erase(la.start_s());
        const auto entry = mConsolidatedNotes.find(lg.start_s());
        if (entry != mConsolidatedNotes.end())
            entry->second.setDuration_s(la.getEnd_s() - entry->second.start_s());
    }
}

std::vector<float> Ceolmark::findConfirmedTroughs(TimeRange range, float centre_Hz, float minimumDepth_Hz,
    float maximumDepth_Hz, float distance_s, float minimumQualityDepth, float maximumQualityDepth,
    float qualityDistance_s)
{
    std::vector<float> result;
    const float span_s = range.second - range.first;
    if (!(span_s >= 2 * distance_s) || !(span_s >= 2 * qualityDistance_s))
        return result;
    const int block = int(0.003 * mSamplingFrequency_Hz / mFrameHop_samples);
    const int first = int(range.first * mSamplingFrequency_Hz / mFrameHop_samples);
    const int last = int(range.second * mSamplingFrequency_Hz / mFrameHop_samples);

    const float band_Hz = std::max(maximumDepth_Hz, float(0.1 * centre_Hz));
    const std::vector<float> f
        = smoothSamples(mFrequencies, block, first, last, centre_Hz - band_Hz, centre_Hz + band_Hz, maximumDepth_Hz);
    const std::vector<int> ft = detectTroughs(
        f, int(mSamplingFrequency_Hz * distance_s / (mFrameHop_samples * block)), minimumDepth_Hz, maximumDepth_Hz);
    const std::vector<float> q = smoothSamples(mQualities, block, first, last, 0.0f, 1.0f, maximumQualityDepth);
    const std::vector<int> qt
        = detectTroughs(q, int(mSamplingFrequency_Hz * qualityDistance_s / (mFrameHop_samples * block)),
            minimumQualityDepth, maximumQualityDepth);

    const auto timeOf = [&](int index) { return float(index * block * mFrameHop_samples) / mSamplingFrequency_Hz; };
    for (int index : ft) {
        const float time_s = timeOf(index);
        const TimeRange window(time_s - 0.04, time_s + 0.04);
        for (int qualityIndex : qt) {
            if (isInRange(window, timeOf(qualityIndex))) {
                result.push_back(time_s);
                break;
            }
        }
    }
    return result;
}
