#include "Ceolmark.h"

#include "CeolmarkUtils.h"
#include "IIRFilterFirstOrder.h"
#include "PipeSnacPeakPicker.h"
#include "PitchFinder.h"
#include "TranscriptionFrames.h"
#include "TuningFromData.h"
#include "VolumeGate.h"

#include <QDebug>

#include <algorithm>
#include <thread>

namespace {

// A thread gets frames only when it has at least this many, so that the plans it builds
// and the warm-up it runs stay a small share of its work.
constexpr unsigned kMinimumFramesPerThread = 2048;
// Frames run before a thread's first frame, so that the quality a frame without a key
// maximum carries over from its predecessor is already the right one.
constexpr unsigned kWarmUpFrames = 32;

// One frame from the samples, or from their filtered copy when there is one.
void analyseFrame(PitchFinder& finder, const short* samples, const float* filtered, size_t start)
{
    if (filtered)
        finder.setData(filtered + start);
    else
        finder.setData(samples + start);
    finder.calculatePitch();
}

} // namespace

const std::vector<Ceolmark::Stage>& Ceolmark::stages()
{
    static const std::vector<Stage> list = {
        {"getMelodyNotes", [](Ceolmark& c) { c.getMelodyNotes(); }, "original melody notes", &Ceolmark::mNotes, nullptr,
            nullptr},
        {"getGraceNotes", [](Ceolmark& c) { c.getGraceNotes(); }, "init grace notes", &Ceolmark::mGraceNotes, nullptr,
            nullptr},
        {"initialGraceNoteStrip", [](Ceolmark& c) { c.initialGraceNoteStrip(); }, "init grace notes after strip",
            &Ceolmark::mGraceNotes, nullptr, nullptr},
        {"advancedGraceNoteSearch", [](Ceolmark& c) { c.advancedGraceNoteSearch(); },
            "init grace notes after advanced search", &Ceolmark::mGraceNotes, nullptr, nullptr},
        {"consolidate", [](Ceolmark& c) { c.mConsolidatedNotes = c.consolidate(); }, "Consolidated notes",
            &Ceolmark::mConsolidatedNotes, nullptr, nullptr},
        {"stripCrossingNoises", [](Ceolmark& c) { c.stripCrossingNoises(); },
            "Consolidated notes after crossing noise removal", &Ceolmark::mConsolidatedNotes, nullptr, nullptr},
        {"getGdes", [](Ceolmark& c) { c.getGdes(); }, "Consolidated after GDE", &Ceolmark::mConsolidatedNotes, nullptr,
            nullptr},
        {"getDoublings", [](Ceolmark& c) { c.getDoublings(); }, "Consolidated after doublings",
            &Ceolmark::mConsolidatedNotes, nullptr, nullptr},
        {"extractThrd", [](Ceolmark& c) { c.extractThrd(); }, "Processed notes", &Ceolmark::mProcessedNotes, nullptr,
            nullptr},
        {"getSingleGracenotes", [](Ceolmark& c) { c.getSingleGracenotes(); },
            "Processed notes after getSingleGracenotes", &Ceolmark::mProcessedNotes,
            "Consolidated notes after getSingleGracenotes", &Ceolmark::mConsolidatedNotes},
        {"reformMelodyAndGracing", [](Ceolmark& c) { c.reformMelodyAndGracing(); }, "Melody after reform",
            &Ceolmark::mNotes, "Gracing after reform", &Ceolmark::mGraceNotes},
        {"stripUnlikelyGracenotes", [](Ceolmark& c) { c.stripUnlikelyGracenotes(); }, nullptr, nullptr, nullptr,
            nullptr},
        {"extractShortMelodyNotes", [](Ceolmark& c) { c.extractShortMelodyNotes(); }, nullptr, nullptr, nullptr,
            nullptr},
        {"applyBusinessLogic", [](Ceolmark& c) { c.applyBusinessLogic(); }, "Melody after short melody note extract",
            &Ceolmark::mNotes, "Gracing after short melody note extract", &Ceolmark::mGraceNotes},
        {"extractHighADoubling", [](Ceolmark& c) { c.extractHighADoubling(); }, nullptr, nullptr, nullptr, nullptr},
        {"extractBirls", [](Ceolmark& c) { c.extractBirls(); }, nullptr, nullptr, nullptr, nullptr},
        {"extractStrikes", [](Ceolmark& c) { c.extractStrikes(); }, nullptr, nullptr, nullptr, nullptr},
        {"dealWithMelodyGaps", [](Ceolmark& c) { c.dealWithMelodyGaps(); }, nullptr, nullptr, nullptr, nullptr},
        {"dealWithContigousGracing", [](Ceolmark& c) { c.dealWithContigousGracing(); }, nullptr, nullptr, nullptr,
            nullptr},
        {"finalGraceNoteCheck", [](Ceolmark& c) { c.finalGraceNoteCheck(); }, nullptr, nullptr, nullptr, nullptr},
        // Stage 12 again: the stages since may have made grace notes it would strip.
        {"stripUnlikelyGracenotes", [](Ceolmark& c) { c.stripUnlikelyGracenotes(); }, nullptr, nullptr, nullptr,
            nullptr},
    };
    return list;
}

