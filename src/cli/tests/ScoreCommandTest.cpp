#include "CliRun.h"
#include "NotesTable.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

// Eight notes of 1 s each, a gracenote before the second: at 60 BPM one crotchet per note.
NoteMap scaleMelody()
{
    NoteMap melody;
    for (int i = 0; i < 8; ++i)
        melody.insert({float(i), PipeNote(PipeNoteName(LA + i), float(i), 1.0f)});
    return melody;
}

NoteMap scaleGrace()
{
    // Binary fractions, so that a shift of -1 s ends it exactly at 0 and keeps it.
    return NoteMap{{0.9375f, PipeNote(gg, 0.9375f, 0.0625f)}};
}

QString writeTable(const QTemporaryDir& dir, const QString& name, const NoteMap& melody, const NoteMap& grace)
{
    const QString path = dir.filePath(name);
    QString error;
    EXPECT_TRUE(NotesTable::write(path, melody, grace, error)) << error.toStdString();
    return path;
}

QString writeText(const QTemporaryDir& dir, const QString& name, const QByteArray& text)
{
    const QString path = dir.filePath(name);
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text);
    return path;
}

} // namespace

TEST(NotesTable, WritesPlayingOrderWithFourDecimalsAndReadsItBack)
{
    const NoteMap melody = {
        {0.5f, PipeNote(LA, 0.5f, 0.75f)}, {1.25f, PipeNote(HA, 1.25f, 0.123456f)}, {2.0f, PipeNote(LG, 2.0f, 1.0f)}};
    const NoteMap grace = {{0.45f, PipeNote(dbla, 0.45f, 0.05f)}, {1.25f, PipeNote(strla, 1.25f, 0.02f)}};
    const QString text = NotesTable::toText(melody, grace);
    EXPECT_EQ(text,
        "start_s\tduration_s\tname\tkind\n"
        "0.4500\t0.0500\tdbla\tgrace\n"
        "0.5000\t0.7500\tLA\tmelody\n"
        "1.2500\t0.0200\tstrla\tgrace\n"
        "1.2500\t0.1235\tHA\tmelody\n"
        "2.0000\t1.0000\tLG\tmelody\n");

    NoteMap melodyRead, graceRead;
    QString error;
    ASSERT_TRUE(NotesTable::fromText(text, melodyRead, graceRead, error)) << error.toStdString();
    ASSERT_EQ(melodyRead.size(), melody.size());
    ASSERT_EQ(graceRead.size(), grace.size());
    auto expected = melody.begin();
    for (auto it = melodyRead.begin(); it != melodyRead.end(); ++it, ++expected) {
        EXPECT_EQ(it->second.noteName(), expected->second.noteName());
        EXPECT_EQ(it->first, it->second.start_s());
        EXPECT_NEAR(it->second.start_s(), expected->second.start_s(), 0.00005); // four decimals
        EXPECT_NEAR(it->second.duration_s(), expected->second.duration_s(), 0.00005);
    }
    EXPECT_EQ(graceRead.begin()->second.noteName(), dbla);
    EXPECT_EQ(graceRead.rbegin()->second.noteName(), strla);
}

