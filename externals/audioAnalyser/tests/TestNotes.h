#pragma once

#include "PipeNote.h"
#include "PipeTuning.h"

#include <cstdio>
#include <string>
#include <vector>

// Helpers for tests over notes, note maps and tunings.
inline NoteMap mapOf(const std::vector<PipeNote>& notes)
{
    NoteMap map;
    for (const PipeNote& note : notes)
        map.insert({note.start_s(), note});
    return map;
}

inline const PipeNote& noteOf(const PipeNote& note) { return note; }
inline const PipeNote& noteOf(const NoteMap::value_type& entry) { return entry.second; }

// "LA@0.5+0.25 D@..." in key order: readable failure messages for whole maps.
inline std::string describe(const NoteMap& map)
{
    std::string text;
    for (const auto& entry : map) {
        if (!text.empty())
            text += " ";
        text += toString(entry.second.noteName()) + "@" + std::to_string(entry.second.start_s()) + "+"
            + std::to_string(entry.second.duration_s());
    }
    return text;
}

// "name@start" in order, without durations, for where only the names and starts matter.
template <typename Notes> std::string startsOf(const Notes& notes)
{
    std::string text;
    for (const auto& item : notes) {
        char buffer[64];
        std::snprintf(buffer, sizeof buffer, "%s%s@%.3f", text.empty() ? "" : " ",
            toString(noteOf(item).noteName()).c_str(), noteOf(item).start_s());
        text += buffer;
    }
    return text;
}

// The names of a NoteMap or a vector of notes, in order.
template <typename Notes> std::vector<PipeNoteName> namesOf(const Notes& notes)
{
    std::vector<PipeNoteName> names;
    for (const auto& item : notes)
        names.push_back(noteOf(item).noteName());
    return names;
}

// The harmonic tuning on the given low A.
inline PipeTuning harmonicTuning(double lowA_Hz)
{
    PipeTuning tuning;
    tuning.setLowA_Hz(float(lowA_Hz));
    return tuning;
}
