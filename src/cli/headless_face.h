#pragma once

#include "cli/options.h"
#include "controller/face.h"
#include "settings/preferences_store.h"

#include <functional>

// The command's side of the controller: options and preferences answer its questions, and whoever
// runs the sources hears what happens.
namespace qv
{

class HeadlessFace : public Face
{
public:
    HeadlessFace(const Options &options, const PreferencesStore &preferences);

    std::function<void(const WindowState &)> onWindowChanged;
    std::function<void(const QString &source, const QString &reason)> onSourceSkipped;
    std::function<void()> onAnalysisEnded;
    std::function<void(const RowResult &)> onRowFinished;
    std::function<void()> onBatchOver;

    void windowChanged(const WindowState &window) override;
    void sourceSkipped(const QString &source, const QString &reason) override;
    void analysisEnded() override;
    void rowFinished(const RowResult &result) override;
    void batchEnded(const QString &, const QString &) override;
    void batchStopped() override;

    QString destination() const override { return m_destination; }
    void setDestination(const QString &path) override { m_destination = path; }
    QString defaultDestination() const override;
    void setDefaultDestination(const QString &) override {}
    int layoutIndex() const override { return static_cast<int>(m_options.layout); }
    int pictureChoice() const override;
    QString layoutLabel(int out) const override;
    int thumbnailCount(int out) const override;
    bool captionShown(const QString &caption) const override;
    bool wantsQuickPictures() const override { return m_options.quick; }
    bool refusesDamaged() const override;
    bool leavesOutPaths() const override { return m_options.noPaths; }

private:
    const Options &m_options;
    const PreferencesStore &m_preferences;
    QString m_destination;
};

} // namespace qv
