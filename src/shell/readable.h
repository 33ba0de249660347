#pragma once

#include <QColor>
#include <QPalette>
#include <QString>

// Colours and texts that people can read, out of palettes and texts that come from elsewhere.
namespace qv
{

// Contrast of two opaque colours, 1 to 21 (WCAG 2.1, "contrast ratio").
double contrast(const QColor &a, const QColor &b);
// What small text needs at least (WCAG 2.1, criterion 1.4.3).
inline constexpr double readableContrast = 4.5;

// The text's colour brought towards the background's, as far as small text stays readable.
QColor quietColor(const QColor &text, const QColor &background);
// A palette of nothing but selection colours: those of the given one, with a highlight on which
// quiet text is readable, too.
QPalette readableSelection(const QPalette &palette);

// The text on one line, as visibleText() shows it, cut to what a line could show.
QString oneLine(const QString &text);
// A tool tip that shows the text as it is, whatever markup it looks like; none of an empty text.
QString plainToolTip(const QString &text);

} // namespace qv
