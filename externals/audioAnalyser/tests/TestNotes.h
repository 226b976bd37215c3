#pragma once

#include "PipeNote.h"

#include <string>
#include <vector>

// Helpers for tests over note maps.
inline NoteMap mapOf(const std::vector<PipeNote>& notes)
{
    NoteMap map;
    for (const PipeNote& note : notes)
        map.insert({note.start_s(), note});
    return map;
}

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

inline std::vector<PipeNoteName> namesOf(const NoteMap& map)
{
    std::vector<PipeNoteName> names;
    for (const auto& entry : map)
        names.push_back(entry.second.noteName());
    return names;
}
