#include "controller/sheet_owner.h"

#include "sheet/xmp_packet.h"
#include "support/files.h"
#include "support/foreign_names.h"

#include <QFile>

#include <cerrno>
#include <sys/stat.h>

namespace qv
{
namespace
{

// Links are not followed: one that leads nowhere holds its name, too.
bool isThere(const QByteArray &path, struct stat &status)
{
    return ::lstat(path.constData(), &status) == 0 || (errno != ENOENT && errno != ENOTDIR);
}

PlaceContent unknown(const QString &what)
{
    return {PlaceContent::Kind::Unknown, {}, what};
}

QString nameOf(const QString &sourcePath)
{
    return xmpText(lastPathComponent(shownPath(sourcePath)));
}

// Whether the source that was at `before` may be at `now`: nothing is at the old path any more, or
// both lead to one file.
bool mayHaveMoved(const QByteArray &before, const QByteArray &now)
{
    struct stat old {
    };
    struct stat current {
    };
    if (::stat(before.constData(), &old) != 0) {
        return errno == ENOENT || errno == ENOTDIR;
    }
    return ::stat(now.constData(), &current) == 0 && old.st_dev == current.st_dev &&
           old.st_ino == current.st_ino;
}

} // namespace

PlaceContent placeContent(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    struct stat status {
    };
    if (!isThere(name, status)) {
        return {};
    }
    if (S_ISDIR(status.st_mode)) {
        return unknown(QStringLiteral("a folder"));
    }
    const auto source = readSheetSource(name);
    if (!source) {
        return unknown(
            QStringLiteral("a file that does not say whose sheet it is (%1)").arg(source.error()));
    }
    return {PlaceContent::Kind::Sheet, *source, {}};
}

QString ownerText(const SheetSource &source)
{
    return source.path.isEmpty() ? source.name : QString::fromUtf8(source.path);
}

QString contentText(const PlaceContent &content)
{
    return content.isSheet() ? QStringLiteral("the sheet of ") + ownerText(content.source)
                             : content.what;
}

Claim claimOn(const PlaceContent &content, const QString &sourcePath)
{
    if (!content.isSheet()) {
        return Claim::None;
    }
    const SheetSource &source = content.source;
    const QByteArray path = rawPath(sourcePath);
    if (!source.path.isEmpty() && source.path == path) {
        return Claim::Own;
    }
    if (source.name != nameOf(sourcePath)) {
        return Claim::None;
    }
    if (source.path.isEmpty() && !source.mark.isEmpty() && source.mark == pathMark(path)) {
        return Claim::Own;
    }
    const bool isAlike = source.state == sourceState(sourcePath);
    return isAlike && (source.path.isEmpty() || mayHaveMoved(source.path, path)) ? Claim::Moved
                                                                                 : Claim::None;
}

} // namespace qv
