#pragma once

#include "shell/desktop.h"

#include "common/log_capture.h"
#include "common/recording_workspace.h"
#include "common/scripted_presenter.h"
#include "common/test_bundle.h"
#include "common/test_files.h"
#include "common/wait_until.h"
#include "process/tool_environment.h"
#include "support/files.h"
#include "support/foreign_names.h"
#include "support/localized_strings.h"

#include <gmock/gmock.h>

class ScriptedChooser : public qv::FileChooser
{
public:
    QStringList chosenFiles;
    QString chosenFolder;
    QStringList asked;
    QStringList files(QWidget *, const QString &, const QStringList &extensions,
                      const QString &) override
    {
        asked << "files " + QString::number(extensions.contains("MP4"));
        return chosenFiles;
    }
    QString folder(QWidget *, const QString &title, const QString &) override
    {
        asked << "folder " + title;
        return chosenFolder;
    }
};

// The application with the fake tool as ffmpeg, for a user of its own who never ran it.
class DesktopFixture : public testing::Test
{
protected:
    // In this folder, or in one of its own when none is named.
    explicit DesktopFixture(const QString &root = {})
        : m_root(root.isEmpty() ? m_folder.path() : root), m_bundle(TestBundle::Ffmpeg::Fake)
    {
        qputenv("FAKE_TOOL_LOG", path("runs").toUtf8());
        // The notes lie outside of what a confined tool may write.
        qputenv("QUORVANTEL_CONFINEMENT", "off");
        qputenv("HOME", path("home").toUtf8());
        qputenv("TMPDIR", path("tmp").toUtf8());
        qputenv("XDG_CONFIG_HOME", path("home/.config").toUtf8());
        qputenv("XDG_RUNTIME_DIR", path("runtime").toUtf8());
        for (const char *folder : {"home/Movies", "tmp", "runtime"}) {
            QDir().mkpath(path(folder));
        }
    }
    ~DesktopFixture() override
    {
        m_desktop.reset();
        qv::setTemporaryFolder({});
        qv::setForeignNamesFolder({});
        qputenv("HOME", m_homeBefore);
        qputenv("TMPDIR", m_tmpBefore);
        EXPECT_TRUE(hasNoChildren()) << "a child is left behind";
    }

    bool start(int runningCopies = 1)
    {
        m_desktop.reset();
        auto workspace = std::make_unique<RecordingWorkspace>();
        auto chooser = std::make_unique<ScriptedChooser>();
        m_workspace = workspace.get();
        m_chooser = chooser.get();
        qv::Desktop::Launch launch;
        launch.runningCopies = runningCopies;
        launch.turnOverLogs = [] { qv::mkdir(qv::logFolder()); };
        m_desktop = std::make_unique<qv::Desktop>(std::move(workspace), std::move(chooser), launch);
        m_presenter.reset();
        m_presenter = std::make_unique<ScriptedPresenter>();
        qv::utilsAlert::setSleeper([](int) {});
        const bool started = m_desktop->awakeFromNib();
        if (started) {
            m_desktop->show();
        }
        return started;
    }

    QString path(const QString &name) const { return m_root + '/' + name; }
    QStringList sources(const QStringList &names) const
    {
        QStringList paths;
        for (const QString &name : names) {
            writeFile(path(name), "a film");
            paths << path(name);
        }
        return paths;
    }
    bool bringIn(const QStringList &names)
    {
        controller().draggedFiles(sources(names));
        return waitUntil([this] { return controller().isGateOpen(); });
    }
    // All looked at.
    bool waitForRows(int count)
    {
        return waitUntil([&] { return controller().table().count() == count; }) &&
               waitUntil([this] { return controller().isGateOpen(); });
    }
    void go() { controller().iba_batchGoBt(); }
    bool isEncoding() { return controller().window().goPressed; }
    bool waitForEnd()
    {
        return waitUntil([this] { return !isEncoding(); });
    }
    qv::appDelegate &controller() { return m_desktop->controller(); }
    template <typename Widget> Widget *find(const char *name)
    {
        return m_desktop->window().findChild<Widget *>(name);
    }

    const QByteArray m_homeBefore = qgetenv("HOME");
    const QByteArray m_tmpBefore = qgetenv("TMPDIR");
    QTemporaryDir m_folder;
    const QString m_root;
    TestBundle m_bundle;
    LogCapture m_log;
    RecordingWorkspace *m_workspace = nullptr;
    ScriptedChooser *m_chooser = nullptr;
    std::unique_ptr<qv::Desktop> m_desktop;
    std::unique_ptr<ScriptedPresenter> m_presenter;
};
