#include "fuzz_input.h"

#include "updater/release_notes.h"

#include <QRegularExpression>

using namespace qv;

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString notes = safeNotes(fuzz::text(data, size));
    static const QRegularExpression tag(
        QStringLiteral("<(/?)([a-z][a-z0-9]*)( href=\"https?://[^\"<>\\s]+\")?>"),
        QRegularExpression::CaseInsensitiveOption);
    QStringList open;
    qsizetype position = notes.indexOf(u'<');
    for (; position >= 0; position = notes.indexOf(u'<', position + 1)) {
        const QRegularExpressionMatch match =
            tag.match(notes, position, QRegularExpression::NormalMatch,
                      QRegularExpression::AnchorAtOffsetMatchOption);
        fuzz::require(match.hasMatch(), "every < begins a tag of ours");
        const QString name = match.captured(2);
        fuzz::require(match.captured(3).isEmpty() || name == u"a", "only links have an address");
        if (!match.captured(1).isEmpty()) {
            fuzz::require(!open.isEmpty() && open.takeLast() == name, "ends fit their beginnings");
        } else if (name != u"br" && name != u"hr") {
            open.append(name);
        }
        fuzz::require(open.size() <= 16, "the depth is bounded");
    }
    fuzz::require(open.isEmpty(), "everything is closed");
    return 0;
}
