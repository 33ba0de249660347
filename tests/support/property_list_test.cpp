#include "support/property_list.h"

#include <QDateTime>
#include <QVariantMap>

#include <gtest/gtest.h>

#include <string>

using namespace qv;

namespace
{

QByteArray nestedArrays(int depth)
{
    return "<plist>" + QByteArray("<array>").repeated(depth) +
           QByteArray("</array>").repeated(depth) + "</plist>";
}

// A binary list of these objects, the last one on top; one byte for each offset and reference.
QByteArray binaryList(const QList<QByteArray> &objects)
{
    QByteArray bytes("bplist00");
    QByteArray offsets;
    for (const QByteArray &object : objects) {
        offsets.append(static_cast<char>(bytes.size()));
        bytes += object;
    }
    const auto number = [](qsizetype value) {
        return QByteArray(7, '\0') + static_cast<char>(value);
    };
    const QByteArray trailer = QByteArray(6, '\0') + "\x01\x01" + number(objects.size()) +
                               number(objects.size() - 1) + number(bytes.size());
    return bytes + offsets + trailer;
}

} // namespace

TEST(PropertyList, KeepsEveryKindOfValueThroughXml)
{
    const QVariantMap values = {
        {"text", QStringLiteral("é <&> \"\r\n\t  日本 ")},
        {"control", QStringLiteral("a\u0001\u001bb")},
        {"least", std::numeric_limits<qlonglong>::min()},
        {"true", true},
        {"bytes", QByteArray("a\0b", 3)},
        {"date", QDateTime(QDate(2024, 5, 3), QTime(18, 2, 11), Qt::UTC)},
        {"list", QVariantList{qlonglong{1}, QVariantMap{}, QVariantList{}}},
        {"", QVariantMap{{"é", QVariantMap{{"deep", qlonglong{1}}}}}},
    };
    const auto xml = propertyListXml(values);
    ASSERT_TRUE(xml.has_value());
    const auto read = parsePropertyList(*xml);
    ASSERT_TRUE(read.has_value());
    EXPECT_EQ(read->toMap(), values);
    EXPECT_FALSE(propertyListXml(QVariantMap{{"a", QVariantList{QVariant()}}}).has_value());
}

TEST(PropertyList, ReadsTheBinaryForm)
{
    const QByteArray list = binaryList({"\x51k", "\x10\x2a", QByteArray("\xd1\x00\x01", 3)});
    const auto read = parsePropertyList(list);
    ASSERT_TRUE(read.has_value()) << read.error().toStdString();
    EXPECT_EQ(read->toMap(), QVariantMap({{"k", qlonglong{42}}}));
}

TEST(PropertyList, TellsWhyBytesHoldNone)
{
    QByteArray selfReference("\xa1\x00", 2);
    QList<QByteArray> doubling = {"\x51x"}; // 2^60 texts out of 60 pairs
    for (int i = 0; i < 60; ++i) {
        doubling.append(QByteArray("\xa2", 1) + static_cast<char>(i) + static_cast<char>(i));
    }
    const QList<QByteArray> damaged = {
        "",
        QByteArray("bplist00") + QByteArray(60, '\xff'),
        "<plist><dict><key>a</key>",
        nestedArrays(300),
        nestedArrays(1000000),
        "<plist>" + QByteArray("<array><!-- </array> -->").repeated(100000),
        "<plist>" + QByteArray("<array></dict>").repeated(100000),
        binaryList({selfReference}),
        binaryList(doubling),
        binaryList(doubling).chopped(40),
        // a key with a NUL
        binaryList({QByteArray("\x62\x00\xe9\x00\x00", 5), "\x10\x2a", {"\xd1\x00\x01", 3}}),
    };
    for (const QByteArray &bytes : damaged) {
        const auto read = parsePropertyList(bytes);
        ASSERT_FALSE(read.has_value()) << bytes.left(60).toStdString();
        EXPECT_FALSE(read.error().isEmpty());
    }
    EXPECT_TRUE(parsePropertyList(nestedArrays(100)).has_value());
    EXPECT_EQ(parsePropertyList({"<plist><string>x\0y</string></plist>", 35}), QVariant("x"));
}
