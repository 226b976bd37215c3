#include "CeolmarkUtils.h"

#include "TimeRange.h"

#include <algorithm>
#include <cmath>

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
        melodyOut.insert({note.start_s(), note});
    }
    // Grace notes keep a negative start: the melody note they lead into still needs them.
    for (const auto& entry : gracing) {
        PipeNote note = entry.second;
        note.setStart_s(note.start_s() + shift_s);
        if (note.getEnd_s() >= 0.0f)
            gracingOut.insert({note.start_s(), note});
    }
}

std::vector<PipeNote> combineMelodyAndGraceNotes(const NoteMap& melody, const NoteMap& gracing)
{
    std::vector<PipeNote> combined;
    combined.reserve(melody.size() + gracing.size());
    auto m = melody.begin();
    auto g = gracing.begin();
    while (m != melody.end() && g != gracing.end()) {
        const float melodyStart_s = m->second.start_s();
        const float graceStart_s = g->second.start_s();
        if (isInRange(TimeRange(melodyStart_s - 0.001f, melodyStart_s + 0.001f), graceStart_s)) {
            combined.push_back(g++->second);
            combined.push_back(m++->second);
        } else if (melodyStart_s > graceStart_s) {
            combined.push_back(g++->second);
        } else {
            combined.push_back(m++->second);
        }
    }
    for (; m != melody.end(); ++m)
        combined.push_back(m->second);
    for (; g != gracing.end(); ++g)
        combined.push_back(g->second);
    return combined;
}
