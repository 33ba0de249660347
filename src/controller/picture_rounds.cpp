#include "controller/picture_rounds.h"

#include "analysis/picture_instant.h"
#include "sheet/colour_filters.h"
#include "sheet/extraction_plan.h"
#include "support/files.h"
#include "support/log.h"

#include <QFile>
#include <QFileInfo>

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

// Starting a tool costs as much as some pictures whose other frames aren't decoded.
constexpr int fewestPerRun = 4;

// Seconds by which a frame may be farther from its cell's instant than half a row of cells.
constexpr double farAway = 2;

// What a planned run looks at from its instant on, seconds.
constexpr double plannedLength = 12;

bool hasArrived(const QString &file)
{
    return QFileInfo(file).size() > 0;
}

bool isSamePicture(const QString &file, const QString &other)
{
    QFile a(file);
    QFile b(other);
    return a.open(QIODevice::ReadOnly) && b.open(QIODevice::ReadOnly) ? a.readAll() == b.readAll()
                                                                      : a.exists() == b.exists();
}

QString trialFile(const QString &still)
{
    return withoutExtension(still) + QStringLiteral(".trial.jpg");
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
        Still still;
        still.index = it.key();
        still.planned = it.value();
        still.file = pictureFile(m_job.stillsFolder, it.key());
        still.instant = plannedInstant(it.value());
        const auto next = std::next(it);
        still.next = next == m_job.planned.cend() ? std::numeric_limits<double>::infinity()
                                                  : plannedInstant(*next);
        m_stills.push_back(still);
    }
    beginTrial();
    startRound();
}

// Below so many stills, decoding one of them twice costs more than is won.
void PictureRounds::beginTrial()
{
    constexpr std::size_t fewest = 4;
    m_trial.reset();
    if (m_job.intraOnly != IntraOnly::Tried) {
        return;
    }
    if (m_stills.size() < fewest || !anyFrameAttempt(m_stills.front().planned)) {
        m_job.intraOnly = IntraOnly::No;
        return;
    }
    m_trial = m_stills.size() / 2;
}

void PictureRounds::endTrial()
{
    if (!m_trial) {
        return;
    }
    const Still &still = m_stills[*std::exchange(m_trial, std::nullopt)];
    const QString file = trialFile(still.file);
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
        still.stage = Stage::Planned;
        still.attempt = 0;
        still.shown.reset();
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
        if (!run.stills.empty() && run.stills.front()->stage == Stage::Planned) {
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

// Pictures are spread over the tools; those that must be alone get runs of their own.
std::vector<PictureRounds::Run> PictureRounds::nextRuns()
{
    std::vector<Run> runs;
    Run together;
    for (Still &still : m_stills) {
        const auto shot = nextShot(still);
        if (!shot) {
            continue;
        }
        if (still.isAlone || shot->takesLast) {
            runs.push_back({{*shot}, {&still}});
        } else {
            together.shots.push_back(*shot);
            together.stills.push_back(&still);
        }
    }
    const int count = static_cast<int>(together.shots.size());
    const int share = (count + m_job.tools - 1) / m_job.tools;
    const int perRun = std::min(
        std::max(share, m_job.intraOnly != IntraOnly::No ? fewestPerRun : 1), m_job.mostPerRun);
    const bool isShared = count >= m_job.tools && count > 1 && m_job.mostPerRun > 1;
    for (int i = 0; i < count; ++i) {
        if (i % perRun == 0) {
            runs.emplace_back();
        }
        PictureShot &shot = together.shots[static_cast<std::size_t>(i)];
        if (isShared) {
            shot.arguments = decodingInOneThread(shot.arguments);
        }
        runs.back().shots.push_back(std::move(shot));
        runs.back().stills.push_back(together.stills[static_cast<std::size_t>(i)]);
    }
    if (m_trial) {
        const Still &still = m_stills[*m_trial];
        QStringList all = withDisplayColours(tellingInstant(still.planned), m_job.record);
        all.last() = trialFile(still.file);
        runs.push_back({{PictureShot{-1, all, 0, false}}, {}});
    }
    return runs;
}

// Nothing when the still is settled.
std::optional<PictureShot> PictureRounds::nextShot(Still &still)
{
    auto shot = shotOf(still);
    if (!shot && still.stage == Stage::Attempts) {
        logLine(QStringLiteral("picture             :-( #%1 given up").arg(still.index));
    }
    if (!shot) {
        still.stage = Stage::Done;
        return {};
    }
    shot->index = still.index;
    shot->arguments = withDisplayColours(shot->arguments, m_job.record);
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
        return PictureShot{0, plannedCommand(still), still.instant, false};
    case Stage::AsPlanned:
        return PictureShot{0, tellingInstant(still.planned), still.instant, false};
    case Stage::Attempts: {
        const auto attempt = nextAttempt(still.planned, still.attempt, m_job.clues);
        return attempt ? std::optional(shot(*attempt)) : std::nullopt;
    }
    case Stage::Nearer:
        return nearerShot(still);
    case Stage::Done:
        break;
    }
    return {};
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
            std::abs(*still.shown - still.instant) >= std::max(m_job.clues.interval, farAway));
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
    // The other frames would have ended a planned run by then.
    const bool isBeyond = still.stage == Stage::Planned && told && *told >= plannedLength;
    if (hasArrived(still.file) && !isBeyond) {
        noteArrival(still, shown);
    } else {
        noteMissing(still, wasAlone, report);
    }
}

void PictureRounds::noteArrival(Still &still, std::optional<double> shown)
{
    if (still.stage == Stage::Nearer) {
        ++still.attempt;
    } else {
        still.stage = Stage::Nearer;
        still.attempt = 1;
    }
    if (shown) {
        still.shown = shown;
    }
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
               plannedCommand(still) != tellingInstant(still.planned)) {
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
