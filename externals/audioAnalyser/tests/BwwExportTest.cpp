// Whole tunes from note map to .bww text, against reference files in data/golden. Set
// CEOLMARK_UPDATE_GOLDEN=1 (or build the update-golden target) to rewrite the references after a
// deliberate change, then review them with git diff. The same files are read back by MuseScore 3,
// an independent reader of the format, when it is installed.

#include "BmwWriter.h"
#include "MuseScoreImport.h"
#include "PipeTuneQuantizer.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sstream>

namespace {

struct GoldenTune {
    const char* name; // file name without extension
    int numerator, denominator;
    float tempo; // beats per minute as the player sets it
    bool rounding;
    // "gg.dbla.LA/6": grace notes and movements, then the melody note and its length in
    // thirty-second notes. "|" between bars is for the reader only.
    const char* music;
};

const char kMarch[] = "gg.LA/8 dbla.LA/6 B/2 | grp.C/8 gg.E/4 LA/4 | dbf.F/6 E/2 strf.F/6 HG/2 | tg.HA/16 |"
                      " thrd.D/8 C/4 B/4 | hdbla.LA/6 B/2 C/6 D/2 | tar.E/8 dbe.E/8 | brl.LA/16";
const char kWaltz[] = "eg.LA/8 dblg.LG/8 gg.LA/8 | tdbb.B/12 C/4 D/8 | dbd.D/16 dg.C/8 | gbr.LA/24 |"
                      " hdbc.C/8 B/8 LA/8 | tdbd.D/12 E/4 F/8 | strhg.HG/8 tdbe.E/8 hthrd.D/8 | abr.LA/24";
const char kCommon[] = "gg.LA/8 ag.B/8 cg.C/8 bg.D/8 | fg.F/6 E/2 dbhg.HG/6 F/2 dbha.HA/16 |"
                       " tdbla.LA/12 B/4 tdbc.C/12 D/4 | tdblg.LG/32 |"
                       " hdbd.D/8 hdbe.E/8 hdbf.F/8 hdbb.B/8 | tarb.B/16 hdblg.LG/16 |"
                       " tbr.LA/8 strla.LA/8 strb.B/8 strc.C/8 | strd.D/8 stre.E/8 strlg.LG/8 dbc.C/8";
const char kReel[] = "gg.E/4 LA/4 LA/4 B/4 dbc.C/8 LA/4 E/4 | gg.F/6 E/2 dbf.F/8 tdbf.F/8 dbhg.HG/8 |"
                     " tg.HA/4 HG/4 F/4 E/4 dbd.D/8 B/8 | grp.LA/16 thrd.D/16";
const char kJig[] = "gg.LA/4 B/4 C/4 dbb.B/8 LA/4 | strla.LA/6 B/2 C/4 tdbd.D/12 |"
                    " eg.E/4 dbe.E/4 F/4 hdbb.B/2 C/2 D/8 | grp.LA/12 gg.LA/12";

const GoldenTune kTunes[] = {
    {"march-2_4", 2, 4, 80, false, kMarch},
    {"march-2_4-rounded", 2, 4, 80, true, kMarch},
    {"waltz-3_4", 3, 4, 90, false, kWaltz},
    {"waltz-3_4-rounded", 3, 4, 90, true, kWaltz},
    {"common-4_4", 4, 4, 72, false, kCommon},
    {"common-4_4-rounded", 4, 4, 72, true, kCommon},
    {"reel-2_2", 2, 2, 60, false, kReel},
    {"reel-2_2-rounded", 2, 2, 60, true, kReel},
    {"jig-6_8", 6, 8, 100, false, kJig},
    {"jig-6_8-rounded", 6, 8, 100, true, kJig},
};

PipeNoteName nameFromText(const std::string& text)
{
    const PipeNoteName name = pipeNoteNameFromString(text);
    EXPECT_NE(name, Unknown) << "no note called " << text;
    return name;
}

// A player's rendering of the music: lengths stretched by a repeating rubato of up to 7 %, and each
// grace note or movement taking 40 ms per chanter note out of the end of the note before it. The
// tune starts after 0.5 s of silence, which the time shift removes again.
constexpr float kLeadIn_s = 0.5f;
const float kRubato[] = {1.0f, 1.07f, 0.94f, 1.03f, 0.96f, 1.05f, 0.98f};

void perform(const GoldenTune& tune, NoteMap& melody, NoteMap& grace)
{
    const float t32_s = getCrotchetDuration_s(tune.tempo, tune.numerator, tune.denominator) / 8.0f;
    std::istringstream words(tune.music);
    std::string word;
    float time_s = kLeadIn_s;
    int index = 0;
    while (words >> word) {
        if (word == "|")
            continue;
        std::vector<std::string> names;
        std::string rest = word.substr(0, word.find('/'));
        for (size_t dot; (dot = rest.find('.')) != std::string::npos; rest = rest.substr(dot + 1))
            names.push_back(rest.substr(0, dot));
        const int length32 = std::stoi(word.substr(word.find('/') + 1));

        float graceStart_s = time_s;
        for (const std::string& name : names)
            graceStart_s -= 0.04f * float(getNoteNames(nameFromText(name)).size());
        if (!melody.empty()) {
            PipeNote& previous = melody.rbegin()->second;
            previous.setDuration_s(graceStart_s - previous.start_s());
        }
        for (const std::string& name : names) {
            const PipeNote note(
                nameFromText(name), graceStart_s, 0.04f * float(getNoteNames(nameFromText(name)).size()));
            grace.insert({note.start_s(), note});
            graceStart_s = note.getEnd_s();
        }
        const float duration_s = float(length32) * t32_s * kRubato[index++ % 7];
        melody.insert({time_s, PipeNote(nameFromText(rest), time_s, duration_s)});
        time_s += duration_s;
    }
}

PipeTuneModel quantizeTune(const GoldenTune& tune)
{
    NoteMap melody, grace;
    perform(tune, melody, grace);
    PipeTuneQuantizer quantizer;
    quantizer.setTimeSignature(tune.numerator, tune.denominator);
    quantizer.setCrotchetDuration_s(getCrotchetDuration_s(tune.tempo, tune.numerator, tune.denominator));
    quantizer.setRounding(tune.rounding);
    quantizer.setBarsPerRow(2);
    quantizer.quantize(-kLeadIn_s, melody, grace);
    return quantizer.getModel();
}

std::string writeTune(const GoldenTune& tune)
{
    BmwWriter writer;
    writer.setTuneName(tune.name);
    writer.setTuneType("Test");
    writer.setComposer("The Ceolmark developers");
    return writer.write(quantizeTune(tune));
}

QString goldenPath(const GoldenTune& tune) { return QString(AUDIOANALYSER_TEST_DATA "/golden/%1.bww").arg(tune.name); }

QString runDiff(const QString& expectedPath, const QString& actualPath)
{
    QProcess diff;
    diff.start("diff", {"-u", expectedPath, actualPath});
    diff.waitForFinished();
    return QString::fromUtf8(diff.readAllStandardOutput());
}

class BwwGolden : public testing::TestWithParam<GoldenTune> { };

TEST_P(BwwGolden, MatchesReference)
{
    const GoldenTune& tune = GetParam();
    const QByteArray actual = QByteArray::fromStdString(writeTune(tune));
    QFile reference(goldenPath(tune));

    if (qEnvironmentVariableIsSet("CEOLMARK_UPDATE_GOLDEN")) {
        QDir().mkpath(QFileInfo(reference).path());
        ASSERT_TRUE(reference.open(QIODevice::WriteOnly | QIODevice::Truncate));
        reference.write(actual);
        GTEST_SKIP() << "rewrote " << reference.fileName().toStdString();
    }

    ASSERT_TRUE(reference.open(QIODevice::ReadOnly))
        << reference.fileName().toStdString() << " is missing; build the update-golden target";
    const QByteArray expected = reference.readAll();
    if (expected == actual)
        return;
    QTemporaryDir dir;
    QFile written(dir.filePath(QString(tune.name) + ".bww"));
    ASSERT_TRUE(written.open(QIODevice::WriteOnly));
    written.write(actual);
    written.close();
    ADD_FAILURE() << "differs from its reference:\n" << runDiff(reference.fileName(), written.fileName()).toStdString();
}

std::string tuneName(const testing::TestParamInfo<GoldenTune>& info)
{
    std::string name = info.param.name;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Tunes, BwwGolden, testing::ValuesIn(kTunes), tuneName);

// Our score as MuseScore should read it: per bar, the melody notes and the number of chanter
// notes of the gracing before each.
std::vector<MuseScoreImport::Bar> expectedBars(const PipeTuneModel& model)
{
    std::vector<MuseScoreImport::Bar> bars;
    for (const PipeTuneModel::Part& part : model.parts)
        for (const PipeTuneModel::Bar& bar : part.bars) {
            bars.emplace_back();
            int graces = 0;
            for (const PipeTuneModel::Item& item : bar.items) {
                if (!isMelodyNote(item.noteName)) {
                    graces += int(getNoteNames(item.noteName).size());
                    continue;
                }
                bars.back().notes.push_back(museScoreNote(toString(item.noteName), item.duration, item.dots));
                bars.back().graceCounts.push_back(graces);
                graces = 0;
            }
        }
    return bars;
}

class BwwMuseScore : public testing::TestWithParam<GoldenTune> { };

TEST_P(BwwMuseScore, ReadsOurNotes)
{
    if (!MuseScoreImport::available())
        GTEST_SKIP() << "mscore3 is not installed (scripts/install-deps.sh --test installs musescore3)";
    const GoldenTune& tune = GetParam();
    MuseScoreImport import;
    QString error;
    ASSERT_TRUE(import.import(goldenPath(tune), error)) << error.toStdString();
    EXPECT_TRUE(import.unknownTokens().isEmpty()) << import.unknownTokens().join(' ').toStdString();

    const std::vector<MuseScoreImport::Bar> expected = expectedBars(quantizeTune(tune));
    ASSERT_EQ(import.bars().size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i) {
        SCOPED_TRACE(testing::Message() << "bar " << i + 1);
        EXPECT_EQ(import.bars()[i].notes, expected[i].notes);
        EXPECT_EQ(import.bars()[i].graceCounts, expected[i].graceCounts);
        EXPECT_EQ(import.bars()[i].rests, 0);
    }
}

INSTANTIATE_TEST_SUITE_P(Tunes, BwwMuseScore, testing::ValuesIn(kTunes), tuneName);

} // namespace
