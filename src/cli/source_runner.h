#pragma once

#include "cli/headless_session.h"
#include "cli/progress_line.h"
#include "cli/source_list.h"
#include "cli/streams.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QObject>

#include <functional>

// Hands the sources to the controller one after the other.
namespace qv
{

class SourceRunner : public QObject
{
    Q_OBJECT

public:
    SourceRunner(HeadlessSession &session, const Options &options, const Streams &streams,
                 QList<Source> sources);
    ~SourceRunner() override;

    // Works through all; false when a signal ended it early.
    bool run();

protected:
    // Before a source is looked at; true when it is settled without the controller.
    virtual bool settle(const Source &) { return false; }
    // The source has become the controller's only row. Call next() when done with it.
    virtual void rowMade(const Source &) = 0;
    virtual void skipped(const Source &, const QString &reason) = 0;

    void next();
    const Source &current() const { return m_sources.at(m_index); }
    int sourceCount() const { return static_cast<int>(m_sources.size()); }
    double secondsOnCurrent() const { return static_cast<double>(m_clock.elapsed()) / 1000; }
    bool wantsMessages() const { return !m_options.quiet; }
    // On standard error and on standard output, in the progress line's place.
    void say(const QString &text);
    void print(const QByteArray &result);

    HeadlessSession &m_session;
    const Options &m_options;
    const Streams &m_streams;

private:
    void begin();
    void analysisEnded();
    void interrupted();
    void finish(bool complete);

    QList<Source> m_sources;
    qsizetype m_index = -1;
    bool m_complete = true;
    bool m_stopping = false;
    QString m_skipReason;
    ProgressLine m_progress;
    QElapsedTimer m_clock;
    QEventLoop m_loop;
};

} // namespace qv
