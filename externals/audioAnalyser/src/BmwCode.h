#pragma once

#include "PipeNoteName.h"

#include <cstdint>
#include <ostream>
#include <string>

// The tokens of the Bagpipe Music Writer text format. The values are fixed: melody notes, grace
// notes and movements follow PipeNoteName in the same order, offset by 9, and the strikes by 27.
enum class BmwCode : int32_t {
    Unknown = 0,
    Staff, // "&"
    RepeatStart, // "I!''"
    PartStart, // "I!"
    RepeatEnd, // "''!I"
    PartEnd, // "!I"
    BarLine, // "!"
    StaffEnd, // "!t"
    SharpF,
    SharpC,
    LG = 10,
    LA,
    B,
    C,
    D,
    E,
    F,
    HG,
    HA,
    ag = 19,
    bg,
    cg,
    dg,
    eg,
    fg,
    gg,
    tg,
    dblg = 27,
    dbla,
    dbb,
    dbc,
    dbd,
    dbe,
    dbf,
    dbhg,
    dbha,
    tdblg = 36,
    tdbla,
    tdbb,
    tdbc,
    tdbd,
    tdbe,
    tdbf,
    hdblg = 43,
    hdbla,
    hdbb,
    hdbc,
    hdbd,
    hdbe,
    hdbf,
    grp = 50,
    thrd,
    hthrd,
    tar,
    tarb,
    brl,
    abr,
    gbr,
    tbr,
    DotLG = 59,
    DotLA,
    DotB,
    DotC,
    DotD,
    DotE,
    DotF,
    DotHG,
    DotHA,
    DoubleDotLG = 68,
    DoubleDotLA,
    DoubleDotB,
    DoubleDotC,
    DoubleDotD,
    DoubleDotE,
    DoubleDotF,
    DoubleDotHG,
    DoubleDotHA,
    strlg = 77,
    strla,
    strb,
    strc,
    strd,
    stre,
    strf,
    strhg,
};

constexpr int32_t kLastBmwCode = int32_t(BmwCode::strhg);

// The token's text; "Unknown" for 0 and for any value outside the table.
std::string toString(BmwCode code);
std::ostream& operator<<(std::ostream& os, BmwCode code);

// The token that writes a note name; Unknown (logged) for names outside the vocabulary.
BmwCode toBmwCode(PipeNoteName name);
// The inverse; Unknown for the structural and dot tokens, logged for values outside the table.
PipeNoteName toPipeNoteName(BmwCode code);
// 1 for the single-dot tokens, 2 for the double-dot tokens, otherwise 0.
int numDots(BmwCode code);
bool isMelodyNote(BmwCode code);
