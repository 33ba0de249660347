#include "support/files_fixture.h"

#include <sys/stat.h>

using namespace qv;

namespace
{

class TextFilesTest : public FilesTest
{
};

} // namespace

TEST_F(TextFilesTest, AreWrittenWithOneKindOfLineEnd)
{
    const QString path = at(QStringLiteral("text"));
    EXPECT_TRUE(ecritureFichier(path, QStringLiteral("longer than what follows")));
    EXPECT_TRUE(ecritureFichier(path, QStringLiteral("a\r\nb\rc\n\r\né")));
    EXPECT_EQ(contentOf(path), "a\nb\nc\n\n\xc3\xa9");
    EXPECT_FALSE(ecritureFichier(at(QStringLiteral("missing/text")), QStringLiteral("a")));
    EXPECT_TRUE(m_log.contains(QStringLiteral("Error writing file at ")));
    EXPECT_FALSE(ecritureFichier(QString(), QStringLiteral("a")));
}

TEST_F(TextFilesTest, GetTheByteOrderMarkOnlyWhenCreated)
{
    const QString path = at(QStringLiteral("log"));
    EXPECT_TRUE(appendToFile(path, QStringLiteral("one"), ByteOrderMark::OnCreation));
    EXPECT_TRUE(appendToFile(path, QStringLiteral("two"), ByteOrderMark::OnCreation));
    EXPECT_EQ(contentOf(path), "\xef\xbb\xbfonetwo");
    const QString plain = at(QStringLiteral("plain"));
    EXPECT_TRUE(appendToFile(plain, QStringLiteral("abcd"), ByteOrderMark::None));
    EXPECT_TRUE(fixBOM(plain)) << "over the first three bytes";
    EXPECT_EQ(contentOf(plain), "\xef\xbb\xbf"
                                "d");
    EXPECT_FALSE(appendToFile(path, QString(), ByteOrderMark::None));
    EXPECT_FALSE(fixBOM(at(QStringLiteral("missing"))));
    EXPECT_FALSE(fileExists(at(QStringLiteral("missing"))));
}

TEST_F(TextFilesTest, TellTheirEncoding)
{
    const QByteArray japanese = "\x93\xfa\x96\x7b\x8c\xea\x82\xcc\x83\x65\x83\x4c\x83\x58\x83\x67"
                                "\x82\xc5\x82\xb7\x81\x42\x82\xb1\x82\xea\x82\xcd\x8e\x8e\x8c\xb1";
    struct Case {
        QByteArray bytes;
        QString name;
        QString text;
    };
    const Case cases[] = {
        {"plain", "ANSI_X3.4-1968", "plain"},
        {"", "ANSI_X3.4-1968", ""},
        {"\xc3\xa9t\xc3\xa9", "UTF-8", "été"},
        {"\xef\xbb\xbf\xc3\xa9", "UTF-8", "é"},
        {QByteArray("\xff\xfe"
                    "a\0\xe9\0",
                    6),
         "UTF-16", "aé"},
        {QByteArray("\xfe\xff\0a\0\xe9", 6), "UTF-16", "aé"},
        {QByteArray("a\0b\0", 4), "UTF-16LE", "ab"},
        {QByteArray("\0a\0b", 4), "UTF-16BE", "ab"},
        {QByteArray("\xff\xfe\0\0a\0\0\0", 8), "UTF-32", "a"},
        {japanese, "MS_KANJI", "日本語のテキストです。これは試験"},
        {"\x1b$B$3$l\x1b(B", "ISO-2022-JP", "これ"},
    };
    for (const Case &c : cases) {
        const QString path = make(QStringLiteral("text"), c.bytes);
        EXPECT_EQ(encodingCharsetIdentifier(path), c.name) << c.bytes.toHex().toStdString();
        EXPECT_EQ(readTextFile(path), c.text) << c.bytes.toHex().toStdString();
        EXPECT_FALSE(fileExists(path + QStringLiteral(".txt")));
    }
}

TEST_F(TextFilesTest, ThatCannotBeReadHaveNoTextAndTheCommonEncoding)
{
    const QString pipe = at(QStringLiteral("pipe"));
    ASSERT_EQ(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    for (const QString &path : {at(QStringLiteral("missing")), m_folder.path(), pipe, QString()}) {
        EXPECT_TRUE(readTextFile(path).isNull()) << path.toStdString();
        EXPECT_EQ(encodingCharsetIdentifier(path), QStringLiteral("CP1252"));
    }
    EXPECT_TRUE(m_log.contains(QStringLiteral("encodingCharsetIdenti:-( ")));
    EXPECT_EQ(lsCocoa(m_folder.path()).size(), 1);
}

// Cut in the middle of a wide character, so that no encoding fits.
TEST_F(TextFilesTest, OfNoEncodingAreReadThroughACopyThatStays)
{
    const QByteArray bytes = QByteArray("\xff\xfe"
                                        "a\0b",
                                        5);
    const QString path = make(QStringLiteral("it's \"$(touch hurt)\" `x`"), bytes);
    EXPECT_EQ(readTextFile(path), QStringLiteral("\ufffd\ufffda") + QChar(0) + QLatin1Char('b'));
    EXPECT_EQ(contentOf(path + QStringLiteral(".txt")), bytes);
    EXPECT_EQ(contentOf(path), bytes);

    write(path + QStringLiteral(".txt"), "somebody's");
    EXPECT_FALSE(readTextFile(path).isNull());
    EXPECT_EQ(contentOf(path + QStringLiteral(".txt")), "somebody's");
    EXPECT_EQ(lsCocoa(m_folder.path()).size(), 2);
}

TEST(FindAndReplace, IsLiteralAndEndsWhateverTheTexts)
{
    struct Case {
        QString text;
        QString search;
        QString replacement;
        bool recursive;
        QString result;
    };
    const Case cases[] = {
        {"a.b.c", ".", "", false, "abc"},     {"abc", "x", "y", true, "abc"},
        {"a    b", "  ", " ", false, "a  b"}, {"a    b", "  ", " ", true, "a b"},
        {"a%b", "%", "%%", true, "a%%b"},     {"ZyW %", "%", "%%", true, "ZyW %%"},
        {"yy", "y", "yy", true, "yyyy"},      {"abc", "", "y", true, "abc"},
        {"%1", "%1", "%1%2", false, "%1%2"},  {QString(), "a", "b", true, QString()},
    };
    for (const Case &c : cases) {
        EXPECT_EQ(findAndReplace(c.text, c.search, c.replacement, c.recursive), c.result)
            << c.text.toStdString() << ' ' << c.search.toStdString();
    }
    const QString growing(200, QLatin1Char('a'));
    EXPECT_FALSE(findAndReplace(growing + QLatin1Char('b'), QStringLiteral("ab"),
                                QStringLiteral("bba"), true)
                     .isEmpty());
}

TEST(Lines, AreTheNonEmptyOnesWhateverEndsThem)
{
    EXPECT_EQ(linesOf(QStringLiteral("a\r\n\nb\rc\n")), QStringList({"a", "b", "c"}));
    EXPECT_TRUE(linesOf(QString()).isEmpty());
}
