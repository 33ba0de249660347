#pragma once

#include "common/folder_test.h"
#include "common/log_capture.h"
#include "support/files.h"

// A folder of its own for each test, with short ways to fill and read it.
class FilesTest : public FolderTest
{
protected:
    QString at(const QString &name) const { return path(name); }
    QString make(const QString &name, const QByteArray &bytes = "x") const
    {
        return write(at(name), bytes);
    }
    static QString write(const QString &path, const QByteArray &bytes)
    {
        writeFile(path, bytes);
        return path;
    }
    void link(const QString &target, const QString &name) const
    {
        ASSERT_TRUE(QFile::link(target, at(name)));
    }

    LogCapture m_log;
};
