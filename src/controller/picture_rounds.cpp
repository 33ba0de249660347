#include "controller/picture_rounds.h"

#include "analysis/picture_instant.h"
#include "sheet/colour_filters.h"
#include "sheet/extraction_plan.h"
#include "support/files.h"
#include "support/log.h"

#include <QFile>

#include <algorithm>
#include <cmath>
#include <limits>

namespace qv
{
namespace
{

// A tool that hangs once may have met a bad stretch; one that hangs again and again would cost the
// idle limit for each still.
constexpr int hungRunsLimit = 3;

bool isSamePicture(const QString &file, const QString &other)
{
    QFile a(file);
    QFile b(other);
    return a.open(QIODevice::ReadOnly) && b.open(QIODevice::ReadOnly) ? a.readAll() == b.readAll()
                                                                      : a.exists() == b.exists();
}

} // namespace

PictureRounds::PictureRounds(TaskSlots &taskSlots) : m_taskSlots(taskSlots)
{
    ToolPool &pool = taskSlots.pictures();
    pool.runEnded = [this](std::size_t run, const RunReport &report) { runEnded(run, report); };
    pool.allEnded = [this] {
        if (m_taskSlots.pictures().wasTerminated()) {
            end();
            return;
        }
        endTrial();
        startRound();
    };
    pool.printed = [this] { progressed(); };
}

void PictureRounds::take(PictureJob job)
{
    m_job = std::move(job);
    m_taken = {};
    m_stills.clear();
    m_hungRuns = 0;
    m_couldSeek = m_job.clues.canSeek;
    for (auto it = m_job.planned.cbegin(); it != m_job.planned.cend(); ++it) {
        const auto next = std::next(it);
        m_stills.push_back(newStill(it.key(), it.value(),
                                    next == m_job.planned.cend()
                                        ? std::numeric_limits<double>::infinity()
                                        : plannedInstant(*next)));
    }
    m_scout.reset();
    beginTrial();
    startRound();
}

PictureRounds::Still PictureRounds::newStill(int index, const QStringList &planned,
                                             double next) const
{
    Still still;
    still.index = index;
    still.planned = planned;
    still.file = pictureFile(m_job.stillsFolder, index);
    still.instant = plannedInstant(planned);
    still.next = next;
    if (!mayHaveKey(still)) {
        still.stage = Stage::Attempts;
        still.attempt = 1;
    }
    return still;
}

// Without a key picture in its cell the planned run would leave nothing, or a picture of a later
// cell.
bool PictureRounds::mayHaveKey(const Still &still) const
{
    if (isBehindLast(still.planned, m_job.clues)) {
        return false;
    }
    const auto behind = m_job.listed.keyBehind(still.instant);
    if (!behind || !m_job.clues.seeksToKeys || !anyFrameAttempt(still.planned)) {
        return true;
    }
    const QList<float> &keys = m_job.listed.keys;
    return *behind < keys.size() &&
           keys.at(*behind) < std::min(still.next, still.instant + plannedLength);
}

// Below so many stills, decoding one of them twice costs more than is won.
void PictureRounds::beginTrial()
{
    constexpr std::size_t fewest = 4;
    m_trial.reset();
    if (m_job.intraOnly != IntraOnly::Tried) {
        return;
    }
    std::vector<std::size_t> selecting;
    for (std::size_t i = 0; i < m_stills.size(); ++i) {
        if (m_stills[i].stage == Stage::Planned && anyFrameAttempt(m_stills[i].planned)) {
            selecting.push_back(i);
        }
    }
    if (selecting.size() < fewest) {
        m_job.intraOnly = IntraOnly::No;
        return;
    }
    m_trial = selecting[selecting.size() / 2];
}

void PictureRounds::endTrial()
{
    if (!m_trial) {
        return;
    }
    const Still &still = m_stills[*std::exchange(m_trial, std::nullopt)];
    const QString file = trialFile(still);
    if (!isSamePicture(still.file, file)) {
        logLine(QStringLiteral("picture             : #%1 differs when all frames are decoded")
                    .arg(still.index));
        m_job.intraOnly = IntraOnly::No;
        forgetStills();
    }
    rmCocoa(file);
}

void PictureRounds::forgetStills()
{
    for (Still &still : m_stills) {
        rmCocoa(still.file);
        still = newStill(still.index, still.planned, still.next);
    }
}

int PictureRounds::settled() const
{
    const auto isSettled = [](const Still &still) {
        return still.stage == Stage::Done || still.stage == Stage::Nearer;
    };
    int count = static_cast<int>(std::count_if(m_stills.begin(), m_stills.end(), isSettled));
    for (std::size_t i = 0; i < m_runs.size(); ++i) {
        const Run &run = m_runs[i];
        if (!run.stills.empty() && run.stills.front()->runs == 1) {
            count += picturesTold(QString::fromUtf8(m_taskSlots.pictures().printedBy(i)));
        }
    }
    return std::min(count, static_cast<int>(m_stills.size()));
}

// ---- rounds

void PictureRounds::startRound()
{
    m_runs.clear();
    if (!m_taken.failure) {
        forgetSeeking();
        sendScout();
        m_runs = nextRuns();
    }
    if (m_runs.empty()) {
        end();
        return;
    }
    std::vector<QStringList> commands;
    for (const Run &run : m_runs) {
        commands.push_back(pictureRun(run.shots, tellerName));
    }
    m_taskSlots.startPictures(std::move(commands), m_job.tools, m_job.stillsFolder);
    progressed();
}

// What holds for one still holds for the others: they are all asked for without seeking.
void PictureRounds::forgetSeeking()
{
    if (!std::exchange(m_couldSeek, m_job.clues.canSeek) || m_job.clues.canSeek) {
        return;
    }
    for (Still &still : m_stills) {
        if (still.stage == Stage::Attempts) {
            still.attempt = 1;
            still.firstAttempt = 1;
        }
    }
}

void PictureRounds::end()
{
    for (const Still &still : m_stills) {
        if (still.shown) {
            m_taken.shown.insert(still.index, *still.shown);
        }
    }
    m_taskSlots.picturesDone();
}

// What the first of them takes several runs to find out need not be found out for each.
void PictureRounds::sendScout()
{
    constexpr std::ptrdiff_t fewest = 3;
    if (m_scout && m_stills[*m_scout].stage == Stage::Done) {
        endScouting(1);
    }
    if (m_scout || !m_job.clues.canSeek) {
        return;
    }
    const auto isMissing = [this](const Still &still) {
        return still.stage == Stage::Attempts && still.attempt == 1 && !still.isAlone &&
               !m_job.listed.keyBehind(still.instant) && !isBehindLast(still.planned, m_job.clues);
    };
    const auto end = std::find_if_not(m_stills.rbegin(), m_stills.rend(), isMissing);
    const auto scout = end.base();
    if (m_stills.end() - scout < fewest) {
        return;
    }
    m_scout = static_cast<std::size_t>(scout - m_stills.begin());
    std::for_each(scout + 1, m_stills.end(), [](Still &still) { still.waits = true; });
}

// The others go on from the attempt that gave it, or from the first. The last attempt looks far
// back after all around the instant has been looked through.
void PictureRounds::noteEndOf(const Still &scout)
{
    if (!m_scout || &scout != &m_stills[*m_scout]) {
        return;
    }
    if (scout.shown && *scout.shown < scout.instant &&
        scout.attempt == attemptCount(scout.planned, m_job.clues)) {
        m_job.clues.lastSeen = scout.shown;
    }
    endScouting(m_job.clues.lastSeen ? 1 : scout.attempt);
}

void PictureRounds::endScouting(int found)
{
    for (Still &still : m_stills) {
        if (std::exchange(still.waits, false)) {
            still.firstAttempt = found;
        }
    }
}

// In the list of attempts, which is begun anew at its end.
int PictureRounds::attemptNumber(const Still &still) const
{
    const int count = attemptCount(still.planned, m_job.clues);
    return still.attempt > count ? still.attempt
                                 : (still.firstAttempt + still.attempt - 2) % count + 1;
}

// Nothing when the still is settled.
std::optional<PictureShot> PictureRounds::nextShot(Still &still)
{
    auto shot = shotOf(still);
    if (!shot && still.stage == Stage::Attempts) {
        logLine(QStringLiteral("picture             :-( #%1 given up").arg(still.index));
        still.attempt = 1;
        noteEndOf(still);
    }
    if (!shot) {
        still.stage = Stage::Done;
        return {};
    }
    shot->index = still.index;
    shot->arguments =
        withoutLookingAtEnd(withDisplayColours(shot->arguments, m_job.record), m_job.record);
    ++still.runs;
    return shot;
}

std::optional<PictureShot> PictureRounds::shotOf(const Still &still) const
{
    const auto shot = [](const PictureAttempt &attempt) {
        return PictureShot{0, attempt.arguments, attempt.seek, attempt.takesLast};
    };
    switch (still.stage) {
    case Stage::Planned:
        return plannedShot(still);
    case Stage::AsPlanned:
        return PictureShot{0, tellingInstant(still.planned), still.instant, false};
    case Stage::Attempts: {
        const auto attempt = nextAttempt(still.planned, attemptNumber(still), m_job.clues);
        return attempt ? std::optional(shot(*attempt)) : std::nullopt;
    }
    case Stage::Nearer:
        return nearerShot(still);
    case Stage::Done:
        break;
    }
    return {};
}

PictureShot PictureRounds::plannedShot(const Still &still) const
{
    const auto key = m_job.listed.nextKey(still.instant);
    if (key && m_job.startsAtKeys && anyFrameAttempt(still.planned)) {
        const PictureAttempt attempt = keyFrameAttempt(still.planned, key->instant, key->length);
        return PictureShot{0, withoutLookingAtStreams(attempt.arguments, m_job.record),
                           attempt.seek, false};
    }
    return PictureShot{0, plannedCommand(still), still.instant, false};
}

QStringList PictureRounds::plannedCommand(const Still &still) const
{
    const QStringList telling = tellingInstant(still.planned);
    return m_job.intraOnly != IntraOnly::No && anyFrameAttempt(still.planned)
               ? decodingIntraOnly(telling)
               : telling;
}

// The frame that really stands at the instant, at last with a run-up.
std::optional<PictureShot> PictureRounds::nearerShot(const Still &still) const
{
    const auto any =
        m_job.clues.seeksToKeys ? anyFrameAttempt(still.planned) : std::optional<PictureAttempt>();
    const int last = any ? 2 : 1;
    if (!isTooFar(still) || still.attempt > last || m_hungRuns >= hungRunsLimit ||
        !m_job.clues.canSeek) {
        return {};
    }
    const PictureAttempt attempt = any && still.attempt == 1 ? *any : runUpAttempt(still.planned);
    return PictureShot{0, attempt.arguments, attempt.seek, attempt.takesLast};
}

// Where key frames are far apart, the planned run may take one that belongs to a later cell.
bool PictureRounds::isTooFar(const Still &still) const
{
    constexpr double rounding = 0.005; // of the seconds in a command
    return still.shown &&
           (*still.shown >= still.next - rounding ||
            std::abs(*still.shown - still.instant) >= std::max(m_job.clues.interval, farFromPlan));
}

// ---- what a run gave

void PictureRounds::runEnded(std::size_t number, const RunReport &report)
{
    if (m_taskSlots.pictures().wasTerminated()) {
        return;
    }
    Run &run = m_runs[number];
    m_hungRuns += report.outcome.ending == ToolOutcome::Ending::Hung ? 1 : 0;
    for (std::size_t i = 0; i < run.stills.size(); ++i) {
        settleShot(*run.stills[i], run, static_cast<int>(i), report);
    }
    if (m_taken.failure) {
        m_taskSlots.pictures().terminate();
    }
    progressed();
}

void PictureRounds::settleShot(Still &still, const Run &run, int shot, const RunReport &report)
{
    const bool wasAlone = run.shots.size() == 1;
    const PictureShot &taken = run.shots[static_cast<std::size_t>(shot)];
    const auto told = pictureInstant(report.tail, taken.takesLast ? Taken::Last : Taken::First,
                                     wasAlone ? std::nullopt : std::optional(shot));
    const auto shown = told ? std::optional(taken.seek + *told) : std::nullopt;
    // The other frames would have ended a planned run by then; and a seek may have missed a key
    // frame.
    constexpr double someFrames = 0.2;
    const bool isOther =
        still.stage == Stage::Planned && shown &&
        (*shown >= still.instant + plannedLength || *shown < still.instant - someFrames);
    if (hasPicture(still.file) && !isOther) {
        noteArrival(still, shown);
    } else {
        noteMissing(still, wasAlone, report);
    }
}

void PictureRounds::noteArrival(Still &still, std::optional<double> shown)
{
    if (shown) {
        still.shown = shown;
    }
    if (still.stage == Stage::Nearer) {
        ++still.attempt;
        return;
    }
    if (still.stage == Stage::Attempts) {
        noteEndOf(still);
    }
    still.stage = Stage::Nearer;
    still.attempt = 1;
    still.firstAttempt = 1;
}

void PictureRounds::noteMissing(Still &still, bool wasAlone, const RunReport &report)
{
    using Ending = ToolOutcome::Ending;
    const Ending ending = report.outcome.ending;
    const QString what = QStringLiteral("ffmpeg %1").arg(outcomeText(report.outcome));
    logLine(QStringLiteral("picture             :-( #%1, attempt %2: %3")
                .arg(QString::number(still.index), QString::number(still.runs), what));
    rmCocoa(still.file);
    noteFailure(report, what);
    const bool isBroken = ending != Ending::Exited;
    if (isBroken && wasAlone && ending == Ending::Hung) {
        still.stage = Stage::Done;
    } else if (isBroken && !wasAlone) {
        still.isAlone = true;
        still.stage = still.stage == Stage::Planned ? Stage::AsPlanned : still.stage;
    } else if (still.stage == Stage::Planned &&
               plannedShot(still).arguments != tellingInstant(still.planned)) {
        still.stage = Stage::AsPlanned;
    } else if (still.stage != Stage::Attempts) {
        still.stage = Stage::Attempts;
        still.attempt = 1;
    } else {
        ++still.attempt;
    }
}

void PictureRounds::noteFailure(const RunReport &report, const QString &what)
{
    using Ending = ToolOutcome::Ending;
    const Ending ending = report.outcome.ending;
    if (!m_taken.failure) {
        m_taken.failure = outerCause();
    }
    const bool isEnd =
        ending == Ending::NotStarted || (ending == Ending::Hung && m_hungRuns >= hungRunsLimit);
    if (!m_taken.failure && isEnd) {
        m_taken.failure = what;
    }
    if (ending == Ending::Hung || ending == Ending::Crashed) {
        m_taken.reason = what;
    }
    if (report.tail.contains(QLatin1String("could not seek to position"))) {
        m_job.clues.canSeek = false;
    }
}

} // namespace qv
