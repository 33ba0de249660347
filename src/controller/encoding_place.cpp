// The part of the encoding driver that decides what becomes of a file of others at a sheet's name.

#include "controller/encoding_driver.h"

#include "controller/reasons.h"
#include "sheet/composer.h"
#include "support/files.h"
#include "support/foreign_names.h"
#include "support/localized_strings.h"
#include "support/log.h"
#include "support/visible_text.h"

namespace qv
{
namespace
{

constexpr double othersQuestionSeconds = 10;

} // namespace

// Keeping both sheets is the default, and so the answer of a time-out.
bool EncodingDriver::mayReplaceOthers(const PlaceContent &content)
{
    if (m_context.placement.yieldsToOthers) {
        return false;
    }
    if (m_replacesOthers) {
        return *m_replacesOthers;
    }
    const QString replace = localized(QStringLiteral("D_replace"));
    const QString detail =
        localized(QStringLiteral("sheetOfAnotherDetail"))
            .arg(visibleText(m_row.sheet), visibleText(ownerText(content.source)),
                 visibleText(shownPath(m_row.source)));
    const utilsAlert::Answer answer = ask([&] {
        return utilsAlert::timedQuestion(
            localized(QStringLiteral("sheetOfAnother")), detail, 0,
            localized(QStringLiteral("keepBothSheets")), replace, QString(), othersQuestionSeconds,
            localized(QStringLiteral("D_applyToAll")), AlertButton::Default);
    });
    const bool replaces = answer.text == replace;
    if (answer.suppressed == 1 && !m_gate.isOver()) {
        m_replacesOthers = replaces;
    }
    return replaces;
}

QString EncodingDriver::otherBase()
{
    const QString base =
        m_names.otherBaseFor(m_row.source, destinationFolder(), sheetExtension(m_row.dpi));
    logLine(QStringLiteral("sheet's other name  : %1").arg(lastPathComponent(base)));
    m_row.replacesAny = false;
    return base;
}

void EncodingDriver::noteSheet(const QString &base)
{
    m_row.sheet = base + QLatin1Char('.') + sheetExtension(m_row.dpi);
    if (const int index = encBatchInprogressRowIdentification(); index >= 0) {
        m_context.table.row(index).dico.insert(QStringLiteral("dstPathStr"), m_row.sheet);
    }
}

// The stills go into a folder of the sheet's name.
bool EncodingDriver::beginSheet(const QString &base)
{
    if (base.isEmpty()) {
        failRow(reasons::namesAreTaken);
        return false;
    }
    noteSheet(base);
    m_row.stills = stillsFolder(base);
    setChild(QStringLiteral("dstPathStr"), m_row.stills);
    setChild(QStringLiteral("stillsMark"), m_stillsMark);
    return true;
}

} // namespace qv
