#include "thumbs/watchdog.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <limits>
#include <thread>
#include <unistd.h>

namespace qv::watchdog
{
namespace
{

constexpr std::chrono::milliseconds tick(50);
constexpr double tickSeconds = 0.05;
constexpr int never = std::numeric_limits<int>::max();

std::atomic<int> g_ticks = 0;
std::atomic<int> g_limit = 0;
std::atomic<const char *> g_doing = "starting";
std::atomic<int> g_resultLimit = never;
std::atomic<const char *> g_result = "";
const char *g_tool = "";

[[noreturn]] void giveUp(const char *what, const char *why)
{
    std::fprintf(stderr, "%s: gave up, %s: %s\n", g_tool, what, why);
    ::_exit(1);
}

int ticksFromNow(double seconds)
{
    return g_ticks + static_cast<int>(seconds / tickSeconds);
}

// Each wake counts one tick however long the process was stopped meanwhile.
[[noreturn]] void watch()
{
    while (true) {
        std::this_thread::sleep_for(tick);
        const int now = ++g_ticks;
        if (now > g_limit) {
            giveUp("no end of", g_doing);
        }
        if (now > g_resultLimit) {
            giveUp("too long without", g_result);
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
    g_limit = ticksFromNow(seconds);
}

void rest()
{
    g_limit = never;
    g_resultLimit = never;
}

void expect(double seconds, const char *result)
{
    g_result = result;
    g_resultLimit = ticksFromNow(seconds);
}

} // namespace qv::watchdog
