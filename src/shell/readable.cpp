#include "shell/readable.h"

#include "support/visible_text.h"

#include <QTextDocument>

#include <cmath>

namespace qv
{
namespace
{

constexpr double quietest = 0.6; // share of the text's own colour
constexpr double selectionContrast = 6;
constexpr int steps = 20;
constexpr qsizetype longestLine = 1000;

// Of one channel, 0 to 1, in linear light.
double linear(double channel)
{
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double luminance(const QColor &color)
{
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
           0.0722 * linear(color.blueF());
}

QColor mixed(const QColor &a, const QColor &b, double shareOfA)
{
    const auto part = [&](int x, int y) {
        return static_cast<int>(std::lround(shareOfA * x + (1 - shareOfA) * y));
    };
    return {part(a.red(), b.red()), part(a.green(), b.green()), part(a.blue(), b.blue())};
}

QColor readableHighlight(const QColor &highlight, const QColor &text)
{
    const QColor away = luminance(text) > luminance(highlight) ? Qt::black : Qt::white;
    QColor color = highlight;
    for (int step = 1; step <= steps && contrast(color, text) < selectionContrast; ++step) {
        color = mixed(away, highlight, static_cast<double>(step) / steps);
    }
    return color;
}

} // namespace

double contrast(const QColor &a, const QColor &b)
{
    const double one = luminance(a) + 0.05;
    const double other = luminance(b) + 0.05;
    return std::max(one, other) / std::min(one, other);
}

QColor quietColor(const QColor &text, const QColor &background)
{
    for (int step = 0; step < steps; ++step) {
        const double share = quietest + (1 - quietest) * step / steps;
        const QColor color = mixed(text, background, share);
        if (contrast(color, background) >= readableContrast) {
            return color;
        }
    }
    return text;
}

QPalette readableSelection(const QPalette &palette)
{
    QPalette selection;
    for (const QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive}) {
        const QColor text = palette.color(group, QPalette::HighlightedText);
        selection.setColor(group, QPalette::HighlightedText, text);
        selection.setColor(group, QPalette::Highlight,
                           readableHighlight(palette.color(group, QPalette::Highlight), text));
    }
    return selection;
}

QString oneLine(const QString &text)
{
    return visibleText(text.left(longestLine));
}

QString plainToolTip(const QString &text)
{
    return text.isEmpty() ? QString() : Qt::convertFromPlainText(text, Qt::WhiteSpaceNormal);
}

} // namespace qv
