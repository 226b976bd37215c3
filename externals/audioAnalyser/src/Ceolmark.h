#pragma once

#include "PipeNote.h"
#include "PipeNotePattern.h"
#include "PipeTuning.h"
#include "TimeRange.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class IIRFilterFirstOrder;
class PipeSnacPeakPicker;
class PitchFinder;

// Turns 16-bit samples into timed melody notes (notes()) and gracing (graceNotes()).
// Samples become per-frame arrays (frequency, picked frequency, quality, volume; one frame
// of 1024 samples every frameHop_samples), those become per-frame reference notes, and a
// fixed list of stages (stages()) turns the arrays into note maps.
//
// Belongs to one thread at a time and takes no locks: the audio processing thread during a
// recording, or the thread of a batch transcription. Results leave as copies. Not copyable.
class Ceolmark {
public:
    // One step of transcribe(): what it does and the trace labels it passes to
    // myOutputNotes afterwards (with the map each label shows).
    struct Stage {
        const char* name;
        void (*run)(Ceolmark& transcriber);
        const char* traceLabel;
        const NoteMap Ceolmark::*traceMap;
        const char* secondTraceLabel;
        const NoteMap Ceolmark::*secondTraceMap;
    };
    // The twenty-one stages in the order transcribe() runs them.
    static const std::vector<Stage>& stages();

    Ceolmark();
    virtual ~Ceolmark();
    Ceolmark(const Ceolmark&) = delete;
    Ceolmark& operator=(const Ceolmark&) = delete;

    // The low A in Hz from which transcribe(samples, count) searches the tuning; clears
    // tuningIsSet, so that the next such call searches again.
    virtual void setLowA_Hz(float lowA_Hz);
    // Empties the maps and the frame arrays (keeping their capacity), low A back to 440 Hz,
    // no tuning set, the input filter restarted. Tuning and parameters stay.
    virtual void reset();

    // A fixed tuning: low A takes its Low A centre, and no search from the data happens.
    void setTuning(const PipeTuning& tuning);
    PipeTuning tuning() const { return mTuning; }
    float lowA_Hz() const { return mLowA_Hz; }
    bool tuningIsSet() const { return mTuningIsSet; }

    // Above 8000 Hz the rate is taken and the hop is rate / 2205 rounded (20 at 44100 Hz);
    // at 8000 Hz and below the rate becomes 8000 Hz with a hop of 4.
    void setSamplingFrequency_Hz(float samplingFrequency_Hz);
    float samplingFrequency_Hz() const { return mSamplingFrequency_Hz; }
    int32_t frameHop_samples() const { return mFrameHop_samples; }
    // Seconds between two frames.
    float framePeriod_s() const { return float(mFrameHop_samples) / mSamplingFrequency_Hz; }

    // Low-pass corner in Hz of the input filter; 0 means no filtering.
    void setFilterCornerFrequency_Hz(float corner_Hz);
    float filterCornerFrequency_Hz() const { return mFilterCornerFrequency_Hz; }
    void initFilter();
    // Level 0..1 (the pitch finder's level scale) at and below which a frame has no pitch.
    void setMinimumVolume_normalized(float minimumVolume_normalized)
    {
        mMinimumVolume_normalized = minimumVolume_normalized;
    }
    float minimumVolume_normalized() const { return mMinimumVolume_normalized; }
    // The pitch finder's peak choice factor and lowest peak, 0..1.
    void setSnacPeakThreshold(float snacPeakThreshold) { mSnacPeakThreshold = snacPeakThreshold; }
    float snacPeakThreshold() const { return mSnacPeakThreshold; }
    void setMinimumSnacPeak(float minimumSnacPeak) { mMinimumSnacPeak = minimumSnacPeak; }
    float minimumSnacPeak() const { return mMinimumSnacPeak; }
    // Threads for the frame analysis of a long block: 0 picks the number of cores, 1 runs
    // on the calling thread only. The frames come out bit-identical either way.
    void setFrameAnalysisThreads(int threads) { mFrameAnalysisThreads = threads; }
    // Called on the calling thread while calculateFrequencies works through a block, with
    // the share of its frames analysed so far (0..1). Empty by default.
    void setProgressCallback(std::function<void(float share)> callback) { mProgressCallback = std::move(callback); }

    // Results of the last transcribe(), times in seconds from the first frame.
    const NoteMap& notes() const { return mNotes; }
    const NoteMap& graceNotes() const { return mGraceNotes; }
    // Intermediate maps, as the last transcribe() left them.
    const NoteMap& processedNotes() const { return mProcessedNotes; }
    const NoteMap& consolidatedNotes() const { return mConsolidatedNotes; }
    const std::vector<TimeRange>& gdeRanges() const { return mGdeRanges; }

    // Per-frame arrays, one entry per frame since the last reset().
    const std::vector<float>& frequencies() const { return mFrequencies; }
    const std::vector<float>& pickedFrequencies() const { return mPickedFrequencies; }
    const std::vector<float>& qualities() const { return mQualities; }
    const std::vector<float>& volumes() const { return mVolumes; }
    const std::vector<PipeTuning::ReferenceNote>& frameNotes() const { return mFrameNotes; }
    const std::vector<PipeTuning::ReferenceNote>& loweredFrameNotes() const { return mLoweredFrameNotes; }
    const std::vector<PipeTuning::ReferenceNote>& pickedFrameNotes() const { return mPickedFrameNotes; }

