#include "AudioPlayer.h"
#include "AudioTestSupport.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>
#include <QVector>

#include <cstring>

namespace {

constexpr int kRate_Hz = 44100;

struct Report {
    const char* data;
    qint64 position_B;
    bool seeked;
};

// Collects the player's reports on the test's thread.
struct PlayerLog {
    explicit PlayerLog(AudioPlayer& player)
    {
        QObject::connect(
            &player, &AudioPlayer::dataPlayed, &context, [this](const char* data, qint64 position_B, bool seeked) {
                reports.append({data, position_B, seeked});
            });
        QObject::connect(&player, &AudioPlayer::audioFinished, &context, [this] { ++finished; });
        QObject::connect(&player, &AudioPlayer::fileOpened, &context, [this](QString path, bool ok, qint64 size_B) {
            opened.append({path, ok, size_B});
        });
    }
    struct Opened {
        QString path;
        bool ok;
        qint64 size_B;
    };
    QObject context;
    QVector<Report> reports;
    QVector<Opened> opened;
    int finished = 0;
};

QString skipReason() { return pulseTest::unavailableReason(); }

} // namespace

TEST(AudioPlayer, BufferSubsetAndDuration)
{
    AudioPlayer player;
    QByteArray data(16000, '\0');
    for (int i = 0; i < data.size(); ++i)
        data[i] = char(i % 251);
    player.setSamplingRate_Hz(8000);
    player.setAudioData(data);
    player.stop();
    const struct {
        float start_s, end_s;
        QByteArray expected;
    } cases[] = {
        {0.0f, 0.5f, data.left(8000)},
        {0.25f, 0.5f, data.mid(4000, 4000)},
        {0.25f, 0.2501f, data.mid(4000, 1)}, // byte offsets truncate: 4001.6 -> 4001
        {0.5f, 0.25f, data.mid(8000)}, // an end not beyond the start means the rest
        {0.5f, 0.5f, data.mid(8000)},
        {0.0f, 2.0f, data},
    };
    QByteArray got;
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.start_s) + ".." + std::to_string(c.end_s));
        runOnThreadOf(&player, [&] { got = player.bufferSubset(c.start_s, c.end_s); });
        EXPECT_EQ(got, c.expected);
    }
    float duration_s = 0.0f;
    runOnThreadOf(&player, [&] { duration_s = player.time_s(); });
    EXPECT_FLOAT_EQ(duration_s, 1.0f);
}

TEST(AudioPlayer, LoadFileKeepsTheFirstChannelOrReportsFailure)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    // Four bytes a frame: left sample 0x0100 + i, right sample 0x7f7f.
    QByteArray stereo;
    QByteArray left;
    for (int i = 0; i < 100; ++i) {
        const char l[2] = {char(i), 1};
        const char r[2] = {0x7f, 0x7f};
        stereo.append(l, 2).append(r, 2);
        left.append(l, 2);
    }
    const QString path = dir.path() + "/stereo.raw";
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(stereo);
    file.close();

    AudioPlayer player;
    PlayerLog log(player);
    player.setSamplingRate_Hz(kRate_Hz);
    player.loadFile(path, true);
    player.loadFile(dir.path() + "/missing.raw", false);
    player.stop();
    ASSERT_TRUE(waitFor([&] { return log.opened.size() == 2; }));
    EXPECT_EQ(log.opened[0].path, path);
    EXPECT_TRUE(log.opened[0].ok);
    EXPECT_EQ(log.opened[0].size_B, left.size());
    QByteArray held;
    runOnThreadOf(&player, [&] { held = player.bufferSubset(0.0f, 0.0f); });
    EXPECT_EQ(held, left);
    EXPECT_FALSE(log.opened[1].ok);
    EXPECT_EQ(log.opened[1].size_B, 0);
}

// The real output: the test daemon's null sink, which consumes at real-time pace.
TEST(AudioPlayerOnDevice, ReportsPositionsSeeksOnlyWhilePlayingAndFinishes)
{
    if (!skipReason().isEmpty())
        GTEST_SKIP() << skipReason().toStdString();
    const QByteArray data = chanterTone(480.0f, 2.0f, kRate_Hz);
    const qint64 seekTarget_B = qint64(1.5 * 2 * kRate_Hz);
    AudioPlayer player;
    PlayerLog log(player);
    player.setSamplingRate_Hz(kRate_Hz);
    player.setAudioData(data);
    player.stop();
    player.seek(1.9f); // stopped: ignored
    player.start();
    ASSERT_TRUE(waitFor([&] { return log.reports.size() >= 3; }));
    EXPECT_EQ(log.reports.first().position_B, 0) << "the first 20480 bytes are still queued, not heard";
    const int beforeSeek = log.reports.size();
    player.seek(1.5f);
    ASSERT_TRUE(waitFor([&] { return log.finished > 0; }));
    EXPECT_EQ(log.finished, 1);

    qint64 previous_B = 0;
    int seekedReports = 0;
    for (int i = 0; i < log.reports.size(); ++i) {
        const Report& r = log.reports[i];
        SCOPED_TRACE(i);
        EXPECT_LE(r.position_B, data.size());
        if (r.seeked) {
            ++seekedReports;
            EXPECT_GE(i, beforeSeek) << "a seek while stopped was reported";
            EXPECT_GE(r.position_B, seekTarget_B - AudioPlayer::kOutputLead_B);
        } else {
            EXPECT_GE(r.position_B, previous_B) << "position went back without a seek";
        }
        previous_B = r.position_B;
    }
    EXPECT_EQ(seekedReports, 1) << "seeked is reported once and then cleared";
    // Once the data is spent nothing is queued ahead of the ear: the end is reported as is.
    EXPECT_EQ(log.reports.last().position_B, data.size());
    EXPECT_EQ(std::memcmp(log.reports.last().data, data.constData(), size_t(data.size())), 0);
}
