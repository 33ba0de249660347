#pragma once

#include "common/log_capture.h"
#include "common/test_files.h"
#include "support/files.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <filesystem>

// A folder of its own for each test, with short ways to fill and read it.
class FilesTest : public testing::Test
{
protected:
    // QTemporaryDir can't delete names that are not UTF-8.
    ~FilesTest() override
    {
        std::error_code error;
        std::filesystem::remove_all(QFile::encodeName(m_folder.path()).toStdString(), error);
    }

    QString at(const QString &name) const { return m_folder.filePath(name); }

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
    static QByteArray contentOf(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(none)");
    }

    QTemporaryDir m_folder;
    LogCapture m_log;
};
