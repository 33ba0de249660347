#include "published/byte_search.h"
#include "published/clip_titles.h"
#include "published/container_header.h"
#include "published/numbers.h"

#include "support/files_fixture.h"
#include "support/numbers.h"

#include <QBuffer>

#include <cmath>
#include <limits>

using namespace qv;

namespace
{

constexpr int most = std::numeric_limits<int>::max();
constexpr int least = std::numeric_limits<int>::min();
using ContainerHeader = FilesTest;

} // namespace

TEST(Ratio, IsWrittenAsAUsualAspectOrAReducedFraction)
{
    for (const auto &[ratio, expected] : {std::pair{1.3F, "13:10"},
                                          {1.34F, "4:3"},
                                          {2.35F, "47:20"},
                                          {0.05F, "1:1"},
                                          {1.015F, "1:1"},
                                          {-1.5F, "-3:2"},
                                          {NAN, "1:1"},
                                          {INFINITY, "1:1"}}) {
        EXPECT_EQ(float2FractionStr(ratio), expected) << ratio;
    }
    EXPECT_EQ(reduceFraction(0, 0), (std::array{1, 1}));
    EXPECT_EQ(reduceFraction(19 * 2, 19 * 4), (std::array{19, 38})) << "by small primes only";
}

TEST(CommonDivisor, IsTheSmallestOfTheNearestRange)
{
    for (const auto &[a, b, target, expected] :
         {std::tuple{1000, 2000, 1000, 1000}, // the target itself
          {1500, 1000, 1000, 500},            // below
          {1800, 3600, 1000, 900},            // near, and 1800 is not looked at
          {1601, 3202, 1000, 1601},           // above
          {206, 103, 1000, 1},                // a prime that the list leaves out
          {least, most, least, 1},
          {least, least, -1, -1}}) {
        EXPECT_EQ(nbsSousMultipleCommun(a, b, target), expected) << a << ' ' << b << ' ' << target;
    }
}

TEST(DelimitedText, GivesOneField)
{
    for (const auto &[text, index, expected] : {std::tuple{"a.b.c", 1, "b"},
                                                {"a.b.c", 777, "c"},
                                                {"a.b.c", 666, "b"},
                                                {"a.b.c", 5, "a.b.c"},
                                                {"a.b.c", -1, "a.b.c"},
                                                {"1.5", 0, "1"}}) {
        EXPECT_EQ(ASTID(text, ".", index), expected) << expected;
    }
    EXPECT_EQ(ASTID("12", "1", 1), "12") << "a plain number has no fields";
}

TEST(Numbers, AreReadRoundedTrimmedAndSorted)
{
    EXPECT_EQ(nbMultipleArrondi(25, 10), 30);
    EXPECT_EQ(nbMultipleArrondi(1, 3), 3); // half of 3 counts as 1
    EXPECT_EQ(nbMultipleArrondi(most, 2), most);
    EXPECT_EQ(hmsStr2Int(durationText(3725)), 3725);
    EXPECT_EQ(hmsStr2Int("754 s"), 754);
    EXPECT_EQ(hmsStr2Int("99999999h0'0\""), most);
    EXPECT_EQ(str2Int("-2.9 s"), -2);
    EXPECT_EQ(str2Int("1e20"), most);
    EXPECT_EQ(quotedStr2Float("\"12.5\""), 12.5F);
    EXPECT_EQ(quotedStr2Float(""), 0.0F);
    EXPECT_FLOAT_EQ(nbTrimmed(2.349F, 2), 2.34F);
    EXPECT_EQ(numbersSorted({QStringLiteral("10 kb/s"), 9.5, QStringLiteral("-2"), 3}),
              (QVariantList{-2.0F, 3, 9.5, 10.0F}));
}

TEST(ClipTitle, DropsSuffixesAndUnderscores)
{
    for (const auto &[path, expected] : {std::pair{"/v/My_Film-PAL.mov", "My Film"},
                                         {"/v/My_Film_720p.mov", "My Film"},
                                         {"/v/A-NV and B-NV.avi", "A"},
                                         {"/v/A__  _B.avi", "A B"},
                                         {"/v/Film -PAL.avi", "Fil"}, // with the character before
                                         {"/v/-PAL.avi", "-PAL"},
                                         {"/v/News.eyetv/0001.mpg", "News"},
                                         {"/v/News.eyetv/sub/0001.mpg", "0001"},
                                         {"/v/T.iMovieProject/Media/c_1.dv", "c 1"}}) {
        EXPECT_EQ(pathes2Titles(path, {"_720p", ""}), expected) << path;
    }
}

TEST(ShortenedName, CutsAndCleansTheNameOnly)
{
    for (const auto &[path, maximum, expected] :
         {std::tuple{"/a:b/`x`:y.mov", 20, "/a:b/x-y.mov"},
          {"/v/name.averyveryverylongextension", 20, "/v/name"},
          {"/v/\U0001F3AC\U0001F3AC.mov", 3, "/v/\U0001F3AC.mov"},
          {"/v/name.mov", -1, "/v/.mov"}}) {
        EXPECT_EQ(shortenedName(path, maximum), expected) << path;
    }
    EXPECT_EQ(masterName("/v/clip.mov"), "/v/clip_MASTER.mov");
    EXPECT_EQ(masterName("/volumes/films/My.Very.Long.Name.Of.A.Film.mov"),
              "/volumes/films/My_Very_Long_Name_Of_MASTER.mov");
}

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

TEST_F(ContainerHeader, IsToldByTheFirstBytes)
{
    const QByteArray pack("\x00\x00\x01\xba\x44\x00\x04\x00\x04\x01\x00", 11);
    const QByteArray laterPack("\x00\x00\x01\xba\x44\x00\x04\x00\x04\x02\x00", 11);
    using Case = std::tuple<QByteArray, int, bool>;
    for (const auto &[bytes, kind, matches] : {Case{"Gxx", 0, true},
                                               {QByteArray(4, '\0') + "G", 0, false},
                                               {pack, 1, true},
                                               {laterPack, 1, false},
                                               {"\x0bwx", 2, true},
                                               {"\x0bx", 2, false},
                                               {pack.left(9), 1, false},
                                               {"", 0, false}}) {
        EXPECT_EQ(hasContainerHeader(make("stream", bytes), kind), matches)
            << bytes.toHex().toStdString();
    }
}
