#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <functional>

// Ctrl-C and its relatives, brought from the signal handler into the event loop.
namespace qv
{

class Interrupt : public QObject
{
    Q_OBJECT

public:
    // Takes over SIGINT, SIGTERM and SIGHUP until destroyed. A second signal ends the process at
    // once.
    explicit Interrupt(std::function<void()> stop);
    ~Interrupt() override;

    // The signal that came; 0 while none did.
    static int signalNumber();

private:
    void arrived();

    std::function<void()> m_stop;
    QSocketNotifier m_notifier;
};

} // namespace qv