Ceolmark::Ceolmark()
    : mPitchFinder(new PitchFinder)
    , mPeakPicker(new PipeSnacPeakPicker)
    , mInputFilter(new IIRFilterFirstOrder)
{
    TranscriptionFrames::installPeakPicker(*mPitchFinder, *mPeakPicker);
    initFilter();
}

Ceolmark::~Ceolmark() = default;

void Ceolmark::setLowA_Hz(float lowA_Hz)
{
    mLowA_Hz = lowA_Hz;
    mTuningIsSet = false;
}

void Ceolmark::reset()
{
    mLowA_Hz = 440.0f;
    clearStageResults();
    mTuningIsSet = false;
    mFrameNotes.clear();
    mLoweredFrameNotes.clear();
    mPickedFrameNotes.clear();
    mFrequencies.clear();
    mPickedFrequencies.clear();
    mQualities.clear();
    mVolumes.clear();
    initFilter();
}

void Ceolmark::setTuning(const PipeTuning& tuning)
{
    mLowA_Hz = tuning.getReferenceNoteCentreFrequency_Hz(PipeTuning::LowA);
    mTuning = tuning;
    mTuningIsSet = true;
}

void Ceolmark::setSamplingFrequency_Hz(float samplingFrequency_Hz)
{
    mSamplingFrequency_Hz = TranscriptionFrames::samplingFrequency_Hz(samplingFrequency_Hz);
    mFrameHop_samples = TranscriptionFrames::frameHop_samples(mSamplingFrequency_Hz);
    initFilter();
}

void Ceolmark::setFilterCornerFrequency_Hz(float corner_Hz)
{
    mFilterCornerFrequency_Hz = corner_Hz;
    initFilter();
}

void Ceolmark::initFilter()
{
    mInputFilter->initialise(mFilterCornerFrequency_Hz, mSamplingFrequency_Hz, 1.0, IIRFilterFirstOrder::LowPass);
}

void Ceolmark::calculateTuning(const short* samples, unsigned int count)
{
    if (mTuningIsSet)
        return;
    mTuning = calculateTuningFromData(samples, count, mSamplingFrequency_Hz, 1024, mLowA_Hz, mMinimumVolume_normalized);
}

void Ceolmark::analyseFrames(
    PitchFinder& finder, const short* samples, const float* filtered, unsigned first, unsigned last, size_t arrayOffset)
{
    for (unsigned j = first; j < last; ++j) {
        analyseFrame(finder, samples, filtered, size_t(j) * size_t(mFrameHop_samples));
        const size_t n = arrayOffset + j;
        const TranscriptionFrames::Frame frame
            = TranscriptionFrames::gate(finder.analysisResults(), n, mMinimumVolume_normalized);
        mVolumes[n] = frame.volume;
        mFrequencies[n] = frame.frequency_Hz;
        mPickedFrequencies[n] = frame.pickedFrequency_Hz;
        mQualities[n] = frame.quality;
    }
}

void Ceolmark::analyseFramesReporting(
    PitchFinder& finder, const short* samples, const float* filtered, unsigned first, unsigned last, size_t arrayOffset)
{
    if (!mProgressCallback) {
        analyseFrames(finder, samples, filtered, first, last, arrayOffset);
        return;
    }
    constexpr unsigned kSlice = 4096;
    for (unsigned from = first; from < last; from += std::min(kSlice, last - from)) {
        analyseFrames(finder, samples, filtered, from, std::min(from + kSlice, last), arrayOffset);
        mProgressCallback(float(std::min(from + kSlice, last) - first) / float(last - first));
    }
}

