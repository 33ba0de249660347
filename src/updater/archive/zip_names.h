#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

// What an archive's names and links may be. Names are bytes.
namespace qv
{

// The components of an entry's name, whose last one may be followed by a "/". Nothing when the name
// can't be taken: absolute, leading upwards, with "\" or control characters, over-long.
std::optional<QList<QByteArray>> entryComponents(const QByteArray &name);

// Whether a link, so many folders below the archive's top, may lead there. It may rise to the
// top-level entry that it stands in, and only at its beginning: its folder is a real one, so these
// steps go where they say; what follows only descends, and a link met on the way begins again at
// a real folder within the same bounds. So no chain of links leads out.
bool isLinkWithin(const QByteArray &target, qsizetype foldersAbove);

constexpr qsizetype longestLink = 4000; // bytes of a target

// The name for people: of a bounded length, with replacement characters for what is no text.
QString shownEntry(const QByteArray &name);

// The reason for an entry that does not hold what it says.
QString damagedArchive(const QByteArray &entry);

} // namespace qv
