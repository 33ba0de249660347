#include "updater/release_notes.h"

#include <QRegularExpression>
#include <QStringList>

#include <algorithm>

namespace qv
{
namespace
{

constexpr qsizetype longestPage = 200'000; // characters
constexpr qsizetype deepest = 16;
constexpr int mostTags = 4000;
constexpr qsizetype longestName = 20;
constexpr qsizetype longestWord = 200; // a longer one is broken

bool isOneOf(const QString &name, std::initializer_list<const char *> names)
{
    return std::any_of(names.begin(), names.end(),
                       [&](const char *other) { return name == QLatin1String(other); });
}

bool isKept(const QString &name)
{
    return isOneOf(name, {"h1",    "h2",   "h3",  "h4", "h5",         "h6",     "p",    "br",
                          "hr",    "ul",   "ol",  "li", "b",          "strong", "i",    "em",
                          "u",     "code", "pre", "a",  "blockquote", "dl",     "dt",   "dd",
                          "table", "tr",   "td",  "th", "sub",        "sup",    "small"});
}

bool isEmptyElement(const QString &name)
{
    return isOneOf(name, {"br", "hr"});
}

// What stands between its tags is no text for people.
bool isSkipped(const QString &name)
{
    return isOneOf(name, {"script", "style", "title", "iframe", "object", "noscript", "template",
                          "textarea", "select", "svg", "math", "audio", "video"});
}

// Its end need not be written: the next one of its kind ends it.
bool isEndedByNext(const QString &name)
{
    return isOneOf(name, {"p", "li", "dt", "dd", "tr", "td", "th"});
}

bool isContainer(const QString &name)
{
    return isOneOf(name, {"ul", "ol", "dl", "table", "blockquote"});
}

class NotesFilter
{
public:
    explicit NotesFilter(const QString &page) : m_page(page.left(longestPage)) {}

    QString filtered()
    {
        while (m_position < m_page.size()) {
            const qsizetype tag = m_page.indexOf(QLatin1Char('<'), m_position);
            takeText(m_page.mid(m_position, tag < 0 ? -1 : tag - m_position));
            m_position = tag < 0 ? m_page.size() : tag;
            if (tag >= 0) {
                takeMarkup();
            }
        }
        closeDownTo(0);
        return m_result;
    }

private:
    void takeText(const QString &text)
    {
        static const QRegularExpression longWord(QStringLiteral("([^\\s&;]{%1})").arg(longestWord));
        m_result += text.size() > longestWord
                        ? QString(text).replace(longWord, QStringLiteral("\\1 "))
                        : text;
    }

    void takeMarkup()
    {
        if (m_page.mid(m_position, 4) == QLatin1String("<!--")) {
            skipBehind(QStringLiteral("-->"));
            return;
        }
        const bool isEnd = at(m_position + 1) == QLatin1Char('/');
        const QString name = nameAt(m_position + (isEnd ? 2 : 1));
        if (!name.isEmpty()) {
            takeTag(name, isEnd);
        } else if (isEnd || at(m_position + 1) == QLatin1Char('!') ||
                   at(m_position + 1) == QLatin1Char('?')) {
            skipBehind(QStringLiteral(">"));
        } else {
            m_result += QLatin1String("&lt;");
            ++m_position;
        }
    }

    QChar at(qsizetype position) const
    {
        return position < m_page.size() ? m_page.at(position) : QChar();
    }

    // Of an element, in lower case; empty when none begins there.
    QString nameAt(qsizetype begin) const
    {
        const auto isPart = [](QChar c) { return c.unicode() < 128 && c.isLetterOrNumber(); };
        qsizetype end = begin;
        while (end < begin + longestName && isPart(at(end))) {
            ++end;
        }
        return at(begin).isLetter() ? m_page.mid(begin, end - begin).toLower() : QString();
    }

    void takeTag(const QString &name, bool isEnd)
    {
        const qsizetype begin = m_position;
        m_position = endOfTag();
        if (isEnd) {
            close(name);
        } else if (isSkipped(name)) {
            skipBehind(QStringLiteral("</") + name);
            skipBehind(QStringLiteral(">"));
        } else if (isKept(name)) {
            open(name, m_page.mid(begin, m_position - begin));
        }
    }

    // Behind the ">" that stands in no quotes.
    qsizetype endOfTag() const
    {
        QChar quote;
        for (qsizetype i = m_position; i < m_page.size(); ++i) {
            const QChar c = m_page.at(i);
            if (quote.isNull() && c == QLatin1Char('>')) {
                return i + 1;
            }
            if (c == quote) {
                quote = {};
            } else if (quote.isNull() && (c == QLatin1Char('"') || c == QLatin1Char('\''))) {
                quote = c;
            }
        }
        return m_page.size();
    }

    void skipBehind(const QString &mark)
    {
        const qsizetype found = m_page.indexOf(mark, m_position, Qt::CaseInsensitive);
        m_position = found < 0 ? m_page.size() : found + mark.size();
    }

    void open(const QString &name, const QString &tag)
    {
        if (isEndedByNext(name)) {
            endOneBefore(name);
        }
        if (m_open.size() >= deepest || ++m_tags > mostTags) {
            return;
        }
        m_result += QLatin1Char('<') + name + (name == QLatin1String("a") ? link(tag) : QString()) +
                    QLatin1Char('>');
        if (!isEmptyElement(name)) {
            m_open.append(name);
        }
    }

    static QString link(const QString &tag)
    {
        static const QRegularExpression address(
            QStringLiteral("\\shref\\s*=\\s*[\"']?(https?://[^\"'<>\\s]+)"),
            QRegularExpression::CaseInsensitiveOption);
        const QString found = address.match(tag).captured(1);
        return found.isEmpty() ? QString() : QStringLiteral(" href=\"%1\"").arg(found);
    }

    // Only within the list or table that stands open now.
    void endOneBefore(const QString &name)
    {
        for (qsizetype i = m_open.size() - 1; i >= 0 && !isContainer(m_open.at(i)); --i) {
            if (m_open.at(i) == name) {
                closeDownTo(i);
                return;
            }
        }
    }

    void close(const QString &name)
    {
        if (const qsizetype index = m_open.lastIndexOf(name); index >= 0) {
            closeDownTo(index);
        }
    }

    void closeDownTo(qsizetype count)
    {
        while (m_open.size() > count) {
            m_result += QStringLiteral("</%1>").arg(m_open.takeLast());
        }
    }

    const QString m_page;
    qsizetype m_position = 0;
    QStringList m_open;
    int m_tags = 0;
    QString m_result;
};

} // namespace

QString safeNotes(const QString &page)
{
    return NotesFilter(page).filtered();
}

} // namespace qv
