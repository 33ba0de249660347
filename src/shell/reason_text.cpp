#include "shell/reason_text.h"

#include "support/bundle.h"
#include "support/localized_strings.h"
#include "support/property_list.h"

#include <QHash>
#include <QLocale>
#include <QRegularExpression>
#include <QSet>
#include <QVector>

#include <algorithm>

namespace qv
{
namespace
{

struct Template {
    qsizetype length;
    QRegularExpression english;
    QString translated;
    QSet<int> amounts; // numbers of the places that hold one, with a unit
};

struct Table {
    QHash<QString, QString> whole;
    QVector<Template> templates;
};

// "it has %1 pictures": each number stands for any text, in the order of the numbers.
QRegularExpression patternOf(const QString &english)
{
    QString pattern = QRegularExpression::escape(english);
    pattern.replace(QRegularExpression(QStringLiteral("\\\\%[1-9]")), QStringLiteral("(.*)"));
    return QRegularExpression(QRegularExpression::anchoredPattern(pattern),
                              QRegularExpression::DotMatchesEverythingOption);
}

QSet<int> amountsIn(const QString &english)
{
    static const QRegularExpression amount(QStringLiteral("%([1-9]) (s|MB|bytes)\\b"));
    QSet<int> places;
    for (auto match = amount.globalMatch(english); match.hasNext();) {
        places.insert(match.next().captured(1).toInt());
    }
    return places;
}

Table readTable(const QString &path)
{
    Table table;
    const auto content = readPropertyList(path);
    const QVariantMap entries = content ? content->toMap() : QVariantMap();
    for (auto entry = entries.begin(); entry != entries.end(); ++entry) {
        if (entry.key().contains(QLatin1Char('%'))) {
            table.templates.append({entry.key().size(), patternOf(entry.key()),
                                    entry.value().toString(), amountsIn(entry.key())});
        } else {
            table.whole.insert(entry.key(), entry.value().toString());
        }
    }
    // The one that says most fits best.
    std::sort(table.templates.begin(), table.templates.end(),
              [](const Template &a, const Template &b) { return a.length > b.length; });
    return table;
}

const Table &tableOf(const QString &language)
{
    static QHash<QString, Table> tables;
    const QString path =
        QStringLiteral("%1/%2.lproj/reasons.strings").arg(Bundle::main().resourcePath(), language);
    auto found = tables.find(path);
    if (found == tables.end()) {
        found = tables.insert(path, readTable(path));
    }
    return *found;
}

QString shownAmount(const QString &text)
{
    bool isNumber = false;
    const double number = text.toDouble(&isNumber);
    return isNumber ? QLocale(language()).toString(number, 'f', QLocale::FloatingPointShortest)
                    : text;
}

// Names may hold "%1" themselves, so each place is filled once, from the end.
QString filled(const Template &known, const QRegularExpressionMatch &match)
{
    QString text = known.translated;
    static const QRegularExpression place(QStringLiteral("%([1-9])"));
    auto places = place.globalMatch(text);
    QVector<QRegularExpressionMatch> found;
    while (places.hasNext()) {
        found.prepend(places.next());
    }
    for (const QRegularExpressionMatch &one : found) {
        const int number = one.captured(1).toInt();
        const QString part = match.captured(number);
        text.replace(one.capturedStart(), one.capturedLength(),
                     known.amounts.contains(number) ? shownAmount(part) : reasonText(part));
    }
    return text;
}

} // namespace

QString reasonText(const QString &reason)
{
    const Table &table = tableOf(language());
    const auto whole = table.whole.constFind(reason);
    if (whole != table.whole.constEnd()) {
        return *whole;
    }
    for (const Template &known : table.templates) {
        const QRegularExpressionMatch match = known.english.match(reason);
        if (match.hasMatch()) {
            return filled(known, match);
        }
    }
    return reason;
}

} // namespace qv
