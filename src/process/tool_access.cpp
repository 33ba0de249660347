#include "process/tool_access.h"

#include "process/tool_environment.h"
#include "support/bundle.h"
#include "support/files.h"
#include "support/sanitized.h"

#include <QFile>
#include <QFileInfo>

namespace qv
{
namespace
{

// Programs, libraries and devices, on distributions that keep them elsewhere, too. A link is a
// folder below /usr.
const QStringList &systemFolders()
{
    static const QStringList folders = [] {
        QStringList found;
        for (const char *path : {"/usr", "/lib", "/lib64", "/bin", "/sbin", "/opt", "/nix", "/gnu",
                                 "/snap", "/app", "/proc/cpuinfo", "/proc/meminfo",
                                 "/sys/devices/system", "/dev/zero", "/dev/urandom"}) {
            const QFileInfo item{QString::fromLatin1(path)};
            if (item.exists() && !item.isSymLink()) {
                found.append(item.filePath());
            }
        }
        return found;
    }();
    return folders;
}

// What libraries read when they start. Not all of /etc: it holds passwords when root runs this.
QStringList systemSettings()
{
    return {QStringLiteral("/etc/ld.so.cache"), QStringLiteral("/etc/ld.so.preload"),
            QStringLiteral("/etc/localtime"),   QStringLiteral("/etc/ssl/openssl.cnf"),
            QStringLiteral("/etc/gnutls"),      QStringLiteral("/etc/crypto-policies")};
}

// Where the user's environment says that libraries and plug-ins are.
QStringList namedLibraryFolders()
{
    QStringList folders;
    for (const char *variable : {"LD_LIBRARY_PATH", "GST_PLUGIN_PATH", "GST_PLUGIN_PATH_1_0",
                                 "GST_PLUGIN_SYSTEM_PATH", "GST_PLUGIN_SYSTEM_PATH_1_0"}) {
        for (const QByteArray &folder : qgetenv(variable).split(':')) {
            if (folder.startsWith('/')) {
                folders.append(QFile::decodeName(folder));
            }
        }
    }
    return folders;
}

QStringList pluginFiles()
{
    return {usersPluginList(), expandTilde(QStringLiteral("~/.local/share/gstreamer-1.0/plugins"))};
}

QStringList namedPaths(const QStringList &command)
{
    QStringList paths;
    for (const QString &argument : command) {
        if (argument.startsWith(u'/')) {
            paths << argument << EyetvBundle(argument);
        }
    }
    paths.removeDuplicates();
    return paths;
}

bool isScript(const QString &executable)
{
    QFile file(executable);
    return file.open(QIODevice::ReadOnly) && file.read(2) == "#!";
}

} // namespace

ToolAccess accessFor(const QStringList &command, const QString &outputFolder)
{
    ToolAccess access;
    access.lasting = systemFolders();
    access.readable =
        systemSettings() + namedLibraryFolders() + pluginFiles() + namedPaths(command);
    access.readable.append(Bundle::main().path());
    // The sanitizers look into /proc/self.
    if (isSanitized) {
        access.lasting.append(QStringLiteral("/proc"));
    }
    access.writable = {QStringLiteral("/dev/null"), toolFolder()};
    if (!outputFolder.isEmpty()) {
        access.writable.append(outputFolder);
    }
    access.mayStartProcesses = isScript(command.value(0));
    return access;
}

} // namespace qv
