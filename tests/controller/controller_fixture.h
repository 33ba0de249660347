#pragma once

#include "common/folder_test.h"
#include "common/log_capture.h"
#include "common/scripted_presenter.h"
#include "common/test_bundle.h"
#include "common/wait_until.h"
#include "controller/app_delegate.h"
#include "controller/recording_face.h"
#include "process/child_process.h"
#include "process/tool_environment.h"
#include "support/diagnostics.h"
#include "support/localized_strings.h"

#include <memory>

// A controller in a folder of its own, with the fake tool as ffmpeg.
class ControllerTest : public FolderTest
{
protected:
    explicit ControllerTest(TestBundle::Ffmpeg ffmpeg = TestBundle::Ffmpeg::Fake) : m_bundle(ffmpeg)
    {
        const QString scratch = path("scratch");
        qv::prepareTemporaryFolder(scratch, qv::Bundle::main());
        qv::setLogFolder(path("logs"));
        QDir().mkpath(path("logs"));
        QDir().mkpath(path("out"));
        // Where a confined tool can write.
        qputenv("FAKE_TOOL_LOG", path("scratch/tools/runs").toUtf8());
        m_preferences.prefsFillMissingDefaults();
        m_face.destinationText = path("out");
        makeController({});
    }
    ~ControllerTest() override
    {
        m_controller.reset();
        qv::setToolIdleLimit(60);
        qv::setLogFolder({});
        qv::setTemporaryFolder({});
        qunsetenv("FAKE_TOOL_LOG");
        EXPECT_TRUE(hasNoChildren()) << "a child is left behind";
    }

    void makeController(qv::Placement placement)
    {
        m_controller.reset();
        m_controller =
            std::make_unique<qv::appDelegate>(m_preferences, m_face, m_movies, placement);
    }

    // A source that is there; its name tells the fake tool what to do.
    QString source(const QString &name) const
    {
        writeFile(path(name), "a film");
        return path(name);
    }
    QStringList sources(const QStringList &names) const
    {
        QStringList paths;
        for (const QString &name : names) {
            paths << source(name);
        }
        return paths;
    }

    // ---- analysis
    bool waitForGate(int milliseconds = 15000)
    {
        return waitUntil([this] { return m_controller->isGateOpen(); }, milliseconds);
    }
    bool admit(const QStringList &names)
    {
        m_controller->draggedFiles(sources(names));
        return waitForGate();
    }
    QStringList rows() const
    {
        QStringList names;
        for (int i = 0; i < m_controller->table().count(); ++i) {
            const qv::BatchItem &row = m_controller->table().row(i);
            names << QString::number(row.order) + " " + qv::lastPathComponent(row.sourcePath());
        }
        return names;
    }
    qv::RowMark markOf(int row) const { return m_controller->table().row(row).resultat; }

    // ---- encoding
    bool isEncoding() const { return m_controller->window().goPressed; }
    bool waitForBatch(int milliseconds = 15000)
    {
        return waitUntil([this] { return !isEncoding(); }, milliseconds);
    }
    bool encode()
    {
        m_controller->iba_batchGoBt();
        return waitForBatch();
    }
    QString sheet(const QString &stem) const { return path("out/Quorvantel/" + stem + ".jpg"); }
    QStringList filesInOut() const
    {
        return QDir(path("out/Quorvantel"))
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }
    // "made", "kept", "failed", "stopped" of each finished row with its source's name.
    QStringList results() const
    {
        static const QStringList words{"made", "kept", "failed", "stopped"};
        QStringList lines;
        for (const qv::RowResult &result : m_face.results) {
            lines << words.at(static_cast<int>(result.status)) + " " +
                         qv::lastPathComponent(result.source);
        }
        return lines;
    }

    // ---- the fake tool's runs: "analysis -1 film.mp4"
    QStringList runs() const
    {
        return QString::fromUtf8(contentOf(path("scratch/tools/runs")))
            .split('\n', Qt::SkipEmptyParts);
    }
    bool waitForRun(const QString &run)
    {
        return waitUntil([&] { return runs().contains(run); });
    }
    void forgetRuns() { QFile::remove(path("scratch/tools/runs")); }

    // What the movie framework knows.
    class Movies : public qv::MovieFramework
    {
    public:
        QSet<QString> opened;
        bool canOpen(const QString &source) override { return opened.contains(source); }
        bool hasDecoder(const QString &) override { return false; }
        std::optional<qv::MediaInfoRecord> record(const QString &source) override
        {
            if (!opened.contains(source)) {
                return std::nullopt;
            }
            return qv::MediaInfoRecord{{"v0_codec", "odd"},
                                       {"v0_width", 320},
                                       {"v0_height", 240},
                                       {"v0_fps", 25.0},
                                       {"w_duration", 90}};
        }
        bool thumbnail(const QString &, int, int, double, const QString &destination) override
        {
            return QFile::copy(samplePicture(), destination);
        }
    };

    TestBundle m_bundle;
    LogCapture m_log;
    ScriptedPresenter m_presenter;
    qv::PreferencesStore m_preferences;
    RecordingFace m_face;
    Movies m_movies;
    std::unique_ptr<qv::appDelegate> m_controller;
};
