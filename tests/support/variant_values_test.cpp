#include "support/variant_values.h"

#include <gtest/gtest.h>

#include <limits>

using namespace qv;

TEST(VariantValues, ReadNumbersOfAnyKindAndRefuseTheRest)
{
    const struct {
        QVariant value;
        std::optional<double> number;
        std::optional<int> whole;
    } cases[] = {
        {-2.9, -2.9, -2},
        {true, 1.0, 1},
        {QStringLiteral("12.5"), 12.5, 12},
        {QStringLiteral("12 kb"), std::nullopt, std::nullopt},
        {QStringLiteral("nan"), std::nullopt, std::nullopt},
        {std::numeric_limits<double>::infinity(), std::nullopt, std::nullopt},
        {2147483647.5, 2147483647.5, 2147483647},
        {2147483648.0, 2147483648.0, std::nullopt},
        {-2147483649.0, -2147483649.0, std::nullopt},
        {QVariant(), std::nullopt, std::nullopt},
    };
    for (const auto &c : cases) {
        const QVariantMap map = {{"k", c.value}};
        EXPECT_EQ(numberIn(map, "k"), c.number) << c.value.toString().toStdString();
        EXPECT_EQ(intIn(map, "k"), c.whole) << c.value.toString().toStdString();
    }
}
