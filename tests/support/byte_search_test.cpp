#include "support/byte_search.h"

#include <QBuffer>

#include <gtest/gtest.h>

using namespace qv;

TEST(HexText, GivesItsBytesOrNothing)
{
    EXPECT_EQ(toDataFromHexString("00fF1e20"), QByteArray("\0\xFF\x1E\x20", 4));
    EXPECT_FALSE(toDataFromHexString("").isNull());
    for (const char *text : {"1e2", "1e 2", "zz", "-1", "1\u00e9"}) {
        EXPECT_TRUE(toDataFromHexString(text).isNull()) << text;
    }
}

TEST(ByteReplacement, IsNotSearchedAgainAndNothingIsNeverReplaced)
{
    for (const auto &[search, with, first, all] : {std::tuple{"a", "aa", "aaaa", "aaaaaa"},
                                                   {"aa", "", "a", "a"},
                                                   {"x", "y", "aaa", "aaa"},
                                                   {"", "y", "aaa", "aaa"}}) {
        QByteArray data[] = {"aaa", "aaa"};
        replaceData(data[0], search, with);
        replaceAllData(data[1], search, with);
        EXPECT_TRUE(data[0] == first && data[1] == all) << search;
    }
}

TEST(ByteSearch, FindsTheNextMatchInAnOpenFileWhereverItsBlocksEnd)
{
    const QByteArray longerThanABlock = QByteArray(70000, 'n') + "end";
    for (const QByteArray &search : {QByteArray("abcd"), longerThanABlock}) {
        for (const qsizetype at : {0, 65533, 65535, 65536, 200000}) {
            QByteArray data = QByteArray(at, 'x') + search + search;
            QBuffer file(&data);
            file.open(QIODevice::ReadOnly);
            EXPECT_EQ(offsetOfData(file, search), at);
            file.seek(at + 1);
            EXPECT_EQ(offsetOfData(file, search), at + search.size());
            file.seek(at + search.size() + 1);
            EXPECT_EQ(offsetOfData(file, search), -1);
        }
    }
}
