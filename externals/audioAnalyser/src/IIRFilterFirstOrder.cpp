#include "IIRFilterFirstOrder.h"

#include <cmath>

void IIRFilterFirstOrder::initialise(double corner_Hz, double sampling_Hz, double gain, Type type)
{
    const double pi = 3.14159265358979323846;
    mCorner_Hz = corner_Hz;
    mSampling_Hz = sampling_Hz;
    mType = type;
    mSign = type == HighPass ? 1 : -1;
    mTangent = std::tan(pi * corner_Hz / sampling_Hz);
    mFeedback = (1.0 - mTangent) / (1.0 + mTangent);
    mFeedForward = type == HighPass ? (1.0 + mFeedback) / 2.0 : (1.0 - mFeedback) / 2.0;
    mGain = gain;
    mPreviousInput = 0.0;
    mPreviousOutput = 0.0;
}

const float* IIRFilterFirstOrder::filter(const short* samples, unsigned count)
{
    if (mCapacity_samples < count) {
        mOutput.assign(count, 0.0f);
        mOutput.shrink_to_fit();
        mCapacity_samples = count;
    }
    for (unsigned i = 0; i < count; ++i) {
        const double x = samples[i];
        const double y = mFeedback * mPreviousOutput + mFeedForward * x - mSign * mFeedForward * mPreviousInput;
        mPreviousOutput = y;
        mPreviousInput = x;
        mOutput[i] = float(mGain * y);
    }
    return mOutput.data();
}

void IIRFilterFirstOrder::reset() { *this = IIRFilterFirstOrder(); }
