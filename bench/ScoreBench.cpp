// Quantising and writing the whole tune, as the main window does at every transcription result
// during a recording. The floor is the least any such pass does: copying both note maps and
// merging them into playing order.

#include "BmwWriter.h"
#include "CeolmarkUtils.h"
#include "PipeTuneQuantizer.h"
#include "RatioReporter.h"

#include <benchmark/benchmark.h>

namespace {

constexpr float kTempo = 80.0f;

// A 2/4 tune of the given length: quaver and dotted pairs, crotchets, a grace note or a
// movement on every other melody note, 7 % rubato.
void makeTune(float length_s, NoteMap& melody, NoteMap& grace)
{
    const float t32_s = getCrotchetDuration_s(kTempo, 2, 4) / 8.0f;
    const int lengths32[] = {6, 2, 8, 4, 4, 8, 6, 2, 3, 1, 4};
    const PipeNoteName graces[] = {gg, dbla, grp, thrd, strb, tar};
    const float rubato[] = {1.0f, 1.07f, 0.94f, 1.03f, 0.96f};
    float time_s = 0.5f;
    for (int i = 0; time_s < length_s; ++i) {
        if (i % 2 == 0) {
            const PipeNote ornament(graces[i / 2 % 6], time_s - 0.06f, 0.06f);
            grace.insert({ornament.start_s(), ornament});
        }
        const float duration_s = lengths32[i % 11] * t32_s * rubato[i % 5];
        melody.insert({time_s, PipeNote(PipeNoteName(LA + i % 8), time_s, duration_s - 0.06f)});
        time_s += duration_s;
    }
}

void quantizerFloor(benchmark::State& state)
{
    NoteMap melody, grace;
    makeTune(float(state.range(0)), melody, grace);
    for (auto _ : state) {
        NoteMap melodyCopy = melody;
        NoteMap graceCopy = grace;
        benchmark::DoNotOptimize(combineMelodyAndGraceNotes(melodyCopy, graceCopy));
    }
}

void quantizeTune(benchmark::State& state)
{
    NoteMap melody, grace;
    makeTune(float(state.range(0)), melody, grace);
    for (auto _ : state) {
        PipeTuneQuantizer quantizer;
        quantizer.setTimeSignature(2, 4);
        quantizer.setCrotchetDuration_s(getCrotchetDuration_s(kTempo, 2, 4));
        quantizer.quantize(-0.5f, melody, grace);
        benchmark::DoNotOptimize(quantizer.getModel());
    }
}

void writeBww(benchmark::State& state)
{
    NoteMap melody, grace;
    makeTune(float(state.range(0)), melody, grace);
    PipeTuneQuantizer quantizer;
    quantizer.setTimeSignature(2, 4);
    quantizer.setCrotchetDuration_s(getCrotchetDuration_s(kTempo, 2, 4));
    quantizer.quantize(-0.5f, melody, grace);
    const PipeTuneModel model = quantizer.getModel();
    for (auto _ : state)
        benchmark::DoNotOptimize(BmwWriter().write(model));
}

// Three minutes of tune, a long competition piece.
BENCHMARK(quantizerFloor)->Arg(180);
BENCHMARK(quantizeTune)->Arg(180);
BENCHMARK(writeBww)->Arg(180);

} // namespace

int main(int argc, char** argv)
{
    return RatioReporter::runAll(
        argc, argv, {{"quantizeTune/180", "quantizerFloor/180"}, {"writeBww/180", "quantizerFloor/180"}});
}
