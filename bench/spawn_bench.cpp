// What limits and confinement add to the start and end of a small program.
//
// spawn_bench

#include "measuring.h"

#include "process/child_process.h"
#include "process/tool_confinement.h"
#include "process/tool_environment.h"

#include <QDir>
#include <QElapsedTimer>

#include <cstdio>
#include <sys/wait.h>

namespace
{

constexpr int rounds = 1000;
constexpr double bound = 0.3; // milliseconds

enum class Bounds { None, Limits, Confined };

double spawnTime(Bounds bounds)
{
    qv::setConfinementOn(bounds == Bounds::Confined);
    qv::SpawnRequest request;
    request.command = {QStringLiteral("/bin/true")};
    request.environment = qv::applicationEnvironment();
    if (bounds != Bounds::None) {
        request.bounds = qv::ToolBounds{{}, qv::accessFor(request.command, QDir::tempPath())};
    }
    QElapsedTimer timer;
    timer.start();
    auto child = qv::ChildProcess::spawn(request);
    siginfo_t ended{};
    if (child) {
        ::waitid(P_PID, static_cast<id_t>(child->pid()), &ended, WEXITED | WNOWAIT);
    }
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

} // namespace

int main()
{
    std::vector<double> times[3];
    for (int round = 0; round < rounds; ++round) {
        for (const Bounds bounds : {Bounds::None, Bounds::Limits, Bounds::Confined}) {
            times[static_cast<int>(bounds)].push_back(spawnTime(bounds));
        }
    }
    const double none = bench::median(times[0]);
    std::printf("a program's start and end: %.3f ms; confined by: %s\n", none,
                qPrintable(qv::confinementText()));
    const bool limits =
        bench::atMost(QStringLiteral("limits, ms more"), bench::median(times[1]) - none, bound);
    const bool all = bench::atMost(QStringLiteral("limits and confinement, ms more"),
                                   bench::median(times[2]) - none, bound);
    return limits && all ? 0 : 1;
}
