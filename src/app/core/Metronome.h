#pragma once

#include "Pid.h"

// The metronome's arithmetic: how long the click timer waits, and which sound each click
// makes. The timer runs on the interface thread's clock while the recording runs on the
// audio clock; a PID nudges the timer's interval so the clicks follow the audio clock.
// No timers and no sounds here. Interface thread only.
class Metronome {
public:
    enum class Click {
        None,
        Normal, // "click1.wav"
        BarStart, // "click2.wav"
    };

    // Result of one timer tick
    struct Tick {
        int correction_ms = 0; // int(Pid output), truncated toward zero
        float diff_s = 0.0f; // audio time now minus the expected click time
        int interval_ms = 0; // the timer's interval as it now stands
        bool limited = false; // a correction was refused because it left the bounds
    };

    // Beats in a bar by TimeSignature value: 0->4, 1->3, 2->2, 3->2, 4->2, anything above 4
    // -> 2 (and below 0 -> 2).
    static int beatsPerBar(int timeSignature);
    // Clicks per beat: with sub-beats enabled, TimeSignature 2 and 3 give 2, 4 gives 3, 0 and
    // 1 give 1; with sub-beats off, and for any other value, 1.
    static int subBeatDivisor(int timeSignature, bool subBeatsEnabled);
    // Seconds per beat, 1 / (bpm / 60); bpm > 0.
    static float beatInterval_s(float bpm);

    // Prepares a recording at bpm (> 0): tick_s is the beat interval over the divisor, the
    // nominal interval that in whole ms (truncated), clicksPerBar beats times divisor. Zeroes
    // the click count.
    void prepare(float bpm, int timeSignature, bool subBeatsEnabled);
    // The first audio of the recording arrived at audio time elapsed_s: the first click is due
    // one tick later.
    void start(float elapsed_s);
    // One timer tick: now_s is the audio clock, currentInterval_ms the timer's interval. The
    // returned interval stays within nominal - maxClickCompensation_ms (inclusive) and
    // nominal + maxClickCompensation_ms (exclusive) unless currentInterval_ms is already outside.
    Tick onTick(float now_s, int currentInterval_ms, int maxClickCompensation_ms);
    // Which sound this click makes, and counts it. Disabled: None, and the count stands still
    // so the bar start stays in place when the metronome is turned back on.
    Click nextClick(bool metronomeEnabled, bool differentBarBeginClick);
    // Back to the state of a new Metronome.
    void reset();

    float tick_s() const { return mTick_s; }
    int nominalInterval_ms() const { return mNominalInterval_ms; }
    int clicksPerBar() const { return mClicksPerBar; }
    int divisor() const { return mDivisor; }
    int clickCount() const { return mClickCount; }
    float expectedClick_s() const { return mExpectedClick_s; }

private:
    Pid mPid;
    float mTick_s = 0.0f;
    int mNominalInterval_ms = 0;
    int mClicksPerBar = 4;
    int mDivisor = 1;
    int mClickCount = 0;
    float mExpectedClick_s = 0.0f;
};
