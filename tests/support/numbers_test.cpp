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
    EXPECT_EQ(str2Int("-2.9 s"), -2);
    EXPECT_EQ(str2Int("1e20"), most);
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

TEST(Ratio, IsWrittenAsAUsualAspectOrAReducedFraction)
{
    struct {
        float ratio;
        const char *expected;
    } const cases[] = {{1.3F, "13:10"}, {1.34F, "4:3"},  {2.35F, "47:20"}, {0.05F, "1:1"},
                       {1.015F, "1:1"}, {-1.5F, "-3:2"}, {NAN, "1:1"},     {INFINITY, "1:1"}};
    for (const auto &[ratio, expected] : cases) {
        EXPECT_EQ(float2FractionStr(ratio), expected) << ratio;
    }
    EXPECT_EQ(reduceFraction(0, 0), (std::array{1, 1}));
    EXPECT_EQ(reduceFraction(19 * 2, 19 * 4), (std::array{19, 38})) << "by small primes only";
}

TEST(CommonDivisor, IsTheSmallestOfTheNearestRange)
{
    struct {
        int a, b, target, expected;
    } const cases[] = {
        {1000, 2000, 1000, 1000}, // the target itself
        {1500, 1000, 1000, 500},  // below
        {1800, 3600, 1000, 900},  // near, and 1800 is not looked at
        {1601, 3202, 1000, 1601}, // above
        {206, 103, 1000, 1},      // a prime that the list leaves out
        {least, most, least, 1},  {least, least, -1, -1},
    };
    for (const auto &[a, b, target, expected] : cases) {
        EXPECT_EQ(nbsSousMultipleCommun(a, b, target), expected) << a << ' ' << b << ' ' << target;
    }
}

TEST(Rounding, GoesToMultiplesAndKeepsDecimals)
{
    EXPECT_EQ(nbMultipleArrondi(25, 10), 30);
    EXPECT_EQ(nbMultipleArrondi(1, 3), 3); // half of 3 counts as 1
    EXPECT_EQ(nbMultipleArrondi(most, 2), most);
    EXPECT_FLOAT_EQ(nbArrondi(2.345F, 2), 2.35F);
    EXPECT_FLOAT_EQ(nbArrondi(-2.345F, 1), -2.3F);
    EXPECT_EQ(nbArrondi(-2.7F, 0), -2.0F);
    EXPECT_EQ(nbArrondi(1.5F, 1000), 1.5F);
    EXPECT_EQ(nbArrondi(NAN, 2), 0.0F);
    EXPECT_FLOAT_EQ(nbTrimmed(2.349F, 2), 2.34F);
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
}

TEST(Duration, IsWrittenForPeopleAndReadBack)
{
    for (const auto &[seconds, text] : {std::pair{3725, "1h02'05\""}, {360000, "100h00'00\""}}) {
        EXPECT_EQ(durationText(seconds), text);
        EXPECT_EQ(hmsStr2Int(text), seconds);
    }
    EXPECT_EQ(hmsStr2Int("754 s"), 754);
    EXPECT_EQ(hmsStr2Int("99999999h0'0\""), most);
}

TEST(DelimitedText, GivesOneField)
{
    struct {
        const char *text;
        int index;
        const char *expected;
    } const cases[] = {{"a.b.c", 1, "b"},     {"a.b.c", 777, "c"},    {"a.b.c", 666, "b"},
                       {"a.b.c", 5, "a.b.c"}, {"a.b.c", -1, "a.b.c"}, {"1.5", 0, "1"}};
    for (const auto &[text, index, expected] : cases) {
        EXPECT_EQ(ASTID(text, ".", index), expected) << expected;
    }
    EXPECT_EQ(ASTID("12", "1", 1), "12") << "a plain number has no fields";
}

} // namespace

TEST(Numbers, SortsReadsQuotesAndComparesVersions)
{
    EXPECT_EQ(numbersSorted({QStringLiteral("10 kb/s"), 9.5, QStringLiteral("-2"), 3}),
              (QVariantList{-2.0F, 3, 9.5, 10.0F}));
    EXPECT_EQ(quotedStr2Float("\"12.5\""), 12.5F);
    EXPECT_EQ(quotedStr2Float(""), 0.0F);
    EXPECT_FLOAT_EQ(versionStr2Float("10.6.8"), 10.0608F);
    EXPECT_FLOAT_EQ(versionStr2Float("0.10"), 0.1F);
}
