#include "thumbs/watchdog.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>
#include <unistd.h>

namespace qv::watchdog
{
namespace
{

constexpr std::chrono::milliseconds tick(50);
constexpr double tickSeconds = 0.05;

std::atomic<int> g_ticks = 0;
std::atomic<int> g_limit = 0;
std::atomic<const char *> g_doing = "starting";
const char *g_tool = "";

// Each wake counts one tick however long the process was stopped meanwhile.
[[noreturn]] void watch()
{
    while (true) {
        std::this_thread::sleep_for(tick);
        if (++g_ticks > g_limit) {
            std::fprintf(stderr, "%s: gave up, no end of: %s\n", g_tool, g_doing.load());
            ::_exit(1);
        }
    }
}

} // namespace

void start(const char *tool)
{
    g_tool = tool;
    allow(60, "starting");
    std::thread(watch).detach();
}

double now()
{
    return g_ticks * tickSeconds;
}

void allow(double seconds, const char *doing)
{
    g_doing = doing;
    g_limit = g_ticks + static_cast<int>(seconds / tickSeconds);
}

} // namespace qv::watchdog
