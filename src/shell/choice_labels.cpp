#include "shell/choice_labels.h"

#include "settings/preferences_store.h"
#include "sheet/layout.h"
#include "support/localized_strings.h"

#include <algorithm>

namespace qv
{
namespace
{

constexpr int mostRows = 24;
constexpr int mostStills = 64; // a longer menu helps nobody to choose

} // namespace

QStringList layoutLabels()
{
    return {localized(QStringLiteral("outBig")), localized(QStringLiteral("outMed")),
            localized(QStringLiteral("outMin")), localized(QStringLiteral("outMix"))};
}

QStringList pictureChoiceLabels()
{
    return {localized(QStringLiteral("dpiJpg")), localized(QStringLiteral("dpiPng"))};
}

QString countPreference(int out)
{
    return countPreference(sheetLayout(out));
}

QList<int> offeredCounts(int out)
{
    const int columns = columnsOf(sheetLayout(out));
    QList<int> counts;
    for (int rows = 1; rows <= mostRows && rows * columns <= mostStills; ++rows) {
        counts.append(rows * columns);
    }
    const int usual = PreferencesStore::prefsDefaults().value(countPreference(out)).toInt();
    if (!counts.contains(usual)) {
        counts.append(usual);
        std::sort(counts.begin(), counts.end());
    }
    return counts;
}

} // namespace qv
