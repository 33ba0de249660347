#pragma once

#include "common/test_bundle.h"
#include "common/test_files.h"

#include <QByteArrayList>
#include <QImage>
#include <QJsonObject>
#include <QStringList>

#include <gmock/gmock.h>

#include <functional>

// What a run of the command gave.
struct Ran {
    int status = -1;
    QByteArray out;
    QByteArray err;
    QStringList screen; // what a terminal that got both would still show

    QList<QJsonObject> objects() const;      // one a line of standard output
    QStringList told(const char *key) const; // a text of each object, "null" for nothing
};

// Runs the command in this process, in a bundle and a folder of the test's own.
class CommandTest : public testing::Test
{
protected:
    explicit CommandTest(TestBundle::Ffmpeg ffmpeg = TestBundle::Ffmpeg::Fake);
    ~CommandTest() override;

    QByteArray path(const QByteArray &name) const;
    // Makes a file with its folders; gives its path.
    QByteArray make(const QByteArray &name, const QByteArray &contents = "video") const;
    // The names in a folder, hidden ones too.
    QStringList namesIn(const QByteArray &folder) const;

    QImage pictureAt(const QByteArray &name) const;

    Ran run(const QByteArrayList &arguments);
    // "sheet --json -n 3 -o out", then these.
    Ran sheets(const QByteArrayList &arguments);
    // A clip made by the installed ffmpeg from these arguments.
    QByteArray clip(const QByteArray &name, const char *arguments) const;
    // Two seconds of 320 x 180 with sound.
    QByteArray soundClip(const QByteArray &name) const;

    // Of the next runs.
    bool m_terminal = false;
    std::function<void(const QByteArray &)> m_onResult;
    QByteArray m_input;      // standard input
    QString m_workerProgram; // empty: no process but this one

    TestBundle m_bundle;
    QTemporaryDir m_folder;
};

// The same with the installed ffmpeg.
class RealCommandTest : public CommandTest
{
protected:
    RealCommandTest() : CommandTest(TestBundle::Ffmpeg::Real) {}
};

// The words between the spaces.
QStringList words(const char *line);
// Folders that a run would leave behind in the temporary folder.
QStringList scratchFolders();
