#pragma once

#include "shell/workspace.h"

#include <QStringList>
#include <QUrl>

// Remembers what the desktop is asked for.
class RecordingWorkspace : public qv::Workspace
{
public:
    QStringList revealed; // by the last call
    QStringList opened;
    QList<QUrl> urls;

    void reveal(const QStringList &paths) override { revealed = paths; }
    void open(const QString &path) override { opened << path; }
    void openUrl(const QUrl &url) override { urls << url; }
    void notify(const QString &, const QString &) override {}
};
