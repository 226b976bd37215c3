#pragma once

#include <cstdint>
#include <vector>

// A first-order IIR filter, bilinear with a pre-warped corner, that the transcription can
// run over a whole recording before frames are cut. The state carries across calls, so a
// recording can be filtered in pieces. Belongs to the thread of its owner.
class IIRFilterFirstOrder {
public:
    // 0 is high-pass; any other value low-pass.
    enum Type : int32_t {
        HighPass = 0,
        LowPass = 1,
    };

    IIRFilterFirstOrder() = default;
    virtual ~IIRFilterFirstOrder() = default;

    // Sets the coefficients and clears the previous input and output.
    void initialise(double corner_Hz, double sampling_Hz, double gain, Type type);
    // Filters count samples at 16-bit magnitude, unscaled. The result is owned by the
    // filter and valid until the next call.
    const float* filter(const short* samples, unsigned count);
    // Clears every field and frees the buffer.
    void reset();

private:
    double mCorner_Hz = 0.0;
    double mSampling_Hz = 0.0;
    double mTangent = 0.0;
    double mFeedback = 0.0;
    double mFeedForward = 0.0;
    double mGain = 0.0;
    double mPreviousInput = 0.0;
    double mPreviousOutput = 0.0;
    Type mType = HighPass;
    int32_t mSign = 1;
    std::vector<float> mOutput;
    unsigned mCapacity_samples = 0;
};
