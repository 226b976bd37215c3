#pragma once

#include "PipeNoteName.h"

#include <QMetaType>

#include <map>
#include <ostream>
#include <string>

// One timed note: a melody note, a grace note or a whole movement. A value type.
class PipeNote {
public:
    PipeNote() = default;
    PipeNote(PipeNoteName name, float start_s, float duration_s);
    virtual ~PipeNote() = default;
    PipeNote(const PipeNote&) = default;
    PipeNote& operator=(const PipeNote&) = default;

    PipeNoteName noteName() const { return mNoteName; }
    void setNoteName(PipeNoteName name) { mNoteName = name; }
    float start_s() const { return mStart_s; }
    void setStart_s(float start_s) { mStart_s = start_s; }
    float duration_s() const { return mDuration_s; }
    void setDuration_s(float duration_s) { mDuration_s = duration_s; }
    // Identity given by the transcription; 0 until set.
    int32_t id() const { return mId; }
    void setId(int32_t id) { mId = id; }
    // For a grace note or movement: seconds from start_s to the melody note it ornaments.
    float melodyNoteStartOffset_s() const { return mMelodyNoteStartOffset_s; }
    void setMelodyNoteStartOffset_s(float offset_s) { mMelodyNoteStartOffset_s = offset_s; }

    float getEnd_s() const { return mStart_s + mDuration_s; }
    float melodyNoteStart_s() const { return mStart_s + mMelodyNoteStartOffset_s; }

private:
    PipeNoteName mNoteName = Unknown;
    float mStart_s = 0.0f;
    float mDuration_s = 0.0f;
    int32_t mId = 0;
    float mMelodyNoteStartOffset_s = 0.0f;
};

// Start time in seconds to note, ascending; equal keys keep their insertion order.
// The key equals the note's start_s: code that moves a note must reinsert it.
typedef std::multimap<float, PipeNote> NoteMap;
Q_DECLARE_METATYPE(NoteMap)

// "{name, s: start + (offset), d: duration}"
std::string toString(const PipeNote& note);
std::ostream& operator<<(std::ostream& os, const PipeNote& note);
