// The part of the encoding driver that takes a row's stills.

#include "controller/encoding_driver.h"

#include "controller/store_keys.h"
#include "sheet/extraction_plan.h"
#include "sheet/text_painter.h"
#include "support/files.h"
#include "support/foreign_names.h"
#include "support/localized_strings.h"
#include "support/log.h"
#include "support/numbers.h"
#include "support/variant_values.h"

#include <cmath>

namespace qv
{
namespace
{

const QString pendingKey = QStringLiteral("appkyThFf");

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
        if (!hasPicture(pictureFile(m_row.stills, i))) {
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

// The stamps say when the pictures are, whatever was planned.
void EncodingDriver::noteInstants(const QMap<int, double> &shown)
{
    for (auto it = shown.begin(); it != shown.end(); ++it) {
        // A tool may tell of what can't be.
        const bool isPossible = !stampText(it.value(), m_row.duration).isEmpty();
        if (it.key() < m_row.instants.size() && isPossible) {
            noteShown(it.key(), it.value(), m_row.planned.at(it.key()));
            m_row.instants[it.key()] = it.value();
        }
    }
    QVariantMap display = child(QStringLiteral("appkyDisplay")).toMap();
    QVariantMap timecodes = mapIn(display, QStringLiteral("timecode"));
    const QStringList stamps = stampTexts(m_row.instants, m_row.duration);
    for (int i = 0; i < stamps.size(); ++i) {
        timecodes.insert(QString::number(i), stamps.at(i));
    }
    display.insert(QStringLiteral("timecode"), timecodes);
    setChild(QStringLiteral("appkyDisplay"), display);
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

// True while the row's stills are being taken, or when it has failed over them.
bool EncodingDriver::continuePictures()
{
    if (isDue(pendingKey)) {
        takePictures();
        return true;
    }
    return std::exchange(m_row.takesPictures, false) && !notePictures();
}

void EncodingDriver::takePictures()
{
    const QVariantMap pending = child(pendingKey).toMap();
    takeChild(pendingKey);
    const QVariantMap record = planInput();
    PictureJob job;
    for (auto it = pending.begin(); it != pending.end(); ++it) {
        job.planned.insert(intValue(it.key()), it.value().toStringList());
    }
    job.stillsFolder = m_row.stills;
    job.clues = {m_row.interval, m_row.fps, true,
                 seeksToKeyFrames(stringIn(record, QStringLiteral("wrapper"))), m_row.listed.last};
    job.listed = m_row.listed;
    job.record = record;
    job.intraOnly = intraOnlyOfRow(record);
    job.startsAtKeys = mayStartAtKeys(record, m_row.listed.groups == Groups::Closed);
    job.tools = m_context.placement.toolsPerRow;
    job.mostPerRun = mostPicturesPerRun(record);
    m_row.takesPictures = true;
    m_context.window.encoding.actionCaption = lastPathComponent(shownPath(m_row.source));
    m_pictures.take(std::move(job));
    // The tools work now; the composer's fonts can be loaded meanwhile.
    QMetaObject::invokeMethod(this, prepareTexts, Qt::QueuedConnection);
}

// With what the container's list tells of the groups of pictures, nothing needs to be tried.
IntraOnly EncodingDriver::intraOnlyOfRow(const QVariantMap &record) const
{
    const IntraOnly found = intraOnlyDecoding(record);
    if (found != IntraOnly::Tried || m_row.listed.groups == Groups::Unknown) {
        return found;
    }
    return m_row.listed.groups == Groups::Closed ? IntraOnly::Yes : IntraOnly::No;
}

void EncodingDriver::showPictureProgress()
{
    WindowState &window = m_context.window;
    const int number = std::min(m_pictures.settled() + 1, m_row.asked);
    if (window.stepMaximum == m_row.asked && window.stepValue == number) {
        return;
    }
    window.stepMaximum = m_row.asked;
    window.stepValue = number;
    window.stepCaption = QStringLiteral("%1 %2/%3")
                             .arg(localizedCapitalized(QStringLiteral("th")),
                                  QString::number(number), QString::number(m_row.asked));
    m_context.windowChanged();
}

// Takes over the instants and the reason from the runs. False when the row has failed.
bool EncodingDriver::notePictures()
{
    const PicturesTaken &taken = m_pictures.taken();
    if (taken.failure) {
        failRow(*taken.failure);
        return false;
    }
    m_row.reason = taken.reason;
    noteInstants(taken.shown);
    return true;
}

// How far the frame of a still is from its planned instant.
void EncodingDriver::noteShown(int index, double shown, double planned)
{
    if (std::abs(shown - planned) <= farFromPlan) {
        m_row.moved.remove(index);
        return;
    }
    m_row.moved.insert(index);
    logLine(QStringLiteral("picture             : #%1 shows %2 s instead of %3 s")
                .arg(QString::number(index), fixedText(shown, 2), fixedText(planned, 2)));
}

void EncodingDriver::startPictureTool(const QStringList &arguments, int maximum, ParseMode mode)
{
    m_context.taskSlots.tasklauncherStart(arguments, static_cast<float>(maximum), mode,
                                          {true, true, true}, false, m_row.stills);
    // The tool works now; the composer's fonts can be loaded meanwhile.
    QMetaObject::invokeMethod(this, prepareTexts, Qt::QueuedConnection);
}

} // namespace qv
