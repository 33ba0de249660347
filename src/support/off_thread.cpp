#include "support/off_thread.h"

#include <QCoreApplication>

#include <utility>

namespace qv
{

void OffThread::run(std::function<void()> work, std::function<void()> then)
{
    abandon();
    m_then = std::move(then);
    m_work = std::async(std::launch::async, [this, work = std::move(work)] {
        work();
        QMetaObject::invokeMethod(
            this, [this] { finish(); }, Qt::QueuedConnection);
    });
}

void OffThread::finish()
{
    m_work.get();
    std::exchange(m_then, nullptr)();
}

void OffThread::abandon()
{
    if (m_work.valid()) {
        m_work.get();
        m_then = nullptr;
        QCoreApplication::removePostedEvents(this, QEvent::MetaCall);
    }
}

} // namespace qv
