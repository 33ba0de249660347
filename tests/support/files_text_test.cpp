#include "support/files_fixture.h"

#include <sys/stat.h>

using namespace qv;

namespace
{

using TextFilesTest = FilesTest;

} // namespace

TEST_F(TextFilesTest, AreWrittenWithOneKindOfLineEnd)
{
    const QString path = make("text", "longer than what follows");
    EXPECT_TRUE(ecritureFichier(path, "a\r\nb\rc\n\r\né"));
    EXPECT_EQ(contentOf(path), "a\nb\nc\n\n\xc3\xa9");
}

TEST_F(TextFilesTest, TellTheirEncoding)
{
    const QByteArray japanese = "\x93\xfa\x96\x7b\x8c\xea\x82\xcc\x83\x65\x83\x4c\x83\x58\x83\x67"
                                "\x82\xc5\x82\xb7\x81\x42\x82\xb1\x82\xea\x82\xcd\x8e\x8e\x8c\xb1";
    const struct {
        QByteArray bytes;
        QString name;
        QString text;
    } cases[] = {
        {"", "ANSI_X3.4-1968", ""},
        {"\xef\xbb\xbf\xc3\xa9", "UTF-8", "é"},
        {QByteArray("\xfe\xff\0a\0\xe9", 6), "UTF-16", "aé"},
        {QByteArray("a\0b\0", 4), "UTF-16LE", "ab"},
        {QByteArray("\xff\xfe\0\0a\0\0\0", 8), "UTF-32", "a"},
        {japanese, "MS_KANJI", "日本語のテキストです。これは試験"},
    };
    for (const auto &c : cases) {
        const QString path = make("text", c.bytes);
        EXPECT_EQ(encodingCharsetIdentifier(path), c.name) << c.bytes.toHex().toStdString();
        EXPECT_EQ(readTextFile(path), c.text) << c.bytes.toHex().toStdString();
        EXPECT_FALSE(fileExists(path + ".txt"));
    }
}

TEST_F(TextFilesTest, ThatCannotBeReadHaveNoTextAndTheCommonEncoding)
{
    ASSERT_EQ(::mkfifo(QFile::encodeName(at("pipe")).constData(), 0600), 0);
    for (const QString &path : {at("missing"), m_folder.path(), at("pipe"), QString()}) {
        EXPECT_TRUE(readTextFile(path).isNull()) << path.toStdString();
        EXPECT_EQ(encodingCharsetIdentifier(path), "CP1252");
    }
}

// Cut in the middle of a wide character, so that no encoding fits.
TEST_F(TextFilesTest, OfNoEncodingAreReadThroughACopyThatStays)
{
    const QByteArray bytes("\xff\xfe\x61\0b", 5);
    const QString path = make("it's \"$(touch hurt)\" `x`", bytes);
    EXPECT_EQ(readTextFile(path), QStringLiteral("\ufffd\ufffda") + QChar(0) + QLatin1Char('b'));
    EXPECT_EQ(contentOf(path + ".txt"), bytes);

    write(path + ".txt", "somebody's");
    EXPECT_FALSE(readTextFile(path).isNull());
    EXPECT_EQ(contentOf(path + ".txt"), "somebody's");
    EXPECT_EQ(lsCocoa(m_folder.path()).size(), 2);
}

TEST(FindAndReplace, IsLiteralAndEndsWhateverTheTexts)
{
    const struct {
        QString text;
        QString search;
        QString replacement;
        bool recursive;
        QString result;
    } cases[] = {
        {"a.b.c", ".", "", false, "abc"},   {"a    b", "  ", " ", false, "a  b"},
        {"a    b", "  ", " ", true, "a b"}, {"a%b", "%", "%%", true, "a%%b"},
        {"abc", "", "y", true, "abc"},      {"%1", "%1", "%1%2", false, "%1%2"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(findAndReplace(c.text, c.search, c.replacement, c.recursive), c.result)
            << c.text.toStdString() << ' ' << c.search.toStdString();
    }
    const QString growing = QString(200, QLatin1Char('a')) + QLatin1Char('b');
    EXPECT_FALSE(findAndReplace(growing, "ab", "bba", true).isEmpty());
}
