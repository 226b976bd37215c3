#pragma once

#include "PipeTuneModel.h"
#include "PipeTuneQuantizer.h"

#include <map>
#include <vector>

enum QuantizationType : int32_t {
    QuantizationAbsolute = 0, // round each note to a grid
    QuantizationSetPattern = 1, // pick one of the few patterns of a compound beat
};

// Decides the written note values inside one group (one beat), in thirty-second notes. Used by
// PipeTuneQuantizer on its thread; holds a working copy of the group between calls.
class GroupQuantizer {
public:
    explicit GroupQuantizer(double duration32_s);
    virtual ~GroupQuantizer() = default;

    // The grid and the shortest length any note gets, in thirty-second notes; below 1 becomes 1.
    void setMinQuantizationLevel(int level);
    void setQuantizationType(QuantizationType type);

    // Note index in group.notes to the items that write it, grace notes first. Only the
    // proportions of the durations count: they are scaled to fill the group.
    std::map<int, std::vector<PipeTuneModel::Item>> quantize(const PipeTuneQuantizer::Group& group);

private:
    void normalizeGroup();
    std::map<int, std::vector<PipeTuneModel::Item>> quantizeSetPattern();
    std::map<int, std::vector<PipeTuneModel::Item>> quantizeAbsolute();
    // The note's grace notes as thirty-second items, then its length written out.
    std::vector<PipeTuneModel::Item> noteItems(int noteIndex, int length32) const;

    PipeTuneQuantizer::Group group;
    int minQuantizationLevel = 1;
    QuantizationType quantizationType = QuantizationAbsolute;
    double duration32_s;
};

// The items that write n thirty-second notes, longest first, dotted where one dotted value fits;
// noteName left Unknown for the caller. Empty for n = 0.
std::vector<PipeTuneModel::Item> getItemsFrom32s(int n);
