#pragma once

#include "cli/headless_session.h"
#include "cli/progress_line.h"
#include "cli/source_list.h"
#include "cli/streams.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QObject>

// Hands the sources to the controller one after the other: those of a list, unless a class that is
// derived from it has them from elsewhere.
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
    // Asks for the next source. work() or finish() follows, now or later.
    virtual void fetch();
    void work(const Source &source);
    void finish(bool complete);
    // Ends the source in progress, and with it the run.
    void interrupted();

    // Before a source is looked at; true when it is settled without the controller.
    virtual bool settle(const Source &) { return false; }
    // The source has become the controller's only row. Call next() when done with it.
    virtual void rowMade(const Source &) = 0;
    virtual void skipped(const Source &, const QString &reason) = 0;

    void next();
    const Source &current() const { return m_current; }
    double secondsOnCurrent() const { return static_cast<double>(m_clock.elapsed()) / 1000; }
    // On standard error and on standard output, in the progress line's place.
    void say(const QString &text);
    void print(const QByteArray &result);
    ProgressLine &progress() { return m_progress; }

    HeadlessSession &m_session;
    const Options &m_options;
    const Streams &m_streams;

private:
    void begin();
    void analysisEnded();

    QList<Source> m_sources;
    qsizetype m_index = 0; // of the next one
    Source m_current;
    bool m_isWorking = false;
    bool m_complete = true;
    bool m_stopping = false;
    QString m_skipReason;
    ProgressLine m_progress;
    QElapsedTimer m_clock;
    QEventLoop m_loop;
};

} // namespace qv
