#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QUrl>

#include <memory>

namespace qv
{

// The part of a download that has come so far, in a folder of our own, with what it takes to go on
// with it later: whose bytes they are and of which state of the server's file. Locked while open.
// Reasons are null when there is none, and for people.
class KeptFile
{
public:
    struct Facts {
        QUrl address;
        QByteArray validator; // an entity tag or a date of the server's; empty: can't be continued
        qint64 length = -1;   // of the whole; below 1: can't be continued
    };

    // Makes the folder when it is missing.
    QString open(const QString &folder);
    void close();
    bool isOpen() const { return m_bytes != nullptr; }
    QString path() const;

    // Goes on with what is kept, when it is a part of that address's file. At least the last byte
    // of the whole is always to come again, so that the server is asked. False: nothing is kept.
    bool resume(const QUrl &address, qint64 mostBytes);
    // What is kept is forgotten; what comes from now on belongs to these facts.
    QString beginAnew(const Facts &facts);
    void forget();

    QString append(const QByteArray &bytes);
    const Facts &facts() const { return m_facts; }
    qint64 size() const { return m_size; }

    // Moves the closed file to a path where nothing stands. False when that is another volume, or
    // can't be; nothing has changed then.
    bool moveTo(const QString &path) const;
    // Deletes the closed file.
    void remove() const;

private:
    bool cutTo(qint64 size);
    QString factsPath() const;
    Facts readFacts() const;
    QString writeFacts() const;

    QString m_folder;
    std::unique_ptr<QFile> m_bytes;
    Facts m_facts;
    qint64 m_size = 0;
};

} // namespace qv
