#include "CeolmarkUtils.h"

#include "DominantNote.h"

#include <QDebug>

#include <algorithm>
#include <cfloat>
#include <cmath>

void insertNote(NoteMap& notes, const PipeNote& note) { notes.insert({note.start_s(), note}); }

NoteMap filterByNote(PipeNoteName name, const NoteMap& notes)
{
    NoteMap result;
    for (const auto& entry : notes)
        if (entry.second.noteName() == name)
            result.insert(entry);
    return result;
}

NoteMap filterByDuration(const NoteMap& notes, float min_s, float max_s)
{
    NoteMap result;
    for (const auto& entry : notes)
        if (isInRange({min_s, max_s}, entry.second.duration_s()))
            insertNote(result, entry.second);
    return result;
}

NoteMap notesOverlappingRange(const NoteMap& notes, TimeRange range, float tolerance_s)
{
    NoteMap result;
    for (const auto& entry : notes) {
        const PipeNote& note = entry.second;
        if (range.second + tolerance_s > note.start_s() && note.getEnd_s() > range.first - tolerance_s)
            insertNote(result, note);
    }
    return result;
}

NoteMap notesEndingAt(const NoteMap& notes, float time_s, float tolerance_s)
{
    NoteMap result;
    const TimeRange window(time_s - tolerance_s, time_s + tolerance_s);
    for (const auto& entry : notes)
        if (isInRange(window, entry.second.getEnd_s()))
            insertNote(result, entry.second);
    return result;
}

NoteMap notesStartingAt(const NoteMap& notes, float time_s, float tolerance_s)
{
    NoteMap result;
    const TimeRange window(time_s - tolerance_s, time_s + tolerance_s);
    for (auto it = notes.lower_bound(window.first); it != notes.end() && window.second > it->first; ++it)
        insertNote(result, it->second);
    return result;
}

NoteMap constrainNotes(const NoteMap& notes, TimeRange range)
{
    NoteMap result;
    for (const auto& entry : notes) {
        PipeNote note = entry.second;
        if (range.first > note.start_s()) {
            const float end_s = note.getEnd_s();
            note.setStart_s(range.first);
            note.setDuration_s(end_s - range.first);
        }
        if (note.duration_s() > range.second - note.start_s())
            note.setDuration_s(range.second - note.start_s());
        if (note.duration_s() > 0.0f)
            insertNote(result, note);
    }
    return result;
}

NoteMap::iterator getIteratorForNote(PipeNote note, NoteMap& notes)
{
    const TimeRange window(note.start_s() - 0.001, note.start_s() + 0.001);
    for (auto it = notes.begin(); it != notes.end(); ++it)
        if (it->second.noteName() == note.noteName() && isInRange(window, it->second.start_s()))
            return it;
    return notes.end();
}

void timeShiftNotes(
    float shift_s, const NoteMap& melody, const NoteMap& gracing, NoteMap& melodyOut, NoteMap& gracingOut)
{
    for (const auto& entry : melody) {
        PipeNote note = entry.second;
        note.setStart_s(note.start_s() + shift_s);
        if (!(note.getEnd_s() > 0.0f))
            continue;
        if (note.start_s() < 0.0f) {
            note.setDuration_s(std::max(note.duration_s() - std::fabs(note.start_s()), 0.0f));
            note.setStart_s(0.0f);
        }
        insertNote(melodyOut, note);
    }
    // Grace notes keep a negative start: the melody note they lead into still needs them.
    for (const auto& entry : gracing) {
        PipeNote note = entry.second;
        note.setStart_s(note.start_s() + shift_s);
        if (note.getEnd_s() >= 0.0f)
            insertNote(gracingOut, note);
    }
}

void splitMelodyAndGraceNotes(const std::vector<PipeNote>& notes, NoteMap& melody, NoteMap& gracing)
{
    for (const PipeNote& note : notes)
        insertNote(isMelodyNote(note.noteName()) ? melody : gracing, note);
}

std::vector<PipeNote> combineMelodyAndGraceNotes(const NoteMap& melody, const NoteMap& gracing)
{
    std::vector<PipeNote> result;
    result.reserve(melody.size() + gracing.size());
    auto m = melody.begin();
    auto g = gracing.begin();
    while (m != melody.end() && g != gracing.end()) {
        const float mStart_s = m->second.start_s();
        const float gStart_s = g->second.start_s();
        if (isInRange(TimeRange(mStart_s - 0.001f, mStart_s + 0.001f), gStart_s)) {
            result.push_back(g++->second);
            result.push_back(m++->second);
        } else if (mStart_s > gStart_s) {
            result.push_back(g++->second);
        } else {
            result.push_back(m++->second);
        }
    }
    for (; m != melody.end(); ++m)
        result.push_back(m->second);
    for (; g != gracing.end(); ++g)
        result.push_back(g->second);
    return result;
}

