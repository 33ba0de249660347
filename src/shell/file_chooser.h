#pragma once

#include <QString>
#include <QStringList>
#include <QWidget>

// The choosers of files and folders.
namespace qv
{

class FileChooser
{
public:
    virtual ~FileChooser() = default;
    // Existing files with these extensions, from this folder on; empty when cancelled.
    virtual QStringList files(QWidget *window, const QString &title, const QStringList &extensions,
                              const QString &folder);
    // One folder; a null text when cancelled.
    virtual QString folder(QWidget *window, const QString &title, const QString &folder);
};

} // namespace qv
