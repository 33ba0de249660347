#include "process/tool_environment.h"

#include "support/files.h"
#include "support/log.h"
#include "support/sanitized.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QSysInfo>

#include <unistd.h>

extern char **environ;

namespace qv
{
namespace
{

QString &temporaryFolderSlot()
{
    static QString folder;
    return folder;
}

void setVariable(QList<QByteArray> &environment, const QByteArray &name, const QByteArray &value)
{
    const QByteArray start = name + '=';
    environment.removeIf([&](const QByteArray &entry) { return entry.startsWith(start); });
    environment.append(start + value);
}

const QString pluginList = QStringLiteral("plugins.bin");

bool isUsableTool(const QString &path)
{
    return QFileInfo(path).isFile();
}

} // namespace

QString temporaryFolder()
{
    const QString &folder = temporaryFolderSlot();
    return folder.isEmpty() ? QStringLiteral("/private/tmp/") + Bundle::main().name() : folder;
}

QString toolFolder()
{
    return appendPath(temporaryFolder(), QStringLiteral("tools"));
}

void setTemporaryFolder(const QString &path)
{
    temporaryFolderSlot() = path;
}

// Not QDir::tempPath(), which gives "/" when the folder is missing. And ffmpeg takes a "%" in the
// path of a picture for a pattern.
QString temporaryRoot()
{
    const QString set = QFile::decodeName(qgetenv("TMPDIR"));
    return set.isEmpty() || set.contains(QLatin1Char('%')) ? QStringLiteral("/tmp")
                                                           : QDir::current().absoluteFilePath(set);
}

bool prepareTemporaryFolder(const QString &path, const Bundle &bundle)
{
    rmCocoa(path);
    if (!mkdir(path)) {
        return false;
    }
    adoptTemporaryFolder(path, bundle);
    return true;
}

void adoptTemporaryFolder(const QString &path, const Bundle &bundle)
{
    setTemporaryFolder(path);
    QFile::link(bundle.path(), appendPath(path, QStringLiteral("app.app")));
    mkdir(toolFolder());
    // Read through the link; a newer list takes the link's place.
    QFile::link(usersPluginList(), appendPath(toolFolder(), pluginList));
    logLine(QStringLiteral("TMPFOLDER           : %1").arg(path));
}

QString ffmpegPath()
{
    const Bundle &bundle = Bundle::main();
    const QString name = QStringLiteral("ffmpeg");
    const QString support =
        appendPath(QStringLiteral("~/Library/Application Support"), bundle.name());
    for (const QString &candidate : {bundle.toolPath(name), appendPath(bundle.resourcePath(), name),
                                     appendPath(expandTilde(support), name)}) {
        if (isUsableTool(candidate)) {
            return candidate;
        }
    }
    return QStringLiteral("");
}

QString usersPluginList()
{
    const QString named = QFile::decodeName(qgetenv("GST_REGISTRY"));
    return named.isEmpty()
               ? QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) +
                     QStringLiteral("/gstreamer-1.0/registry.%1.bin")
                         .arg(QSysInfo::buildCpuArchitecture())
               : QDir::current().absoluteFilePath(named);
}

QList<QByteArray> applicationEnvironment()
{
    QList<QByteArray> environment;
    for (char **entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        environment.append(*entry);
    }
    return environment;
}

QList<QByteArray> confinedEnvironment()
{
    QList<QByteArray> environment = toolEnvironment();
    if (QFileInfo(toolFolder()).isDir()) {
        setVariable(environment, "TMPDIR", QFile::encodeName(toolFolder()));
        setVariable(environment, "GST_REGISTRY",
                    QFile::encodeName(appendPath(toolFolder(), pluginList)));
    }
    // The search for leaks starts a process that traces the tool. Confinement forbids both.
    if (isSanitized) {
        setVariable(environment, "ASAN_OPTIONS", qgetenv("ASAN_OPTIONS") + ":detect_leaks=0");
    }
    return environment;
}

QList<QByteArray> toolEnvironment()
{
    QList<QByteArray> environment = applicationEnvironment();
    setVariable(environment, "LC_CTYPE", "en_US.UTF-8");
    const QString fonts = appendPath(temporaryFolder(), QStringLiteral("app.app")) +
                          QStringLiteral("/Contents/Resources/fonts");
    setVariable(environment, "CUSTOMCONFIGDIR", QFile::encodeName(fonts));
    return environment;
}

} // namespace qv