TEST(NotesTable, RefusesWhatItCannotRead)
{
    const QString header = "start_s\tduration_s\tname\tkind\n";
    const std::vector<std::pair<QString, QString>> cases = {
        {"", "line 1: expected the header"},
        {"start\tduration\tname\tkind\n0.1\t0.2\tLA\tmelody\n", "line 1: expected the header"},
        {header + "0.1000\t0.2000\tLA\n", "line 2: expected 4 tab-separated fields, got 3"},
        {header + "0.1 0.2 LA melody\n", "line 2: expected 4 tab-separated fields, got 1"},
        {header + "\n0.1000\t0.2000\tLA\tmelody\nsoon\t0.2000\tB\tmelody\n", "line 4: start \"soon\""},
        {header + "0.1000\t-0.2000\tLA\tmelody\n", "line 2: duration \"-0.2000\""},
        {header + "0.1000\tnan\tLA\tmelody\n", "line 2: duration \"nan\""},
        {header + "0.1000\t0.2000\tLow A\tmelody\n", "line 2: \"Low A\" is not a note name"},
        {header + "0.1000\t0.2000\tUnknown\tmelody\n", "line 2: \"Unknown\" is not a note name"},
        {header + "0.1000\t0.2000\tLA\tgrace\n", "line 2: LA is a melody note, not \"grace\""},
        {header + "0.1000\t0.2000\tdbla\tmelody\n", "line 2: dbla is a grace note, not \"melody\""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.first.toStdString());
        NoteMap melody, grace;
        QString error;
        EXPECT_FALSE(NotesTable::fromText(c.first, melody, grace, error));
        EXPECT_TRUE(error.startsWith(c.second)) << error.toStdString();
    }
    // Windows line ends and a missing last line end are fine.
    NoteMap melody, grace;
    QString error;
    EXPECT_TRUE(
        NotesTable::fromText(header + "0.1000\t0.2000\tLA\tmelody\r\n0.3\t0.1\tgg\tgrace", melody, grace, error))
        << error.toStdString();
    EXPECT_EQ(melody.size() + grace.size(), 2u);
    // A gracing the transcriber could not name, as transcribe writes it, is passed over.
    melody.clear();
    grace.clear();
    EXPECT_TRUE(NotesTable::fromText(
        header + "0.1000\t0.0900\tUnknown\tgrace\n0.1000\t0.2000\tLA\tmelody\n", melody, grace, error))
        << error.toStdString();
    EXPECT_EQ(melody.size(), 1u);
    EXPECT_TRUE(grace.empty());
}

TEST(ScoreCommand, TuneOptionsShapeTheScore)
{
    QTemporaryDir dir;
    const QString scale = writeTable(dir, "scale.tsv", scaleMelody(), scaleGrace());
    // 3, 1, 1 and 3 thirty-second notes and a crotchet at 60 BPM. With rounding the first beat comes out a
    // semiquaver too long, and the text's beat grouping runs on from where the beat filled.
    const QString dotted = writeTable(dir, "dotted.tsv",
        {{0.0f, PipeNote(LA, 0.0f, 0.375f)}, {0.375f, PipeNote(B, 0.375f, 0.125f)}, {0.5f, PipeNote(C, 0.5f, 0.125f)},
            {0.625f, PipeNote(D, 0.625f, 0.375f)}, {1.0f, PipeNote(E, 1.0f, 1.0f)}},
        {});

    struct Case {
        const char* what;
        QStringList arguments;
        std::vector<QString> contains;
        std::vector<QString> lacks;
    };
    const Case cases[] = {
        {"defaults", {scale},
            {"\r\n\"Your Tune\",(T,C,", "\r\n\"March\",(Y,L,", "\r\n\"Your Name\",(M,R,", "& sharpf sharpc 4_4\r\nI!"},
            {"!t"}},
        {"one crotchet a note at 60", {scale, "--bpm", "60"},
            {"I!\tLA_4\tgg B_4\tC_4\tD_4\r\n!\tE_4\tF_4\tHG_4\tHA_4 !I\r\n"}, {}},
        {"quavers at 30", {scale, "--bpm", "30"}, {"I!\tLAr_8 gg Bl_8\tCr_8 Dl_8\t"}, {}},
        {"split crotchets at 120", {scale, "--bpm", "120"}, {"I!\tLA_4\tLA_4\tgg B_4\tB_4\r\n"}, {}},
        {"3/4", {scale, "--bpm", "60", "--time", "3/4"}, {"& sharpf sharpc 3_4\r\nI!\tLA_4\tgg B_4\tC_4\r\n!\t"}, {}},
        {"2/2 counts minims", {scale, "--bpm", "60", "--time", "2/2"}, {"2_2\r\nI!\tLA_2\tgg B_2\r\n"}, {}},
        {"6/8 counts dotted crotchets", {scale, "--bpm", "60", "--time", "6/8"}, {"6_8\r\nI!\tLA_4 'la\tgg B_4 'b\r\n"},
            {}},
        {"2/4", {scale, "--bpm", "60", "--time", "2/4"}, {"2_4\r\nI!\tLA_4\tgg B_4\r\n!\tC_4\tD_4\r\n"}, {}},
        {"shift", {scale, "--bpm", "60", "--shift", "-1"}, {"I!\tgg B_4\tC_4\tD_4\tE_4\r\n"}, {"LA_4"}},
        {"bars per row", {scale, "--bpm", "60", "--bars-per-row", "1"}, {"D_4 !t\r\n\r\n& sharpf sharpc\r\n\tE_4"}, {}},
        {"titles", {scale, "--name", "Màiri's Wedding", "--type", "Reel", "--composer", "Trad."},
            {"\"Màiri's Wedding\",(T,C,", "\"Reel\",(Y,L,", "\"Trad.\",(M,R,"}, {"Your"}},
        {"no rounding", {dotted, "--bpm", "60", "--time", "2/4"}, {"\tLAr_16 'la Bl_32 Cl_32 Dl_16 'd\tE_4"}, {}},
        {"rounding", {dotted, "--bpm", "60", "--time", "2/4", "--round"}, {"\tLAr_8 Bl_16 Cl_16\tDl_8 E_4"}, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const CliRun run = runCli(QStringList{"score"} + c.arguments);
        ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
        EXPECT_EQ(run.err, "");
        for (const QString& text : c.contains)
            EXPECT_TRUE(run.out.contains(text)) << "missing: " << text.toStdString() << "\nin:\n"
                                                << run.out.toStdString();
        for (const QString& text : c.lacks)
            EXPECT_FALSE(run.out.contains(text)) << "unexpected: " << text.toStdString();
    }
}

TEST(ScoreCommand, BwwFileHoldsWhatStdoutShows)
{
    QTemporaryDir dir;
    const QString scale = writeTable(dir, "scale.tsv", scaleMelody(), scaleGrace());
    const QString bww = dir.filePath("tune.bww");
    writeText(dir, "tune.bww", QByteArray(100000, 'x')); // replaced, not appended to
    const CliRun printed = runCli({"score", scale, "--time", "6/8", "--name", "Jig"});
    const CliRun written = runCli({"score", scale, "--time", "6/8", "--name", "Jig", "--bww", bww});
    ASSERT_EQ(written.exitCode, 0) << written.err.toStdString();
    EXPECT_EQ(written.out, "");
    QFile file(bww);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), printed.out.toUtf8());
}

