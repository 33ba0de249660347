#pragma once

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

#include <cerrno>
#include <sys/wait.h>

// Runs the event loop until the predicate holds; false when it doesn't within that many
// milliseconds.
template <typename Predicate> bool waitUntil(Predicate predicate, int milliseconds = 15000)
{
    const QDeadlineTimer deadline(milliseconds);
    QEventLoop loop;
    QTimer tick;
    QObject::connect(&tick, &QTimer::timeout, &loop, [&] {
        if (predicate() || deadline.hasExpired()) {
            loop.quit();
        }
    });
    tick.start(1);
    if (!predicate()) {
        loop.exec();
    }
    return predicate();
}

// Whether this process has no child left, neither running nor waiting to be reaped.
inline bool hasNoChildren()
{
    siginfo_t info{};
    return ::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) != 0 && errno == ECHILD;
}
