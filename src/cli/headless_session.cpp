#include "cli/headless_session.h"

#include "controller/sheet_delivery.h"
#include "process/tool_confinement.h"
#include "process/tool_environment.h"
#include "support/bundle.h"
#include "support/diagnostics.h"
#include "support/files.h"
#include "support/foreign_names.h"
#include "support/localized_strings.h"
#include "support/log.h"
#include "support/whole_write.h"

#include <QDir>
#include <QFileInfo>

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace qv
{
namespace
{

// Why no file can be written there, behind a colon; empty when one can.
QString writingProblem(const QString &folder)
{
    constexpr std::size_t size = 65536;
    QByteArray name = QFile::encodeName(folder) + "/Quorvantel-XXXXXX";
    const int file = ::mkostemp(name.data(), O_CLOEXEC);
    const int error =
        file < 0 ? errno : writeAll(file, QByteArray(qsizetype{size}, '\0').constData(), size);
    if (file >= 0) {
        ::close(file);
        ::unlink(name.constData());
    }
    return error == 0 ? QString() : QStringLiteral(": ") + qt_error_string(error);
}

} // namespace

tl::expected<std::unique_ptr<HeadlessSession>, QString>
HeadlessSession::start(const Options &options)
{
    std::unique_ptr<HeadlessSession> session(new HeadlessSession(options));
    if (auto opened = session->openLog(); !opened) {
        return tl::make_unexpected(opened.error());
    }
    // The stills are always taken with the one in the tools folder.
    const QString ffmpeg = Bundle::main().toolPath(QStringLiteral("ffmpeg"));
    if (!QFileInfo(ffmpeg).isFile()) {
        return tl::make_unexpected(
            QStringLiteral("there is no ffmpeg at %1. Install ffmpeg, and put it or a link to it "
                           "there.")
                .arg(ffmpeg));
    }
    if (auto opened = session->openScratch(); !opened) {
        return tl::make_unexpected(opened.error());
    }
    if (options.hangTimeout) {
        setToolIdleLimit(*options.hangTimeout);
    }
    setConfinementOn(!options.noConfinement);
    logConfinement();
    setLocalizationBundle(Bundle::main());
    setLocalizationTable(QStringLiteral("Localized"));
    session->loadPreferences();
    session->m_face = std::make_unique<HeadlessFace>(session->m_options, *session->m_preferences);
    const bool makesSheets =
        options.command == Command::Sheet || options.command == Command::Worker;
    session->m_controller = std::make_unique<appDelegate>(
        *session->m_preferences, *session->m_face, session->m_movies,
        Placement{.ownSubfolder = options.output.isEmpty(),
                  .stillsInTemporaryFolder = true,
                  .yieldsToOthers = true,
                  .quickPicturesFollow = makesSheets && options.quick});
    return session;
}

HeadlessSession::~HeadlessSession()
{
    m_controller.reset();
    setToolIdleLimit(m_idleLimitBefore);
    setConfinementOn(true);
    setForeignNamesFolder(QString());
    setDebug(false);
    setLogSink(nullptr);
    setTemporaryFolder(QString());
    setLogFolder(QString());
}

// Without a log file trace lines go nowhere, or to standard error when they were asked for.
tl::expected<void, QString> HeadlessSession::openLog()
{
    setDebug(m_options.verbose);
    if (m_options.logFile.isEmpty()) {
        setLogSink(m_options.verbose ? LogSink() : [](const QByteArray &) {});
        return {};
    }
    m_log.setFileName(m_options.logFile);
    if (!m_log.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered)) {
        return tl::make_unexpected(QStringLiteral("the log file %1 can't be written: %2")
                                       .arg(m_options.logFile, m_log.errorString()));
    }
    setLogSink([this](const QByteArray &line) {
        m_isLogIncomplete = m_log.write(line) != line.size() || m_isLogIncomplete;
    });
    return {};
}

tl::expected<void, QString> HeadlessSession::openScratch()
{
    m_scratch = ScratchFolder::create(commandScratchPrefix);
    const QString folder =
        m_scratch ? appendPath(m_scratch->path(), Bundle::main().name()) : QString();
    if (!m_scratch || !prepareTemporaryFolder(folder, Bundle::main()) ||
        !QFileInfo(toolFolder()).isDir()) {
        return tl::make_unexpected(QStringLiteral("no temporary folder can be made in %1%2. Set "
                                                  "TMPDIR to a folder that can be written.")
                                       .arg(temporaryRoot(), writingProblem(temporaryRoot())));
    }
    setForeignNamesFolder(appendPath(m_scratch->path(), QStringLiteral("names")));
    setLogFolder(appendPath(m_scratch->path(), QStringLiteral("logs")));
    mkdir(logFolder());
    return {};
}

void HeadlessSession::loadPreferences()
{
    m_preferences =
        std::make_unique<PreferencesStore>(PreferencesStore::userFile(Bundle::main().identifier()),
                                           PreferencesStore::Saving::ReadOnly);
    if (const QString damaged = m_preferences->damagedFile(); !damaged.isEmpty()) {
        m_settingsTroubles.append(
            QStringLiteral("the settings in %1 can't be read; the usual ones are taken")
                .arg(damaged));
    }
    m_preferences->prefsPurgeUnknownKeys();
    for (const QString &key : m_preferences->prefsMendImpossible()) {
        m_settingsTroubles.append(
            QStringLiteral("the stored setting %1 is impossible; the usual one is taken").arg(key));
    }
    m_preferences->prefsFillMissingDefaults();
    if (!m_options.background.isEmpty()) {
        m_preferences->prefWrite(QStringLiteral("pageBkgColor"), m_options.background);
    }
    if (!m_options.borderColor.isEmpty()) {
        m_preferences->prefWrite(QStringLiteral("prefBorderColor"), m_options.borderColor);
    }
    if (m_options.borderSize) {
        m_preferences->prefWrite(QStringLiteral("prefBorderSize"), *m_options.borderSize);
    }
}

tl::expected<void, QString> HeadlessSession::openDestination()
{
    if (QDir::isRelativePath(m_options.output) && !m_options.output.isEmpty() &&
        QDir::currentPath().contains(QChar::ReplacementCharacter)) {
        return tl::make_unexpected(
            QStringLiteral("the working folder's name is not valid UTF-8. Name the destination by "
                           "its full path."));
    }
    if (!m_options.output.isEmpty()) {
        m_face->setDestination(QDir::cleanPath(QDir::current().absoluteFilePath(m_options.output)));
    }
    if (m_face->destination().isEmpty()) {
        return tl::make_unexpected(
            QStringLiteral("the preferences name no destination. Name one with --output."));
    }
    const QString folder = m_controller->destinationFolder();
    const auto prepared = prepareSheetFolder(folder);
    if (!prepared) {
        return tl::make_unexpected(
            QStringLiteral("the destination %1 can't be made or written: %2. Name another one with "
                           "--output.")
                .arg(folder, prepared.error()));
    }
    return {};
}

} // namespace qv
