#include "IIRFilterFirstOrder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

TEST(IIRFilterFirstOrder, SteadyStates)
{
    struct Case {
        std::string name;
        IIRFilterFirstOrder::Type type;
        double gain;
        float constantOut;
    };
    const Case cases[] = {
        {"low-pass passes a constant", IIRFilterFirstOrder::LowPass, 1.0, 1000.0f},
        {"low-pass with gain", IIRFilterFirstOrder::LowPass, 2.0, 2000.0f},
        {"any other type is low-pass", IIRFilterFirstOrder::Type(7), 1.0, 1000.0f},
        {"high-pass removes a constant", IIRFilterFirstOrder::HighPass, 1.0, 0.0f},
    };
    const std::vector<short> constant(20000, 1000);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        IIRFilterFirstOrder filter;
        filter.initialise(100.0, 44100.0, c.gain, c.type);
        const float* out = filter.filter(constant.data(), unsigned(constant.size()));
        // The time constant is about 70 samples at 100 Hz: 20000 samples settle fully.
        EXPECT_NEAR(out[constant.size() - 1], c.constantOut, 0.01f);
    }
}

TEST(IIRFilterFirstOrder, HalfPowerAtTheCornerAndStateAcrossCalls)
{
    const double pi = 3.14159265358979323846;
    std::vector<short> sine(44100);
    for (std::size_t i = 0; i < sine.size(); ++i)
        sine[i] = short(std::lround(10000.0 * std::sin(2.0 * pi * 1000.0 * double(i) / 44100.0)));
    for (auto type : {IIRFilterFirstOrder::LowPass, IIRFilterFirstOrder::HighPass}) {
        SCOPED_TRACE(type);
        IIRFilterFirstOrder whole;
        whole.initialise(1000.0, 44100.0, 1.0, type);
        const float* wholeOut = whole.filter(sine.data(), 44100);
        const std::vector<float> once(wholeOut, wholeOut + 44100);
        float peak = 0.0f;
        for (std::size_t i = 22050; i < once.size(); ++i)
            peak = std::max(peak, std::fabs(once[i]));
        // The pre-warped corner is exact: 1 / sqrt(2) of the input there.
        EXPECT_NEAR(peak, 10000.0f / std::sqrt(2.0f), 30.0f);

        // Filtering in two pieces gives the same as in one.
        IIRFilterFirstOrder pieces;
        pieces.initialise(1000.0, 44100.0, 1.0, type);
        pieces.filter(sine.data(), 30000);
        const float* rest = pieces.filter(sine.data() + 30000, 14100);
        EXPECT_FLOAT_EQ(rest[14099], once[44099]);
        EXPECT_FLOAT_EQ(rest[0], once[30000]);
    }
}
