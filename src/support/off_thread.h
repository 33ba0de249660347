#pragma once

#include <QObject>

#include <functional>
#include <future>

namespace qv
{

// Work that would keep the event loop from turning, done on another thread. Its end comes through
// the event loop of the thread that asked, so a step machine waits for it as it does for a tool.
class OffThread : public QObject
{
public:
    explicit OffThread(QObject *parent = nullptr) : QObject(parent) {}
    ~OffThread() override { abandon(); }

    bool isRunning() const { return m_work.valid(); }
    // One at a time. The work may touch nothing that this thread changes meanwhile.
    void run(std::function<void()> work, std::function<void()> then);
    // Waits for the work in progress, whose end is then told to nobody.
    void abandon();

private:
    void finish();

    std::future<void> m_work;
    std::function<void()> m_then;
};

} // namespace qv
