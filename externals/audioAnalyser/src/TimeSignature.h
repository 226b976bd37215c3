#pragma once

#include <QString>

#include <cstdint>

enum TimeSignature : int32_t {
    TimeSignature4_4 = 0,
    TimeSignature3_4 = 1,
    TimeSignature2_4 = 2,
    TimeSignatureCutCommon = 3, // 2/2, the reel
    TimeSignature6_8 = 4,
};

// "4/4", ..., "Cut common time (Reel)", "6/8"; "Unknown" for any other value.
QString toQString(TimeSignature signature);
// Leaves beats and beatUnit unchanged for an unknown value.
void timeSignatureComponents(TimeSignature signature, int& beats, int& beatUnit);
// True and writes signature for the five known pairs; otherwise false and writes nothing.
bool timeSignatureFromComponents(int beats, int beatUnit, TimeSignature& signature);