void simpleCombineNotes(NoteMap& notes, float maxGap_s)
{
    if (notes.empty())
        return;
    size_t sizeBefore;
    do {
        sizeBefore = notes.size();
        auto a = notes.begin();
        while (a != notes.end()) {
            auto b = std::next(a);
            if (b == notes.end())
                break;
            const PipeNote& first = a->second;
            const PipeNote& second = b->second;
            if (maxGap_s > second.start_s() - first.getEnd_s()) {
                const float start_s = std::min(first.start_s(), second.start_s());
                const float end_s = std::max(first.getEnd_s(), second.getEnd_s());
                const PipeNote merged(first.noteName(), start_s, end_s - start_s);
                notes.erase(a);
                notes.erase(b);
                a = notes.insert({merged.start_s(), merged});
            } else {
                a = b;
            }
        }
    } while (notes.size() != sizeBefore);
}

void combineNotes(NoteMap& notes, PipeNoteName name, std::set<PipeNoteName> alwaysCombine,
    std::set<PipeNoteName> shortCombine, float maxGap_s, float maxDuration_s)
{
    NoteMap result;
    auto it = notes.begin();
    while (it != notes.end()) {
        const PipeNote& a = it->second;
        const auto next = std::next(it);
        const auto copyAndStep = [&]() {
            insertNote(result, a);
            ++it;
        };
        if (next == notes.end() || !(maxGap_s > next->second.start_s() - a.getEnd_s())) {
            copyAndStep();
            continue;
        }
        const PipeNote& b = next->second;
        const PipeNote* other = nullptr;
        if (a.noteName() == name) {
            if (!(b.duration_s() < maxDuration_s)) {
                copyAndStep();
                continue;
            }
            other = &b;
        } else if (b.noteName() == name) {
            other = &a;
        } else {
            copyAndStep();
            continue;
        }
        const bool combine = (shortCombine.count(other->noteName()) && other->duration_s() < maxDuration_s)
            || alwaysCombine.count(other->noteName());
        if (!combine) {
            copyAndStep();
            continue;
        }
        insertNote(result, PipeNote(name, a.start_s(), b.getEnd_s() - a.start_s()));
        it = std::next(next);
    }
    notes.swap(result);
}

void recursiveCombineNotes(NoteMap& notes, PipeNoteName name, std::set<PipeNoteName> alwaysCombine,
    std::set<PipeNoteName> shortCombine, float maxGap_s, float maxDuration_s)
{
    if (notes.empty())
        return;
    size_t sizeBefore;
    do {
        sizeBefore = notes.size();
        combineNotes(notes, name, alwaysCombine, shortCombine, maxGap_s, maxDuration_s);
    } while (notes.size() != sizeBefore);
}

void trimUsingExisting(const NoteMap& existing, NoteMap& target)
{
    NoteMap result;
    for (const auto& entry : target) {
        const PipeNote& note = entry.second;
        const float s = note.start_s();
        const float e = note.getEnd_s();
        const TimeRange span(s, e);

        std::vector<const PipeNote*> overlaps;
        for (const auto& x : existing)
            if (x.second.getEnd_s() > s && e > x.second.start_s())
                overlaps.push_back(&x.second);
        if (overlaps.empty()) {
            insertNote(result, note);
            continue;
        }

        float lo = s;
        float hi = e;
        float left = 0.0f;
        bool finished = false; // covered or split: nothing more to add
        for (const PipeNote* x : overlaps) {
            const float xStart_s = x->start_s();
            const float xEnd_s = x->getEnd_s();
            if (lo > xStart_s && xEnd_s > hi) {
                finished = true;
                break;
            }
            if (isInRange(span, xStart_s) && isInRange(span, xEnd_s)) {
                PipeNote before = note;
                before.setDuration_s(xStart_s - s);
                insertNote(result, before);
                PipeNote after = note;
                after.setStart_s(xEnd_s);
                after.setDuration_s(e - xEnd_s);
                insertNote(result, after);
                finished = true;
                break;
            }
            if (isInRange(span, xEnd_s))
                lo = std::max(lo, xEnd_s);
            if (isInRange(span, xStart_s))
                hi = std::min(hi, xStart_s);
            left = hi - lo;
            if (left <= 0.0f)
                break;
        }
        if (!finished && left > 0.0f) {
            PipeNote rest = note;
            rest.setStart_s(lo);
            rest.setDuration_s(left);
            insertNote(result, rest);
        }
    }
    target.swap(result);
}

