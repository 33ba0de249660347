#include "shell/single_instance.h"

#include "process/tool_environment.h"
#include "shell/dropped_paths.h"
#include "shell/hand_over.h"
#include "support/files.h"
#include "support/foreign_names.h"
#include "support/log.h"
#include "support/platform.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QLocalSocket>
#include <QThread>
#include <QTimer>

#include <algorithm>

#include <unistd.h>

namespace qv
{
namespace
{

// Milliseconds.
constexpr int patience = 4000;           // of a later copy
constexpr int connectingPatience = 1500; // while the first copy holds the lock, but doesn't listen
constexpr int retryInterval = 20;
constexpr int clientPatience = 5000; // with whoever connects and doesn't speak
constexpr int mostClients = 8;

bool connectTo(QLocalSocket &socket, const QString &path, const QDeadlineTimer &deadline)
{
    while (!deadline.hasExpired()) {
        socket.connectToServer(path);
        if (socket.waitForConnected(static_cast<int>(deadline.remainingTime()))) {
            return platform::isPeerThisUser(socket.socketDescriptor());
        }
        QThread::msleep(retryInterval);
    }
    return false;
}

bool waitForByte(QLocalSocket &socket, const QDeadlineTimer &deadline)
{
    while (socket.bytesAvailable() == 0) {
        if (deadline.hasExpired() ||
            !socket.waitForReadyRead(static_cast<int>(deadline.remainingTime()))) {
            return socket.bytesAvailable() > 0;
        }
    }
    return true;
}

} // namespace

QString SingleInstance::usersFolder()
{
    const QString runtime = QFile::decodeName(qgetenv("XDG_RUNTIME_DIR"));
    const bool usable = runtime.startsWith(QLatin1Char('/')) && platform::isOwnFolder(runtime);
    return usable ? runtime : temporaryRoot();
}

SingleInstance::SingleInstance(const QString &folder, QObject *parent)
    : QObject(parent), m_base(appendPath(folder, QStringLiteral("quorvantel-%1").arg(::getuid())))
{
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    connect(&m_server, &QLocalServer::newConnection, this, &SingleInstance::accept);
}

SingleInstance::~SingleInstance()
{
    stopListening();
    qDeleteAll(m_server.findChildren<QLocalSocket *>());
    if (m_lock >= 0) {
        ::close(m_lock);
    }
}

QString SingleInstance::socketPath() const
{
    return m_base + QStringLiteral(".socket");
}

int SingleInstance::runningCopies()
{
    if (m_lock >= 0) {
        return 1;
    }
    const platform::LockedFile lock = platform::lockFile(m_base + QStringLiteral(".lock"));
    if (lock.state == platform::LockedFile::State::HeldByAnother) {
        return 2;
    }
    m_lock = lock.descriptor;
    if (m_lock >= 0) {
        listen();
    } else {
        logLine(QStringLiteral("instance lock       :-( ") + m_base);
    }
    return 1;
}

// A socket that a killed copy left behind is nobody's: the lock is ours.
void SingleInstance::listen()
{
    QLocalServer::removeServer(socketPath());
    if (!m_server.listen(socketPath())) {
        logLine(QStringLiteral("instance socket     :-( ") + m_server.errorString());
    }
}

void SingleInstance::stopListening()
{
    m_server.close();
    for (QLocalSocket *socket : m_server.findChildren<QLocalSocket *>()) {
        socket->abort();
    }
}

void SingleInstance::accept()
{
    while (QLocalSocket *socket = m_server.nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QObject::destroyed, this, [this] { --m_clients; });
        ++m_clients;
        if (m_clients > mostClients || !platform::isPeerThisUser(socket->socketDescriptor())) {
            socket->abort();
            continue;
        }
        socket->setReadBufferSize(handover::headerSize + handover::longestPayload);
        QTimer::singleShot(clientPatience, socket, [socket] { socket->abort(); });
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] { read(socket); });
        read(socket);
    }
}

void SingleInstance::read(QLocalSocket *socket)
{
    if (socket->bytesAvailable() < handover::headerSize) {
        return;
    }
    const auto size = handover::payloadSize(socket->peek(handover::headerSize));
    if (!size) {
        socket->abort();
        return;
    }
    if (socket->bytesAvailable() >= handover::headerSize + *size) {
        socket->skip(handover::headerSize);
        answer(socket, socket->read(*size));
    }
}

void SingleInstance::answer(QLocalSocket *socket, const QByteArray &payload)
{
    const auto action = handover::actionIn(payload);
    const auto paths = handover::pathsIn(payload);
    disconnect(socket, &QLocalSocket::readyRead, this, nullptr);
    socket->write(QByteArray(1, paths || action ? handover::taken : handover::refused));
    socket->disconnectFromServer();
    if (action) {
        Q_EMIT actionRequested(*action);
    }
    if (!paths) {
        return;
    }
    if (paths->isEmpty()) {
        Q_EMIT activationRequested();
        return;
    }
    QStringList usable;
    for (const QByteArray &path : *paths) {
        usable.append(cleanUsablePath(path));
    }
    Q_EMIT pathsReceived(usable);
}

bool SingleInstance::handOver(const QByteArrayList &rawPaths) const
{
    QByteArrayList absolute;
    for (const QByteArray &path : rawPaths) {
        absolute.append(absoluteName(path));
    }
    const QByteArrayList messages = handover::messages(absolute);
    return std::all_of(messages.begin(), messages.end(),
                       [this](const QByteArray &message) { return send(message); });
}

bool SingleInstance::handOverAction(LaunchAction action) const
{
    return send(handover::actionMessage(action));
}

// A first copy that is about to end hangs up without a word.
bool SingleInstance::send(const QByteArray &message) const
{
    const QDeadlineTimer deadline(patience);
    const QDeadlineTimer connecting(connectingPatience);
    QLocalSocket socket;
    while (connectTo(socket, socketPath(), connecting)) {
        socket.write(message);
        char word = handover::refused;
        if (waitForByte(socket, deadline) && socket.getChar(&word)) {
            return word == handover::taken;
        }
        socket.abort();
        QThread::msleep(retryInterval);
    }
    return false;
}

} // namespace qv
