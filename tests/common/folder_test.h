#pragma once

#include "common/test_files.h"

#include <QTemporaryDir>

#include <filesystem>

// A test with a folder of its own.
class FolderTest : public testing::Test
{
protected:
    // QTemporaryDir can't delete names that are not UTF-8.
    ~FolderTest() override
    {
        std::error_code error;
        std::filesystem::remove_all(QFile::encodeName(m_folder.path()).toStdString(), error);
    }
    QString path(const QString &name) const { return m_folder.filePath(name); }

    QTemporaryDir m_folder;
};

// The same for tests of what is done in the user's home.
class HomeTest : public FolderTest
{
protected:
    HomeTest()
    {
        qputenv("HOME", path("home").toUtf8());
        qputenv("XDG_DATA_HOME", path("home/.local/share").toUtf8());
    }
    ~HomeTest() override
    {
        qputenv("HOME", m_homeBefore);
        qunsetenv("XDG_DATA_HOME");
    }

private:
    const QByteArray m_homeBefore = qgetenv("HOME");
};
