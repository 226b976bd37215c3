#include "BmwWriter.h"
#include "BmwCode.h"

#include <gtest/gtest.h>

namespace {

typedef PipeTuneModel::Item Item;
const PipeTuneModel::NoteFlag kNone = PipeTuneModel::NoteFlagNone;
const PipeTuneModel::NoteFlag kRight = PipeTuneModel::NoteFlagRight;
const PipeTuneModel::NoteFlag kLeft = PipeTuneModel::NoteFlagLeft;

PipeTuneModel::Bar makeBar(std::vector<Item> items, bool rowBreak = false)
{
    PipeTuneModel::Bar bar;
    bar.items = std::move(items);
    bar.rowBreak = rowBreak;
    return bar;
}

PipeTuneModel makeModel(int numerator, int denominator, std::vector<PipeTuneModel::Bar> bars, bool repeat = false)
{
    PipeTuneModel model;
    model.setTimeSigNumerator(numerator);
    model.setTimeSigDenominator(denominator);
    model.parts.emplace_back();
    model.parts[0].bars = std::move(bars);
    model.parts[0].repeat = repeat;
    return model;
}

// The music after the headers, with "\r\n" shown as "~" so that a stray "\n" shows.
std::string body(const std::string& text)
{
    const std::string start = "& sharpf sharpc";
    std::string music = text.substr(text.find(start));
    std::string shown;
    for (size_t i = 0; i < music.size(); ++i) {
        if (music.compare(i, 2, "\r\n") == 0) {
            shown += "~";
            ++i;
        } else {
            shown += music[i];
        }
    }
    return shown;
}

} // namespace

TEST(BmwCode, NamesMapBothWays)
{
    for (int value = 1; value <= kLastPipeNoteName; ++value) {
        const PipeNoteName name = PipeNoteName(value);
        SCOPED_TRACE(toString(name));
        const BmwCode code = toBmwCode(name);
        EXPECT_EQ(toString(code), toString(name));
        EXPECT_EQ(toPipeNoteName(code), name);
        EXPECT_EQ(isMelodyNote(code), isMelodyNote(name));
        EXPECT_EQ(numDots(code), 0);
    }
    EXPECT_EQ(toBmwCode(Unknown), BmwCode::Unknown);
    EXPECT_EQ(toBmwCode(PipeNoteName(58)), BmwCode::Unknown);
}

TEST(BmwCode, StructuralAndDotTokensHaveNoNoteName)
{
    for (int value = 0; value <= kLastBmwCode + 1; ++value) {
        const BmwCode code = BmwCode(value);
        SCOPED_TRACE(value);
        const bool structural = value <= 9;
        const bool dotted = value >= 59 && value <= 76;
        if (structural || dotted || value > kLastBmwCode) {
            EXPECT_EQ(toPipeNoteName(code), Unknown);
        }
        EXPECT_EQ(numDots(code), dotted ? (value <= 67 ? 1 : 2) : 0);
    }
    EXPECT_EQ(toString(BmwCode::PartStart), "I!");
    EXPECT_EQ(toString(BmwCode::RepeatEnd), "''!I");
    EXPECT_EQ(toString(BmwCode::DotHG), "'hg");
    // The double-dot row is kept as the vocabulary has it.
    EXPECT_EQ(toString(BmwCode::DoubleDotC), "''b");
    EXPECT_EQ(toString(BmwCode::DoubleDotD), "'bd");
    EXPECT_EQ(toString(BmwCode(85)), "Unknown");
    EXPECT_EQ(toString(BmwCode(-1)), "Unknown");
}

TEST(BmwWriter, HeadersAndAnEmptyModel)
{
    BmwWriter writer;
    writer.setTuneName("Màiri's Wedding");
    writer.setTuneType("Reel");
    writer.setComposer("Trad.");
    const std::string text = writer.write(PipeTuneModel());

    const std::string ending = "\r\n\r\n& sharpf sharpc 4_4";
    ASSERT_GE(text.size(), ending.size());
    EXPECT_EQ(text.substr(text.size() - ending.size()), ending);
    EXPECT_EQ(text.rfind("Bagpipe Music Writer Gold:1.0\r\n\r\nMIDINoteMappings,(54,", 0), 0u);
    EXPECT_NE(text.find("\r\n\"Màiri's Wedding\",(T,C,0,0,Times New Roman,16,700,0,0,18,0,0,0)\r\n"
                        "\"Reel\",(Y,L,0,0,Times New Roman,12,700,255,0,18,0,0,0)\r\n"
                        "\"Trad.\",(M,R,0,0,Times New Roman,12,700,255,0,18,0,0,0)\r\n"),
        std::string::npos);
    // Every line ends in CR LF.
    for (size_t i = text.find('\n'); i != std::string::npos; i = text.find('\n', i + 1))
        EXPECT_EQ(text[i - 1], '\r') << "at " << i;
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 16);
}

