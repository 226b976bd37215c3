#include "Pid.h"

#include <gtest/gtest.h>

#include <vector>

TEST(Pid, TermsAndClamp)
{
    const struct {
        const char* name;
        Pid pid;
        std::vector<double> errors, outputs;
    } cases[] = {
        {"default is silent", Pid(), {5.0, -5.0}, {0.0, 0.0}},
        {"proportional, clamped both ways", Pid(1.0, 2.0, -1.0, 10.0, 0.0, 0.0), {0.1, 1.0, -1.0}, {1.0, 2.0, -1.0}},
        {"integral in error * dt", Pid(0.5, 9.0, -9.0, 0.0, 0.0, 4.0), {1.0, 1.0, -2.0}, {2.0, 4.0, 0.0}},
        // The previous error moves on even while the output is clamped.
        {"derivative over dt", Pid(0.5, 1.5, -9.0, 0.0, 1.0, 0.0), {1.0, 2.0, 2.5, 2.0}, {1.5, 1.5, 1.0, -1.0}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Pid pid = c.pid;
        for (size_t i = 0; i < c.errors.size(); ++i)
            EXPECT_DOUBLE_EQ(pid.calculate(c.errors[i], 0.0), c.outputs[i]) << i;
    }
}
