#pragma once

#include "common/folder_test.h"
#include "common/test_bundle.h"

#include <QColor>
#include <QImage>
#include <QProcess>

// A built tool, and sources that the installed ffmpeg makes for it.
class ThumbsTest : public FolderTest
{
protected:
    explicit ThumbsTest(const char *tool = "qtThumbs") : m_tool(tool) {}
    // Homes of tests are new each time; the list of plug-ins need not be.
    static void SetUpTestSuite() { qputenv("GST_REGISTRY", QV_GST_REGISTRY); }

    struct Ran {
        int status = -1;
        QByteArray out;
        QByteArray err;
    };
    // In the test's folder.
    Ran run(const QString &program, const QStringList &arguments,
            const QByteArray &input = {}) const
    {
        QProcess process;
        process.setWorkingDirectory(m_folder.path());
        process.start(program, arguments);
        process.write(input);
        process.closeWriteChannel();
        EXPECT_TRUE(process.waitForFinished(30000)) << "no end";
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
        return {process.exitCode(), process.readAllStandardOutput(),
                process.readAllStandardError()};
    }
    Ran thumbs(const QStringList &arguments) const { return run(builtTool(m_tool), arguments); }
    Ran pictures(const QString &source, const QString &timeCodes, const QString &base = "out",
                 QSize size = {96, 64}, const QStringList &more = {}) const
    {
        return thumbs(QStringList{"-i", source, "-w", QString::number(size.width()), "-h",
                                  QString::number(size.height()), "-tc", timeCodes, "-y", "-o",
                                  base} +
                      more);
    }

    void write(const QString &name, const QByteArray &bytes) const { writeFile(path(name), bytes); }
    QByteArray read(const QString &name) const { return contentOf(path(name)); }
    // The colours next to the corners, row by row.
    QStringList cornersOf(const QString &name) const
    {
        const QImage seen(path(name));
        const int right = seen.width() - 10;
        const int bottom = seen.height() - 10;
        return {colourAt(seen, 10, 10), colourAt(seen, right, 10), colourAt(seen, 10, bottom),
                colourAt(seen, right, bottom)};
    }
    // A source from a graph of synthetic pictures.
    QString film(const QString &name, const QString &graph, const QString &encoding) const
    {
        const Ran made =
            run("ffmpeg", QStringList{"-v", "error", "-y", "-f", "lavfi", "-i", graph} +
                              encoding.split(' ', Qt::SkipEmptyParts) + QStringList{path(name)});
        EXPECT_EQ(made.status, 0) << made.err.constData();
        return path(name);
    }
    // Another colour in each corner.
    static QString corners()
    {
        return "color=red:s=48x32:r=10:d=0.3[a];color=lime:s=48x32:r=10:d=0.3[b];"
               "color=blue:s=48x32:r=10:d=0.3[c];color=white:s=48x32:r=10:d=0.3[d];"
               "[a][b]hstack[t];[c][d]hstack[u];[t][u]vstack";
    }
    // One second of red, one of green, one of blue.
    static QString traffic()
    {
        return "color=red:s=96x64:r=10:d=1[a];color=lime:s=96x64:r=10:d=1[b];"
               "color=blue:s=96x64:r=10:d=1[c];[a][b][c]concat=n=3:v=1:a=0";
    }

    static QString colourAt(const QImage &picture, int x, int y)
    {
        const QColor seen = picture.pixelColor(x, y);
        for (const char *name : {"red", "lime", "blue", "white", "black"}) {
            if (isNear(seen, QColor(name), 24)) {
                return name;
            }
        }
        return seen.name();
    }
    static bool isNear(const QColor &a, const QColor &b, int steps)
    {
        return std::abs(a.red() - b.red()) <= steps && std::abs(a.green() - b.green()) <= steps &&
               std::abs(a.blue() - b.blue()) <= steps;
    }
    // The colour in the middle of each picture in the folder.
    QStringList coloursIn(const QString &folder) const
    {
        QStringList colours;
        for (const QString &name : QDir(path(folder)).entryList(QDir::Files, QDir::Name)) {
            const QImage picture(path(folder) + '/' + name);
            colours << (picture.isNull()
                            ? "none"
                            : colourAt(picture, picture.width() / 2, picture.height() / 2));
        }
        return colours;
    }

    const char *m_tool;
};

// What goes for each tool that takes pictures.
class AnyThumbsTest : public ThumbsTest, public testing::WithParamInterface<const char *>
{
protected:
    AnyThumbsTest() : ThumbsTest(GetParam()) {}
};
