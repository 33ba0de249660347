#pragma once

#include "controller/face.h"
#include "support/files.h"

#include <QHash>
#include <QList>

#include <functional>

// Remembers what the controller tells, and answers what it asks.
class RecordingFace : public qv::Face
{
public:
    QString destinationText;
    QString defaultText;
    int layout = 1; // three columns
    int dpi = 0;
    int thumbnails = 3;
    bool quick = false;
    QStringList chosenSources;
    QString chosenFolder;

    QMultiHash<QString, QString> skipped; // each source's reason by its name
    QList<qv::RowResult> results;
    QStringList ends; // "analysis", "batch", "stopped"
    QString revealed;
    int folderChoices = 0;
    std::function<void()> onWindow;
    std::function<void()> onRowFinished;
    std::function<void()> onRows;
    std::function<void(int)> onRow;

    void windowChanged(const qv::WindowState &) override
    {
        if (onWindow) {
            onWindow();
        }
    }
    void rowsChanged() override
    {
        if (onRows) {
            onRows();
        }
    }
    void rowChanged(int row) override
    {
        if (onRow) {
            onRow(row);
        }
    }
    void sourceSkipped(const QString &source, const QString &reason) override
    {
        skipped.insert(qv::lastPathComponent(source), reason);
    }
    void analysisEnded() override { ends << "analysis"; }
    void rowFinished(const qv::RowResult &result) override
    {
        results << result;
        if (onRowFinished) {
            onRowFinished();
        }
    }
    void batchEnded(const QString &, const QString &folder) override
    {
        ends << "batch";
        revealed = folder;
    }
    void batchStopped() override { ends << "stopped"; }

    QString destination() const override { return destinationText; }
    void setDestination(const QString &path) override { destinationText = path; }
    QString defaultDestination() const override { return defaultText; }
    void setDefaultDestination(const QString &path) override { defaultText = path; }
    int layoutIndex() const override { return layout; }
    int pictureChoice() const override { return dpi; }
    QString layoutLabel(int out) const override { return "layout " + QString::number(out); }
    int thumbnailCount(int) const override { return thumbnails; }
    bool captionShown(const QString &) const override { return true; }
    bool wantsQuickPictures() const override { return quick; }
    QStringList chooseSources(const QString &, const QStringList &) override
    {
        return chosenSources;
    }
    void chooseDestination() override
    {
        ++folderChoices;
        destinationText = chosenFolder;
    }
};
