#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QString>

#include <gtest/gtest.h>

// With the folders that lead to it.
inline void writeFile(const QString &path, const QByteArray &content)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    file.write(content);
}

// A program of these lines in the place of whatever stands there.
inline void writeScript(const QString &path, const QByteArray &lines)
{
    QFile::remove(path);
    writeFile(path, "#!/bin/sh\n" + lines);
    QFile::setPermissions(path, QFile::ReadOwner | QFile::ExeOwner);
}

// Nothing when it can't be read.
inline QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
