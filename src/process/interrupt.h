#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <csignal>
#include <functional>
#include <utility>
#include <vector>

// Ctrl-C and its relatives, brought from the signal handler into the event loop.
namespace qv
{

class Interrupt : public QObject
{
    Q_OBJECT

public:
    // Takes over the signals until destroyed, but for those that are ignored (as under nohup). The
    // same one a second time ends the process at once, unless it is SIGPIPE; another one calls
    // `stop` again.
    explicit Interrupt(std::function<void()> stop,
                       const std::vector<int> &signalNumbers = {SIGINT, SIGTERM, SIGHUP, SIGPIPE});
    ~Interrupt() override;

    // The signal that came; 0 while none did.
    static int signalNumber();

private:
    void arrived();
    void watch(int signal);

    std::function<void()> m_stop;
    QSocketNotifier m_notifier;
    std::vector<std::pair<int, struct sigaction>> m_before;
};

} // namespace qv