TEST(BmwWriter, Music)
{
    struct Case {
        const char* what;
        PipeTuneModel model;
        std::string expected;
    };
    std::vector<Case> cases;
    cases.push_back({"beats between tabs, grace notes without duration, dots",
        makeModel(2, 4,
            {makeBar({Item(gg, 32, 0, kNone), Item(LA, 4, 0, kNone), Item(dbb, 32, 0, kNone), Item(B, 8, 1, kRight),
                 Item(C, 16, 0, kLeft)}),
                makeBar({Item(strhg, 32, 0, kNone), Item(HG, 8, 1, kRight), Item(HA, 16, 0, kLeft),
                    Item(D, 4, 0, kNone)})}),
        "& sharpf sharpc 2_4~I!\tgg LA_4\tdbb Br_8 'b Cl_16~!\tstrhg HGr_8 'hg HAl_16\tD_4 !I~~~~"});
    cases.push_back({"6/8 beats are three quavers",
        makeModel(6, 8,
            {makeBar({Item(LA, 8, 0, kRight), Item(B, 8, 0, kLeft), Item(C, 8, 0, kLeft), Item(D, 4, 1, kNone)})}),
        "& sharpf sharpc 6_8~I!\tLAr_8 Bl_8 Cl_8\tD_4 'd !I~~~~"});
    cases.push_back({"2/2 beats are minims; an overlong beat still ends",
        makeModel(2, 2,
            {makeBar({Item(E, 8, 1, kRight), Item(F, 8, 1, kLeft), Item(HG, 8, 1, kLeft), Item(F, 2, 0, kNone)})}),
        "& sharpf sharpc 2_2~I!\tEr_8 'e Fl_8 'f HGl_8 'hg\tF_2 !I~~~~"});
    cases.push_back({"a short first bar starts on the key line",
        makeModel(4, 4, {makeBar({Item(E, 8, 0, kNone)}), makeBar({Item(LA, 1, 0, kNone)})}),
        "& sharpf sharpc 4_4 I!\tE_8~!\tLA_1 !I~~~~"});
    cases.push_back({"half a bar is not a pick-up",
        makeModel(3, 4, {makeBar({Item(E, 4, 1, kNone)}), makeBar({Item(LA, 2, 1, kNone)})}),
        "& sharpf sharpc 3_4~I!\tE_4 'e~!\tLA_2 'la !I~~~~"});
    cases.push_back({"an unknown item keeps its separator",
        makeModel(2, 4, {makeBar({Item(LA, 4, 0, kNone), Item(Unknown, 32, 0, kNone), Item(B, 4, 0, kNone)})}),
        "& sharpf sharpc 2_4~I!\tLA_4\t B_4 !I~~~~"});
    cases.push_back({"row breaks start a new staff without a bar line",
        makeModel(2, 4,
            {makeBar({Item(LA, 2, 0, kNone)}, true), makeBar({Item(B, 2, 0, kNone)}),
                makeBar({Item(C, 2, 0, kNone)}, true)}),
        "& sharpf sharpc 2_4~I!\tLA_2 !t~~& sharpf sharpc~\tB_2~!\tC_2 !I~~~~"});
    cases.push_back(
        {"a repeated part", makeModel(2, 4, {makeBar({Item(LA, 2, 0, kNone)}), makeBar({Item(B, 2, 0, kNone)})}, true),
            "& sharpf sharpc 2_4~I!''\tLA_2~!\tB_2 ''!I~~~~"});

    PipeTuneModel twoParts = makeModel(2, 4, {makeBar({Item(LA, 2, 0, kNone)})}, true);
    twoParts.parts.push_back(twoParts.parts[0]);
    twoParts.parts[1].repeat = false;
    twoParts.parts[1].bars[0].items[0].noteName = HA;
    cases.push_back({"two parts", twoParts, "& sharpf sharpc 2_4~I!''\tLA_2 ''!I~~~~& sharpf sharpc~I!\tHA_2 !I~~~~"});

    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(body(BmwWriter().write(c.model)), c.expected);
    }
}
