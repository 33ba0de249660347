// The settings, their defaults, and what keeps the store complete and clean.
#include "settings/preferences_store.h"

#include "settings/value_description.h"
#include "support/files.h"
#include "support/log.h"

#include <QList>

namespace qv
{
namespace
{

// The minimum layout has the smallest cells, so it takes the most of them.
QList<Preference> preferences()
{
    return {
        {"prefColor", 4},       // selected swatch
        {"prefCheckMatrix", 1}, // caption preset
        {"prefDpi", 0},         // 0 JPEG, otherwise PNG
        {"pageBkgColor", QStringLiteral("1.00,1.00,1.00,1.00")},
        {"prefBorderColor", QStringLiteral("0.80,0.80,0.80,1.00")},
        {"prefBorderSize", 1.0}, // points
        {"prefLimitBig", 8},     // stills a sheet, by layout
        {"prefLimitMed", 16},
        {"prefLimitMin", 48},
        {"prefLimitMix", 32},
        {"prefTimecode", 1}, // time codes on the stills
        {"pageName", 1},     // the caption's parts
        {"pageLocation", 0},
        {"pageDate", 0},
        {"pageDuration", 1},
        {"pageVIdentity", 1},
        {"pagePoids", 1},
        {"pageEssence", 1},
        {"update", 0}, // check for a newer version
        {"prefDefautDstPathStr", expandTilde(QStringLiteral("~/Movies/"))},
    };
}

bool belongsToSystemPanels(const QString &key)
{
    return key.startsWith(QLatin1String("NSNav")) || key.startsWith(QLatin1String("DRBurn"));
}

} // namespace

QVariantMap PreferencesStore::prefsDefaults()
{
    QVariantMap defaults;
    for (const Preference &preference : preferences()) {
        defaults.insert(QString::fromLatin1(preference.key), preference.defaultValue);
    }
    return defaults;
}

bool PreferencesStore::prefsResetAll()
{
    const QVariantMap defaults = prefsDefaults();
    for (auto it = defaults.cbegin(); it != defaults.cend(); ++it) {
        prefWrite(it.key(), it.value());
    }
    return true;
}

void PreferencesStore::prefsFillMissingDefaults()
{
    const QVariantMap defaults = prefsDefaults();
    for (auto it = defaults.cbegin(); it != defaults.cend(); ++it) {
        const QVariant stored = prefRead(it.key());
        prefWrite(it.key(), stored.isValid() ? stored : it.value());
    }
}

void PreferencesStore::prefsPurgeUnknownKeys()
{
    synchronize();
    if (isVerboseDebug()) {
        logLine(QStringLiteral("plist               : ") + describeValue(m_values));
    }
    const QVariantMap defaults = prefsDefaults();
    for (const QString &key : m_values.keys()) {
        if (!defaults.contains(key) && !belongsToSystemPanels(key)) {
            prefDelete(key);
        }
    }
}

} // namespace qv