NoteMap extractNotes(const std::vector<PipeTuning::ReferenceNote>& frameNotes, float minDuration_s, float maxDuration_s,
    float framePeriod_s)
{
    NoteMap result;
    if (frameNotes.empty())
        return result;
    DominantNote dominant(frameNotes, unsigned(minDuration_s / framePeriod_s));
    PipeTuning::ReferenceNote current = PipeTuning::Unknown;
    float currentStart_s = 0.0f;
    const TimeRange kept(minDuration_s, maxDuration_s);
    const unsigned last = unsigned(frameNotes.size() - 1);
    for (unsigned i = 0; i <= last; ++i) {
        const PipeTuning::ReferenceNote d = dominant.atPos(i, false);
        if (d == current && i != last)
            continue;
        // A note ends at the first frame of its successor in the window, not where the majority flipped.
        const float change_s = float(dominant.getNoteChangePos(d)) * framePeriod_s;
        if (current != PipeTuning::Unknown) {
            const float length_s = change_s - currentStart_s;
            if (isInRange(kept, length_s))
                insertNote(result, PipeNote(referenceNoteToNoteName(current), change_s - length_s, length_s));
        }
        currentStart_s = change_s;
        current = d;
    }
    return result;
}

std::vector<float> smoothSamples(
    const std::vector<float>& values, int window, int first, int last, float minValue, float maxValue, float maxRange)
{
    std::vector<float> result;
    const int count = (last - first) / window;
    if (count <= 0)
        return result;
    result.reserve(size_t(count));
    const TimeRange accepted(minValue, maxValue);
    for (int block = 0; block < count; ++block) {
        double sum = 0.0;
        int counted = 0;
        float least = FLT_MAX;
        float greatest = FLT_MIN;
        const int begin = first + block * window;
        for (int i = begin; i < begin + window; ++i) {
            const float value = values.at(size_t(i));
            if (!isInRange(accepted, value))
                continue;
            sum += value;
            ++counted;
            least = std::min(least, value);
            greatest = std::max(greatest, value);
        }
        const bool valid = maxRange > greatest - least && counted >= window * 0.5;
        result.push_back(valid ? float(sum / counted) : 0.0f);
    }
    return result;
}

float calcWindowAverage(const std::vector<float>& values, int first, int count, float minValidFraction)
{
    const long end = std::min(long(first) + count, long(values.size()));
    double sum = 0.0;
    int nonZero = 0;
    for (long i = first; i < end; ++i) {
        const float value = values.at(size_t(i));
        if (value != 0.0f) {
            sum += value;
            ++nonZero;
        }
    }
    if (nonZero > count * minValidFraction)
        return float(sum / nonZero);
    return 0.0f;
}

bool validTrough(const std::vector<float>& values, int position, int distance, float minimumDepth, float& left,
    float& middle, float& right)
{
    left = values.at(size_t(position));
    middle = values.at(size_t(position + distance));
    right = values.at(size_t(position + 2 * distance));
    if (left == 0.0f || middle == 0.0f || right == 0.0f)
        return false;
    int zeros = 0;
    for (int i = position; i <= position + 2 * distance; ++i)
        if (values.at(size_t(i)) == 0.0f)
            ++zeros;
    if (!(zeros < 2 * distance * 0.1))
        return false;
    if (!(right > middle && left > middle))
        return false;
    if (!(left - middle > minimumDepth))
        return false;
    // Only half the depth on the right: the pitch recovers more slowly than it falls.
    return right - middle > minimumDepth * 0.5f;
}

std::vector<int> detectTroughs(const std::vector<float>& values, int distance, float minimumDepth, float maximumDepth)
{
    std::vector<int> result;
    const int limit = int(values.size()) - 2 * distance;
    if (limit < 1)
        return result;
    int p = 0;
    while (p < limit) {
        float best = 1000000.0f;
        int bestIndex = -1;
        for (int q = p; q < limit; ++q) {
            float left, middle, right;
            if (!validTrough(values, q, distance, minimumDepth, left, middle, right))
                break;
            if (!(best > values.at(size_t(q + distance))))
                break;
            best = values[size_t(q + distance)];
            bestIndex = q + distance;
        }
        if (bestIndex < 0) {
            ++p;
            continue;
        }
        const float bottom = values.at(size_t(bestIndex));
        const float depth = std::max(
            values.at(size_t(bestIndex - distance)) - bottom, values.at(size_t(bestIndex + distance)) - bottom);
        if (maximumDepth > depth) {
            result.push_back(bestIndex);
            p = bestIndex + distance + 1;
        } else {
            ++p;
        }
    }
    return result;
}

void outputNotes(std::string label, const NoteMap& notes)
{
    qDebug().noquote() << "Ceolmark:" << QString::fromStdString(label);
    float previousEnd_s = 0.0f;
    bool first = true;
    for (const auto& entry : notes) {
        const PipeNote& note = entry.second;
        const float diff_s = first ? 0.0f : note.start_s() - previousEnd_s;
        qDebug().nospace().noquote() << note.start_s() << " - " << note.getEnd_s() << " = "
                                     << QString::fromStdString(toString(note.noteName()))
                                     << " dur: " << note.duration_s() << " diff: " << diff_s;
        previousEnd_s = note.getEnd_s();
        first = false;
    }
    qDebug().noquote() << " ";
}
