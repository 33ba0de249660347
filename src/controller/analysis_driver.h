#pragma once

#include "analysis/analysis_merge.h"
#include "controller/context.h"
#include "controller/step_gate.h"
#include "process/tool_run.h"
#include "support/off_thread.h"

#include <QObject>
#include <QStringList>
#include <QTimer>

#include <functional>
#include <optional>

// Takes the admitted sources one at a time, runs the analysis tool on each, and makes each a row of
// the batch. A step machine: one call of analysis() does one step; its state stands in the
// preferences store, so that a call needs nothing but those keys.
namespace qv
{

// Where the analysis run writes the frames that it decodes.
QString analysisFrameFile();

class AnalysisDriver : public QObject
{
    Q_OBJECT

public:
    explicit AnalysisDriver(ControllerContext &context);
    ~AnalysisDriver() override { endAsking(); }

    // Called at the end of an analysis run, to continue a batch that the drop had paused.
    std::function<void()> resumePausedBatch;

    // The step flags in their order.
    static QStringList analysisArray();

    // Hands over admitted sources: the queue and the first step's flag.
    void handOver(const QStringList &paths);
    // One step. Does nothing while a tool runs or no step is due.
    void analysis();
    // The same, from the event loop: what a step calls to go on, so that the stack never grows.
    void analysisLater();
    // The stop control: the current source makes no row and the rest of the queue is dropped.
    void stop();
    // The application quits: the state of the run goes, nothing is reported.
    void abandon();

private:
    bool take(const QString &flag);
    void setFlag(const QString &flag);

    void dropEverything();
    void chooseSource();
    QString takeFromQueue();
    int queuedCount() const;
    void showCaption();

    void stepBegin();
    void describe();
    QStringList ffmpegArguments() const;
    QStringList probeArguments();
    bool hasRepeatedExactly(const QString &why);
    bool hasProbedTail(const MediaInfoRecord &record) const;
    // Asks tools that are waited for, off this thread; goes on unless the analysis was stopped.
    void askThen(std::function<void()> question, std::function<void()> next);
    void endAsking();
    void stepParse();
    void endParse(const QString &problem);
    struct ReportVerdict {
        QString problem;         // null: the report is good
        bool mayBeMovie = false; // the movie framework may read what ffmpeg can't
        bool isByWords = false;  // ffmpeg's complaints are the only reason
    };
    ReportVerdict verdictOnReport();
    ReportVerdict verdictOnWords(const QString &output) const;
    void lookAgain(const ReportVerdict &verdict);
    bool hasDecodedFrame() const;
    DecodedFrame takeDecodedFrame() const;
    Findings gatherFindings() const;
    // What a step asks for next: a tool run, or nothing but the next step.
    struct NextRun {
        QStringList arguments;
        bool isMeasuring = false;
        std::function<void()> work = nullptr; // off this thread, instead of a run
        bool isAskedFor = false;              // the next step is on its way already
    };
    void goOnWith(const NextRun &next);
    void stepRecord();
    bool askMovieFramework(Findings &findings) const;
    NextRun runAfter(const Findings &findings, bool byMovieFramework);
    void refuseUndescribed(const QString &source);
    NextRun measure(const MediaInfoRecord &record);
    NextRun stepDuration();
    void settleDuration(MediaInfoRecord &record, std::optional<double> copied, bool hasEnded) const;
    bool decodesByMovieFramework(const MediaInfoRecord &record, const QString &source) const;
    bool isProResByMovieFramework(const MediaInfoRecord &record, const QString &source) const;
    NextRun previewOf(MediaInfoRecord record);
    void stepFinish();
    void finishSource();
    // A row in the making.
    struct NewRow {
        QString source;
        QString picture; // its preview
        MediaInfoRecord record;
        QString said; // by the tool that made no preview
    };
    static void completeRow(NewRow &row);
    bool makeRow(NewRow &row);
    void endSource(const QString &source, bool made);
    void finishRun();
    void launch(const QStringList &arguments);
    void refuse(const QString &reason);

    ControllerContext &m_context;
    StepGate m_gate;
    bool m_posted = false;
    QString m_retained;      // the report of the analysis run, in old words and without names
    ReportDetails m_details; // what that run told beyond the record
    QString m_interlacing;
    bool m_isProbing = false; // by the quick tool instead of ffmpeg
    bool m_isUnsure = false;  // the quick tool's word did not do for the current source
    QString m_probePreview;   // the preview that it may have made
    DurationCheck m_durationCheck = DurationCheck::None;
    DurationClues m_durationClues;
    QTimer m_measuringLimit;
    QString m_reason;            // why the current source makes no row
    QString m_damage;            // what is wrong with the current source; null: nothing known
    SourceState m_sourceState;   // before it was looked into
    Cancellation m_cancellation; // of the question that is being asked
    OffThread m_asking;          // ends before the rest goes
};

} // namespace qv
