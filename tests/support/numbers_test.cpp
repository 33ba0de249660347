#include "support/numbers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace qv;

namespace
{

template <typename Result> struct Case {
    const char *text;
    Result expected;
};

QString q(const char *text)
{
    return text == nullptr ? QString() : QString::fromUtf8(text);
}

TEST(NumberReader, FindsTheNumberAmongBlanksAndLetters)
{
    for (const auto &[text, expected] : {Case<double>{"25 fps", 25.0},
                                         {" 5 9 . 9 4 ", 59.94},
                                         {"rate29.97", 29.97},
                                         {"-1.5", -1.5},
                                         {"+7", 7.0},
                                         {".5", 0.5},
                                         {"5.", 5.0},
                                         {"12,5", 12.0},
                                         {"5.1.9-0+deb12u1", 5.1},
                                         {"1.5e3", 1500.0},
                                         {"25e", 25.0},
                                         {"25e+", 25.0}}) {
        EXPECT_DOUBLE_EQ(str2Double(q(text)), expected) << text;
        EXPECT_FLOAT_EQ(str2Float(q(text)), static_cast<float>(expected)) << text;
    }
}

TEST(NumberReader, GivesZeroWhereThereIsNoNumberAndNeverInfinity)
{
    for (const char *text : {"", "N/A", "-", ".", "+.e5", "inf", "NaN", "(25)", "1e999", "--5"}) {
        EXPECT_EQ(str2Double(q(text)), 0.0) << text;
    }
    EXPECT_EQ(str2Float(QString()), 0.0F);
    EXPECT_EQ(str2Float(q("1e39")), 0.0F);
}

TEST(NumberReader, TruncatesToIntegersAndSaturates)
{
    EXPECT_EQ(str2Int(q("2.9 s")), 2);
    EXPECT_EQ(str2Int(q("-2.9")), -2);
    EXPECT_EQ(str2Int(q("1e20")), std::numeric_limits<int>::max());
    EXPECT_EQ(truncatedToInt(-1e300), std::numeric_limits<int>::min());
    EXPECT_EQ(truncatedToInt(std::nan("")), 0);
}

TEST(NumberReader, LeadingReadersDoNotSkipLetters)
{
    for (const auto &[text, expected] : {Case<int>{"  448 kb/s", 448},
                                         {" Audio", 0},
                                         {"-3x", -3},
                                         {"0x1f", 0},
                                         {"99999999999999999999", std::numeric_limits<int>::max()},
                                         {"-99999999999", std::numeric_limits<int>::min()},
                                         {"", 0}}) {
        EXPECT_EQ(intValue(q(text)), expected) << text;
    }
    EXPECT_DOUBLE_EQ(doubleValue(q("\t12.5 kb/s")), 12.5);
    EXPECT_EQ(doubleValue(q("about 3")), 0.0);
    EXPECT_EQ(floatValue(q("1e39")), 0.0F);
}

TEST(NumberReader, ReadsBetweenQuotes)
{
    EXPECT_FLOAT_EQ(quotedStr2Float(q("\"1.25\"")), 1.25F);
    EXPECT_EQ(quotedStr2Float(q("")), 0.0F);
    EXPECT_EQ(quotedStr2Float(q("7")), 0.0F);
}

TEST(NumbersSorted, ReadsTextsAndSortsByValue)
{
    const QVariantList sorted = numbersSorted({10, q("9.5 s"), 2.5, std::nan("")});
    ASSERT_EQ(sorted.size(), 4);
    EXPECT_EQ(sorted[0].toDouble(), 0.0);
    EXPECT_EQ(sorted[1], QVariant(2.5));
    EXPECT_FLOAT_EQ(sorted[2].toFloat(), 9.5F);
    EXPECT_EQ(sorted[3], QVariant(10));
    EXPECT_TRUE(numbersSorted({}).isEmpty());
}

TEST(Ratio, IsReadFromFractionsAndDecimals)
{
    for (const auto &[text, expected] : {Case<float>{"16:9", 16.0F / 9},
                                         {"1.85", 1.85F},
                                         {"0:1", 1.0F},
                                         {"16:0", 1.0F},
                                         {"0:0", 1.0F},
                                         {"16:", 1.0F},
                                         {"", 1.0F},
                                         {nullptr, 1.0F},
                                         {"-4:2", -2.0F}}) {
        EXPECT_FLOAT_EQ(fractionStr2Float(q(text)), expected) << (text ? text : "null");
    }
}

TEST(Ratio, IsWrittenAsAUsualAspectOrAReducedFraction)
{
    struct {
        float ratio;
        const char *expected;
    } const cases[] = {{1.3F, "13:10"},  {1.34F, "4:3"},   {4.0F / 3, "4:3"}, {16.0F / 9, "16:9"},
                       {2.35F, "47:20"}, {0.05F, "1:1"},   {1.015F, "1:1"},   {-1.5F, "-3:2"},
                       {NAN, "1:1"},     {INFINITY, "1:1"}};
    for (const auto &[ratio, expected] : cases) {
        EXPECT_EQ(float2FractionStr(ratio), q(expected)) << ratio;
    }
}

TEST(Ratio, ReducesByTheSmallPrimesOnly)
{
    using Pair = std::array<int, 2>;
    EXPECT_EQ(reduceFraction(0, 0), (Pair{1, 1}));
    EXPECT_EQ(reduceFraction(720, 576), (Pair{5, 4}));
    EXPECT_EQ(reduceFraction(0, 34), (Pair{0, 1}));
    EXPECT_EQ(reduceFraction(19 * 2, 19 * 4), (Pair{19, 38}));
}

TEST(CommonDivisor, IsTheSmallestOfTheNearestRange)
{
    struct {
        int a, b, target, expected;
    } const cases[] = {
        {1000, 2000, 1000, 1000}, // the target itself
        {1500, 1000, 1000, 500},  // below
        {3200, 1600, 1000, 800},  // near
        {1800, 3600, 1000, 900},  // near, and 1800 is not looked at
        {1601, 3202, 1000, 1601}, // above
        {1333, 1000, 1000, 1},    // none
        {398, 199, 1000, 199},    // largest prime of the list
        {206, 103, 1000, 1},      // a prime that the list leaves out
        {7, 7, 1, 1},
    };
    for (const auto &[a, b, target, expected] : cases) {
        EXPECT_EQ(nbsSousMultipleCommun(a, b, target), expected) << a << ' ' << b << ' ' << target;
    }
    const int most = std::numeric_limits<int>::max();
    const int least = std::numeric_limits<int>::min();
    EXPECT_EQ(nbsSousMultipleCommun(least, most, least), 1);
    EXPECT_EQ(nbsSousMultipleCommun(least, least, -1), -1);
}

TEST(Rounding, GoesToMultiples)
{
    EXPECT_EQ(nbMultipleArrondi(25, 10), 30);
    EXPECT_EQ(nbMultipleArrondi(24, 10), 20);
    EXPECT_EQ(nbMultipleArrondi(20, 10), 20);
    EXPECT_EQ(nbMultipleArrondi(1, 3), 3); // half of 3 counts as 1
    EXPECT_EQ(nbMultipleArrondi(-4, 10), 0);
    EXPECT_EQ(nbMultipleArrondi(std::numeric_limits<int>::max(), 2),
              std::numeric_limits<int>::max());
}

TEST(Rounding, KeepsDecimals)
{
    EXPECT_FLOAT_EQ(nbArrondi(2.345F, 2), 2.35F);
    EXPECT_FLOAT_EQ(nbArrondi(-2.345F, 1), -2.3F);
    EXPECT_EQ(nbArrondi(-2.5F, 0), -2.0F);
    EXPECT_EQ(nbArrondi(-2.7F, 0), -2.0F);
    EXPECT_EQ(nbArrondi(2.5F, 0), 3.0F);
    EXPECT_EQ(nbArrondi(1.5F, 1000), 1.5F);
    EXPECT_EQ(nbArrondi(NAN, 2), 0.0F);
    EXPECT_FLOAT_EQ(nbTrimmed(2.349F, 2), 2.34F);
    EXPECT_EQ(nbTrimmed(-2.9F, 0), -2.0F);
    EXPECT_EQ(nbTrimmed(INFINITY, 1), 0.0F);
}

TEST(TimeCode, IsReadInSeconds)
{
    const auto days = static_cast<float>(25 * 3600 + 3 * 60 + 4);
    for (const auto &[text, expected] : {Case<float>{"00:01:02.34", 62.34F},
                                         {"00:00:12,5", 12.0F},
                                         {"00:00:12,5.25", 12.25F},
                                         {"00:00:12,5.1/4", 12.25F},
                                         {"00:00:12,5.1/0", 12.0F},
                                         {"1:02:03:04", days},
                                         {"10:00:00", 36000.0F},
                                         {"1:02", 0.0F},
                                         {"N/A", 0.0F},
                                         {"1:2:3:4:5", 0.0F},
                                         {"1e30:1e38:1e38", 0.0F},
                                         {"", 0.0F}}) {
        EXPECT_FLOAT_EQ(timecodeStr2Float(q(text)), expected) << text;
    }
}

TEST(TimeCode, IsWrittenTruncated)
{
    struct {
        double seconds;
        int decimals;
        const char *expected;
    } const cases[] = {{2.5, 0, "0:00:02"},         {59.999, 0, "0:00:59"},
                       {62.5, 2, "0:01:02.50"},     {0.29, 2, "0:00:00.29"},
                       {36000.04, 1, "10:00:00.0"}, {0, 0, "0:00:00"},
                       {-0.1, 0, nullptr},          {NAN, 0, nullptr},
                       {1e300, 0, nullptr},         {1.5, -3, "0:00:01"}};
    for (const auto &[seconds, decimals, expected] : cases) {
        EXPECT_EQ(float2TimecodeStr(seconds, decimals), q(expected)) << seconds;
    }
    EXPECT_TRUE(float2TimecodeStr(-1, 0).isNull());
}

TEST(Duration, IsWrittenForPeopleAndReadBack)
{
    struct {
        int seconds;
        const char *text;
    } const cases[] = {
        {59, "0h00'59\""}, {95, "0h01'35\""}, {3725, "1h02'05\""}, {360000, "100h00'00\""}};
    for (const auto &[seconds, text] : cases) {
        EXPECT_EQ(durationText(seconds), q(text));
        EXPECT_EQ(hmsStr2Int(q(text)), seconds);
    }
    EXPECT_EQ(hmsStr2Int(q("754 s")), 754);
    EXPECT_EQ(hmsStr2Int(q("99999999h0'0\"")), std::numeric_limits<int>::max());
    EXPECT_EQ(hmsStr2Int(q("'\"h")), 0);
}

TEST(Version, WeighsThreeFields)
{
    for (const auto &[text, expected] : {Case<float>{"7.6.6", 7.0606F},
                                         {"10.6.8", 10.0608F},
                                         {"0.10", 0.1F},
                                         {"1.2.3.4", 1.0203F},
                                         {"", 0.0F}}) {
        EXPECT_FLOAT_EQ(versionStr2Float(q(text)), expected) << text;
    }
}

TEST(DelimitedText, GivesOneField)
{
    struct {
        const char *text;
        const char *delimiter;
        int index;
        const char *expected;
    } const cases[] = {{"a.b.c", ".", 1, "b"},      {"a.b.c", ".", 777, "c"},
                       {"a.b.c", ".", 666, "b"},    {"a.b.c", ".", 5, "a.b.c"},
                       {"a.b.c", ".", -1, "a.b.c"}, {"a.b.c", ":", 0, "a.b.c"},
                       {"a.b.c", "", 0, "a.b.c"},   {"a.b.c", nullptr, 0, "a.b.c"},
                       {"12", "1", 1, "12"},        {"1.500000", ".", 0, "1.500000"},
                       {"1.5", ".", 0, "1"},        {nullptr, ".", 0, ""}};
    for (const auto &[text, delimiter, index, expected] : cases) {
        EXPECT_EQ(ASTID(q(text), q(delimiter), index), q(expected)) << expected;
    }
    EXPECT_FALSE(ASTID(QString(), q("."), 0).isNull());
}

} // namespace
