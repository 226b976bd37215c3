#pragma once

#include "PipeNote.h"
#include "PipeNoteName.h"
#include "PipeTuning.h"

#include <cstdint>
#include <vector>

// A synthetic piper for tests, benchmarks and example recordings: melody notes with their
// gracing, on a chanter-like spectrum, with exactly known timing.
//
// - Every gracing of the vocabulary (single grace notes, doublings, thumb and half
//   doublings, grips, throws, taorluaths, birls, strikes) is played as getNoteNames
//   expands it: each note of the expansion for one grace-note length, then the melody note.
//   The first low G of a grip, throw or taorluath is held a little longer, as pipers do.
//   A strike splits a held note: the note, the strike's note for one grace-note length,
//   the note again.
// - The reed never stops while playing: pitch changes keep the phase continuous, without a
//   new attack. Rests stop the reed with short fades.
// - Spectrum: harmonics with a weak fundamental and strong 3rd to 5th (kChanterHarmonics),
//   replaceable. Optional drones (two tenors at low A / 2 and a bass at low A / 4) and
//   seeded white noise.
// - Times are whole samples: every start and duration reported equals the rendered audio
//   to the sample.
//
// Usage: set the sound, call play/playStrike/rest in order, then render() and compare
// with playedNotes(), melodyNotes() and gracings(). Not thread-safe; one per test.
class ChanterSynthesiser {
public:
    // One sounded chanter note: LG..HA, start and duration in seconds.
    struct PlayedNote {
        PipeNoteName name = Unknown;
        double start_s = 0.0;
        double duration_s = 0.0;
    };

    // Relative amplitudes of harmonics 1, 2, ...: a chanter's weak fundamental under
    // strong 3rd to 5th harmonics (the fundamental about 9.5 dB below the 4th).
    static const std::vector<float> kChanterHarmonics;
    // kChanterHarmonics with the fundamental the given dB below the 4th harmonic.
    static std::vector<float> harmonicsWithWeakFundamental(float fundamentalBelowFourth_dB);

    // count samples of a steady tone at 16-bit magnitude: harmonic h of frequency_Hz with
    // amplitude harmonics[h - 1] (harmonics at or above Nyquist are left out), scaled so
    // that the peak of the sum is peak (<= 32767). phase_rad offsets the start.
    static std::vector<short> tone(double frequency_Hz, double sampleRate_Hz, unsigned count,
        const std::vector<float>& harmonics, double peak = 16000.0, double phase_rad = 0.3);

    // sampleRate_Hz > 0; the chanter plays the tuning's centre frequencies.
    explicit ChanterSynthesiser(double sampleRate_Hz = 44100.0, const PipeTuning& tuning = PipeTuning());

    // --- The sound; set before render().
    void setHarmonics(const std::vector<float>& harmonics) { mHarmonics = harmonics; }
    // Peak of the chanter alone at 16-bit magnitude, default 12000.
    void setChanterPeak(double peak) { mChanterPeak = peak; }
    // Drones at level_normalized of the chanter's peak each (0, the default, for none).
    void setDrones(double level_normalized) { mDroneLevel = level_normalized; }
    // White noise of level_normalized of the chanter's peak, from seed (0 for none).
    void setNoise(double level_normalized, uint32_t seed);
    // Pitch of every chanter note off its centre by cents (same scale as the tuning).
    void setDetune_cents(double cents) { mDetune_cents = cents; }
    // The chanter drifts: its pitch rises by this many cents per second of the performance
    // (negative falls), as a warming chanter does; the drones stay put.
    void setDrift_centsPerSecond(double cents) { mDrift_centsPerSecond = cents; }
    // How far the drift has taken the chanter's pitch at a time, as a factor.
    double driftFactor(double time_s) const;

    // --- The timing of gracing; applies to what is played after.
    // Each grace note's length, default 0.030 s; pipers play 0.020 to 0.045 s.
    void setGraceNote_s(double duration_s) { mGraceNote_s = duration_s; }
    // The first low G of a grip, throw or taorluath, default 0.045 s.
    void setFirstLowG_s(double duration_s) { mFirstLowG_s = duration_s; }

    // How long a gracing lasts at the current timing, so that callers can put the melody
    // note or the gracing on a beat; 0 for Unknown.
    double gracingDuration_s(PipeNoteName gracing) const;

    // --- Playing, in order.
    // The melody note LG..HA for duration_s, after the gracing if one is given (any
    // non-melody name but a strike). The gracing's time comes before the melody note.
    void play(PipeNoteName melody, double duration_s, PipeNoteName gracing = Unknown);
    // melody for before_s, the strike's note (getNoteNames(strike)) for one grace-note
    // length, then melody for after_s. Recorded as two melody notes and the strike.
    void playStrike(PipeNoteName strike, PipeNoteName melody, double before_s, double after_s);
    // Silence: the reed stops (drones and noise go on).
    void rest(double duration_s);

    // --- Results.
    // The whole performance at 16-bit magnitude, mono, at the sample rate.
    std::vector<short> render() const;
    double sampleRate_Hz() const { return mSampleRate_Hz; }
    double duration_s() const { return double(mTotal_samples) / mSampleRate_Hz; }
    const PipeTuning& tuning() const { return mTuning; }
    // Every chanter note sounded, in order, gracing included.
    const std::vector<PlayedNote>& playedNotes() const { return mPlayed; }
    // The melody notes; a struck note counts as two.
    const NoteMap& melodyNotes() const { return mMelody; }
    // The gracings by their names, from their first note to the melody note, with
    // melodyNoteStartOffset_s set; a strike lasts its one note, with offset 0.
    const NoteMap& gracings() const { return mGracings; }

private:
    struct Segment {
        double frequency_Hz; // 0 for a rest
        int64_t start_samples;
        int64_t count_samples;
    };

    int64_t toSamples(double duration_s) const;
    // Appends one chanter note; returns its start in samples.
    int64_t sound(PipeNoteName note, double duration_s);
    double frequencyOf(PipeNoteName note) const;

    double mSampleRate_Hz;
    PipeTuning mTuning;
    std::vector<float> mHarmonics;
    double mChanterPeak = 12000.0;
    double mDroneLevel = 0.0;
    double mNoiseLevel = 0.0;
    uint32_t mNoiseSeed = 0;
    double mDetune_cents = 0.0;
    double mDrift_centsPerSecond = 0.0;
    double mGraceNote_s = 0.030;
    double mFirstLowG_s = 0.045;

    std::vector<Segment> mSegments;
    int64_t mTotal_samples = 0;
    std::vector<PlayedNote> mPlayed;
    NoteMap mMelody;
    NoteMap mGracings;
};
