#pragma once

#include "analysis/listed_pictures.h"
#include "controller/task_slots.h"
#include "sheet/picture_attempts.h"
#include "sheet/picture_run.h"

#include <QMap>
#include <QObject>

#include <functional>
#include <optional>
#include <vector>

// Takes the stills of one row in rounds. In the first, each is asked for as planned. Those that did
// not come, or that show a frame of the next cell, are asked for in another way in the next round,
// until nothing is left to try. The runs of a round work side by side.
namespace qv
{

// What is to be taken, and how.
struct PictureJob {
    QMap<int, QStringList> planned; // commands by index, the tool first
    QString stillsFolder;
    QVariantMap record; // of the source: its colours
    AttemptClues clues;
    ListedPictures listed;
    IntraOnly intraOnly = IntraOnly::No; // in the first round, where a run selects intra frames
    bool startsAtKeys = false;           // in the first round, where they are listed
    int tools = 1;                       // at once
    int mostPerRun = 1;                  // pictures
};

// What came of it. A still that did not come has no file.
struct PicturesTaken {
    QMap<int, double> shown;        // instant of the frame by index, seconds, where it is known
    QString reason;                 // of the last tool that hung or crashed; null otherwise
    std::optional<QString> failure; // why the row can't go on
};

class PictureRounds : public QObject
{
    Q_OBJECT

public:
    explicit PictureRounds(TaskSlots &taskSlots);

    // A cause outside of the source, such as a full disk, of a still that did not come.
    std::function<std::optional<QString>()> outerCause;
    // The number of stills that have come, or that won't, has changed.
    std::function<void()> progressed;

    // The end comes like that of a tool's run, through the task slots. Stopping them ends it.
    void take(PictureJob job);
    int settled() const;
    const PicturesTaken &taken() const { return m_taken; }

private:
    // What a planned run looks at from its instant on, seconds.
    static constexpr double plannedLength = 12;

    enum class Stage { Planned, AsPlanned, Attempts, Nearer, Done };
    struct Still {
        int index = 0;
        QStringList planned;
        QString file;
        double instant = 0;
        double next = 0; // the next cell's instant; infinite for the last
        Stage stage = Stage::Planned;
        int attempt = 0;      // in its stage, from 1
        int firstAttempt = 1; // of the stage Attempts
        bool waits = false;   // for the scout
        int runs = 0;         // so far
        bool isAlone = false; // not in a run with others, one of which crashes or hangs
        std::optional<double> shown;
    };
    struct Run {
        std::vector<PictureShot> shots;
        std::vector<Still *> stills;
    };

    Still newStill(int index, const QStringList &planned, double next) const;
    bool mayHaveKey(const Still &still) const;
    static QString trialFile(const Still &still);
    void startRound();
    void beginTrial();
    void endTrial();
    void forgetStills();
    void sendScout();
    void noteEndOf(const Still &scout);
    void endScouting(int found);
    int attemptNumber(const Still &still) const;
    std::vector<Run> nextRuns();
    std::vector<Run> spread(std::vector<Run> units) const;
    bool takesFrameAtInstant(const Still &still) const;
    bool isInGroupOf(const Still &still, const Still &other) const;
    void shareInput(Run &group) const;
    void end();
    std::optional<PictureShot> nextShot(Still &still);
    std::optional<PictureShot> shotOf(const Still &still) const;
    std::optional<PictureShot> nearerShot(const Still &still) const;
    PictureShot plannedShot(const Still &still) const;
    QStringList plannedCommand(const Still &still) const;
    void runEnded(std::size_t number, const RunReport &report);
    void settleShot(Still &still, const Run &run, int shot, const RunReport &report);
    void noteArrival(Still &still, std::optional<double> shown);
    void noteMissing(Still &still, bool wasAlone, const RunReport &report);
    void noteFailure(const RunReport &report, const QString &what);
    void forgetSeeking();
    bool isTooFar(const Still &still) const;

    TaskSlots &m_taskSlots;
    PictureJob m_job;
    PicturesTaken m_taken;
    std::vector<Still> m_stills;
    std::vector<Run> m_runs;
    int m_hungRuns = 0;
    bool m_couldSeek = true; // in the round before
    // The still that is taken with all frames decoded, too, to see whether that changes it.
    std::optional<std::size_t> m_trial;
    // The first of those that are missing up to the end: how it is found tells how the others are.
    std::optional<std::size_t> m_scout;
};

} // namespace qv
