#pragma once

#include <utility>

// Start and end in seconds.
typedef std::pair<float, float> TimeRange;

// The half-open test [start, end) on 32-bit floats: not start > x, and end > x.
inline bool isInRange(const TimeRange& range, float x_s) { return !(range.first > x_s) && range.second > x_s; }
