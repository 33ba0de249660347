#pragma once

#include "support/bundle.h"

#include <QString>

// User-facing words by key, from the string tables of the bundle.
namespace qv
{

// What precedes the key in an interface text that waits to be localised.
inline constexpr QLatin1String localizationMarker("@@");

// The context that interface texts are localised in: which bundle, which table. The main bundle and
// the table "Localized" once the application has started.
void setLocalizationBundle(const Bundle &bundle);
void setLocalizationTable(const QString &table);
// The language whose tables are read: "en" or "fr". By default, and after any other code, the one
// of the two that the user's system prefers, English when it prefers neither.
void setLanguage(const QString &code);
QString language();

// The word for a key; the key itself when the table lacks it. The table is "Localized" unless
// named.
QString localized(const QString &key);
QString localized(const QString &key, const QString &table);
// With the first letter of each word in upper case.
QString localizedCapitalized(const QString &key);
QString capitalized(const QString &text);

// An interface text: "@@key" becomes the word for the key in the context's table, any other text
// stays. `replaced` tells which.
struct LocalizedText {
    QString text;
    bool replaced = false;
};
LocalizedText localizeText(const QString &text);

} // namespace qv
