#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <array>
#include <csignal>
#include <functional>

// Ctrl-C and its relatives, brought from the signal handler into the event loop.
namespace qv
{

class Interrupt : public QObject
{
    Q_OBJECT

public:
    // Takes over SIGINT, SIGTERM, SIGHUP and SIGPIPE until destroyed, but for those that are
    // ignored (as under nohup). A second signal ends the process at once.
    explicit Interrupt(std::function<void()> stop);
    ~Interrupt() override;

    // The signal that came; 0 while none did.
    static int signalNumber();

private:
    void arrived();
    void watch(size_t number);

    static constexpr std::array watchedSignals{SIGINT, SIGTERM, SIGHUP, SIGPIPE};

    std::function<void()> m_stop;
    QSocketNotifier m_notifier;
    std::array<struct sigaction, watchedSignals.size()> m_before{};
};

} // namespace qv
