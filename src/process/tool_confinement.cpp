#include "process/tool_confinement.h"

#include "process/landlock.h"
#include "process/system_call_filter.h"
#include "support/log.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <sys/prctl.h>
#include <system_error>
#include <thread>

namespace qv
{
namespace
{

std::atomic<bool> g_isOn = true;

// Without it the kernel takes restrictions from privileged processes only: a program that gains
// rights when it starts would be fooled by them.
bool renouncePrivileges()
{
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0;
}

// What a kernel, or a container around it, answers that does not offer a mechanism. Every other
// error is a fault, and no reason to run a tool without confinement.
bool meansNotOffered(int error)
{
    constexpr std::array errors{ENOSYS, EOPNOTSUPP, EPERM};
    return std::find(errors.begin(), errors.end(), error) != errors.end();
}

struct Offer {
    bool hasLandlock = true;
    bool hasFilter = true;
};

// Both restrict the calling thread only, which then ends.
Offer tryOnThread()
{
    Offer offer;
    const auto attempt = [&offer] {
        renouncePrivileges();
        const auto ruleset = landlock::makeRuleset({});
        const bool entered = ruleset && landlock::enter(*ruleset);
        const int error = ruleset ? errno : ruleset.error();
        offer.hasLandlock = entered || !meansNotOffered(error);
        offer.hasFilter = SystemCallFilter::enter(true) || !meansNotOffered(errno);
    };
    try {
        std::thread(attempt).join();
    } catch (const std::system_error &) {
        // Taken for offered: each run then finds out, and fails when it can't be confined.
    }
    return offer;
}

const Offer &offered()
{
    static const Offer offer = tryOnThread();
    return offer;
}

} // namespace

bool isConfinementOn()
{
    return g_isOn && qgetenv("QUORVANTEL_CONFINEMENT") != "off";
}

void setConfinementOn(bool on)
{
    g_isOn = on;
}

QString confinementText()
{
    if (!isConfinementOn()) {
        return QStringLiteral("off");
    }
    QStringList parts;
    if (offered().hasLandlock) {
        parts.append(QStringLiteral("landlock %1").arg(landlock::version()));
    }
    if (offered().hasFilter) {
        parts.append(QStringLiteral("no network"));
    }
    return parts.isEmpty() ? QStringLiteral("not offered by this system")
                           : parts.join(QStringLiteral(", "));
}

void logConfinement()
{
    const bool isWhole = confinementGap().isNull();
    logLine(QStringLiteral("confinement         %1 %2")
                .arg(isWhole ? QStringLiteral(":") : QStringLiteral(":-("), confinementText()));
}

QString confinementGap()
{
    if (!isConfinementOn() || (offered().hasLandlock && offered().hasFilter)) {
        return {};
    }
    if (offered().hasFilter) {
        return QStringLiteral("tools that open videos can read and write all your files: "
                              "this system does not offer Landlock");
    }
    if (offered().hasLandlock) {
        return QStringLiteral("tools that open videos can use the network: this system does not "
                              "offer system call filters");
    }
    return QStringLiteral("tools that open videos are not confined: this system offers neither "
                          "Landlock nor system call filters");
}

tl::expected<Confinement, int> Confinement::make(const ToolAccess &access)
{
    Confinement confinement;
    confinement.m_isFiltered = offered().hasFilter;
    confinement.m_mayStartProcesses = access.mayStartProcesses;
    if (offered().hasLandlock) {
        auto ruleset = landlock::makeRuleset(access);
        if (!ruleset) {
            return tl::make_unexpected(ruleset.error());
        }
        confinement.m_ruleset = std::move(*ruleset);
    }
    return confinement;
}

bool Confinement::enter() const
{
    return renouncePrivileges() && (!m_ruleset || landlock::enter(*m_ruleset)) &&
           (!m_isFiltered || SystemCallFilter::enter(m_mayStartProcesses));
}

} // namespace qv
