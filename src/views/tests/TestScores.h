#pragma once

#include "PipeTuneModel.h"

#include <vector>

// Small hand-made scores for the drawing tests.

inline PipeTuneModel::Item makeNote(
    PipeNoteName name, int duration, int dots = 0, PipeTuneModel::NoteFlag flag = PipeTuneModel::NoteFlagNone)
{
    return PipeTuneModel::Item(name, duration, dots, flag);
}

inline PipeTuneModel::Item makeGrace(PipeNoteName name, int dots = 0)
{
    return PipeTuneModel::Item(name, 32, dots, PipeTuneModel::NoteFlagNone);
}

inline PipeTuneModel::Bar makeBar(std::vector<PipeTuneModel::Item> items, bool rowBreak = false)
{
    PipeTuneModel::Bar bar;
    bar.items = std::move(items);
    bar.rowBreak = rowBreak;
    return bar;
}

inline PipeTuneModel makeModel(std::vector<PipeTuneModel::Bar> bars)
{
    PipeTuneModel model;
    model.parts.emplace_back();
    model.parts.back().bars = std::move(bars);
    return model;
}
