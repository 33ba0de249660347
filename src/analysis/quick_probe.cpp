#include "analysis/quick_probe.h"

#include "support/bundle.h"
#include "support/numbers.h"

#include <QFileInfo>
#include <QRegularExpression>

namespace qv
{
namespace
{

QString toolPath()
{
    return Bundle::main().toolPath(QStringLiteral("quickThumbs"));
}

} // namespace

QStringList quickProbeCommand(const QString &sourcePath, const QString &frameFile,
                              const QString &preview, int width, const QList<int> &instants)
{
    QStringList codes;
    for (const int instant : instants) {
        codes.append(float2TimecodeStr(instant, 0));
    }
    return {toolPath(),
            QStringLiteral("-probe"),
            sourcePath,
            QStringLiteral("-frame"),
            frameFile,
            QStringLiteral("-w"),
            QString::number(width),
            QStringLiteral("-tc"),
            codes.join(u'-'),
            QStringLiteral("-y"),
            QStringLiteral("-o"),
            preview};
}

bool hasQuickTool()
{
    return QFileInfo(toolPath()).isExecutable();
}

QString lastProbeLine(const QString &report, const QString &name)
{
    const QRegularExpression line(QStringLiteral("^%1 +: (.*)$").arg(name),
                                  QRegularExpression::MultilineOption);
    QString said;
    auto match = line.globalMatch(report);
    while (match.hasNext()) {
        said = match.next().captured(1);
    }
    return said;
}

std::optional<double> quickTail(const QString &report)
{
    // tail           : 600.000 50
    static const QRegularExpression shape(QStringLiteral("^(\\d{1,9}\\.\\d{3}) (\\d{1,6})$"));
    const QRegularExpressionMatch found =
        shape.match(lastProbeLine(report, QStringLiteral("tail")));
    return intValue(found.captured(2)) > 0 ? std::optional(doubleValue(found.captured(1)))
                                           : std::nullopt;
}

} // namespace qv
