#include "support/localized_strings.h"

#include "support/property_list.h"
#include "support/variant_values.h"

#include <QHash>
#include <QLocale>

#include <mutex>
#include <optional>

namespace qv
{
namespace
{

struct Context {
    std::optional<Bundle> bundle;
    QString table;
    QString language;
};

Context &context()
{
    static Context instance;
    return instance;
}

bool isLanguage(const QString &tag, QLatin1String code)
{
    return tag.startsWith(code, Qt::CaseInsensitive) &&
           (tag.size() == code.size() || !tag[code.size()].isLetter());
}

QString systemLanguage()
{
    for (const QString &tag : QLocale::system().uiLanguages()) {
        for (const QLatin1String code : {QLatin1String("en"), QLatin1String("fr")}) {
            if (isLanguage(tag, code)) {
                return code;
            }
        }
    }
    return QStringLiteral("en");
}

QVariantMap readTable(const QString &path)
{
    const auto content = readPropertyList(path);
    return content ? content->toMap() : QVariantMap();
}

// A table is read once; a missing or damaged one holds no words. Sheets are drawn on other threads,
// too.
QVariantMap tableAt(const QString &path)
{
    static std::mutex mutex;
    static QHash<QString, QVariantMap> tables;
    const std::lock_guard lock(mutex);
    auto found = tables.find(path);
    if (found == tables.end()) {
        found = tables.insert(path, readTable(path));
    }
    return *found;
}

QString wordFrom(const Bundle &bundle, const QString &table, const QString &key)
{
    const QString path =
        QStringLiteral("%1/%2.lproj/%3.strings").arg(bundle.resourcePath(), language(), table);
    const QString word = stringIn(tableAt(path), key);
    return word.isNull() ? key : word;
}

QString contextTable()
{
    const QString &table = context().table;
    return !context().bundle || table.isEmpty() ? QStringLiteral("Localizable") : table;
}

} // namespace

void setLocalizationBundle(const Bundle &bundle)
{
    context().bundle = bundle;
}

void setLocalizationTable(const QString &table)
{
    context().table = table;
}

void setLanguage(const QString &code)
{
    const bool isKnown = code == QLatin1String("en") || code == QLatin1String("fr");
    context().language = isKnown ? code : systemLanguage();
}

QString language()
{
    if (context().language.isEmpty()) {
        setLanguage({});
    }
    return context().language;
}

QString localized(const QString &key)
{
    return localized(key, QStringLiteral("Localized"));
}

QString localized(const QString &key, const QString &table)
{
    return wordFrom(Bundle::main(), table, key);
}

QString localizedCapitalized(const QString &key)
{
    return capitalized(localized(key));
}

QString capitalized(const QString &text)
{
    QString result = text;
    for (qsizetype i = 0; i < result.size(); ++i) {
        if (i == 0 || result[i - 1].isSpace()) {
            result[i] = result[i].toUpper();
        }
    }
    return result;
}

LocalizedText localizeText(const QString &text)
{
    if (!text.startsWith(localizationMarker)) {
        return {text, false};
    }
    const Bundle bundle = context().bundle.value_or(Bundle::main());
    return {wordFrom(bundle, contextTable(), text.mid(localizationMarker.size())), true};
}

} // namespace qv
