// Whose a sheet is, and the names that sheets get.
#include "common/folder_test.h"
#include "controller/run_names.h"
#include "controller/sheet_delivery.h"
#include "controller/sheet_names.h"
#include "controller/sheet_owner.h"
#include "sheet/image_export.h"
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
        ASSERT_TRUE(imgWrite(picture, path("out/" + name), xmpPacket(made)));
    }

    // The names of a run's sheets; its sources are asked about from the last one on.
    QStringList namesOf(const QStringList &sources, const QString &extension = "jpg") const
    {
        RunNames run(sources, path("out"), extension);
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
        {"/y/two/film.avi", "/out/film (f4166086)"},
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
    const QString moved = source("old/clip.mp4");
    QFile::copy(clip, path("copy.mp4"));
    const auto sameTime = [&](const QString &file) {
        QFile opened(file);
        ASSERT_TRUE(opened.open(QIODevice::ReadWrite));
        opened.setFileTime(QFileInfo(clip).lastModified(), QFileDevice::FileModificationTime);
    };
    const struct {
        const char *what;
        std::function<void()> make;
        const char *name;
        bool isMade = false;
    } rows[] = {
        {"nothing", [] {}, "clip"},
        {"its sheet", [&] { makeSheet("clip.jpg", clip); }, "clip", true},
        {"its sheet in the other format", [&] { makeSheet("clip.png", clip); }, "clip"},
        {"its sheet under another name", [&] { makeSheet("clip (mp4).jpg", clip); }, "clip (mp4)",
         true},
        {"its sheet, before the source changed",
         [&] {
             writeFile(clip, "another film");
             makeSheet("clip.jpg", clip);
             writeFile(clip, "a film");
         },
         "clip", true},
        {"its sheet without path, before the source changed",
         [&] {
             writeFile(clip, "another film");
             makeSheet("clip.jpg", clip, false);
             writeFile(clip, "a film");
         },
         "clip", true},
        {"a sheet of another one", [&] { makeSheet("clip.jpg", other); }, "clip (in)"},
        {"a sheet of another one in the other format", [&] { makeSheet("clip.png", other); },
         "clip (in)"},
        {"a sheet of another one without path", [&] { makeSheet("clip.jpg", other, false); },
         "clip (in)"},
        {"a sheet of a copy that is still there",
         [&] {
             sameTime(other);
             makeSheet("clip.jpg", other);
         },
         "clip (in)"},
        {"its sheet from before it was moved",
         [&] {
             sameTime(moved);
             makeSheet("clip.jpg", moved);
             QFile::remove(moved);
         },
         "clip", true},
        {"its sheet by another path to it",
         [&] {
             QFile::link(path("in"), path("link"));
             makeSheet("clip.jpg", path("link/clip.mp4"));
         },
         "clip", true},
        {"a picture", [&] { imgSwatch(Qt::red, path("out/clip.jpg"), 8, 8); }, "clip (in)"},
        {"a picture in the other format", [&] { imgSwatch(Qt::red, path("out/clip.png"), 8, 8); },
         "clip"},
        {"a name in capitals", [&] { makeSheet("CLIP.jpg", other); }, "clip (in)"},
        {"a folder", [&] { QDir().mkpath(path("out/clip.jpg")); }, "clip (in)"},
        {"a broken link", [&] { QFile::link("nowhere", path("out/clip.jpg")); }, "clip (in)"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        QDir(path("out")).removeRecursively();
        QDir().mkpath(path("out"));
        row.make();
        RunNames run({clip}, path("out"), "jpg");
        EXPECT_EQ(lastPathComponent(run.placeOf(0).base), row.name);
        EXPECT_EQ(run.placeOf(0).isMade, row.isMade);
        const SheetDelivery delivery{clip, path("out/clip.jpg"), clip, false, false};
        const bool isFree = !standsThere(delivery.sheet);
        const bool isOwn = row.isMade && QByteArray(row.name) == "clip";
        EXPECT_EQ(deliverSheet(delivery).end, isFree  ? DeliveryEnd::Done
                                              : isOwn ? DeliveryEnd::OwnIsThere
                                                      : DeliveryEnd::OthersIsThere);
        if (!isFree && !isOwn) {
            SheetDelivery replacing = delivery;
            replacing.replacesOwn = true;
            EXPECT_EQ(deliverSheet(replacing).end, DeliveryEnd::OthersIsThere);
        }
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
        for (const QString &name : first) {
            folded.insert(name.toLower());
        }
        EXPECT_EQ(folded.size(), sources.size());
        EXPECT_FALSE(first.contains(QString(foreignSheet).chopped(4)));
        // With all sheets made, the order doesn't count any more, and each one is found alone.
        QStringList turned = sources;
        std::reverse(turned.begin(), turned.end());
        for (const QString &one : sources) {
            makeSheet(first.at(sources.indexOf(one)) + ".jpg", one);
        }
        const QStringList again = namesOf(turned);
        for (qsizetype i = 0; i < sources.size(); ++i) {
            EXPECT_EQ(again.at(sources.size() - 1 - i), first.at(i));
            EXPECT_EQ(namesOf({sources.at(i)}), QStringList(first.at(i)));
        }
    }
}
