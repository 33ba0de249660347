#include "process/tool_access.h"

#include "process/tool_environment.h"
#include "support/bundle.h"
#include "support/files.h"

#include <QFile>

namespace qv
{
namespace
{

// Programs and libraries, on distributions that keep them elsewhere, too.
QStringList programFolders()
{
    return {QStringLiteral("/usr"),   QStringLiteral("/lib"), QStringLiteral("/lib32"),
            QStringLiteral("/lib64"), QStringLiteral("/bin"), QStringLiteral("/sbin"),
            QStringLiteral("/opt"),   QStringLiteral("/nix"), QStringLiteral("/gnu"),
            QStringLiteral("/snap"),  QStringLiteral("/app")};
}

// What libraries read when they start. Not /etc and /proc as a whole: the one holds passwords when
// root runs this, the other what the user's programs were started with.
QStringList systemData()
{
    return {QStringLiteral("/etc/ld.so.cache"),
            QStringLiteral("/etc/ld.so.preload"),
            QStringLiteral("/etc/localtime"),
            QStringLiteral("/etc/fonts"),
            QStringLiteral("/etc/ssl/openssl.cnf"),
            QStringLiteral("/etc/gnutls"),
            QStringLiteral("/etc/crypto-policies"),
            QStringLiteral("/var/cache/fontconfig"),
            QStringLiteral("/proc/cpuinfo"),
            QStringLiteral("/proc/meminfo"),
            QStringLiteral("/proc/stat"),
            QStringLiteral("/proc/filesystems"),
            QStringLiteral("/proc/sys/vm"),
            QStringLiteral("/sys/devices/system"),
            QStringLiteral("/dev/zero"),
            QStringLiteral("/dev/full"),
            QStringLiteral("/dev/random"),
            QStringLiteral("/dev/urandom")};
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

// The sanitizers look into /proc/self while a tool runs, and start a process when it ends.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isSanitized = true;
#else
constexpr bool isSanitized = false;
#endif

} // namespace

ToolAccess accessFor(const QStringList &command, const QString &outputFolder)
{
    ToolAccess access;
    access.readable = programFolders() + systemData() + namedLibraryFolders() + pluginFiles() +
                      namedPaths(command);
    access.readable.append(Bundle::main().path());
    if (isSanitized) {
        access.readable.append(QStringLiteral("/proc"));
    }
    access.writable = {QStringLiteral("/dev/null"), toolFolder()};
    if (!outputFolder.isEmpty()) {
        access.writable.append(outputFolder);
    }
    access.mayStartProcesses = isSanitized || isScript(command.value(0));
    return access;
}

} // namespace qv