unsigned int Ceolmark::calculateFrequencies(const short* samples, unsigned int count)
{
    if (count < TranscriptionFrames::kFrameSize_samples)
        return 0;
    TranscriptionFrames::configure(
        *mPitchFinder, *mPeakPicker, mTuning, mSamplingFrequency_Hz, mSnacPeakThreshold, mMinimumSnacPeak);

    const unsigned frames = TranscriptionFrames::frameCount(count, mFrameHop_samples);
    const size_t offset = mFrequencies.size();
    mFrequencies.resize(offset + frames, 0.0f);
    mPickedFrequencies.resize(offset + frames, 0.0f);
    mQualities.resize(offset + frames, 0.0f);
    mVolumes.resize(offset + frames, 0.0f);
    const float* filtered = mFilterCornerFrequency_Hz != 0.0f ? mInputFilter->filter(samples, count) : nullptr;

    unsigned threads = mFrameAnalysisThreads > 0 ? unsigned(mFrameAnalysisThreads)
                                                 : std::max(1u, std::thread::hardware_concurrency());
    threads = std::max(1u, std::min(threads, frames / kMinimumFramesPerThread));
    if (threads == 1) {
        analyseFramesReporting(*mPitchFinder, samples, filtered, 0, frames, offset);
        return frames * unsigned(mFrameHop_samples);
    }

    // Each frame stands alone but for the quality: a frame without a key maximum keeps its
    // predecessor's. A frame with a frequency certainly had one, so a helper thread's frames
    // are exact from its first frame with a frequency on, warm-up frames included. Frames
    // before that are run again, after the join, by the finder that ends exact on the frame
    // before them.
    struct Part {
        unsigned first = 0;
        unsigned last = 0;
        unsigned exactFrom = 0;
        std::unique_ptr<PitchFinder> finder;
        std::unique_ptr<PipeSnacPeakPicker> picker;
    };
    std::vector<Part> parts(threads);
    for (unsigned t = 0; t < threads; ++t) {
        parts[t].first = unsigned(uint64_t(frames) * t / threads);
        parts[t].last = unsigned(uint64_t(frames) * (t + 1) / threads);
    }
    std::vector<std::thread> workers;
    for (unsigned t = 1; t < threads; ++t) {
        Part& part = parts[t];
        part.finder.reset(new PitchFinder);
        part.picker.reset(new PipeSnacPeakPicker);
        TranscriptionFrames::installPeakPicker(*part.finder, *part.picker);
        TranscriptionFrames::configure(
            *part.finder, *part.picker, mTuning, mSamplingFrequency_Hz, mSnacPeakThreshold, mMinimumSnacPeak);
        workers.emplace_back([this, &part, samples, filtered, offset]() {
            PitchFinder& finder = *part.finder;
            bool exact = false;
            for (unsigned j = part.first - std::min(part.first, kWarmUpFrames); j < part.first; ++j) {
                analyseFrame(finder, samples, filtered, size_t(j) * size_t(mFrameHop_samples));
                exact = exact || finder.analysisResults().frequency_Hz > 0.0f;
            }
            part.exactFrom = exact ? part.first : part.last;
            for (unsigned j = part.first; j < part.last; ++j) {
                analyseFrames(finder, samples, filtered, j, j + 1, offset);
                // A gated frame hides its frequency; it then counts as inexact, which only costs a rerun.
                if (!exact && mFrequencies[offset + j] > 0.0f) {
                    exact = true;
                    part.exactFrom = j;
                }
            }
        });
    }
    // The parts are of one size: this one's progress is everyone's.
    analyseFramesReporting(*mPitchFinder, samples, filtered, parts[0].first, parts[0].last, offset);
    for (std::thread& worker : workers)
        worker.join();

    PitchFinder* exactFinder = mPitchFinder.get();
    for (unsigned t = 1; t < threads; ++t) {
        Part& part = parts[t];
        analyseFrames(*exactFinder, samples, filtered, part.first, part.exactFrom, offset);
        if (part.exactFrom < part.last)
            exactFinder = part.finder.get();
    }
    // The next block carries over from the last frame of this one.
    if (exactFinder != mPitchFinder.get()) {
        for (Part& part : parts) {
            if (part.finder.get() == exactFinder) {
                mPitchFinder.swap(part.finder);
                TranscriptionFrames::installPeakPicker(*mPitchFinder, *mPeakPicker);
                break;
            }
        }
    }
    return frames * unsigned(mFrameHop_samples);
}

