#include "support/variant_values.h"

#include <gtest/gtest.h>

#include <limits>

using namespace qv;

TEST(VariantValues, ReadNumbersOfAnyKindAndRefuseTheRest)
{
    struct Case {
        QVariant value;
        std::optional<double> number;
        std::optional<int> whole;
    };
    const Case cases[] = {
        {7, 7.0, 7},
        {-2.9, -2.9, -2},
        {qlonglong{3}, 3.0, 3},
        {1.5f, 1.5, 1},
        {true, 1.0, 1},
        {QStringLiteral("12.5"), 12.5, 12},
        {QStringLiteral("12 kb"), std::nullopt, std::nullopt},
        {QStringLiteral("nan"), std::nullopt, std::nullopt},
        {std::numeric_limits<double>::infinity(), std::nullopt, std::nullopt},
        {2147483647.5, 2147483647.5, 2147483647},
        {2147483648.0, 2147483648.0, std::nullopt},
        {-2147483648.5, -2147483648.5, std::numeric_limits<int>::min()},
        {-2147483649.0, -2147483649.0, std::nullopt},
        {QVariantList{1}, std::nullopt, std::nullopt},
        {QVariant(), std::nullopt, std::nullopt},
    };
    for (const Case &c : cases) {
        const QVariantMap map = {{"k", c.value}};
        EXPECT_EQ(numberIn(map, QStringLiteral("k")), c.number) << c.value.toString().toStdString();
        EXPECT_EQ(intIn(map, QStringLiteral("k")), c.whole) << c.value.toString().toStdString();
    }
}

TEST(VariantValues, OfTheWrongTypeReadAsMissing)
{
    const QVariantMap map = {{"n", 1}, {"s", QStringLiteral("")}, {"m", QVariantMap{{"a", 1}}}};
    EXPECT_TRUE(stringIn(map, QStringLiteral("n")).isNull());
    EXPECT_FALSE(stringIn(map, QStringLiteral("s")).isNull());
    EXPECT_TRUE(mapIn(map, QStringLiteral("n")).isEmpty());
    EXPECT_EQ(mapIn(map, QStringLiteral("m")).size(), 1);
    EXPECT_TRUE(flagIn(map, QStringLiteral("n")));
    EXPECT_FALSE(flagIn(map, QStringLiteral("s")));
    EXPECT_FALSE(flagIn(map, QStringLiteral("absent")));
}