TEST(ScoreCommand, FailuresSayWhyWithTheirExitCode)
{
    QTemporaryDir dir;
    const QString scale = writeTable(dir, "scale.tsv", scaleMelody(), scaleGrace());
    const QString broken
        = writeText(dir, "broken.tsv", "start_s\tduration_s\tname\tkind\n0.1\t0.2\tLA\tmelody\n0.3\t0.2\tH\tmelody\n");
    struct Case {
        QStringList arguments;
        int exitCode;
        QString message;
    };
    const Case cases[] = {
        {{}, 2, "expected 1 file argument, got 0"},
        {{scale, scale}, 2, "expected 1 file argument, got 2"},
        {{scale, "--frobnicate"}, 2, "frobnicate"},
        {{scale, "--time", "5/4"}, 2, "--time must be 4/4, 3/4, 2/4, 2/2 or 6/8, not \"5/4\""},
        {{scale, "--time", "4"}, 2, "--time must be"},
        {{scale, "--time", "4/x"}, 2, "--time must be"},
        {{scale, "--bpm", "0"}, 2, "--bpm needs a tempo above 0, not \"0\""},
        {{scale, "--bpm", "fast"}, 2, "--bpm needs a tempo above 0"},
        {{scale, "--bars-per-row", "0"}, 2, "--bars-per-row needs a whole number from 1"},
        {{scale, "--shift", "soon"}, 2, "--shift needs a number of seconds"},
        {{dir.filePath("absent.tsv")}, 3, "absent.tsv: "},
        {{broken}, 3, "broken.tsv: line 3: \"H\" is not a note name"},
        {{scale, "--bww", dir.filePath("no/such/dir/tune.bww")}, 5, "tune.bww: "},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.arguments.join(' ').toStdString());
        const CliRun run = runCli(QStringList{"score"} + c.arguments);
        EXPECT_EQ(run.exitCode, c.exitCode);
        EXPECT_EQ(run.out, "");
        EXPECT_TRUE(run.err.startsWith("ceolmark-cli score: ")) << run.err.toStdString();
        const QStringList lines = run.err.split('\n', Qt::SkipEmptyParts);
        EXPECT_TRUE(lines.value(0).contains(c.message)) << run.err.toStdString();
        // Bad options add the usage line; bad input and output stay one line.
        if (c.exitCode == 2) {
            ASSERT_EQ(lines.size(), 2) << run.err.toStdString();
            EXPECT_EQ(lines[1], "Usage: ceolmark-cli score [options] NOTES");
        } else {
            EXPECT_EQ(lines.size(), 1) << run.err.toStdString();
        }
    }
}
