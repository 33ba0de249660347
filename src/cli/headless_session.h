#pragma once

#include "analysis/movie_tool.h"
#include "cli/headless_face.h"
#include "cli/options.h"
#include "controller/app_delegate.h"
#include "process/child_process.h"
#include "process/interrupt.h"
#include "process/scratch_folder.h"
#include "settings/preferences_store.h"

#include <QFile>

#include <tl/expected.hpp>

#include <memory>

// Everything that a command needs to work: scratch folder, settings (read, never written), log,
// controller. Working state stays in memory, so copies don't meet.
namespace qv
{

// The names of its scratch folders begin so.
inline const QString commandScratchPrefix = QStringLiteral("Quorvantel-cli-");

class HeadlessSession
{
public:
    // The session, or why nothing can work here.
    static tl::expected<std::unique_ptr<HeadlessSession>, QString> start(const Options &options);
    ~HeadlessSession();

    HeadlessFace &face() { return *m_face; }
    appDelegate &controller() { return *m_controller; }
    PreferencesStore &preferences() { return *m_preferences; }
    // For people: what of the stored settings could not be used, a sentence each.
    const QStringList &settingsTroubles() const { return m_settingsTroubles; }

    // Whether the log file lacks lines that could not be written.
    bool isLogIncomplete() const { return m_isLogIncomplete; }

    // Whether a signal has asked for the end since the session began. It is up to the caller to
    // look, until the run does; without that the scratch folder would stay.
    bool isStopped() const { return m_interrupt && Interrupt::signalNumber() != 0; }
    // The run looks after signals from here on.
    void releaseSignals() { m_interrupt.reset(); }

    // Makes the destination when missing and tries to write there; gives why it can't be used.
    tl::expected<void, QString> openDestination();

private:
    explicit HeadlessSession(const Options &options) : m_options(options) {}
    tl::expected<void, QString> openLog();
    tl::expected<void, QString> openScratch();
    void loadPreferences();

    Options m_options;
    std::unique_ptr<Interrupt> m_interrupt = std::make_unique<Interrupt>([] {});
    double m_idleLimitBefore = toolIdleLimit();
    QFile m_log;
    bool m_isLogIncomplete = false;
    std::unique_ptr<ScratchFolder> m_scratch;
    std::unique_ptr<PreferencesStore> m_preferences;
    QStringList m_settingsTroubles;
    MovieTool m_movies;
    std::unique_ptr<HeadlessFace> m_face;
    std::unique_ptr<appDelegate> m_controller;
};

} // namespace qv
