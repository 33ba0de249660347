// Whose a sheet is, and the names that sheets get.
#include "common/folder_test.h"
#include "controller/run_names.h"
#include "controller/sheet_delivery.h"
#include "controller/sheet_names.h"
#include "controller/sheet_owner.h"
#include "sheet/picture_file.h"
#include "support/files.h"

using namespace qv;

namespace
{

class SheetNamesTest : public FolderTest
{
protected:
    QString source(const QString &name) const
    {
        writeFile(path(name), "a film");
        return path(name);
    }

    // The sheet of a source as it is now, or of one without its path.
    void makeSheet(const QString &name, const QString &sourcePath, bool hasPath = true) const
    {
        Provenance made;
        made.made = QDateTime::currentDateTimeUtc();
        made.sourceName = lastPathComponent(sourcePath);
        made.sourcePath = hasPath ? QFile::encodeName(sourcePath) : QByteArray();
        made.sourceMark = hasPath ? QByteArray() : pathMark(QFile::encodeName(sourcePath));
        made.source = sourceState(sourcePath);
        made.settings.format = "jpg";
        QImage picture(8, 8, QImage::Format_RGB32);
        picture.fill(Qt::red);
        QDir().mkpath(path("out"));
        ASSERT_TRUE(writePicture(picture, path("out/" + name), xmpPacket(made)));
    }

    QStringList namesOf(const QStringList &sources) const
    {
        RunNames run(sources, path("out"), "jpg");
        QStringList names;
        for (qsizetype i = sources.size(); i-- > 0;) {
            names.prepend(lastPathComponent(run.placeOf(i).base));
        }
        return names;
    }
};

} // namespace

TEST(SheetNames, TellSourcesOfOneNameApartAndStayTheSame)
{
    SheetNames names;
    const struct {
        const char *source;
        const char *base;
    } rows[] = {
        {"/one/film.mp4", "/out/film"},
        {"/two/film.mp4", "/out/film (two)"},
        {"/one/film.mov", "/out/film (mov)"},
        {"/x/two/film.avi", "/out/film (avi)"},
        {"/y/two/film.avi", "/out/film (f4166086)"},
        {"/one/..mp4", "/out/untitled"},
        {"/one/film.mp4", "/out/film"},
        {"/one/été.mp4", "/out/été"},
        {"/two/E\u0301TE\u0301.mp4", "/out/E\u0301TE\u0301 (two)"},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(names.baseFor(row.source, "/out"), row.base) << row.source;
    }
    EXPECT_EQ(names.baseFor("/two/film.mp4", "/elsewhere"), "/elsewhere/film");
    const QString longName = QString::fromUtf8("😀").repeated(60) + "tail";
    for (const QString &name : sheetNames("/" + longName + "/" + longName + ".mp4")) {
        EXPECT_LE(name.toUtf8().size(), 240);
        EXPECT_FALSE(name.contains(QChar::ReplacementCharacter));
    }
}