void Ceolmark::calculateNotes()
{
    const size_t frames = mFrequencies.size();
    mFrameNotes.resize(frames);
    mLoweredFrameNotes.resize(frames);
    mPickedFrameNotes.resize(frames);

    // A note sung up to 39 cents flat still lands on its note in the lowered tuning.
    PipeTuning lowered = mTuning;
    const float lowA_Hz = mTuning.lowA_Hz();
    lowered.setLowA_Hz(lowA_Hz - lowA_Hz * 0.022727272727272728);

    VolumeGate gate(mMinimumVolume_normalized);
    float centre_Hz = 0.0f, cents = 0.0f;
    for (size_t i = 0; i < frames; ++i) {
        if (!gate.pass(mVolumes[i])) {
            mFrameNotes[i] = PipeTuning::Unknown;
            mLoweredFrameNotes[i] = PipeTuning::Unknown;
            mPickedFrameNotes[i] = PipeTuning::Unknown;
            continue;
        }
        mFrameNotes[i] = mTuning.calculate(mFrequencies[i], centre_Hz, cents);
        mLoweredFrameNotes[i] = lowered.calculate(mFrequencies[i], centre_Hz, cents);
        mPickedFrameNotes[i] = mTuning.calculate(mPickedFrequencies[i], centre_Hz, cents);
    }
}

void Ceolmark::getMelodyNotes()
{
    // Just above the 0.15 s at which the grace-note candidates end.
    mNotes = extractNotes(mFrameNotes, 0.1500001f, 30.0f, framePeriod_s());
}

void Ceolmark::clearStageResults()
{
    mNotes.clear();
    mGraceNotes.clear();
    mProcessedNotes.clear();
    mConsolidatedNotes.clear();
    mGdeRanges.clear();
}

void Ceolmark::transcribe()
{
    clearStageResults();
    for (const Stage& stage : stages()) {
        stage.run(*this);
        if (stage.traceLabel)
            myOutputNotes(stage.traceLabel, this->*stage.traceMap);
        if (stage.secondTraceLabel)
            myOutputNotes(stage.secondTraceLabel, this->*stage.secondTraceMap);
    }
}

bool Ceolmark::transcribe(const short* samples, unsigned int count)
{
    calculateTuning(samples, count);
    calculateFrequencies(samples, count);
    calculateNotes();
    transcribe();
    return true;
}

TimeRange Ceolmark::stretchNoteByQuality(TimeRange range, float threshold)
{
    int first = int(range.first * mSamplingFrequency_Hz / mFrameHop_samples);
    int last = int(range.second * mSamplingFrequency_Hz / mFrameHop_samples);
    const int size = int(mQualities.size());
    if (first < 0 || last >= size) {
        qDebug() << "ERROR stretchNoteByQuality Error. StartPos samples: " << first << " end pos samples " << last
                 << " Qualities size: " << size;
        return range;
    }
    while (first > 0 && mQualities[size_t(first)] < threshold)
        --first;
    while (last < size && mQualities[size_t(last)] < threshold)
        ++last;
    return TimeRange(float(first * mFrameHop_samples) / mSamplingFrequency_Hz,
        float(last * mFrameHop_samples) / mSamplingFrequency_Hz);
}

NoteMap Ceolmark::stretchNotesByQuality(const NoteMap& notes, float threshold, float maxDuration_s)
{
    NoteMap result;
    for (const auto& entry : notes) {
        PipeNote note = entry.second;
        const TimeRange stretched = stretchNoteByQuality(TimeRange(note.start_s(), note.getEnd_s()), threshold);
        const float duration_s = stretched.second - stretched.first;
        if (duration_s < maxDuration_s) {
            note.setStart_s(stretched.first);
            note.setDuration_s(duration_s);
        }
        result.insert({note.start_s(), note});
    }
    return result;
}

std::vector<PipeNotePattern::Match> Ceolmark::detectPattern(const PipeNotePattern& pattern, bool limitFirstOnly)
{
    return pattern.detect(mConsolidatedNotes, mNotes, mProcessedNotes, mGdeRanges, limitFirstOnly);
}

void Ceolmark::myApplyPatternMatches(
    PipeNoteName name, const std::vector<PipeNotePattern::Match>& matches, int melodyNoteIndex, bool keepLastNote)
{
    applyPatternMatches(name, matches, mProcessedNotes, mConsolidatedNotes, melodyNoteIndex, keepLastNote);
}

void Ceolmark::myOutputNotes(std::string /*label*/, const NoteMap& /*notes*/) { }
