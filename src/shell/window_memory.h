#pragma once

#include <QByteArray>
#include <QSettings>
#include <QString>

// What the window remembers of itself from one launch to the next. It is no setting of the sheets,
// so it stands apart from the preferences, in "<configuration folder>/Quorvantel/window.ini".
namespace qv
{

class WindowMemory
{
public:
    // In the user's configuration folder, or in this file.
    WindowMemory();
    explicit WindowMemory(const QString &file);

    QByteArray geometry() const; // QWidget::saveGeometry; empty when there is none
    void setGeometry(const QByteArray &geometry);
    bool isDrawerOpen() const;
    void setDrawerOpen(bool open);
    int drawerWidth() const; // pixels; 0 when unknown
    void setDrawerWidth(int width);
    int layout() const; // layout index, the medium one when nothing sensible is stored
    void setLayout(int out);
    bool wantsQuickPictures() const;
    void setQuickPictures(bool quick);
    QString appearance() const; // "system", "light" or "dark"
    void setAppearance(const QString &appearance);
    QString sourceFolder() const; // where the file chooser was last; empty when unknown
    void setSourceFolder(const QString &folder);

    // Writes what changed; nothing is told when it can't.
    void save();

private:
    QSettings m_settings;
};

} // namespace qv
