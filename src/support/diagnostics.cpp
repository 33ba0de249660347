#include "support/diagnostics.h"

#include "support/bundle.h"
#include "support/dates.h"
#include "support/files.h"
#include "support/localized_strings.h"
#include "support/log.h"
#include "support/platform.h"

#include <unistd.h>

namespace qv
{
namespace
{

QString g_logFolder;
bool g_newStdout = false;
bool g_newStderr = false;

void keepAsPrevious(const QString &log)
{
    if (fileExists(log)) {
        const QString previous = QStringLiteral("Previous-") + lastPathComponent(log);
        moveFile(log, appendPath(logFolder(), previous), QStringLiteral("y"));
    }
}

bool createResumeLog()
{
    const QString start =
        QStringLiteral("start date    : ") + dateDescription(QDateTime::currentDateTime());
    return appendToFile(resumeLogPath(), start, ByteOrderMark::OnCreation) &&
           fixBOM(resumeLogPath());
}

} // namespace

QString logFolder()
{
    const QString users = QStringLiteral("~/Library/Logs/") + Bundle::main().name();
    return g_logFolder.isEmpty() ? expandTilde(users) : g_logFolder;
}

void setLogFolder(const QString &folder)
{
    g_logFolder = expandTilde(folder);
}

QString detailsLogPath()
{
    return appendPath(logFolder(), QStringLiteral("Details.log"));
}

QString resumeLogPath()
{
    return appendPath(logFolder(), QStringLiteral("Resume.log"));
}

bool resumeLogAppend(const QString &text)
{
    if (!fileExists(resumeLogPath()) && !createResumeLog()) {
        return false;
    }
    return text.isNull() || appendToFile(resumeLogPath(), text, ByteOrderMark::OnCreation);
}

void redirectStdoutToFile(const QString &path)
{
    if (g_newStdout || g_newStderr) {
        logLine(QStringLiteral("if (newStdout || newStderr)"));
        return;
    }
    const QString expanded = expandTilde(path);
    logLine(QStringLiteral("Details.log         : %1").arg(expanded));
    g_newStdout = platform::reopenStream(STDOUT_FILENO, expanded);
    g_newStderr = platform::reopenStream(STDERR_FILENO, expanded);
}

void startLogs()
{
    mkdir(logFolder());
    keepAsPrevious(resumeLogPath());
    keepAsPrevious(detailsLogPath());
    resumeLogAppend(QString());
    redirectStdoutToFile(detailsLogPath());
}

DebugMenuItem iba_menuDebugToggle(const DebugMenuItem &sender)
{
    logLine(QStringLiteral("a_menuDebugToggle   : %1").arg(sender.title));
    const bool turnsOn = sender.state != 1;
    const QString key = turnsOn ? QStringLiteral("menuDebug0") : QStringLiteral("menuDebug1");
    const DebugMenuItem clicked = {localized(key, QStringLiteral("Localized")), turnsOn ? 1 : 0};
    setDebug(turnsOn);
    logLine(QStringLiteral("menuDebug           : %1").arg(clicked.state));
    return clicked;
}

} // namespace qv
