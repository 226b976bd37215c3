#include "MetreDefaults.h"

#include <gtest/gtest.h>

TEST(MetreDefaults, ByToolBarIndex)
{
    const struct {
        int index;
        bool known;
        MetreDefaults result;
    } cases[] = {{0, true, {72.0f, true}}, {2, true, {52.0f, true}}, {3, true, {62.0f, false}},
        {4, true, {72.0f, false}}, {-1, false, {1.0f, true}}, {5, false, {1.0f, true}}};
    for (const auto& c : cases) {
        MetreDefaults defaults{1.0f, true};
        EXPECT_EQ(MetreDefaults::of(c.index, defaults), c.known) << c.index;
        EXPECT_TRUE(defaults.bpm == c.result.bpm && defaults.setsRounding == c.result.setsRounding) << c.index;
    }
}
