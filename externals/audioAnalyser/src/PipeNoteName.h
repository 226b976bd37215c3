#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

// Everything that can be recognised on a chanter. The values are fixed: the classifying
// functions work on ranges of them, and recording files and the BWW export store them.
enum PipeNoteName : int32_t {
    Unknown = 0,
    // melody notes
    LG = 1,
    LA,
    B,
    C,
    D,
    E,
    F,
    HG,
    HA,
    // single grace notes on LA..HA
    ag = 10,
    bg,
    cg,
    dg,
    eg,
    fg,
    gg,
    tg,
    // doublings
    dblg = 18,
    dbla,
    dbb,
    dbc,
    dbd,
    dbe,
    dbf,
    dbhg,
    dbha,
    // thumb doublings
    tdblg = 27,
    tdbla,
    tdbb,
    tdbc,
    tdbd,
    tdbe,
    tdbf,
    // half doublings
    hdblg = 34,
    hdbla,
    hdbb,
    hdbc,
    hdbd,
    hdbe,
    hdbf,
    grp = 41,
    thrd = 42,
    hthrd = 43,
    tar = 44,
    tarb = 45,
    brl = 46,
    abr,
    gbr,
    tbr,
    // strikes on LG..HG
    strlg = 50,
    strla,
    strb,
    strc,
    strd,
    stre,
    strf,
    strhg,
};

constexpr int32_t kLastPipeNoteName = strhg;

enum PipeNoteType : int32_t {
    OtherNoteType = 0,
    MelodyNoteType = 1,
    SingleGraceNoteType = 2,
    StrikeNoteType = 3,
};

// Classification and conversion. None has state; out-of-range names give the
// "nothing" result (false, 0, -1, an empty vector or "Unknown").
bool isMelodyNote(PipeNoteName name);
// True for the single grace notes and for the strikes.
bool isSingleGraceNote(PipeNoteName name);
// True for dg, eg and gg.
bool isPrimaryGracenote(PipeNoteName name);
// True for every value above 17, strikes included.
bool isComplexMovement(PipeNoteName name);
bool isHalfDoubling(PipeNoteName name);
PipeNoteType noteTypeFromName(PipeNoteName name);
// 0 for LG up to 8 for HA, -1 otherwise.
int melodyNoteOrdinalValue(PipeNoteName name);
PipeNoteName melodyToSingleGraceNote(PipeNoteName name);
PipeNoteName melodyToStrike(PipeNoteName name);
PipeNoteName graceNoteToMelodyNote(PipeNoteName name);
PipeNoteName strikeToMelodyNote(PipeNoteName name);
// The chanter notes the name is played as, in playing order.
std::vector<PipeNoteName> getNoteNames(PipeNoteName name);

std::string toString(PipeNoteName name);
std::ostream& operator<<(std::ostream& os, PipeNoteName name);
// The name that prints as text ("LA", "dbla", "strlg"); Unknown for any other text.
PipeNoteName pipeNoteNameFromString(const std::string& text);
