#include "PipeNoteName.h"

namespace {

const char* const kNoteTexts[] = {"Unknown", "LG", "LA", "B", "C", "D", "E", "F", "HG", "HA", "ag", "bg", "cg", "dg",
    "eg", "fg", "gg", "tg", "dblg", "dbla", "dbb", "dbc", "dbd", "dbe", "dbf", "dbhg", "dbha", "tdblg", "tdbla", "tdbb",
    "tdbc", "tdbd", "tdbe", "tdbf", "hdblg", "hdbla", "hdbb", "hdbc", "hdbd", "hdbe", "hdbf", "grp", "thrd", "hthrd",
    "tar", "tarb", "brl", "abr", "gbr", "tbr", "strlg", "strla", "strb", "strc", "strd", "stre", "strf", "strhg"};
static_assert(sizeof(kNoteTexts) / sizeof(kNoteTexts[0]) == kLastPipeNoteName + 1, "one text per name");

bool inRange(PipeNoteName name, int first, int last) { return name >= first && name <= last; }

} // namespace

bool isMelodyNote(PipeNoteName name) { return inRange(name, LG, HA); }

bool isSingleGraceNote(PipeNoteName name) { return inRange(name, ag, tg) || inRange(name, strlg, strhg); }

bool isPrimaryGracenote(PipeNoteName name) { return name == dg || name == eg || name == gg; }

bool isComplexMovement(PipeNoteName name) { return name > tg; }

bool isHalfDoubling(PipeNoteName name) { return inRange(name, hdblg, hdbf); }

PipeNoteType noteTypeFromName(PipeNoteName name)
{
    if (isMelodyNote(name))
        return MelodyNoteType;
    if (inRange(name, ag, tg))
        return SingleGraceNoteType;
    if (inRange(name, strlg, strhg))
        return StrikeNoteType;
    return OtherNoteType;
}

int melodyNoteOrdinalValue(PipeNoteName name) { return isMelodyNote(name) ? name - LG : -1; }

PipeNoteName melodyToSingleGraceNote(PipeNoteName name)
{
    // LG has no grace note of its own.
    return inRange(name, LA, HA) ? PipeNoteName(name - LA + ag) : Unknown;
}

PipeNoteName melodyToStrike(PipeNoteName name)
{
    return inRange(name, LG, HG) ? PipeNoteName(name - LG + strlg) : Unknown;
}

PipeNoteName graceNoteToMelodyNote(PipeNoteName name)
{
    return inRange(name, ag, tg) ? PipeNoteName(name - ag + LA) : Unknown;
}

PipeNoteName strikeToMelodyNote(PipeNoteName name)
{
    return inRange(name, strlg, strhg) ? PipeNoteName(name - strlg + LG) : Unknown;
}

std::vector<PipeNoteName> getNoteNames(PipeNoteName name)
{
    if (isMelodyNote(name))
        return {name};
    if (inRange(name, ag, tg))
        return {graceNoteToMelodyNote(name)};
    if (inRange(name, strlg, strhg))
        return {strikeToMelodyNote(name)};
    switch (name) {
    case dblg: return {HG, LG, D};
    case dbla: return {HG, LA, D};
    case dbb: return {HG, B, D};
    case dbc: return {HG, C, D};
    case dbd: return {HG, D, E};
    case dbe: return {HG, E, F};
    case dbf: return {HG, F, HG};
    case dbhg: return {HG, F};
    case dbha: return {HA, HG};
    case tdblg: return {HA, LG, D};
    case tdbla: return {HA, LA, D};
    case tdbb: return {HA, B, D};
    case tdbc: return {HA, C, D};
    case tdbd: return {HA, D, E};
    case tdbe: return {HA, E, F};
    // The thumb doubling on F deliberately shares the doubling's pattern.
    case tdbf: return {HG, F, HG};
    case hdblg: return {LG, D};
    case hdbla: return {LA, D};
    case hdbb: return {B, D};
    case hdbc: return {C, D};
    case hdbd: return {D, E};
    case hdbe: return {E, F};
    case hdbf: return {F, HG};
    case grp: return {LG, D, LG};
    case thrd: return {LG, D, C};
    case hthrd: return {D, C};
    case tar: return {LG, D, LG, E};
    case tarb: return {LG, B, LG, E};
    case brl: return {LG, LA, LG};
    case abr: return {LA, LG, LA, LG};
    case gbr: return {HG, LA, LG, LA, LG};
    case tbr: return {HA, LA, LG, LA, LG};
    default: return {};
    }
}

std::string toString(PipeNoteName name)
{
    return inRange(name, Unknown, kLastPipeNoteName) ? kNoteTexts[name] : kNoteTexts[0];
}

std::ostream& operator<<(std::ostream& os, PipeNoteName name) { return os << toString(name); }

PipeNoteName pipeNoteNameFromString(const std::string& text)
{
    for (int value = LG; value <= kLastPipeNoteName; ++value)
        if (text == kNoteTexts[value])
            return PipeNoteName(value);
    return Unknown;
}
