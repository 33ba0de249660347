#include "support/log.h"

#include "support/visible_text.h"
#include "support/whole_write.h"

#include <QCoreApplication>
#include <QDateTime>

#include <atomic>
#include <mutex>
#include <unistd.h>

namespace qv
{
namespace
{

std::atomic<bool> g_debug = false; // asked on every thread
LogSink g_sink;
std::mutex g_mutex;

QByteArray prefix()
{
    static const QByteArray name = [] {
        QByteArray n = QCoreApplication::applicationName().toUtf8();
        return n.isEmpty() ? QByteArray("Quorvantel") : n;
    }();
    return QDateTime::currentDateTime()
               .toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"))
               .toUtf8() +
           ' ' + name + '[' + QByteArray::number(static_cast<qint64>(::getpid())) + "] ";
}

void writeToStandardError(const QByteArray &line)
{
    writeAll(STDERR_FILENO, line.constData(), static_cast<size_t>(line.size()));
}

void writeEntry(const QString &text)
{
    const QByteArray line = prefix() + text.toUtf8() + '\n';
    const std::lock_guard lock(g_mutex);
    if (g_sink) {
        g_sink(line);
    } else {
        writeToStandardError(line);
    }
}

void takeQtMessage(QtMsgType, const QMessageLogContext &, const QString &text)
{
    logDebug([&] { return QStringLiteral("qt                  : ") + text; });
}

} // namespace

bool isDebug()
{
    return g_debug;
}

void setDebug(bool on)
{
    g_debug = on;
}

void logLine(const QString &text)
{
    writeEntry(visibleText(text));
}

void logLines(const QString &text)
{
    writeEntry(visibleLines(text));
}

void logQtMessages()
{
    qInstallMessageHandler(takeQtMessage);
}

void setLogSink(LogSink sink)
{
    const std::lock_guard lock(g_mutex);
    g_sink = std::move(sink);
}

} // namespace qv
