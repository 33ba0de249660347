#include "sheet/text_painter.h"

#include "sheet/composer.h"
#include "sheet/text_shadow.h"
#include "support/bundle.h"
#include "support/log.h"
#include "support/numbers.h"

#include <QDir>
#include <QFileInfo>
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QImage>
#include <QTextLayout>

#include <algorithm>
#include <cmath>
#include <utility>

namespace qv
{

namespace
{

constexpr double fallbackFontSize = 11;
constexpr double largestFontSize = 1000;
constexpr double shadowThreshold = 0.8;
constexpr int longestText = 2000;

const QString textFamily = QStringLiteral("Noto Sans");
const QString textFontFile = QStringLiteral("NotoSans-Regular.ttf");

QDir fontFolder()
{
    return QDir(Bundle::main().resourcePath() + QStringLiteral("/fonts"));
}

QStringList bundleFontFiles()
{
    const QStringList patterns{QStringLiteral("*.ttf"), QStringLiteral("*.otf"),
                               QStringLiteral("*.ttc")};
    return fontFolder().entryList(patterns, QDir::Files | QDir::Readable);
}

// The families in a font file of the bundle.
QStringList loadedFont(const QString &name)
{
    // The font is read again whenever it falls out of a cache, also when a link to it has gone.
    const QString file = QFileInfo(fontFolder().filePath(name)).canonicalFilePath();
    return QFontDatabase::applicationFontFamilies(QFontDatabase::addApplicationFont(file));
}

bool hasTextFont()
{
    static const bool isLoaded = loadedFont(textFontFile).contains(textFamily);
    return isLoaded;
}

// First choice first. Qt reads the whole character map of each font file that it loads, so this
// takes some 15 ms of processor time.
QStringList allFamilies()
{
    static const QStringList families = [] {
        QStringList found{textFamily};
        const bool hasText = hasTextFont();
        for (const QString &name : bundleFontFiles()) {
            if (!hasText || name != textFontFile) {
                found << loadedFont(name);
            }
        }
        found.removeDuplicates();
        return found;
    }();
    return families;
}

// Scripts for which Qt chooses the text font whatever other families are named after it.
bool isOfTextScript(char32_t character)
{
    switch (QChar::script(character)) {
    case QChar::Script_Common:
    case QChar::Script_Inherited:
    case QChar::Script_Latin:
    case QChar::Script_Greek:
    case QChar::Script_Cyrillic:
        return true;
    default:
        return false;
    }
}

// Whether the text font alone draws the text as all fonts together would.
bool needsOnlyTextFont(const QString &text)
{
    if (!hasTextFont()) {
        return false;
    }
    QFont font(textFamily);
    font.setStyleStrategy(QFont::NoFontMerging);
    const QFontMetricsF metrics(font);
    const QList<uint> characters = text.toUcs4();
    return std::all_of(characters.begin(), characters.end(), [&](uint character) {
        const bool isPlain = character >= ' ' && character <= '~';
        return isPlain || (isOfTextScript(character) && metrics.inFontUcs4(character));
    });
}

QStringList familiesFor(const QString &text)
{
    return needsOnlyTextFont(text) ? QStringList(textFamily) : allFamilies();
}

Qt::Alignment alignmentOf(QChar letter)
{
    switch (letter.unicode()) {
    case 'r':
        return Qt::AlignRight;
    case 'c':
        return Qt::AlignHCenter;
    case 'j':
        return Qt::AlignJustify;
    default:
        return Qt::AlignLeft;
    }
}

QFont sheetFont(double size)
{
    const double pixels = size >= 0 ? std::min(size, largestFontSize) : fallbackFontSize;
    QFont font;
    font.setFamilies(hasTextFont() ? QStringList(textFamily) : allFamilies());
    font.setPixelSize(std::max(1, static_cast<int>(std::lround(pixels))));
    // Glyph widths that follow the size exactly keep a layout equal at every scale.
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}

bool breaksLine(QChar character)
{
    return character.category() == QChar::Other_Control ||
           character.category() == QChar::Separator_Line ||
           character.category() == QChar::Separator_Paragraph;
}

// Names may hold line ends and other controls, and anything of any length.
QString singleLine(const QString &text)
{
    QString line = text.left(longestText);
    std::replace_if(line.begin(), line.end(), breaksLine, QChar(u' '));
    return line;
}

// One shaped line, cut to a width; baseline and extent in the painter's coordinates.
class Line
{
public:
    Line(const QString &text, const QFont &font, Qt::Alignment alignment, const QRectF &rect)
        : m_metrics(font), m_layout(m_metrics.elidedText(text, Qt::ElideRight, rect.width()), font)
    {
        QTextOption option(Qt::AlignLeft | Qt::AlignAbsolute);
        option.setWrapMode(QTextOption::NoWrap);
        option.setTextDirection(text.isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
        option.setFlags(QTextOption::IncludeTrailingSpaces);
        m_layout.setTextOption(option);
        m_layout.setCacheEnabled(true);
        m_layout.beginLayout();
        m_line = m_layout.createLine();
        m_line.setNumColumns(static_cast<int>(m_layout.text().size()));
        m_layout.endLayout();
        place(rect, alignment);
    }

    QRectF extent() const { return {m_origin, QSizeF(m_line.naturalTextWidth(), m_line.height())}; }

    void draw(QPainter &painter) const { m_layout.draw(&painter, m_origin); }

private:
    // Every line of a size stands on the same height, whichever fonts its script brings in.
    void place(const QRectF &rect, Qt::Alignment alignment)
    {
        const double baseline = rect.center().y() + (m_metrics.ascent() - m_metrics.descent()) / 2;
        const double free = rect.width() - m_line.naturalTextWidth();
        double x = rect.left();
        if (alignment & Qt::AlignRight) {
            x += free;
        } else if (alignment & Qt::AlignHCenter) {
            x += free / 2;
        }
        m_origin = QPointF(x, baseline - m_line.ascent());
    }

    QFontMetricsF m_metrics;
    QTextLayout m_layout;
    QTextLine m_line;
    QPointF m_origin;
};

} // namespace

void prepareTexts()
{
    static bool ready = false;
    if (std::exchange(ready, true)) {
        return;
    }
    QImage canvas(64, 32, QImage::Format_ARGB32_Premultiplied);
    canvas.fill(Qt::black);
    QPainter painter(&canvas);
    drawText(painter, canvas.rect(), QStringLiteral("0:00:00"),
             textAttributes(16, Qt::white, QChar(u'l')));
}

void loadFontsFor(const QStringList &texts)
{
    for (const QString &text : texts) {
        familiesFor(singleLine(text));
    }
}

TextAttributes textAttributes(double size, const QColor &color, QChar alignment)
{
    TextAttributes attributes;
    attributes.font = sheetFont(size);
    attributes.color = color.isValid() ? color : QColor(Qt::white);
    attributes.alignment = alignmentOf(alignment);
    const double level = brightness(attributes.color);
    attributes.shadow = level >= shadowThreshold;
    if (isVerboseDebug() && !attributes.shadow) {
        logLine(QStringLiteral("rgba average txt    : %1 (size=%2, align:%3) -> isShadow ? 0")
                    .arg(fixedText(level, 2), fixedText(size, 0), QString(alignment)));
    }
    return attributes;
}

void drawText(QPainter &painter, const QRectF &rect, const QString &text,
              const TextAttributes &attributes)
{
    if (text.isEmpty() || rect.isEmpty()) {
        return;
    }
    const QString shown = singleLine(text);
    QFont font = attributes.font;
    font.setFamilies(familiesFor(shown));
    const Line line(shown, font, attributes.alignment, rect);
    painter.save();
    if (attributes.shadow) {
        drawShadow(painter, line.extent(), [&](QPainter &mask) { line.draw(mask); });
    }
    painter.setPen(attributes.color);
    line.draw(painter);
    painter.restore();
}

} // namespace qv
