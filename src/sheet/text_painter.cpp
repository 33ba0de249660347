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

QStringList bundleFontFiles()
{
    const QDir folder(Bundle::main().resourcePath() + QStringLiteral("/fonts"));
    const QStringList patterns{QStringLiteral("*.ttf"), QStringLiteral("*.otf"),
                               QStringLiteral("*.ttc")};
    QStringList files;
    for (const QString &name : folder.entryList(patterns, QDir::Files | QDir::Readable)) {
        // The font is read again whenever it falls out of a cache, also when a link to it has gone.
        files << QFileInfo(folder.filePath(name)).canonicalFilePath();
    }
    return files;
}

QStringList loadedFamilies()
{
    QStringList families{QStringLiteral("Noto Sans")};
    for (const QString &file : bundleFontFiles()) {
        families << QFontDatabase::applicationFontFamilies(QFontDatabase::addApplicationFont(file));
    }
    families.removeDuplicates();
    return families;
}

// First choice first; the bundle's fonts are loaded once.
QStringList fontFamilies()
{
    static const QStringList families = loadedFamilies();
    return families;
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
    font.setFamilies(fontFamilies());
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
    Line(const QString &text, const TextAttributes &attributes, const QRectF &rect)
        : m_metrics(attributes.font),
          m_layout(m_metrics.elidedText(text, Qt::ElideRight, rect.width()), attributes.font)
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
        place(rect, attributes.alignment);
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
    const Line line(singleLine(text), attributes, rect);
    painter.save();
    if (attributes.shadow) {
        drawShadow(painter, line.extent(), [&](QPainter &mask) { line.draw(mask); });
    }
    painter.setPen(attributes.color);
    line.draw(painter);
    painter.restore();
}

} // namespace qv
