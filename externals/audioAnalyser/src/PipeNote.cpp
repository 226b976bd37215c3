#include "PipeNote.h"

#include <sstream>

PipeNote::PipeNote(PipeNoteName name, float start_s, float duration_s)
    : mNoteName(name)
    , mStart_s(start_s)
    , mDuration_s(duration_s)
{
}

std::ostream& operator<<(std::ostream& os, const PipeNote& note)
{
    return os << "{" << note.noteName() << ", s: " << note.start_s() << " + (" << note.melodyNoteStartOffset_s()
              << "), d: " << note.duration_s() << "}";
}

std::string toString(const PipeNote& note)
{
    std::ostringstream os;
    os << note;
    return os.str();
}
