#pragma once

#include <QString>

namespace qv
{

// A page from elsewhere (HTML) as the little that release notes need: headings, paragraphs, lists,
// tables, emphasis, and links to the web. Everything else is left out: scripts and styles with what
// they hold, of other elements the tags. Laying out a page takes time, and a stack, that grow with
// how deep and how often its elements are nested, so both are bounded.
QString safeNotes(const QString &page);

} // namespace qv
