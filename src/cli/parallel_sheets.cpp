#include "cli/parallel_sheets.h"

#include "cli/job_pool.h"
#include "cli/ordered_results.h"
#include "cli/sheet_runner.h"
#include "cli/worker_protocol.h"
#include "process/interrupt.h"
#include "support/files.h"
#include "support/foreign_names.h"

#include <QEventLoop>

namespace qv
{
namespace
{

// Results that wait for an earlier one are kept, so the feed doesn't run ahead without end.
constexpr qsizetype aheadOfEach = 1000;
// Sources that are settled at once, a turn of the event loop.
constexpr int settledAtOnce = 200;

class ParallelRun : public QObject
{
public:
    ParallelRun(HeadlessSession &session, const Options &options, const Streams &streams,
                const QList<Source> &sources, RunNames &names, int jobs, SheetReport &report)
        : m_session(session), m_options(options), m_streams(streams), m_sources(sources),
          m_names(names), m_jobs(jobs), m_ahead(aheadOfEach * jobs), m_report(report),
          m_progress(streams, !options.quiet, static_cast<int>(sources.size())),
          m_results([this](const SheetOutcome &outcome) { m_report.tell(outcome, m_progress); }),
          m_pool(QStringList{streams.workerProgram, QStringLiteral("worker")} +
                     options.sheetArguments + QStringList{QStringLiteral("--jobs=%1").arg(jobs)},
                 jobs)
    {
        m_pool.onAnswer = [this](qsizetype number, const QByteArray &line) {
            answered(number, line);
        };
        m_pool.onLost = [this](qsizetype number, const QString &how) { lost(number, how); };
        m_pool.onChange = [this] { feedLater(); };
    }

    RunEnd run()
    {
        {
            m_session.releaseSignals();
            const Interrupt interrupt([this] { stop(RunEnd::Interrupted); });
            feedLater();
            m_loop.exec();
        }
        if (m_end == RunEnd::Complete && m_results.arrived() < m_sources.size()) {
            runHere();
        }
        m_progress.clear();
        m_results.tellRest();
        if (m_end == RunEnd::GivenUp) {
            m_streams.message(QStringLiteral("the processes that make the sheets die one after the "
                                             "other: the last one %1. No further one is started.")
                                  .arg(m_pool.lastDeath()));
        }
        return m_end;
    }

private:
    void feedLater()
    {
        if (!std::exchange(m_isFeedDue, true)) {
            QMetaObject::invokeMethod(
                this, [this] { feed(); }, Qt::QueuedConnection);
        }
    }

    void feed()
    {
        m_isFeedDue = false;
        if (m_end == RunEnd::Complete && m_pool.keepsDying()) {
            stop(RunEnd::GivenUp);
        }
        for (int turn = 0; turn < settledAtOnce && mayBeginNext(); ++turn) {
            begin(m_next++);
        }
        showProgress();
        if (mayBeginNext()) {
            feedLater();
        } else {
            endWhenDone();
        }
    }

    bool mayBeginNext() const
    {
        return m_end == RunEnd::Complete && m_next < m_sources.size() &&
               m_next < m_results.next() + m_ahead && m_pool.hasRoom();
    }

    void begin(qsizetype number)
    {
        const Source &source = m_sources.at(number);
        if (const auto outcome = settledOutcome(m_session, m_options, source, m_names)) {
            m_progress.passed(0);
            m_results.put(number, *outcome);
            return;
        }
        m_pool.give({number, requestLine({rawPath(source.path), baseOf(source)})});
    }

    QString baseOf(const Source &source) { return m_names.placeOf(source.number).base; }

    void answered(qsizetype number, const QByteArray &line)
    {
        auto outcome = outcomeIn(line);
        if (!outcome) {
            lost(number, QStringLiteral("answered what can't be understood"));
            return;
        }
        const Source &source = m_sources.at(number);
        outcome->source = source.named;
        outcome->number = source.number;
        noteName(*outcome, source, m_names);
        if (outcome->status == SheetOutcome::Status::Skipped) {
            m_progress.passed(outcome->seconds / m_jobs);
        }
        m_results.put(number, *outcome);
    }

    void lost(qsizetype number, const QString &how)
    {
        m_results.put(number, unmade(SheetOutcome::Status::Failed, m_sources.at(number),
                                     QStringLiteral("the process that was making its sheet ended "
                                                    "unexpectedly: it %1")
                                         .arg(how)));
    }

    void stop(RunEnd why)
    {
        if (m_end == RunEnd::Complete) {
            m_end = why;
            m_pool.stop();
            feedLater();
        }
    }

    void endWhenDone()
    {
        if (m_end == RunEnd::Complete && m_results.arrived() == m_sources.size()) {
            m_pool.close();
        } else if (m_end == RunEnd::Complete && !m_pool.failure()) {
            return;
        }
        if (m_pool.isEmpty()) {
            m_loop.quit();
        }
    }

    void showProgress()
    {
        QStringList names;
        for (const qsizetype number : m_pool.inProgress()) {
            names.append(lastPathComponent(m_sources.at(number).shown()));
        }
        if (!names.isEmpty()) {
            m_progress.sources(static_cast<int>(m_results.arrived()), names);
        }
    }

    // What is left when no copy can be started.
    void runHere()
    {
        m_progress.clear();
        m_streams.message(QStringLiteral("no process of its own can be started for the sheets "
                                         "(%1); they are made one after the other")
                              .arg(m_pool.failure().value_or(QString())));
        QList<Source> left;
        std::deque<qsizetype> numbers;
        for (qsizetype i = m_results.next(); i < m_sources.size(); ++i) {
            if (!m_results.has(i)) {
                left.append(m_sources.at(i));
                numbers.push_back(i);
            }
        }
        SheetRunner runner(m_session, m_options, m_streams, left, &m_names,
                           [&](const SheetOutcome &outcome, ProgressLine &progress) {
                               progress.clear();
                               m_results.put(numbers.front(), outcome);
                               numbers.pop_front();
                           });
        m_end = runner.run() ? RunEnd::Complete : RunEnd::Interrupted;
    }

    HeadlessSession &m_session;
    const Options &m_options;
    const Streams &m_streams;
    const QList<Source> &m_sources;
    RunNames &m_names;
    const int m_jobs;
    const qsizetype m_ahead;
    SheetReport &m_report;
    ProgressLine m_progress;
    OrderedResults<SheetOutcome> m_results;
    JobPool m_pool;
    qsizetype m_next = 0; // to begin
    bool m_isFeedDue = false;
    RunEnd m_end = RunEnd::Complete;
    QEventLoop m_loop;
};

} // namespace

RunEnd makeSheetsInParallel(HeadlessSession &session, const Options &options,
                            const Streams &streams, const QList<Source> &sources, RunNames &names,
                            int jobs, SheetReport &report)
{
    return ParallelRun(session, options, streams, sources, names, jobs, report).run();
}

} // namespace qv
