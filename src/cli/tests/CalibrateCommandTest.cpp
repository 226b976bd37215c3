#include "AudioFileWriter.h"
#include "ChanterSynthesiser.h"
#include "CliRun.h"
#include "utils.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <vector>

namespace {

// A scale on a chanter with low A at 476 Hz, with drones, each note held 0.8 s.
std::vector<short> playScale(PipeNoteName skipped)
{
    PipeTuning tuning;
    tuning.setLowA_Hz(476.0f);
    ChanterSynthesiser synth(44100.0, tuning);
    synth.setDrones(0.1);
    synth.setNoise(0.005, 3);
    for (PipeNoteName note : {LG, LA, B, C, D, E, F, HG, HA})
        if (note != skipped)
            synth.play(note, 0.8);
    return synth.render();
}

} // namespace

TEST(CalibrateCommand, PrintsTheTuningOrHowManyNotesItFound)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    struct Case {
        const char* what;
        PipeNoteName skipped;
        int exitCode;
        const char* message;
    };
    const Case cases[] = {
        {"a full scale", Unknown, 0, ""},
        {"a scale without F", F, 4, "Notes detected: 8 of 9"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const QString path = dir.filePath(QString(c.what) + ".wav");
        QString error;
        ASSERT_TRUE(AudioFileWriter::write(path, playScale(c.skipped), 44100, error)) << qPrintable(error);
        const CliRun run = runCli({"calibrate", path});
        EXPECT_EQ(run.exitCode, c.exitCode) << qPrintable(run.err);
        EXPECT_TRUE(run.err.contains(c.message)) << qPrintable(run.err);
        if (c.exitCode != 0) {
            EXPECT_TRUE(run.out.isEmpty());
            continue;
        }
        // One line, nine frequencies from Low G up, each within half a cent of what was played.
        const QStringList fields = run.out.trimmed().split(',');
        ASSERT_EQ(fields.size(), 9) << qPrintable(run.out);
        PipeTuning played;
        played.setLowA_Hz(476.0f);
        for (int index = 0; index < 9; ++index) {
            const float expected_Hz
                = played.getReferenceNoteCentreFrequency_Hz(PipeTuning::noteIndexToReferenceNote(index));
            EXPECT_NEAR(utils::freqRatioToCents(expected_Hz, fields[index].toFloat()), 0.0f, 0.5f) << index;
        }
    }
    const CliRun missing = runCli({"calibrate", dir.filePath("none.wav")});
    EXPECT_EQ(missing.exitCode, 3);
}
