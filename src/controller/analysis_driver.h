#pragma once

#include "analysis/analysis_merge.h"
#include "controller/context.h"

#include <QObject>
#include <QStringList>
#include <QTimer>

#include <functional>

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
    QStringList ffmpegArguments() const;
    void stepParse();
    QString problemOfReport();
    DecodedFrame takeDecodedFrame() const;
    Findings gatherFindings() const;
    // What a step asks for next: a tool run, or nothing but the next step.
    struct NextRun {
        QStringList arguments;
        bool isMeasuring = false;
    };
    void goOnWith(const NextRun &next);
    NextRun stepRecord();
    void refuseUndescribed(const QString &source);
    NextRun measure(const MediaInfoRecord &record);
    NextRun stepDuration();
    void settleDuration(MediaInfoRecord &record, std::optional<double> copied, bool hasEnded) const;
    bool decodesByMovieFramework(const MediaInfoRecord &record) const;
    bool isProResByMovieFramework(const MediaInfoRecord &record) const;
    NextRun previewOf(MediaInfoRecord record);
    void stepFinish();
    void finishSource();
    bool makeRow(MediaInfoRecord record);
    bool ensurePreview(MediaInfoRecord &record);
    void finishRun();
    void launch(const QStringList &arguments);
    void refuse(const QString &reason);

    ControllerContext &m_context;
    int m_analysisStopInt = 0;
    bool m_posted = false;
    QString m_retained; // the report of the analysis run, in old words and without names
    QString m_interlacing;
    DurationCheck m_durationCheck = DurationCheck::None;
    QTimer m_measuringLimit;
    QString m_reason; // why the current source makes no row
};

} // namespace qv
