#include "process/tool_confinement.h"

#include "process/system_call_filter.h"
#include "support/log.h"

#include <QFile>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace qv
{
namespace
{

// The kernel's interface, in our words: the headers of Debian 12 are older than some of it.
namespace landlock
{

constexpr long createRuleset = 444;
constexpr long addRule = 445;
constexpr long restrictSelf = 446;
constexpr unsigned askVersion = 1;
constexpr int pathBeneath = 1;

constexpr std::uint64_t writeFile = 1U << 1;
constexpr std::uint64_t removeDir = 1U << 4;
constexpr std::uint64_t removeFile = 1U << 5;
constexpr std::uint64_t makeDevice = 1U << 6 | 1U << 11;
constexpr std::uint64_t makeDir = 1U << 7;
constexpr std::uint64_t makeFile = 1U << 8;
constexpr std::uint64_t makeOther = 1U << 9 | 1U << 10 | 1U << 12; // socket, pipe, link
constexpr std::uint64_t refer = 1U << 13;                          // since version 2
constexpr std::uint64_t truncate = 1U << 14;                       // since version 3
constexpr std::uint64_t allTcp = 3;                                // since version 4
constexpr std::uint64_t abstractSocketsAndSignals = 3;             // since version 6

struct RulesetAttributes {
    std::uint64_t handledFiles = 0;
    std::uint64_t handledNetwork = 0;
    std::uint64_t scoped = 0;
};

struct __attribute__((packed)) PathAttributes {
    std::uint64_t allowed = 0;
    std::int32_t parent = -1;
};

int version()
{
    static const int version =
        static_cast<int>(std::max(::syscall(createRuleset, nullptr, size_t{0}, askVersion), 0L));
    return version;
}

std::uint64_t inFiles()
{
    return writeFile | (version() >= 3 ? truncate : 0);
}

std::uint64_t inFolders()
{
    return inFiles() | removeDir | removeFile | makeDir | makeFile | (version() >= 2 ? refer : 0);
}

FileDescriptor newRuleset()
{
    RulesetAttributes attributes;
    attributes.handledFiles = inFolders() | makeDevice | makeOther;
    attributes.handledNetwork = version() >= 4 ? allTcp : 0;
    attributes.scoped = version() >= 6 ? abstractSocketsAndSignals : 0;
    return FileDescriptor(
        static_cast<int>(::syscall(createRuleset, &attributes, sizeof attributes, 0U)));
}

void allow(const FileDescriptor &ruleset, const QByteArray &path)
{
    const FileDescriptor item(::open(path.constData(), O_PATH | O_CLOEXEC));
    struct stat status {
    };
    if (!item.isOpen() || ::fstat(item.get(), &status) != 0) {
        return;
    }
    const PathAttributes attributes{S_ISDIR(status.st_mode) ? inFolders() : inFiles(), item.get()};
    ::syscall(addRule, ruleset.get(), pathBeneath, &attributes, 0U);
}

} // namespace landlock

std::atomic<bool> g_isOn = true;
std::atomic<bool> g_isRefused = false;

QString offeredText()
{
    QStringList parts;
    if (landlock::version() > 0) {
        parts.append(QStringLiteral("landlock %1").arg(landlock::version()));
    }
    if (SystemCallFilter::isOffered()) {
        parts.append(QStringLiteral("no network"));
    }
    return parts.join(QStringLiteral(", "));
}

} // namespace

bool isConfinementOn()
{
    return g_isOn && !g_isRefused && qgetenv("QUORVANTEL_CONFINEMENT") != "off";
}

void setConfinementOn(bool on)
{
    g_isOn = on;
}

QString confinementText()
{
    if (!isConfinementOn() && !g_isRefused) {
        return QStringLiteral("off");
    }
    const QString offered = g_isRefused ? QString() : offeredText();
    return offered.isEmpty() ? QStringLiteral("not offered by this system") : offered;
}

void logConfinement()
{
    const QString text = confinementText();
    const bool isMissing = text.startsWith(QLatin1String("not"));
    logLine(QStringLiteral("confinement         %1 %2")
                .arg(isMissing ? QStringLiteral(":-(") : QStringLiteral(":"), text));
}

Confinement Confinement::forFolders(const QStringList &writableFolders)
{
    Confinement confinement;
    if (landlock::version() == 0) {
        return confinement;
    }
    confinement.m_ruleset = landlock::newRuleset();
    landlock::allow(confinement.m_ruleset, "/dev/null");
    for (const QString &folder : writableFolders) {
        landlock::allow(confinement.m_ruleset, QFile::encodeName(folder));
    }
    return confinement;
}

bool Confinement::enter() const
{
    // Without it the kernel takes restrictions from privileged processes only: a program that gains
    // rights when it starts would be fooled by them.
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           (!m_ruleset.isOpen() || ::syscall(landlock::restrictSelf, m_ruleset.get(), 0U) == 0) &&
           SystemCallFilter::enter();
}

void giveUpConfinement(int error)
{
    if (!g_isRefused.exchange(true)) {
        logLine(QStringLiteral("confinement         :-( refused by this system: %1")
                    .arg(qt_error_string(error)));
    }
}

} // namespace qv
