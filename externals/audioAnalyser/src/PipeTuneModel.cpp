#include "PipeTuneModel.h"

#include <cmath>
#include <sstream>

PipeTuneModel::Item::Item(PipeNoteName noteName, int duration, int dots, NoteFlag flag)
    : noteName(noteName)
    , duration(duration)
    , dots(dots)
    , flag(flag)
{
}

int PipeTuneModel::Item::totalDuration32() const
{
    if (duration == 0)
        return 0;
    const int base = 32 / duration;
    if (dots != 1 && dots != 2)
        return base;
    // A double dot deliberately counts as a single one; lround keeps a dotted 32nd at 2.
    return base + int(std::lround(base * 0.5));
}

bool PipeTuneModel::Item::operator==(const Item& other) const
{
    return noteName == other.noteName && duration == other.duration && dots == other.dots && flag == other.flag;
}

int PipeTuneModel::Bar::totalDuration32() const
{
    int total = 0;
    for (const Item& item : items)
        total += item.totalDuration32();
    return total;
}

void PipeTuneModel::Bar::clear()
{
    items.clear();
    rowBreak = false;
}

bool PipeTuneModel::Bar::operator==(const Bar& other) const
{
    return rowBreak == other.rowBreak && items == other.items;
}

void PipeTuneModel::Part::clear() { bars.clear(); }

void PipeTuneModel::clear()
{
    parts.clear();
    mTimeSigNumerator = 4;
    mTimeSigDenominator = 4;
}

void PipeTuneModel::toStdOut() const { (void)toString(*this); }

std::vector<int> getChangedRows(const PipeTuneModel& newModel, const PipeTuneModel& oldModel)
{
    std::vector<int> rows;
    int row = 0;
    bool rowChanged = false;
    for (size_t p = 0; p < newModel.parts.size(); ++p) {
        const std::vector<PipeTuneModel::Bar>& bars = newModel.parts[p].bars;
        for (size_t b = 0; b < bars.size(); ++b) {
            const PipeTuneModel::Bar& bar = bars[b];
            const bool oldExists = p < oldModel.parts.size() && b < oldModel.parts[p].bars.size();
            const bool same = oldExists && oldModel.parts[p].bars[b] == bar;
            if (!bar.rowBreak) {
                if (!same)
                    rowChanged = true;
                continue;
            }
            if (same && !rowChanged) {
                ++row;
                continue;
            }
            rows.push_back(row);
            rowChanged = false;
            ++row;
        }
    }
    return rows;
}

std::ostream& operator<<(std::ostream& os, PipeTuneModel::NoteFlag flag)
{
    switch (flag) {
    case PipeTuneModel::NoteFlagNone: return os << "n";
    case PipeTuneModel::NoteFlagRight: return os << "r";
    case PipeTuneModel::NoteFlagLeft: return os << "l";
    }
    return os;
}

std::ostream& operator<<(std::ostream& os, const PipeTuneModel::Item& item)
{
    return os << "{" << item.noteName << item.duration << ",d:" << item.dots << ",f:" << item.flag << "}";
}

std::ostream& operator<<(std::ostream& os, const PipeTuneModel::Bar& bar)
{
    os << "Bar{Items:[";
    for (const PipeTuneModel::Item& item : bar.items)
        os << item;
    return os << "],br:" << (bar.rowBreak ? 1 : 0) << "}";
}

std::ostream& operator<<(std::ostream& os, const PipeTuneModel::Part& part)
{
    os << "{Bars:[";
    for (const PipeTuneModel::Bar& bar : part.bars)
        os << bar << "\n";
    return os << "]}";
}

std::ostream& operator<<(std::ostream& os, const PipeTuneModel& model)
{
    os << "{Parts:[";
    for (const PipeTuneModel::Part& part : model.parts)
        os << part << "\n\n";
    return os << "]}";
}

namespace {

template <typename T> std::string streamed(const T& value)
{
    std::ostringstream os;
    os << value;
    return os.str();
}

} // namespace

std::string toString(PipeTuneModel::NoteFlag flag) { return streamed(flag); }
std::string toString(const PipeTuneModel::Item& item) { return streamed(item); }
std::string toString(const PipeTuneModel::Bar& bar) { return streamed(bar); }
std::string toString(const PipeTuneModel::Part& part) { return streamed(part); }
std::string toString(const PipeTuneModel& model) { return streamed(model); }
