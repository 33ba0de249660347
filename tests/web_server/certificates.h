#pragma once

#include <QSslConfiguration>
#include <QString>
#include <QTemporaryDir>

// Certificates that the openssl tool makes: an authority, and servers at 127.0.0.1 that it vouches
// for, has vouched for in the past, and that vouch for themselves alone.
class Certificates
{
public:
    // Made once in a process, because keys take their time.
    static const Certificates &shared();

    // Lets this process trust the authority, and nobody else.
    void trust() const;
    enum class Server { Good, Expired, OtherName, Unknown };
    QSslConfiguration server(Server kind) const;

private:
    Certificates();
    void makeServer(const QString &name, const QStringList &options, const QString &subjectName);
    void openssl(const QStringList &arguments) const;
    QString file(const QString &name) const { return m_folder.filePath(name); }

    QTemporaryDir m_folder;
};
