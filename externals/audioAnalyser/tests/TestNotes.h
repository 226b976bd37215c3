#pragma once

#include "PipeNote.h"
#include "PipeTuning.h"

#include <cstdio>
#include <sstream>
#include <stdexcept>
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

// Notes written as "C@0.5+0.25 gg@1+0.03" (name@start_s+duration_s, the form describe
// writes), so that tables of inputs read like their expected outputs. The numbers are
// parsed to the nearest float, as float literals are.
inline std::vector<PipeNote> notesOf(const std::string& text)
{
    std::vector<PipeNote> notes;
    std::istringstream words(text);
    std::string word;
    while (words >> word) {
        const size_t at = word.find('@');
        const size_t plus = word.find('+', at);
        const PipeNoteName name = pipeNoteNameFromString(word.substr(0, at));
        if (name == Unknown || at == std::string::npos || plus == std::string::npos)
            throw std::invalid_argument("not a note: " + word);
        notes.emplace_back(name, std::stof(word.substr(at + 1, plus - at - 1)), std::stof(word.substr(plus + 1)));
    }
    return notes;
}

inline NoteMap mapOf(const std::string& text) { return mapOf(notesOf(text)); }
inline NoteMap mapOf(const char* text) { return mapOf(std::string(text)); }

inline const PipeNote& noteOf(const PipeNote& note) { return note; }
inline const PipeNote& noteOf(const NoteMap::value_type& entry) { return entry.second; }

// "LA@0.5+0.25 D@..." in key order, the form notesOf reads: seven significant digits show
// a float to about 1e-7 s. A key that is not the note's start is shown as "[key 1.5]".
inline std::string describe(const NoteMap& map)
{
    std::string text;
    for (const auto& entry : map) {
        char buffer[96];
        std::snprintf(buffer, sizeof buffer, "%s%s@%.7g+%.7g", text.empty() ? "" : " ",
            toString(entry.second.noteName()).c_str(), entry.second.start_s(), entry.second.duration_s());
        text += buffer;
        if (entry.first != entry.second.start_s()) {
            std::snprintf(buffer, sizeof buffer, "[key %.7g]", entry.first);
            text += buffer;
        }
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
