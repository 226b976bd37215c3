#include "TimeSignature.h"

namespace {

struct SignatureInfo {
    TimeSignature signature;
    const char* text;
    int beats;
    int beatUnit;
};

const SignatureInfo kSignatures[] = {
    {TimeSignature4_4, "4/4", 4, 4},
    {TimeSignature3_4, "3/4", 3, 4},
    {TimeSignature2_4, "2/4", 2, 4},
    {TimeSignatureCutCommon, "Cut common time (Reel)", 2, 2},
    {TimeSignature6_8, "6/8", 6, 8},
};

const SignatureInfo* find(TimeSignature signature)
{
    for (const SignatureInfo& info : kSignatures)
        if (info.signature == signature)
            return &info;
    return nullptr;
}

} // namespace

QString toQString(TimeSignature signature)
{
    const SignatureInfo* info = find(signature);
    return info ? QString::fromLatin1(info->text) : QStringLiteral("Unknown");
}

void timeSignatureComponents(TimeSignature signature, int& beats, int& beatUnit)
{
    if (const SignatureInfo* info = find(signature)) {
        beats = info->beats;
        beatUnit = info->beatUnit;
    }
}

bool timeSignatureFromComponents(int beats, int beatUnit, TimeSignature& signature)
{
    for (const SignatureInfo& info : kSignatures) {
        if (info.beats == beats && info.beatUnit == beatUnit) {
            signature = info.signature;
            return true;
        }
    }
    return false;
}
