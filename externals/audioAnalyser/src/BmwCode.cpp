#include "BmwCode.h"

#include <QDebug>

namespace {

// The double-dot row repeats "''b" and has "'bd" for D, as the vocabulary has always had it. The
// export builds its dots from the note text and never writes these tokens, so they stay as found.
const char* const kCodeTexts[] = {"Unknown", "&", "I!''", "I!", "''!I", "!I", "!", "!t", "sharpf", "sharpc", "LG", "LA",
    "B", "C", "D", "E", "F", "HG", "HA", "ag", "bg", "cg", "dg", "eg", "fg", "gg", "tg", "dblg", "dbla", "dbb", "dbc",
    "dbd", "dbe", "dbf", "dbhg", "dbha", "tdblg", "tdbla", "tdbb", "tdbc", "tdbd", "tdbe", "tdbf", "hdblg", "hdbla",
    "hdbb", "hdbc", "hdbd", "hdbe", "hdbf", "grp", "thrd", "hthrd", "tar", "tarb", "brl", "abr", "gbr", "tbr", "'lg",
    "'la", "'b", "'c", "'d", "'e", "'f", "'hg", "'ha", "''lg", "''la", "''b", "''b", "'bd", "''e", "''f", "''hg",
    "''ha", "strlg", "strla", "strb", "strc", "strd", "stre", "strf", "strhg"};
static_assert(sizeof(kCodeTexts) / sizeof(kCodeTexts[0]) == kLastBmwCode + 1, "one text per code");

// Offsets between the two numberings.
constexpr int kNoteOffset = int(BmwCode::LG) - int(LG);
constexpr int kStrikeOffset = int(BmwCode::strlg) - int(strlg);

bool inRange(BmwCode code, BmwCode first, BmwCode last) { return code >= first && code <= last; }

} // namespace

std::string toString(BmwCode code)
{
    const int value = int(code);
    return value >= 0 && value <= kLastBmwCode ? kCodeTexts[value] : kCodeTexts[0];
}

std::ostream& operator<<(std::ostream& os, BmwCode code) { return os << toString(code); }

BmwCode toBmwCode(PipeNoteName name)
{
    if (name == Unknown)
        return BmwCode::Unknown;
    if (name >= LG && name <= tbr)
        return BmwCode(name + kNoteOffset);
    if (name >= strlg && name <= strhg)
        return BmwCode(name + kStrikeOffset);
    qDebug() << "No BWW code for" << toString(name).c_str();
    return BmwCode::Unknown;
}

PipeNoteName toPipeNoteName(BmwCode code)
{
    if (inRange(code, BmwCode::Unknown, BmwCode::SharpC) || inRange(code, BmwCode::DotLG, BmwCode::DoubleDotHA))
        return Unknown;
    if (inRange(code, BmwCode::LG, BmwCode::tbr))
        return PipeNoteName(int(code) - kNoteOffset);
    if (inRange(code, BmwCode::strlg, BmwCode::strhg))
        return PipeNoteName(int(code) - kStrikeOffset);
    qDebug() << "No note name for BWW code" << int(code);
    return Unknown;
}

int numDots(BmwCode code)
{
    if (inRange(code, BmwCode::DotLG, BmwCode::DotHA))
        return 1;
    if (inRange(code, BmwCode::DoubleDotLG, BmwCode::DoubleDotHA))
        return 2;
    return 0;
}

bool isMelodyNote(BmwCode code) { return inRange(code, BmwCode::LG, BmwCode::HA); }
