#include "Metronome.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

TEST(Metronome, MetreArithmetic)
{
    const struct {
        float bpm;
        int timeSignature;
        bool subBeats;
        int beatsPerBar, divisor, clicksPerBar, nominal_ms;
    } cases[] = {{72.0f, 0, true, 4, 1, 4, 833}, {72.0f, 1, true, 3, 1, 3, 833}, {52.0f, 2, true, 2, 2, 4, 576},
        {62.0f, 3, true, 2, 2, 4, 483}, {62.0f, 3, false, 2, 1, 2, 967}, {72.0f, 4, true, 2, 3, 6, 277},
        {72.0f, 5, true, 2, 1, 2, 833}, {72.0f, -1, true, 2, 1, 2, 833}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.bpm << " BPM, signature " << c.timeSignature << " " << c.subBeats);
        EXPECT_EQ(Metronome::beatsPerBar(c.timeSignature), c.beatsPerBar);
        Metronome metronome;
        metronome.prepare(c.bpm, c.timeSignature, c.subBeats);
        EXPECT_EQ(metronome.divisor(), c.divisor);
        EXPECT_EQ(metronome.clicksPerBar(), c.clicksPerBar);
        EXPECT_EQ(metronome.nominalInterval_ms(), c.nominal_ms);
        EXPECT_NEAR(metronome.tick_s(), 60.0f / c.bpm / c.divisor, 1e-6f);
    }
}

TEST(Metronome, ClickSounds)
{
    using C = Metronome::Click;
    const struct {
        bool enabled, differentBarBegin;
        std::vector<C> clicks;
        int count;
    } cases[] = {{true, true, {C::BarStart, C::Normal, C::Normal, C::Normal, C::Normal, C::Normal, C::BarStart}, 7},
        {true, false, {C::Normal, C::Normal}, 2}, {false, true, {C::None, C::None}, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.enabled << c.differentBarBegin);
        Metronome metronome;
        metronome.prepare(72.0f, 4, true);
        for (C expected : c.clicks)
            EXPECT_EQ(metronome.nextClick(c.enabled, c.differentBarBegin), expected);
        EXPECT_EQ(metronome.clickCount(), c.count);
        metronome.reset();
        EXPECT_EQ(metronome.clickCount(), 0);
        EXPECT_EQ(metronome.clicksPerBar(), 4);
    }
}

TEST(Metronome, StalledAudioIsHeldWithinTheBounds)
{
    Metronome metronome;
    metronome.prepare(72.0f, 0, false);
    metronome.start(2.0f);
    Metronome::Tick tick;
    tick.interval_ms = 833;
    for (int click = 0; click < 40; ++click) {
        const float previousDiff_s = tick.diff_s;
        tick = metronome.onTick(2.0f, tick.interval_ms, 20);
        EXPECT_LT(tick.diff_s, previousDiff_s);
        EXPECT_TRUE(tick.interval_ms >= 813 && tick.interval_ms <= 852) << tick.interval_ms;
    }
    EXPECT_EQ(tick.correction_ms, 2);
    EXPECT_TRUE(tick.limited);
    EXPECT_EQ(tick.interval_ms, 851);
}

// The audio clock advances in 46 ms buffers and the timer's real period is its interval,
// which is up to a ms short of the tick: uncorrected, 0.24 s (72 BPM) to 1.7 s (6/8) of drift
// in the ten minutes simulated. Corrected, the clicks stay within the dead band (outputs under
// 1 ms truncate to 0, so nothing happens until the audio is about 50 ms off) plus one buffer.
TEST(Metronome, ClicksFollowABufferedAudioClock)
{
    const double buffer_s = 0.046, start_s = 0.3;
    for (int timeSignature : {0, 4, 2}) {
        SCOPED_TRACE(timeSignature);
        Metronome metronome;
        metronome.prepare(72.0f, timeSignature, true);
        metronome.start(float(start_s));
        int interval_ms = metronome.nominalInterval_ms();
        double time_s = start_s, worst_s = 0.0;
        for (int click = 1; time_s < start_s + 600.0; ++click) {
            time_s += interval_ms / 1000.0;
            const double audio_s = start_s + std::floor((time_s - start_s) / buffer_s) * buffer_s;
            const Metronome::Tick tick = metronome.onTick(float(audio_s), interval_ms, 20);
            EXPECT_TRUE(tick.correction_ms != 0 || tick.interval_ms == interval_ms);
            interval_ms = tick.interval_ms;
            worst_s = std::max(worst_s, std::abs(time_s - start_s - 60.0 / 72.0 / metronome.divisor() * click));
        }
        EXPECT_LT(worst_s, 0.050 + buffer_s + 0.004);
    }
}
