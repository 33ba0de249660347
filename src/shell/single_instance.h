#pragma once

#include "shell/launch_action.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QLocalServer>
#include <QObject>
#include <QStringList>

class QLocalSocket;

// One running copy for each user. The first copy holds a lock that the kernel frees when the
// process ends, however it ends, and listens; a later one hands over what it was started with.
namespace qv
{

class SingleInstance : public QObject
{
    Q_OBJECT

public:
    // The folder of the lock and the socket.
    explicit SingleInstance(const QString &folder = usersFolder(), QObject *parent = nullptr);
    ~SingleInstance() override;

    // XDG_RUNTIME_DIR when it is the user's own, else the temporary folder.
    static QString usersFolder();

    // 1 when this is the only one, which it then is until the process ends; else 2. Where no lock
    // can be made, every copy counts as alone.
    int runningCopies();

    // To be called when this copy is about to end: it takes nothing more, but stays the only one.
    void stopListening();

    // Of a later copy: gives the paths to the first one or, without paths, asks it to come to the
    // front. Waits for its word, a few seconds at most; false when it did not take them all.
    bool handOver(const QByteArrayList &rawPaths) const;
    bool handOverAction(LaunchAction action) const;

Q_SIGNALS:
    // From a later copy: absolute paths.
    void pathsReceived(const QStringList &paths);
    void activationRequested();
    void actionRequested(qv::LaunchAction action);

private:
    void listen();
    void accept();
    void read(QLocalSocket *socket);
    void answer(QLocalSocket *socket, const QByteArray &payload);
    bool send(const QByteArray &message) const;
    QString socketPath() const;

    QString m_base; // of the names of both files
    int m_lock = -1;
    QLocalServer m_server;
    int m_clients = 0;
};

} // namespace qv
