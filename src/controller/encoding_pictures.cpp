// The part of the encoding driver that takes a row's stills.

#include "controller/encoding_driver.h"

#include "controller/progress_readers.h"
#include "controller/store_keys.h"
#include "sheet/extraction_plan.h"
#include "sheet/text_painter.h"
#include "support/files.h"
#include "support/localized_strings.h"
#include "support/log.h"
#include "support/numbers.h"
#include "support/variant_values.h"

#include <QFile>
#include <QFileInfo>

namespace qv
{
namespace
{

// A tool that hangs once may have met a bad stretch; one that hangs again and again would cost the
// idle limit for each still.
constexpr int hungRunsLimit = 3;

const QString pendingKey = QStringLiteral("appkyThFf");

bool hasArrived(const QString &file)
{
    return QFileInfo(file).size() > 0;
}

// The same frame through the same encoder gives the same bytes.
bool isSameFile(const QString &one, const QString &other)
{
    QFile a(one);
    QFile b(other);
    return QFileInfo(one).size() == QFileInfo(other).size() && a.open(QIODevice::ReadOnly) &&
           b.open(QIODevice::ReadOnly) && a.readAll() == b.readAll();
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

// All stills in one run of the movie framework's tool.
void EncodingDriver::launchMovieFramework()
{
    takeChild(QStringLiteral("appkyThQt"));
    const QVariantMap display = child(QStringLiteral("appkyDisplay")).toMap();
    const QVariantMap timecodes = mapIn(display, QStringLiteral("timecode"));
    QStringList instants;
    for (int i = 0; i < timecodes.size(); ++i) {
        instants.append(stringIn(timecodes, QString::number(i)));
    }
    const QStringList arguments{Bundle::main().toolPath(QStringLiteral("qtThumbs")),
                                QStringLiteral("-i"),
                                m_row.source,
                                QStringLiteral("-w"),
                                QString::number(intIn(display, QStringLiteral("wTh")).value_or(0)),
                                QStringLiteral("-h"),
                                QString::number(intIn(display, QStringLiteral("hTh")).value_or(0)),
                                QStringLiteral("-tc"),
                                instants.join(QLatin1Char('-')),
                                QStringLiteral("-y"),
                                QStringLiteral("-o"),
                                m_row.stills};
    m_context.taskSlots.tasklauncherStart(arguments, static_cast<float>(m_row.duration),
                                          PercentageQuiet, {true, true, true}, false);
}

// True while a run for a still has been launched, or the row has failed over one.
bool EncodingDriver::continuePictures()
{
    if (m_row.picture) {
        if (retryPicture() || retakePrevious()) {
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
bool EncodingDriver::retryPicture()
{
    PictureRun &picture = *m_row.picture;
    const RunReport &run = m_context.taskSlots.lastEncodingRun();
    if (picture.retake) {
        m_row.hungRuns += run.outcome.ending == ToolOutcome::Ending::Hung ? 1 : 0;
        return false;
    }
    if (hasArrived(picture.file)) {
        return false;
    }
    const QString what = QStringLiteral("ffmpeg %1").arg(outcomeText(run.outcome));
    logLine(QStringLiteral("picture             :-( #%1, attempt %2: %3")
                .arg(QString::number(picture.index), QString::number(picture.attempt + 1), what));
    rmCocoa(picture.file);
    switch (run.outcome.ending) {
    case ToolOutcome::Ending::NotStarted:
        failRow(what);
        return true;
    case ToolOutcome::Ending::Hung:
        m_row.reason = what;
        if (++m_row.hungRuns >= hungRunsLimit) {
            failRow(what);
            return true;
        }
        return false;
    case ToolOutcome::Ending::Crashed:
        m_row.reason = what;
        break;
    default:
        break;
    }
    const auto next = nextAttempt(picture.planned, ++picture.attempt);
    if (!next) {
        logLine(QStringLiteral("picture             :-( #%1 given up").arg(picture.index));
        return false;
    }
    launchPicture(*next, m_row.asked);
    return true;
}

// Where key frames are far apart, several instants lead to the same one, which stands at or after
// the last of them. So when a still is the very picture of the one before, the one before gets the
// frame that really stands at its instant.
bool EncodingDriver::retakePrevious()
{
    const PictureRun picture = *m_row.picture;
    if (picture.retake || m_row.hungRuns >= hungRunsLimit || !hasArrived(picture.file)) {
        return false;
    }
    const std::optional<PictureRun> before = std::exchange(m_row.before, picture);
    if (!before || before->index + 1 != picture.index || !isSameFile(before->file, picture.file)) {
        return false;
    }
    const auto anyFrame = anyFrameAttempt(before->planned);
    if (!anyFrame) {
        return false;
    }
    logLine(QStringLiteral("picture             : #%1 shows the frame of #%2, taken again")
                .arg(before->index)
                .arg(picture.index));
    m_row.picture = before;
    m_row.picture->retake = true;
    launchPicture(*anyFrame, m_row.asked);
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
    m_row.picture = PictureRun{index, 0, arguments, pictureFile(m_row.stills, index), false};
    launchPicture(arguments, total);
}

void EncodingDriver::launchPicture(const QStringList &arguments, int total)
{
    m_context.window.encoding.actionCaption = lastPathComponent(m_row.source);
    m_context.taskSlots.tasklauncherStart(arguments, static_cast<float>(total), PictureRuns,
                                          {true, true, true}, false);
    // The tool works now; the composer's fonts can be loaded meanwhile.
    QMetaObject::invokeMethod(this, prepareTexts, Qt::QueuedConnection);
}

} // namespace qv
