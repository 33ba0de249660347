#include "published/clip_titles.h"

#include "support/files.h"

#include <algorithm>

namespace qv
{
namespace
{

QString cutAtSuffix(const QString &name, const QString &suffix)
{
    const bool isCut = !suffix.isEmpty() && name.endsWith(suffix);
    return isCut ? name.left(name.indexOf(suffix)) : name;
}

// A blank at the end goes with the character before it, which is the separator of a cut suffix.
QString trimmedTitle(QString title)
{
    constexpr int mostTrims = 10;
    for (int i = 0; i < mostTrims && title.size() > 1; ++i) {
        if (title.endsWith(u' ')) {
            title.chop(2);
        } else if (title.startsWith(u' ')) {
            title.remove(0, 1);
        } else {
            break;
        }
    }
    return title;
}

// The first characters; a surrogate pair is never cut in two.
QString firstCharacters(const QString &text, int maximum)
{
    qsizetype length = std::clamp<qsizetype>(maximum, 0, text.size());
    if (length > 0 && length < text.size() && text[length].isLowSurrogate()) {
        --length;
    }
    return text.left(length);
}

QString withExtension(const QString &path, const QString &extension)
{
    return extension.isEmpty() ? path : path + u'.' + extension;
}

QString besides(const QString &path, const QString &name)
{
    const qsizetype slash = path.lastIndexOf(u'/');
    return slash < 0 ? name : path.left(slash + 1) + name;
}

} // namespace

QString pathes2Titles(const QString &path, const QStringList &suffixes)
{
    const QString source = withoutExtension(lastPathComponent(EyetvBundle(path)));
    QString title = source;
    const QStringList all = suffixes + QStringList{QStringLiteral("-PAL"), QStringLiteral("-NV"),
                                                   QStringLiteral("-NF")};
    for (const QString &suffix : all) {
        title = cutAtSuffix(title, suffix);
    }
    title.replace(u'_', u' ');
    title = trimmedTitle(findAndReplace(title, QStringLiteral("  "), QStringLiteral(" "), true));
    return title.isEmpty() ? source : title;
}

QString masterName(const QString &path)
{
    constexpr int longestPath = 27;
    const QString mark = QStringLiteral("_MASTER");
    if (path.isEmpty()) {
        return path;
    }
    const QString extension = pathExtension(path);
    const QString marked = withoutExtension(path) + mark;
    if (marked.size() <= longestPath) {
        return withExtension(marked, extension);
    }
    QString name = withoutExtension(lastPathComponent(path));
    name.replace(u'.', u'_');
    name = shortenedName(name, longestPath - static_cast<int>(mark.size())) + mark;
    return withExtension(besides(path, name), extension);
}

QString shortenedName(const QString &path, int maximum)
{
    constexpr qsizetype longestExtension = 12;
    const QString extension = pathExtension(path);
    QString name = withoutExtension(lastPathComponent(path));
    name.remove(u'`').replace(u':', u'-');
    const QString kept = extension.size() > longestExtension ? QString() : extension;
    return withExtension(besides(path, firstCharacters(name, maximum)), kept);
}

} // namespace qv
