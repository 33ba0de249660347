// The part of the encoding driver that takes a row's stills.

#include "controller/encoding_driver.h"

#include "analysis/picture_instant.h"
#include "controller/progress_readers.h"
#include "controller/store_keys.h"
#include "sheet/colour_filters.h"
#include "sheet/extraction_plan.h"
#include "sheet/text_painter.h"
#include "support/files.h"
#include "support/foreign_names.h"
#include "support/localized_strings.h"
#include "support/log.h"
#include "support/numbers.h"
#include "support/variant_values.h"

#include <QFileInfo>

#include <cmath>

namespace qv
{
namespace
{

// A tool that hangs once may have met a bad stretch; one that hangs again and again would cost the
// idle limit for each still.
constexpr int hungRunsLimit = 3;

// Seconds between a frame and its stamp from which on it is told.
constexpr double farAway = 2;

const QString pendingKey = QStringLiteral("appkyThFf");

bool hasArrived(const QString &file)
{
    return QFileInfo(file).size() > 0;
}

// The entry with the lowest number as its key.
int lowestIndex(const QVariantMap &pending)
{
    int lowest = -1;
    for (auto it = pending.begin(); it != pending.end(); ++it) {
        const int index = intValue(it.key());
        lowest = lowest < 0 ? index : std::min(lowest, index);
    }
    return lowest;
}

} // namespace

// All stills in one run of the movie framework's tool, or of the one that takes key pictures.
void EncodingDriver::launchOneRun()
{
    takeChild(QStringLiteral("appkyThQt"));
    m_row.byMovieFramework = !m_row.isQuick;
    const QSize size = oneRunSize();
    const QStringList arguments{Bundle::main().toolPath(m_row.isQuick
                                                            ? QStringLiteral("quickThumbs")
                                                            : QStringLiteral("qtThumbs")),
                                QStringLiteral("-i"),
                                m_row.source,
                                QStringLiteral("-w"),
                                QString::number(size.width()),
                                QStringLiteral("-h"),
                                QString::number(size.height()),
                                QStringLiteral("-tc"),
                                instantsText(),
                                QStringLiteral("-y"),
                                QStringLiteral("-o"),
                                m_row.stills};
    constexpr int percent = 100;
    startPictureTool(arguments, percent, PercentageQuiet);
}

// Key pictures are decoded so fast that writing larger ones than the sheet needs would cost as
// much.
QSize EncodingDriver::oneRunSize() const
{
    const QVariantMap display = displayOfRow();
    return m_row.isQuick ? usefulStillSize(m_row.dpi, display)
                         : QSize(intIn(display, QStringLiteral("wTh")).value_or(0),
                                 intIn(display, QStringLiteral("hTh")).value_or(0));
}

// "0:00:10.000-0:01:15.500". Rounded up: a frame is not shown yet before it begins.
QString EncodingDriver::instantsText() const
{
    QStringList instants;
    for (const double instant : m_row.instants) {
        constexpr double milli = 1000;
        instants.append(float2TimecodeStr(std::ceil(instant * milli - 0.001) / milli, 3));
    }
    return instants.join(u'-');
}

// Some picture has not come out of the quick run, which is over.
bool EncodingDriver::hasQuickFailed() const
{
    if (!m_row.isQuick || !isDue(QStringLiteral("appkyDisplay"))) {
        return false;
    }
    for (int i = 0; i < m_row.asked; ++i) {
        if (!hasArrived(pictureFile(m_row.stills, i))) {
            return true;
        }
    }
    return false;
}

void EncodingDriver::takeExactPictures()
{
    const QString what = QStringLiteral("quickThumbs %1")
                             .arg(outcomeText(m_context.taskSlots.lastEncodingRun().outcome));
    logLine(QStringLiteral("quick pictures      :-( %1: each is taken by ffmpeg").arg(what));
    if (const auto cause = outerCause()) {
        failRow(*cause);
        return;
    }
    m_row.isQuick = false;
    takeChild(QStringLiteral("appkyDisplay"));
    runPlan();
}

// Key pictures carry the stamps of when they are.
void EncodingDriver::noteQuickInstants()
{
    QVariantMap display = child(QStringLiteral("appkyDisplay")).toMap();
    QVariantMap timecodes = mapIn(display, QStringLiteral("timecode"));
    const QMap<int, double> &told = m_context.taskSlots.lastEncodingRun().instants;
    for (auto it = told.begin(); it != told.end(); ++it) {
        const QString stamp = stampText(it.value(), m_row.duration);
        if (it.key() < m_row.instants.size() && !stamp.isEmpty()) {
            m_row.instants[it.key()] = it.value();
            timecodes.insert(QString::number(it.key()), stamp);
        }
    }
    display.insert(QStringLiteral("timecode"), timecodes);
    setChild(QStringLiteral("appkyDisplay"), display);
}

void EncodingDriver::noteMovieInstants()
{
    const QMap<int, double> &told = m_context.taskSlots.lastEncodingRun().instants;
    for (auto it = told.begin(); it != told.end(); ++it) {
        if (it.key() < m_row.instants.size()) {
            noteShown(it.key(), it.value(), m_row.instants.at(it.key()));
        }
    }
}

// A run that ended well gives no reason of its own: it says of each still why it did not come.
void EncodingDriver::noteMovieFailure()
{
    const ToolOutcome &outcome = m_context.taskSlots.lastEncodingRun().outcome;
    if (outcome.ending != ToolOutcome::Ending::Exited) {
        m_row.reason = QStringLiteral("qtThumbs %1").arg(outcomeText(outcome));
        logLine(QStringLiteral("qtThumbs            :-( ") + outcomeText(outcome));
    }
}

// True while a run for a still has been launched, or the row has failed over one.
bool EncodingDriver::continuePictures()
{
    if (m_row.picture) {
        if (hasRetried() || hasBroughtNearer()) {
            return true;
        }
        m_row.picture.reset();
    }
    if (!isDue(pendingKey)) {
        return false;
    }
    launchNextPicture();
    return true;
}

// Looks at the run that has ended: a still that did not come is asked for again in another way.
bool EncodingDriver::hasRetried()
{
    PictureRun &picture = *m_row.picture;
    const RunReport &run = m_context.taskSlots.lastEncodingRun();
    if (hasArrived(picture.file)) {
        noteInstant();
        m_row.hungRuns += run.outcome.ending == ToolOutcome::Ending::Hung ? 1 : 0;
        return false;
    }
    const QString what = QStringLiteral("ffmpeg %1").arg(outcomeText(run.outcome));
    logLine(QStringLiteral("picture             :-( #%1, attempt %2: %3")
                .arg(QString::number(picture.index), QString::number(picture.attempt + 1), what));
    rmCocoa(picture.file);
    if (const auto cause = outerCause()) {
        failRow(*cause);
        return true;
    }
    if (failsRun(run, what)) {
        failRow(what);
        return true;
    }
    if (run.outcome.ending == ToolOutcome::Ending::Hung) {
        return false;
    }
    if (m_row.canSeek && run.tail.contains(QLatin1String("could not seek to position"))) {
        m_row.canSeek = false;
        picture.attempt = 0;
    }
    const auto next = nextAttempt(picture.planned, ++picture.attempt,
                                  {m_row.interval, m_row.fps, m_row.canSeek, m_row.seeksToKeys});
    if (!next) {
        logLine(QStringLiteral("picture             :-( #%1 given up").arg(picture.index));
        return false;
    }
    launchAttempt(*next);
    return true;
}

// Whether a run that left nothing is the end of the row.
bool EncodingDriver::failsRun(const RunReport &run, const QString &what)
{
    switch (run.outcome.ending) {
    case ToolOutcome::Ending::NotStarted:
        return true;
    case ToolOutcome::Ending::Hung:
        m_row.reason = what;
        return ++m_row.hungRuns >= hungRunsLimit;
    case ToolOutcome::Ending::Crashed:
        m_row.reason = what;
        return false;
    default:
        return false;
    }
}

// How far the frame that a run took stands from its stamp.
void EncodingDriver::noteInstant()
{
    PictureRun &picture = *m_row.picture;
    const auto taken = pictureInstant(m_context.taskSlots.lastEncodingRun().tail,
                                      picture.takesLast ? Taken::Last : Taken::First);
    if (!taken) {
        return;
    }
    const double stamp = plannedInstant(picture.planned);
    const double shown = picture.seek + *taken;
    picture.off = shown - stamp;
    noteShown(picture.index, shown, stamp);
}

void EncodingDriver::noteShown(int index, double shown, double stamp)
{
    if (std::abs(shown - stamp) <= farAway) {
        m_row.moved.remove(index);
        return;
    }
    m_row.moved.insert(index);
    logLine(QStringLiteral("picture             : #%1 shows %2 s instead of %3 s")
                .arg(QString::number(index), fixedText(shown, 2), fixedText(stamp, 2)));
}

// Where key frames are far apart, the planned run may take one that stands behind the next still's
// instant. Then the frame that really stands at the instant is asked for, at last with a run-up; a
// run that gives none leaves the picture as it is.
bool EncodingDriver::hasBroughtNearer()
{
    PictureRun &picture = *m_row.picture;
    const double nearEnough = std::max(m_row.interval, farAway);
    if (!hasArrived(picture.file) || std::abs(picture.off) < nearEnough) {
        return false;
    }
    const auto anyFrame = m_row.seeksToKeys ? anyFrameAttempt(picture.planned) : std::nullopt;
    const int attempts = anyFrame ? 2 : 1;
    if (picture.nearer == attempts || m_row.hungRuns >= hungRunsLimit || !m_row.canSeek) {
        return false;
    }
    const bool isFirst = picture.nearer++ == 0;
    launchAttempt(isFirst && anyFrame ? *anyFrame : runUpAttempt(picture.planned));
    return true;
}

void EncodingDriver::launchNextPicture()
{
    QVariantMap pending = child(pendingKey).toMap();
    const int index = lowestIndex(pending);
    const QStringList arguments = pending.take(QString::number(index)).toStringList();
    WindowState &window = m_context.window;
    const qsizetype slash = window.stepCaption.indexOf(QLatin1Char('/'));
    const int stillPending = static_cast<int>(pending.size()) + 1;
    const int total = slash < 0 ? stillPending : intValue(window.stepCaption.mid(slash + 1));
    if (pending.isEmpty()) {
        takeChild(pendingKey);
    } else {
        setChild(pendingKey, pending);
    }
    window.stepMaximum = total;
    window.stepValue = total - stillPending + 1;
    window.stepCaption =
        QStringLiteral("%1 %2/%3")
            .arg(localizedCapitalized(QStringLiteral("th")),
                 QString::number(total - stillPending + 1), QString::number(total));
    m_row.picture = PictureRun{index, 0, arguments, pictureFile(m_row.stills, index),
                               plannedInstant(arguments)};
    launchPicture(tellingInstant(arguments), total);
}

void EncodingDriver::launchAttempt(const PictureAttempt &attempt)
{
    m_row.picture->seek = attempt.seek;
    m_row.picture->takesLast = attempt.takesLast;
    launchPicture(attempt.arguments, m_row.asked);
}

void EncodingDriver::launchPicture(const QStringList &arguments, int total)
{
    m_context.window.encoding.actionCaption = lastPathComponent(shownPath(m_row.source));
    startPictureTool(withDisplayColours(arguments, planInput()), total, PictureRuns);
}

void EncodingDriver::startPictureTool(const QStringList &arguments, int maximum, ParseMode mode)
{
    m_context.taskSlots.tasklauncherStart(arguments, static_cast<float>(maximum), mode,
                                          {true, true, true}, false, m_row.stills);
    // The tool works now; the composer's fonts can be loaded meanwhile.
    QMetaObject::invokeMethod(this, prepareTexts, Qt::QueuedConnection);
}

} // namespace qv
