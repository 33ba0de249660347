#pragma once

#include "process/child_process.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

namespace qv
{

// The part of a download that has arrived, and what it takes to resume it. The file has no name, so
// no confined tool can open it: it holds what was written here. Reasons are for people, null on
// success.
class KeptFile
{
public:
    // Whose bytes these are, and of which state of the server's file.
    struct Facts {
        QUrl address;
        QByteArray validator; // entity tag or date from the server; empty: can't be resumed
        qint64 length = -1;   // bytes of the whole file; below 1: can't be resumed
    };

    // Makes a file on the volume of the folder unless there is one already.
    QString open(const QString &folder);

    // Resumes what is kept if it is a part of that address's file. The last byte of the file is
    // always requested again, so that the server is asked. False: nothing is kept.
    bool resume(const QUrl &address, qint64 mostBytes);
    // Drops what is kept; the bytes that follow belong to these facts.
    QString beginAnew(const Facts &facts);
    void forget();

    QString append(const QByteArray &bytes);
    const Facts &facts() const { return m_facts; }
    qint64 size() const { return m_size; } // bytes

    // Hands over the file. The next open() makes a new one.
    FileDescriptor take();

private:
    bool cutTo(qint64 size);

    FileDescriptor m_file;
    QString m_folder;
    Facts m_facts;
    qint64 m_size = 0;
};

} // namespace qv
