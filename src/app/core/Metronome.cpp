#include "Metronome.h"

int Metronome::beatsPerBar(int timeSignature)
{
    switch (timeSignature) {
    case 0: return 4;
    case 1: return 3;
    default: return 2;
    }
}

int Metronome::subBeatDivisor(int timeSignature, bool subBeatsEnabled)
{
    if (!subBeatsEnabled)
        return 1;
    switch (timeSignature) {
    case 2:
    case 3: return 2;
    case 4: return 3; // 6/8: two dotted beats of three quavers
    default: return 1;
    }
}

float Metronome::beatInterval_s(float bpm) { return 1.0f / (bpm / 60.0f); }

void Metronome::prepare(float bpm, int timeSignature, bool subBeatsEnabled)
{
    mDivisor = subBeatDivisor(timeSignature, subBeatsEnabled);
    mClicksPerBar = beatsPerBar(timeSignature) * mDivisor;
    mTick_s = beatInterval_s(bpm) / float(mDivisor);
    // The output is in ms and clamped to 2 ms per tick so a late audio buffer cannot make an
    // audible jump in the beat.
    mPid = Pid(mTick_s, 2.0, -2.0, 20.0, 10.0, 0.0);
    mNominalInterval_ms = int(mTick_s * 1000.0f);
    mClickCount = 0;
}

void Metronome::start(float elapsed_s) { mExpectedClick_s = elapsed_s; }

Metronome::Tick Metronome::onTick(float now_s, int currentInterval_ms, int maxClickCompensation_ms)
{
    Tick tick;
    mExpectedClick_s += mTick_s;
    tick.diff_s = now_s - mExpectedClick_s;
    tick.correction_ms = int(mPid.calculate(0.0, tick.diff_s));
    tick.interval_ms = currentInterval_ms;
    if (tick.correction_ms != 0) {
        const int interval_ms = tick.correction_ms + currentInterval_ms;
        // Bounded so a stalled audio clock cannot stretch the beat without end.
        if (interval_ms >= mNominalInterval_ms - maxClickCompensation_ms
            && interval_ms < mNominalInterval_ms + maxClickCompensation_ms)
            tick.interval_ms = interval_ms;
        else
            tick.limited = true;
    }
    return tick;
}

Metronome::Click Metronome::nextClick(bool metronomeEnabled, bool differentBarBeginClick)
{
    if (!metronomeEnabled)
        return Click::None;
    const Click click = differentBarBeginClick && mClickCount % mClicksPerBar == 0 ? Click::BarStart : Click::Normal;
    ++mClickCount;
    return click;
}

void Metronome::reset() { *this = Metronome(); }
