#pragma once

#include "Ceolmark.h"
#include "HistoricPipeTuning.h"

#include <QByteArray>

#include <cstdint>
#include <vector>

// The live transcriber. A note's identity depends on what follows it, so the tail of a
// transcription can still change; transcribing the whole tune on every refresh would cost
// more the longer it gets. So only the last five seconds or so of frames are kept and
// transcribed again on each refresh, and notes that ended at least a second before the
// newest audio freeze into a settled list. Each result is the whole tune: the settled
// notes spliced to the fresh transcription of the window. Meanwhile the tuning follows the
// chanter's drift.
//
// Belongs to one thread at a time (the audio processing thread in the application) and
// takes no locks; results leave as copies of notes() and graceNotes().
class ProgressiveCeolmark : public Ceolmark {
public:
    ProgressiveCeolmark();
    ~ProgressiveCeolmark() override = default;

    // Appends count samples (0 allowed) to the analysis and updates the tuning. Returns
    // true when a new result stands in notes() and graceNotes(): when more than the
    // interval of audio has passed since the last result, or always with force. Times in
    // the result are seconds from the start of the recording.
    bool progressiveTranscribe(const short* samples, unsigned int count, bool force);

    // Empties everything, the historic tuning included; the interval goes back to 0.1 s.
    void reset() override;

    // Transcribes the window under the current tuning and splices it to the settled notes;
    // past five seconds of window, settles what is old enough and drops a second of frames.
    void retranscribe();

    // Drops the frames of the first ms milliseconds from the four per-frame value arrays.
    // The window start is the caller's to move.
    void trimFrequencies(int ms);

    // Seconds of audio between two results.
    void setTranscriptionInterval_s(float interval_s);
    float transcriptionInterval_s() const { return mTranscriptionInterval_s; }

    // Seconds of audio taken in so far: the length of the recording.
    float lastTranscribeTime_s() const;
    // Samples taken in so far; those of a block that no whole frame covers yet wait.
    uint32_t totalSamples() const { return mTotalSamples; }
    // Mean level (0..1) of the newest frames (of all, if there are fewer); 0 with none.
    float getLastRmsAverage_normalized(int frames) const;

    HistoricPipeTuning historicTuning() const { return mHistoricTuning; }
    // Takes the historic tuning and its current tuning, and low A from that tuning.
    void setHistoricalTuning(const HistoricPipeTuning& historicTuning);

    // Final notes, melody and gracing in time order, times from the start of the recording.
    const std::vector<PipeNote>& settledNotes() const { return mSettledNotes; }
    // Time from the start of the recording of the first frame held.
    float windowStart_s() const { return mWindowStart_s; }

private:
    void resetProgressiveState();
    // Frames in ms milliseconds, as the window trims count them.
    int framesIn(int ms) const;
    void dropFrontFrames(int frames);

    QByteArray mPendingSamples;
    uint32_t mTotalSamples = 0;
    float mNextTranscribe_s = 0.1f;
    std::vector<PipeNote> mSettledNotes;
    float mWindowStart_s = 0.0f;
    HistoricPipeTuning mHistoricTuning;
    float mTranscriptionInterval_s = 0.1f;
};
