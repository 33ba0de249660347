#include "settings/panel_mapping.h"

#include "support/files.h"
#include "support/log.h"
#include "support/numbers.h"
#include "support/variant_values.h"

#include <QFileInfo>

#include <algorithm>

namespace qv
{
namespace
{

const QString destinationKey = QStringLiteral("prefDefautDstPathStr");
const QString borderSizeKey = QStringLiteral("prefBorderSize");

QStringList segmentKeys()
{
    return {QStringLiteral("prefColor"), QStringLiteral("prefCheckMatrix"),
            QStringLiteral("prefDpi")};
}

QStringList countKeys()
{
    return {QStringLiteral("prefLimitMix"), QStringLiteral("prefLimitMin"),
            QStringLiteral("prefLimitMed"), QStringLiteral("prefLimitBig")};
}

QStringList colorKeys()
{
    return {QStringLiteral("prefBorderColor"), QStringLiteral("pageBkgColor")};
}

QStringList switchKeys()
{
    return {QStringLiteral("pageEssence"),   QStringLiteral("pagePoids"),
            QStringLiteral("pageVIdentity"), QStringLiteral("pageDuration"),
            QStringLiteral("pageDate"),      QStringLiteral("pageLocation"),
            QStringLiteral("pageName"),      QStringLiteral("prefTimecode")};
}

const QString updateKey = QStringLiteral("update");
const QString refuseDamagedKey = QStringLiteral("prefRefuseDamaged");

// The stored values over the defaults.
QVariantMap completed(const QVariantMap &values)
{
    QVariantMap all = PreferencesStore::prefsDefaults();
    all.insert(values);
    return all;
}

void traceColor(const char *what, const QString &key, const QString &text)
{
    logDebug([&] {
        return QStringLiteral("%1 Color %2 : %3").arg(QString::fromLatin1(what), key, text);
    });
}

QString withoutLastComponent(const QString &path)
{
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    return slash == 0 ? path.left(1) : path.left(std::max<qsizetype>(slash, 0));
}

QString standardFolder()
{
    return PreferencesStore::prefsDefaults().value(destinationKey).toString();
}

// The one that holds our own.
QString storedFolder(const QVariantMap &values)
{
    const QString stored =
        values.contains(destinationKey) ? stringIn(values, destinationKey) : standardFolder();
    return stored.endsWith(QLatin1String("Quorvantel")) ? withoutLastComponent(stored) : stored;
}

void showColor(PreferencesPanel &panel, const QString &key, const QVariant &value)
{
    const QString text = value.toString();
    traceColor("set", key, text);
    if (const std::optional<ColorComponents> color = colorFromText(text)) {
        panel.setWellColor(key, *color);
    }
}

QString readColor(const PreferencesPanel &panel, const QString &key)
{
    const QString text = colorText(panel.wellColor(key));
    traceColor("get", key, text);
    return text;
}

double readBorderSize(const PreferencesPanel &panel)
{
    const double size = panel.borderSize();
    logDebug([&] { return QStringLiteral("prefBorderSize      : %1").arg(fixedText(size, 0)); });
    return size;
}

void showAll(PreferencesPanel &panel, const QVariantMap &values)
{
    panel.setDestinationText(shownDestination(values));
    for (const QString &key : segmentKeys()) {
        panel.selectSegment(key, intIn(values, key).value_or(0));
    }
    for (const QString &key : countKeys()) {
        panel.selectCount(key, values.value(key).toString());
    }
    for (const QString &key : colorKeys()) {
        showColor(panel, key, values.value(key));
    }
    panel.setBorderSize(numberIn(values, borderSizeKey).value_or(0));
    for (const QString &key : switchKeys()) {
        panel.setChecked(key, flagIn(values, key));
    }
    panel.setChecked(updateKey, intIn(values, updateKey) == 1);
    panel.setChecked(refuseDamagedKey, flagIn(values, refuseDamagedKey));
}

QVariantMap readAll(const PreferencesPanel &panel)
{
    QVariantMap values{{destinationKey, panel.destinationText()}};
    for (const QString &key : segmentKeys()) {
        values.insert(key, panel.selectedSegment(key));
    }
    for (const QString &key : countKeys()) {
        values.insert(key, intValue(panel.selectedCount(key)));
    }
    for (const QString &key : colorKeys()) {
        values.insert(key, readColor(panel, key));
    }
    values.insert(borderSizeKey, readBorderSize(panel));
    for (const QString &key : switchKeys()) {
        values.insert(key, panel.isChecked(key) ? 1 : 0);
    }
    values.insert(updateKey, panel.isChecked(updateKey) ? 1 : 0);
    values.insert(refuseDamagedKey, panel.isChecked(refuseDamagedKey) ? 1 : 0);
    return values;
}

} // namespace

QString shownDestination(const QVariantMap &values)
{
    const QString folder = storedFolder(values);
    return !folder.isEmpty() && QFileInfo(expandTilde(folder)).isDir() ? folder : standardFolder();
}

QString missingDestination(const QVariantMap &values)
{
    const QString folder = storedFolder(values);
    const bool isMissing =
        !folder.isEmpty() && folder != standardFolder() && !QFileInfo::exists(expandTilde(folder));
    return isMissing ? folder : QString();
}

QVariantMap prefs2GuiAppky(PreferencesPanel &panel, const std::optional<QVariantMap> &values)
{
    if (!values) {
        return readAll(panel);
    }
    const QVariantMap all = completed(*values);
    showAll(panel, all);
    return all;
}

} // namespace qv
