#pragma once

#include "common/test_bundle.h"

#include <QColor>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <filesystem>

// The built tool, and sources that the installed ffmpeg makes for it.
class ThumbsTest : public testing::Test
{
protected:
    // Homes of tests are new each time; the list of plug-ins need not be.
    static void SetUpTestSuite() { qputenv("GST_REGISTRY", QV_GST_REGISTRY); }
    // Some names are none for QTemporaryDir.
    ~ThumbsTest() override
    {
        std::error_code error;
        std::filesystem::remove_all(m_folder.path().toStdString(), error);
    }

    struct Ran {
        int status = -1;
        QByteArray out;
        QByteArray err;
    };
    static Ran run(const QString &program, const QStringList &arguments)
    {
        QProcess process;
        process.start(program, arguments);
        EXPECT_TRUE(process.waitForFinished(30000)) << "no end";
        return {process.exitCode(), process.readAllStandardOutput(),
                process.readAllStandardError()};
    }
    static Ran thumbs(const QStringList &arguments)
    {
        return run(builtTool("qtThumbs"), arguments);
    }
    Ran pictures(const QString &source, const QString &timeCodes, const QString &base = "out",
                 QSize size = {96, 64}) const
    {
        return thumbs({"-i", path(source), "-w", QString::number(size.width()), "-h",
                       QString::number(size.height()), "-tc", timeCodes, "-y", "-o", path(base)});
    }

    QString path(const QString &name) const { return m_folder.filePath(name); }
    void write(const QString &name, const QByteArray &bytes) const
    {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    QByteArray read(const QString &name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
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

    QTemporaryDir m_folder;
};