TEST_F(SheetNamesTest, ASourceHasThePlainNameUnlessAFileOfOthersHasIt)
{
    const QString clip = source("in/clip.mp4");
    const QString other = source("other/clip.mp4");
    const QString copy = source("copy/clip.mp4");
    QFile::link(path("in"), path("link"));
    using Make = std::function<void(const QString &)>;
    const auto sheetOf = [&](const QString &of, bool hasPath = true) -> Make {
        return [=, this](const QString &name) { makeSheet(name, of, hasPath); };
    };
    const auto before = [&](const Make &made, const QByteArray &content) -> Make {
        return [=](const QString &name) {
            writeFile(clip, content);
            made(name);
            writeFile(clip, "a film");
        };
    };
    const auto ofCopy = [&](bool stays) -> Make {
        return [=, this](const QString &name) {
            writeFile(copy, "a film");
            QFile file(copy);
            ASSERT_TRUE(file.open(QIODevice::ReadWrite));
            file.setFileTime(QFileInfo(clip).lastModified(), QFileDevice::FileModificationTime);
            makeSheet(name, copy);
            stays || QFile::remove(copy);
        };
    };
    const auto picture = [&](const QString &name) {
        writePicture(emptyBitmap(8, 8, 0, false), path("out/" + name));
    };
    const auto folder = [&](const QString &name) { QDir().mkpath(path("out/" + name)); };
    const auto brokenLink = [&](const QString &name) { QFile::link("none", path("out/" + name)); };
    const struct {
        const char *what;
        Make make;
        const char *file;
        const char *name;
        bool isMade;
    } rows[] = {
        {"nothing", [](const QString &) {}, "", "clip", false},
        {"its sheet", sheetOf(clip), "clip.jpg", "clip", true},
        {"its sheet as PNG", sheetOf(clip), "clip.png", "clip", false},
        {"its sheet under another name", sheetOf(clip), "clip (mp4).jpg", "clip (mp4)", true},
        {"before it changed", before(sheetOf(clip), "old"), "clip.jpg", "clip", true},
        {"the same, no path", before(sheetOf(clip, false), "old"), "clip.jpg", "clip", true},
        {"by another path to it", sheetOf(path("link/clip.mp4")), "clip.jpg", "clip", true},
        {"before it was moved", ofCopy(false), "clip.jpg", "clip", true},
        {"of a copy that is there", ofCopy(true), "clip.jpg", "clip (in)", false},
        {"of another one", sheetOf(other), "clip.jpg", "clip (in)", false},
        {"of another one as PNG", sheetOf(other), "clip.png", "clip (in)", false},
        {"of another one, no path", sheetOf(other, false), "clip.jpg", "clip (in)", false},
        {"in capitals", sheetOf(other), "CLIP.jpg", "clip (in)", false},
        {"a picture", picture, "clip.jpg", "clip (in)", false},
        {"a picture as PNG", picture, "clip.png", "clip", false},
        {"a folder", folder, "clip.jpg", "clip (in)", false},
        {"a broken link", brokenLink, "clip.jpg", "clip (in)", false},
    };
    writeFile(other, "another film");
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        QDir(path("out")).removeRecursively();
        QDir().mkpath(path("out"));
        row.make(row.file);
        RunNames run({clip}, path("out"), "jpg");
        EXPECT_EQ(lastPathComponent(run.placeOf(0).base), row.name);
        EXPECT_EQ(run.placeOf(0).isMade, row.isMade);
        // What is delivered to the plain name nevertheless.
        SheetDelivery delivery{clip, path("out/clip.jpg"), clip, false, false};
        const bool isFree = !standsThere(delivery.sheet);
        const bool isOwn = row.isMade && QByteArray(row.name) == "clip";
        const DeliveryEnd kept = isOwn ? DeliveryEnd::OwnIsThere : DeliveryEnd::OthersIsThere;
        EXPECT_EQ(deliverSheet(delivery).end, isFree ? DeliveryEnd::Done : kept);
        EXPECT_EQ(isFree, contentOf(delivery.sheet) == "a film");
        delivery.replacesOwn = true;
        if (!isFree) {
            EXPECT_EQ(deliverSheet(delivery).end, isOwn ? DeliveryEnd::Done : kept);
            EXPECT_EQ(isOwn, contentOf(delivery.sheet) == "a film");
        }
        EXPECT_EQ(QDir(path("out")).entryList({".*"}, QDir::Files | QDir::Hidden), QStringList());
    }
}

TEST_F(SheetNamesTest, EveryShardGivesTheSameNamesWhateverIsMadeAlready)
{
    const QStringList sources{source("a/film.mp4"), source("b/film.mp4"),
                              source("b/film.mov"), source("x/b/film.mp4"),
                              source("c/Film.mp4"), source("d/film (b).mp4")};
    const QString foreign = source("e/film.mp4");
    for (const char *foreignSheet : {"film (b).jpg", "film.jpg", "other.jpg"}) {
        QStringList first;
        for (unsigned made = 0; made < 1U << sources.size(); ++made) {
            QDir(path("out")).removeRecursively();
            makeSheet(foreignSheet, foreign);
            for (qsizetype i = 0; i < first.size(); ++i) {
                if ((made >> i & 1) != 0) {
                    makeSheet(first.at(i) + ".jpg", sources.at(i));
                }
            }
            const QStringList names = namesOf(sources);
            first = first.isEmpty() ? names : first;
            ASSERT_EQ(names, first) << foreignSheet << made;
        }
        QSet<QString> folded;
        for (qsizetype i = 0; i < sources.size(); ++i) {
            makeSheet(first.at(i) + ".jpg", sources.at(i));
            folded.insert(first.at(i).toLower());
        }
        EXPECT_EQ(folded.size(), sources.size());
        EXPECT_FALSE(first.contains(QString(foreignSheet).chopped(4)));
        // Then the order doesn't count any more, and each one is found alone.
        QStringList turned = sources;
        std::reverse(turned.begin(), turned.end());
        QStringList names = namesOf(turned);
        std::reverse(names.begin(), names.end());
        EXPECT_EQ(names, first);
        EXPECT_EQ(namesOf({sources.at(1)}), QStringList(first.at(1)));
    }
}
