#include "controller/batch_item.h"

#include "controller/preview.h"
#include "sheet/still_reader.h"
#include "support/files.h"
#include "support/foreign_names.h"
#include "support/localized_strings.h"
#include "support/numbers.h"
#include "support/variant_values.h"

namespace qv
{

QString markPictureName(RowMark mark)
{
    switch (mark) {
    case RowMark::Puce:
        return QStringLiteral("puce");
    case RowMark::PuceCurrent:
        return QStringLiteral("puceCurrent");
    case RowMark::PuceSuccess:
        return QStringLiteral("puceSuccess");
    case RowMark::PuceKept:
        return QStringLiteral("puceKept");
    case RowMark::PuceStopped:
        return QStringLiteral("puceStopped");
    case RowMark::PuceFailure:
        return QStringLiteral("puceFailure");
    case RowMark::PuceDamaged:
        return QStringLiteral("puceDamaged");
    }
    return {};
}

QString plainText(const StyledText &text)
{
    QString plain;
    for (const StyledRun &run : text) {
        plain += run.text;
    }
    return plain;
}

QString BatchItem::sourcePath() const
{
    return stringIn(dico, QStringLiteral("srcPathStr"));
}

QString BatchItem::damage() const
{
    return stringIn(dico, damageKey);
}

RowMark BatchItem::mark() const
{
    return resultat == RowMark::Puce && !damage().isNull() ? RowMark::PuceDamaged : resultat;
}

QImage BatchItem::img() const
{
    const QString path = stringIn(dico, QStringLiteral("imgPathStr"));
    return readStill(path, {previewWidth, previewWidth});
}

StyledText rowCaption(const MediaInfoRecord &record, const QString &sourcePath)
{
    const bool progressive = stringIn(record, QStringLiteral("v0_fields")) ==
                             localized(QStringLiteral("PFF"), QStringLiteral("fields"));
    const double rate = numberIn(record, QStringLiteral("v0_fps")).value_or(0) + 0.5;
    const int wholeRate = rate > 0 && rate < 1e6 ? static_cast<int>(rate) : 0;
    // The parenthesis stands around the width alone; people know the caption this way.
    const QString size = QStringLiteral("(%1x)%2%3%4")
                             .arg(intIn(record, QStringLiteral("v0_width")).value_or(0))
                             .arg(intIn(record, QStringLiteral("v0_height")).value_or(0))
                             .arg(progressive ? QLatin1Char('p') : QLatin1Char('i'))
                             .arg(wholeRate);
    const QString duration = durationText(intIn(record, QStringLiteral("w_duration")).value_or(0));
    return {{lastPathComponent(shownPath(sourcePath)), QStringLiteral("black")},
            {QLatin1Char('\n') + size + QLatin1Char('\n') + duration, QStringLiteral("silver")}};
}

} // namespace qv
