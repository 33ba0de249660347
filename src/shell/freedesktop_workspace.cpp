#include "shell/freedesktop_workspace.h"

#include "support/bundle.h"
#include "support/files.h"
#include "support/foreign_names.h"
#include "support/localized_strings.h"
#include "support/log.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QVariantMap>

#include <algorithm>
#include <utility>

namespace qv
{
namespace
{

constexpr int patience = 2000;         // milliseconds, with a file browser that does not answer
constexpr qsizetype mostRevealed = 10; // each may open a window of the file browser

// Without an address the bus library would start a bus of its own, which nobody listens on.
QDBusConnection sessionBus()
{
    const QString runtime = QFile::decodeName(qgetenv("XDG_RUNTIME_DIR"));
    const bool known = !qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS") ||
                       (!runtime.isEmpty() && QFileInfo::exists(runtime + QStringLiteral("/bus")));
    return known ? QDBusConnection::sessionBus() : QDBusConnection(QString());
}

bool openByDesktop(const QUrl &url)
{
    return QDesktopServices::openUrl(url) ||
           QProcess::startDetached(QStringLiteral("xdg-open"),
                                   {QString::fromLatin1(url.toEncoded())});
}

QByteArray fileAddress(const QByteArray &name)
{
    return "file://" + name.toPercentEncoding("/");
}

QDBusMessage notificationCall(const QString &method)
{
    const QString service = QStringLiteral("org.freedesktop.Notifications");
    return QDBusMessage::createMethodCall(service, QStringLiteral("/org/freedesktop/Notifications"),
                                          service, method);
}

} // namespace

FreedesktopWorkspace::FreedesktopWorkspace() : FreedesktopWorkspace(sessionBus(), openByDesktop) {}

FreedesktopWorkspace::FreedesktopWorkspace(const QDBusConnection &bus, Opener opener)
    : m_bus(bus), m_opener(std::move(opener))
{
}

void FreedesktopWorkspace::reveal(const QStringList &paths)
{
    QStringList addresses;
    QString first;
    for (const QString &path : paths) {
        if (addresses.size() < mostRevealed && fileExists(path)) {
            first = first.isEmpty() ? path : first;
            addresses.append(QString::fromLatin1(fileAddress(rawPath(path))));
        }
    }
    if (addresses.isEmpty() || !m_bus.isConnected()) {
        openFolderOf(first.isEmpty() ? paths.value(0) : first);
        return;
    }
    const QString service = QStringLiteral("org.freedesktop.FileManager1");
    QDBusMessage call =
        QDBusMessage::createMethodCall(service, QStringLiteral("/org/freedesktop/FileManager1"),
                                       service, QStringLiteral("ShowItems"));
    call << addresses << QString();
    auto *answer = new QDBusPendingCallWatcher(m_bus.asyncCall(call, patience), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer, first] {
        answer->deleteLater();
        if (answer->isError()) {
            logLine(QStringLiteral("reveal              :-( ") + answer->error().message());
            openFolderOf(first);
        }
    });
}

void FreedesktopWorkspace::openFolderOf(const QString &path)
{
    const QByteArray raw = rawPath(path);
    const QString folder =
        QFile::decodeName(raw.left(std::max<qsizetype>(1, raw.lastIndexOf('/'))));
    if (path.isEmpty() || !QFileInfo(folder).isDir()) {
        Q_EMIT failed(localized(QStringLiteral("workspaceMissing")).arg(shownPath(path)));
        return;
    }
    openThere(QFileInfo(path).isDir() ? path : folder);
}

void FreedesktopWorkspace::open(const QString &path)
{
    if (fileExists(path)) {
        openThere(path);
    } else {
        Q_EMIT failed(localized(QStringLiteral("workspaceMissing")).arg(shownPath(path)));
    }
}

void FreedesktopWorkspace::openThere(const QString &path)
{
    if (!m_opener(QUrl::fromEncoded(fileAddress(rawPath(path))))) {
        Q_EMIT failed(localized(QStringLiteral("workspaceNoProgram")).arg(shownPath(path)));
    }
}

void FreedesktopWorkspace::openUrl(const QUrl &url)
{
    if (!m_opener(url)) {
        const QString shown = url.toDisplayString(QUrl::RemoveQuery);
        Q_EMIT failed(localized(QStringLiteral("workspaceNoProgram")).arg(shown));
    }
}

// Some servers take "<b>" in the text for bold, others show it.
void FreedesktopWorkspace::notify(const QString &title, const QString &text)
{
    if (!m_bus.isConnected()) {
        return;
    }
    auto *answer = new QDBusPendingCallWatcher(
        m_bus.asyncCall(notificationCall(QStringLiteral("GetCapabilities")), patience), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer, title, text] {
        answer->deleteLater();
        const QDBusPendingReply<QStringList> reply = *answer;
        if (!reply.isError()) {
            const bool markup = reply.value().contains(QLatin1String("body-markup"));
            send(title, markup ? text.toHtmlEscaped() : text);
        }
    });
}

void FreedesktopWorkspace::send(const QString &title, const QString &text)
{
    constexpr uint replacesNone = 0;
    constexpr int usualTime = -1;
    QDBusMessage call = notificationCall(QStringLiteral("Notify"));
    call << Bundle::main().name() << replacesNone << Bundle::main().identifier() << title << text
         << QStringList()
         << QVariantMap{{QStringLiteral("desktop-entry"), Bundle::main().identifier()}}
         << usualTime;
    m_bus.send(call);
}

} // namespace qv
