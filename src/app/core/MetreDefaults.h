#pragma once

// What choosing a time signature in the tool bar sets. Any thread.
struct MetreDefaults {
    float bpm = 72.0f;
    bool setsRounding = true; // whether choosing this metre sets "played round" (to false)

    // Index 0 "4/4": 72 BPM, rounding set false; 1 "3/4": 72, set false; 2 "2/4": 52, set
    // false; 3 "Cut common time (Reel)": 62, rounding left as it is; 4 "6/8": 72, left as it is.
    // Returns false for an index outside 0..4, and then leaves defaults unchanged.
    static bool of(int timeSignatureIndex, MetreDefaults& defaults);
};
