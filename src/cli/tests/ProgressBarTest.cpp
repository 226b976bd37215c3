#include "ProgressBar.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace {

std::string contents(std::FILE* file)
{
    std::rewind(file);
    std::string text;
    for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file))
        text += char(c);
    return text;
}

} // namespace

TEST(ProgressBar, RedrawsInPlaceOnlyWhenThePercentageChanges)
{
    std::FILE* file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    {
        ProgressBar bar("work", true, file);
        bar.update(0.0f);
        bar.update(0.001f); // still 0 %
        bar.update(0.5f);
        bar.update(2.0f); // held to 100 %
    }
    EXPECT_EQ(contents(file),
        "\rwork [..............................]   0%"
        "\rwork [###############...............]  50%"
        "\rwork [##############################] 100%\n");
    std::fclose(file);

    // Not a terminal, or nothing to show: no output at all.
    std::FILE* quiet = std::tmpfile();
    ASSERT_NE(quiet, nullptr);
    {
        ProgressBar disabled("work", false, quiet);
        disabled.update(0.5f);
        ProgressBar unused("work", true, quiet);
    }
    EXPECT_EQ(contents(quiet), "");
    EXPECT_FALSE(ProgressBar::isTerminal(quiet));
    std::fclose(quiet);
}
