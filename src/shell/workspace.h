#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QUrl>

// What the window asks of the desktop that it runs on. Each is a wish: nothing waits for the answer
// of another program.
namespace qv
{

class Workspace : public QObject
{
    Q_OBJECT

public:
    // Shows the files or folders in the file browser, selected in the folder that holds them; of
    // many, the first ones that are there.
    virtual void reveal(const QStringList &paths) = 0;
    // Opens a file or folder with the program that the user chose for its kind.
    virtual void open(const QString &path) = 0;
    // Opens an address ("mailto:").
    virtual void openUrl(const QUrl &url) = 0;
    // A notice outside of the window.
    virtual void notify(const QString &title, const QString &text) = 0;

Q_SIGNALS:
    // What was wished for could not be done, in words for people.
    void failed(const QString &reason);
};

} // namespace qv
