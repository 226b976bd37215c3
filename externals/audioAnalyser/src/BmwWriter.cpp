#include "BmwWriter.h"

#include "BmwCode.h"
#include "PipeTuneQuantizer.h"

#include <QDebug>

#include <algorithm>
#include <cctype>

namespace {

const char kStaffStart[] = "& sharpf sharpc";

} // namespace

std::string BmwWriter::generateHeaders() const
{
    const char* const lines[] = {
        "Bagpipe Music Writer Gold:1.0",
        "",
        "MIDINoteMappings,(54,56,58,59,61,63,64,66,68,56,58,60,61,63,65,66,68,70,55,57,59,60,62,64,65,67,69)",
        "FrequencyMappings,(370,415,466,494,554,622,659,740,831,415,466,523,554,622,699,740,831,932,392,440,494,523,"
        "587,659,699,784,880)",
        "InstrumentMappings,(71,71,45,33,1000,60,70)",
        "GracenoteDurations,(20,40,30,50,100,200,800,1200,250,250,250,500,200)",
        "FontSizes,(90,100,100,80,250)",
        "TuneFormat,(1,0,F,L,500,500,500,500,P,0,0)",
        "",
        "\"Automatic music transcription from audio by Ceolmark, the Ceolmark developers, "
        "https://ceolmark.example.org\"",
    };
    std::string text;
    for (const char* line : lines)
        text.append(line).append(winEol);
    text.append("\"" + tuneName + "\",(T,C,0,0,Times New Roman,16,700,0,0,18,0,0,0)").append(winEol);
    text.append("\"" + tuneType + "\",(Y,L,0,0,Times New Roman,12,700,255,0,18,0,0,0)").append(winEol);
    text.append("\"" + composer + "\",(M,R,0,0,Times New Roman,12,700,255,0,18,0,0,0)").append(winEol);
    text.append("\"Transcribed with Ceolmark\",(F,R,0,0,Times New Roman,8,400,0,0,18,0,0,0)").append(winEol);
    text.append(winEol).append(winEol);
    return text;
}

std::string BmwWriter::itemToBmw(const PipeTuneModel::Item& item) const
{
    const BmwCode code = toBmwCode(item.noteName);
    if (code == BmwCode::Unknown) {
        qDebug() << "Unknown item " << toString(item.noteName).c_str();
        return std::string();
    }
    const std::string note = toString(code);
    if (!isMelodyNote(code))
        return note;

    std::string text = note;
    if (item.flag == PipeTuneModel::NoteFlagRight)
        text += "r";
    else if (item.flag == PipeTuneModel::NoteFlagLeft)
        text += "l";
    text += "_" + std::to_string(item.duration);
    if (item.dots != 0) {
        std::string lower = note;
        std::transform(
            lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return char(std::tolower(c)); });
        text += " " + std::string(std::max(item.dots, 0), '\'') + lower;
    }
    return text;
}

std::string BmwWriter::write(const PipeTuneModel& model) const
{
    const int numerator = model.timeSigNumerator();
    const int denominator = model.timeSigDenominator();
    // Compound time is beaten in dotted crotchets, two to the bar.
    const bool compound = denominator == 8;
    const int beatsPerBar = compound ? 2 : numerator;
    const int beatFactor = compound ? 3 : 1;
    const int beat32 = beatFactor * getDurationIn32s(denominator);
    const int bar32 = beatsPerBar * beat32;

    std::string text = generateHeaders();
    text += std::string(kStaffStart) + " " + std::to_string(numerator) + "_" + std::to_string(denominator);

    for (size_t p = 0; p < model.parts.size(); ++p) {
        const PipeTuneModel::Part& part = model.parts[p];
        // A short first bar is a pick-up: it starts on the key signature's line.
        const bool anacrusis = !part.bars.empty() && 2 * part.bars.front().totalDuration32() < bar32;
        text += anacrusis ? " " : winEol;
        text += "I";

        bool afterLineBreak = false;
        for (size_t b = 0; b < part.bars.size(); ++b) {
            const PipeTuneModel::Bar& bar = part.bars[b];
            if (!afterLineBreak)
                text += "!";
            if (b == 0 && part.repeat)
                text += "''";

            int counted32 = 0;
            bool beatStart = true;
            for (const PipeTuneModel::Item& item : bar.items) {
                text += beatStart ? "\t" : " ";
                beatStart = false;
                text += itemToBmw(item);
                if (!isMelodyNote(item.noteName))
                    continue;
                counted32 += item.totalDuration32();
                if (counted32 >= beat32) {
                    beatStart = true;
                    counted32 = 0;
                }
            }

            if (b + 1 == part.bars.size()) {
                text += part.repeat ? " ''!I" : " !I";
                for (int i = 0; i < 4; ++i)
                    text += winEol;
                if (p + 1 != model.parts.size())
                    text += kStaffStart;
                afterLineBreak = true;
            } else if (bar.rowBreak) {
                text += std::string(" !t") + winEol + winEol + kStaffStart + winEol;
                afterLineBreak = true;
            } else {
                text += winEol;
                afterLineBreak = false;
            }
        }
    }
    return text;
}
