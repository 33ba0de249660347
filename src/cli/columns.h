#pragma once

#include <QString>

// Texts on a terminal, whose characters take no column, one, or two.
namespace qv
{

int columnsOf(const QString &text);
// The text when it takes no more than `columns`, else as much of its beginning as fits with an
// ellipsis. No character is cut in two.
QString cutToColumns(const QString &text, int columns);

} // namespace qv
