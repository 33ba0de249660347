#include "cli/source_runner.h"

#include "process/interrupt.h"

namespace qv
{

SourceRunner::SourceRunner(HeadlessSession &session, const Options &options, const Streams &streams,
                           QList<Source> sources)
    : m_session(session), m_options(options), m_streams(streams), m_sources(std::move(sources)),
      m_progress(streams, !options.quiet, static_cast<int>(m_sources.size()))
{
    HeadlessFace &face = m_session.face();
    face.onSourceSkipped = [this](const QString &, const QString &reason) {
        m_skipReason = reason;
    };
    face.onAnalysisEnded = [this] { analysisEnded(); };
    face.onWindowChanged = [this](const WindowState &window) {
        if (window.stepMaximum > 0 && !window.stepCaption.isEmpty()) {
            m_progress.step(window.stepCaption, (window.stepValue - 1) / window.stepMaximum);
        }
    };
}

SourceRunner::~SourceRunner()
{
    HeadlessFace &face = m_session.face();
    face.onSourceSkipped = nullptr;
    face.onAnalysisEnded = nullptr;
    face.onWindowChanged = nullptr;
}

bool SourceRunner::run()
{
    if (m_session.isStopped()) {
        return false;
    }
    m_session.releaseSignals();
    const Interrupt interrupt([this] { interrupted(); });
    next();
    m_loop.exec();
    m_progress.clear();
    return m_complete;
}

// From the event loop, so that ten thousand sources that are settled at once don't nest.
void SourceRunner::next()
{
    QMetaObject::invokeMethod(this, &SourceRunner::begin, Qt::QueuedConnection);
}

void SourceRunner::begin()
{
    appDelegate &controller = m_session.controller();
    if (!controller.table().isEmpty()) {
        controller.encBatchRemove(appDelegate::Sender::Internal);
    }
    m_isWorking = false;
    if (m_stopping) {
        finish(false);
    } else {
        fetch();
    }
}

void SourceRunner::fetch()
{
    if (m_index >= m_sources.size()) {
        finish(true);
        return;
    }
    m_progress.source(static_cast<int>(m_index) + 1, m_sources.at(m_index).shown());
    work(m_sources.at(m_index++));
}

void SourceRunner::work(const Source &source)
{
    m_current = source;
    m_isWorking = true;
    m_clock.start();
    m_skipReason.clear();
    appDelegate &controller = m_session.controller();
    if (settle(current())) {
        m_progress.passed(0);
        next();
    } else if (!current().problem.isNull()) {
        m_progress.passed(0);
        skipped(current(), current().problem);
        next();
    } else {
        controller.admitSources({current().path});
    }
}

void SourceRunner::analysisEnded()
{
    if (m_stopping) {
        next();
    } else if (m_session.controller().table().isEmpty()) {
        m_progress.passed(secondsOnCurrent());
        skipped(current(),
                m_skipReason.isEmpty() ? QStringLiteral("it was not admitted") : m_skipReason);
        next();
    } else {
        rowMade(current());
    }
}

void SourceRunner::interrupted()
{
    m_stopping = true;
    appDelegate &controller = m_session.controller();
    if (!m_isWorking) {
        finish(false);
    } else if (controller.window().goPressed) {
        controller.iba_taskStopBt(StopControl::stopSegment);
    } else if (!controller.isGateOpen()) {
        controller.iba_analysisStopBt();
    }
}

void SourceRunner::finish(bool complete)
{
    m_complete = complete;
    m_loop.quit();
}

void SourceRunner::say(const QString &text)
{
    m_progress.clear();
    m_streams.message(text);
}

void SourceRunner::print(const QByteArray &result)
{
    m_progress.clear();
    m_streams.out(result);
}

} // namespace qv
