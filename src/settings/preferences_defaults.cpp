// The settings, their defaults, and what keeps the store complete and clean.
#include "settings/preferences_store.h"

#include "settings/color_text.h"
#include "settings/value_description.h"
#include "support/files.h"
#include "support/log.h"
#include "support/variant_values.h"

#include <QList>

#include <limits>

namespace qv
{
namespace
{

struct Preference {
    const char *key;
    QVariant defaultValue;
};

// The only list of the settings. The minimum layout has the smallest cells, so it takes the most of
// them.
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
        {"prefRefuseDamaged", 0}, // damaged sources make no rows
        {"update", 0},            // check for a newer version
        {"prefDefautDstPathStr", expandTilde(QStringLiteral("~/Movies/"))},
    };
}

constexpr qsizetype longestShown = 100;
constexpr qsizetype longestText = 4096;
constexpr int mostStills = 1000;
constexpr int mostSegments = 32;

bool isNumberUpTo(const QVariant &value, double smallest, double largest)
{
    const auto number = numberValue(value);
    return number && *number >= smallest && *number <= largest;
}

bool isPossible(const QString &key, const QVariant &value)
{
    const bool isText = value.typeId() == QMetaType::QString;
    if (isText && value.toString().size() > longestText) {
        return false;
    }
    if (key == QLatin1String("prefDefautDstPathStr")) {
        return isText;
    }
    if (key.endsWith(QLatin1String("Color")) && key != QLatin1String("prefColor")) {
        return isText && colorFromText(value.toString()).has_value();
    }
    if (key.startsWith(QLatin1String("prefLimit"))) {
        return isNumberUpTo(value, 1, mostStills);
    }
    if (key == QLatin1String("prefBorderSize")) {
        return isNumberUpTo(value, 0, largestBorderSize);
    }
    // A swatch that is not there is the panel's to replace.
    const double largest =
        key == QLatin1String("prefColor") ? std::numeric_limits<int>::max() : mostSegments;
    return value.typeId() == QMetaType::Bool || isNumberUpTo(value, 0, largest);
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

QStringList PreferencesStore::prefsMendImpossible()
{
    QStringList mended;
    const QVariantMap defaults = prefsDefaults();
    for (auto it = defaults.cbegin(); it != defaults.cend(); ++it) {
        const QVariant stored = m_values.value(it.key());
        if (stored.isValid() && !isPossible(it.key(), stored)) {
            logLine(QStringLiteral("plist               :-( %1 = %2")
                        .arg(it.key(), describeValue(stored).left(longestShown)));
            prefWrite(it.key(), it.value());
            mended.append(it.key());
        }
    }
    return mended;
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
