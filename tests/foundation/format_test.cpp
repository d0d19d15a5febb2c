#include "foundation/format.h"

#include <gtest/gtest.h>

namespace {

TEST(Format, ReplacesEachPlaceholderOnceFromLeftToRight) {
    EXPECT_EQ(text::format("'%1:%2'", "host", 135), "'host:135'");
    EXPECT_EQ(text::format("%2 %1 %2", L"b\u00e9", true), "true b\xc3\xa9 true");
    EXPECT_EQ(text::format("[%1] [%2]", "%2", "x"), "[%2] [x]") << "an argument's text is not looked at again";
    EXPECT_EQ(text::format("%12%1", 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, "twelfth"), "twelfth1");
    EXPECT_EQ(text::format("%3 %0 % %% 100%", "a"), "%3 %0 % %% 100%") << "a number without an argument stays";
    EXPECT_EQ(text::format("%99999999999999999999999 %1", "a"), "%99999999999999999999999 a");
    EXPECT_EQ(text::format("%1 stays"), "%1 stays");
}

}  // namespace
