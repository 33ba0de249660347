#pragma once

#include "shell/workspace.h"

#include <QDBusConnection>

#include <functional>

// The services that desktops offer on the session bus, and the desktop's opener where there is
// none.
namespace qv
{

class FreedesktopWorkspace final : public Workspace
{
    Q_OBJECT

public:
    using Opener = std::function<bool(const QUrl &)>;

    // On the user's session bus, with the desktop's opener.
    FreedesktopWorkspace();
    FreedesktopWorkspace(const QDBusConnection &bus, Opener opener);

    // Of many paths the first ones only, so that the screen is not strewn with windows.
    void reveal(const QStringList &paths) override;
    void open(const QString &path) override;
    void openUrl(const QUrl &url) override;
    // Nothing at all where nobody shows notices.
    void notify(const QString &title, const QString &text) override;

private:
    void openFolderOf(const QString &path);
    void openThere(const QString &path);
    void send(const QString &title, const QString &text);

    QDBusConnection m_bus;
    Opener m_opener;
};

} // namespace qv
