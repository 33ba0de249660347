#pragma once

#include <QChar>
#include <QString>

// Text from outside (names, tags, a tool's words) shown in logs, messages and on terminals.
namespace qv
{

// Control characters (C0, DEL, C1), line and paragraph separators, and the directional embeddings,
// overrides and isolates of the Unicode Bidirectional Algorithm (UAX #9): they steer a terminal,
// forge a line, or reorder what is shown.
bool steersDisplay(QChar c);

// The text with each such character as an escape: "\n", "\x1b", "\u202e".
QString visibleText(const QString &text);
// The same, with line feeds kept, for text that has several lines on purpose.
QString visibleLines(const QString &text);

} // namespace qv