    // Searches the tuning from the samples unless a tuning is set.
    void calculateTuning(const short* samples, unsigned int count);
    // Appends the frames of a block; returns the samples the caller may discard (frames
    // times hop). Below 1024 samples nothing happens and the result is 0.
    unsigned int calculateFrequencies(const short* samples, unsigned int count);
    // Classifies every frame into frameNotes, loweredFrameNotes and pickedFrameNotes.
    void calculateNotes();
    // The stages over the arrays as they stand; can run again at will.
    void transcribe();
    // The whole pass over one recording: tuning search unless set, frames, notes, stages.
    bool transcribe(const short* samples, unsigned int count);

    // Widens a range to the low-quality frames around it.
    TimeRange stretchNoteByQuality(TimeRange range, float threshold);
    NoteMap stretchNotesByQuality(const NoteMap& notes, float threshold, float maxDuration_s);
    std::vector<PipeNotePattern::Match> detectPattern(const PipeNotePattern& pattern, bool limitFirstOnly);
    void myApplyPatternMatches(
        PipeNoteName name, const std::vector<PipeNotePattern::Match>& matches, int melodyNoteIndex, bool keepLastNote);

    // Stage 1.
    void getMelodyNotes();
    // Grace-note search, stages 2 to 6.
    void getGraceNotes();
    void initialGraceNoteStrip();
    void stripImpossibleGracenoteTransitions();
    void advancedGraceNoteSearch();
    void removeTransitionGraceNotes(const NoteMap& stream, PipeNoteName before, PipeNoteName target,
        PipeNoteName transition, PipeNoteName after, TimeRange transitionDuration);
    NoteMap consolidate();
    void stripCrossingNoises();
    // Times in seconds from range.first at which frequency and quality dip together.
    std::vector<float> findConfirmedTroughs(TimeRange range, float centre_Hz, float minimumDepth_Hz,
        float maximumDepth_Hz, float distance_s, float minimumQualityDepth, float maximumQualityDepth,
        float qualityDistance_s);
    // Embellishment recognition, stages 7 to 10 and 15 to 17.
    void getGdes();
    void getDoublings();
    void extractThrd();
    void getSingleGracenotes();
    void extractHighADoubling();
    void extractBirls();
    void extractStrikes();
    // Clean-up, stages 11 to 14 and 18 to 21.
    void reformMelodyAndGracing();
    void stripUnlikelyGracenotes();
    void extractShortMelodyNotes();
    void applyBusinessLogic();
    void dealWithMelodyGaps();
    void dealWithContigousGracing();
    void finalGraceNoteCheck();
    bool overlapsGde(const PipeNote& note);

    // Trace hook: every stage passes a label and a map. Empty in the released form.
    void myOutputNotes(std::string label, const NoteMap& notes);

protected:
    // Empties what the stages write: melody, gracing, processed, consolidated, G-D-E ranges.
    void clearStageResults();

    float mLowA_Hz = 440.0f;
    PipeTuning mTuning;
    float mSamplingFrequency_Hz = 44100.0f;
    float mMinimumVolume_normalized = 0.3f;
    int32_t mFrameHop_samples = 20;
    NoteMap mNotes;
    NoteMap mGraceNotes;
    NoteMap mProcessedNotes;
    NoteMap mConsolidatedNotes;
    std::vector<TimeRange> mGdeRanges;
    bool mTuningIsSet = false;
    // Held by pointer so that a frame analysis spread over threads can hand on the finder
    // whose state follows the last frame.
    std::unique_ptr<PitchFinder> mPitchFinder;
    std::unique_ptr<PipeSnacPeakPicker> mPeakPicker;
    std::unique_ptr<IIRFilterFirstOrder> mInputFilter;
    float mFilterCornerFrequency_Hz = 0.0f;
    float mSnacPeakThreshold = 0.9f;
    float mMinimumSnacPeak = 0.3f;
    std::vector<PipeTuning::ReferenceNote> mFrameNotes;
    std::vector<PipeTuning::ReferenceNote> mLoweredFrameNotes;
    std::vector<PipeTuning::ReferenceNote> mPickedFrameNotes;
    std::vector<float> mFrequencies;
    std::vector<float> mPickedFrequencies;
    std::vector<float> mQualities;
    std::vector<float> mVolumes;
    int mFrameAnalysisThreads = 0;
    std::function<void(float share)> mProgressCallback;

private:
    // Frames [first, last) of a block read from samples or filtered, appended at arrayOffset.
    void analyseFrames(PitchFinder& finder, const short* samples, const float* filtered, unsigned first, unsigned last,
        size_t arrayOffset);
    // The same in slices, telling the progress callback the share of [first, last) done.
    void analyseFramesReporting(PitchFinder& finder, const short* samples, const float* filtered, unsigned first,
        unsigned last, size_t arrayOffset);
};
