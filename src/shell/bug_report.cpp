#include "shell/bug_report.h"

#include "support/bundle.h"
#include "support/diagnostics.h"
#include "support/localized_strings.h"
#include "support/platform.h"

#include <QStringList>
#include <QSysInfo>

namespace qv
{
namespace
{

// What one fact may take up, encoded.
constexpr qsizetype roomOfFact = 150;
constexpr qsizetype roomOfFolder = 400;

QByteArray encoded(const QString &text)
{
    return QUrl::toPercentEncoding(text);
}

// Cut between characters until its encoded form fits.
QString fitted(const QString &text, qsizetype room)
{
    QString cut = text.left(room);
    while (encoded(cut).size() > room) {
        cut.chop(cut.back().isLowSurrogate() ? 2 : 1);
    }
    return cut;
}

QStringList factLines(const BugReportFacts &facts)
{
    return {fitted(facts.application, roomOfFact),
            QStringLiteral("%1 (ffRevision %2)")
                .arg(fitted(facts.ffmpeg, roomOfFact), QString::number(double(facts.ffRevision))),
            QStringLiteral("%1, %2 CPU")
                .arg(fitted(facts.system, roomOfFact), QString::number(facts.processors)),
            QStringLiteral("qtThumbs: %1")
                .arg(fitted(facts.decoders.join(QLatin1String(", ")), roomOfFact))};
}

} // namespace

BugReportFacts BugReportFacts::gathered(const QString &ffmpegVersionLine, float revision,
                                        const QStringList &decoders)
{
    const Bundle &bundle = Bundle::main();
    const platform::Processor processor = platform::processor();
    return {
        bundle.name() + QLatin1Char(' ') + bundle.version(),
        ffmpegVersionLine,
        revision,
        QStringLiteral("%1, %2 %3")
            .arg(QSysInfo::prettyProductName(), QSysInfo::kernelVersion(), processor.architecture),
        processor.cores,
        qv::logFolder(),
        decoders};
}

QUrl bugReportMail(const BugReportFacts &facts)
{
    const QString subject =
        localized(QStringLiteral("bugSubject")).arg(fitted(facts.application, roomOfFact));
    const QStringList body = QStringList{localized(QStringLiteral("bugWords")),
                                         QString(),
                                         QString(),
                                         QString(),
                                         localized(QStringLiteral("bugAttach")),
                                         fitted(facts.logFolder, roomOfFolder),
                                         QString(),
                                         localized(QStringLiteral("bugFacts"))} +
                             factLines(facts);
    return QUrl::fromEncoded("mailto:support@quorvantel.example?subject=" + encoded(subject) +
                             "&body=" + encoded(body.join(QLatin1String("\r\n"))));
}

} // namespace qv
