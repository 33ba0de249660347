#include "support/numbers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace qv;

namespace
{

constexpr int most = std::numeric_limits<int>::max();
constexpr int least = std::numeric_limits<int>::min();

struct TextCase {
    const char *text;
    double expected;
};

TEST(NumberReader, FindsTheNumberAmongBlanksAndLettersAndNeverInfinity)
{
    const TextCase cases[] = {
        {"25 fps", 25.0},
        {" 5 9 . 9 4 ", 59.94},
        {"rate29.97", 29.97},
        {"-1.5", -1.5},
        {"12,5", 12.0},
        {"5.1.9-0+deb12u1", 5.1},
        {"1.5e3", 1500.0},
        {"25e+", 25.0},
        {"", 0.0},
        {"N/A", 0.0},
        {"-", 0.0},
        {"+.e5", 0.0},
        {"inf", 0.0},
        {"NaN", 0.0},
        {"1e999", 0.0},
        {".5", 0.5},
    };
    for (const auto &[text, expected] : cases) {
        EXPECT_DOUBLE_EQ(str2Double(text), expected) << text;
        EXPECT_FLOAT_EQ(str2Float(text), static_cast<float>(expected)) << text;
    }
    EXPECT_EQ(str2Float("1e39"), 0.0F);
}

TEST(NumberReader, TruncatesToIntegersAndSaturates)
{
    EXPECT_EQ(truncatedToInt(-1e300), least);
    EXPECT_EQ(truncatedToInt(std::nan("")), 0);
}

TEST(NumberReader, LeadingReadersDoNotSkipLetters)
{
    EXPECT_EQ(intValue("  448 kb/s"), 448);
    EXPECT_EQ(intValue(" Audio 5"), 0);
    EXPECT_EQ(intValue("-3x"), -3);
    EXPECT_EQ(intValue("99999999999999999999"), most);
    EXPECT_EQ(intValue("-99999999999"), least);
    EXPECT_DOUBLE_EQ(doubleValue("\t12.5 kb/s"), 12.5);
    EXPECT_EQ(doubleValue("about 3"), 0.0);
    EXPECT_EQ(floatValue("1e39"), 0.0F);
}

TEST(Ratio, IsReadFromFractionsAndDecimals)
{
    const TextCase cases[] = {
        {"16:9", 16.0 / 9}, {"1.85", 1.85}, {"0:1", 1.0}, {"16:0", 1.0}, {"", 1.0}};
    for (const auto &[text, expected] : cases) {
        EXPECT_FLOAT_EQ(fractionStr2Float(text), static_cast<float>(expected)) << text;
    }
}

TEST(Rounding, KeepsDecimals)
{
    EXPECT_FLOAT_EQ(nbArrondi(2.345F, 2), 2.35F);
    EXPECT_FLOAT_EQ(nbArrondi(-2.345F, 1), -2.3F);
    EXPECT_EQ(nbArrondi(-2.7F, 0), -2.0F);
    EXPECT_EQ(nbArrondi(1.5F, 1000), 1.5F);
    EXPECT_EQ(nbArrondi(NAN, 2), 0.0F);
}

TEST(Version, IsANumberThatCanBeCompared)
{
    EXPECT_FLOAT_EQ(versionStr2Float("10.6.8"), 10.0608F);
    EXPECT_FLOAT_EQ(versionStr2Float("0.10"), 0.1F);
}

TEST(FixedText, RoundsExactHalvesToTheEvenDigit)
{
    EXPECT_EQ(fixedText(0.625, 2), "0.62");
    EXPECT_EQ(fixedText(3.875, 2), "3.88");
    EXPECT_EQ(fixedText(2.5, 0), "2");
    EXPECT_EQ(fixedText(-1e308, 2).size(), 313);
}

TEST(TimeCode, IsReadInSeconds)
{
    const TextCase cases[] = {
        {"00:01:02.34", 62.34},    {"00:00:12,5.25", 12.25},
        {"00:00:12,5.1/4", 12.25}, {"00:00:12,5.1/0", 12.0},
        {"1:02:03:04", 90184.0},   {"1:02", 0.0},
        {"1e30:1e38:1e38", 0.0},   {"N/A", 0.0},
        {"1:2:3:4:5", 0.0},
    };
    for (const auto &[text, expected] : cases) {
        EXPECT_FLOAT_EQ(timecodeStr2Float(text), static_cast<float>(expected)) << text;
    }
}

TEST(TimeCode, IsWrittenTruncatedAndNotAtAllForAbsurdInstants)
{
    EXPECT_EQ(float2TimecodeStr(59.999, 0), "0:00:59");
    EXPECT_EQ(float2TimecodeStr(62.5, 2), "0:01:02.50");
    EXPECT_EQ(float2TimecodeStr(0.29, 2), "0:00:00.29");
    EXPECT_EQ(float2TimecodeStr(36000.04, 1), "10:00:00.0");
    for (const double seconds : {-0.1, std::nan(""), 1e300}) {
        EXPECT_TRUE(float2TimecodeStr(seconds, 0).isNull()) << seconds;
    }
    EXPECT_EQ(durationText(3725), "1h02'05\"");
    EXPECT_EQ(durationText(360000), "100h00'00\"");
}

} // namespace
