// Paths as texts, and the naming rules of bundles that hold sources.
#include "support/files.h"

#include "support/foreign_names.h"
#include "support/platform.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <filesystem>

namespace qv
{
namespace
{

constexpr QLatin1String recorderMarker(".eyetv/");
constexpr QLatin1String editorMarker(".iMovieProject/");
constexpr QLatin1String editorShareMarker(".iMovieProject/Shared Movies/iDVD");
constexpr qint64 desktopEntryMaxBytes = 64 << 10;

QString withoutTrailingSlashes(const QString &path)
{
    qsizetype length = path.size();
    while (length > 1 && path.at(length - 1) == QLatin1Char('/')) {
        --length;
    }
    return path.left(length);
}

QString parentOf(const QString &path)
{
    const QString trimmed = withoutTrailingSlashes(path);
    const qsizetype slash = trimmed.lastIndexOf(QLatin1Char('/'));
    if (slash < 0) {
        return QStringLiteral("");
    }
    return slash == 0 ? QStringLiteral("/") : withoutTrailingSlashes(trimmed.left(slash));
}

// Where the extension's dot stands in a name; -1 without one. A name that only begins with a dot
// is a hidden file, not an extension.
qsizetype extensionDot(const QString &name)
{
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    return dot > 0 && dot < name.size() - 1 ? dot : -1;
}

QString bundleTitle(const QString &path, qsizetype markerAt)
{
    return lastPathComponent(path.left(markerAt));
}

// The value of a key in the group [Desktop Entry].
QByteArray desktopEntryValue(const QByteArray &content, const QByteArray &key)
{
    bool inGroup = false;
    for (const QByteArray &rawLine : content.split('\n')) {
        const QByteArray line = rawLine.trimmed();
        if (line.startsWith('[')) {
            inGroup = line == "[Desktop Entry]";
        }
        const qsizetype equals = line.indexOf('=');
        if (inGroup && equals > 0 && line.left(equals).trimmed() == key) {
            return line.mid(equals + 1).trimmed();
        }
    }
    return {};
}

QString desktopEntryTarget(const QString &path)
{
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QByteArray content = file.read(desktopEntryMaxBytes);
    const QUrl url = QUrl::fromEncoded(desktopEntryValue(content, "URL"));
    const bool isHere = url.host().isEmpty() || url.host() == QLatin1String("localhost");
    const bool isLink = desktopEntryValue(content, "Type") == "Link" && url.isLocalFile() && isHere;
    const QString target = url.path(QUrl::FullyDecoded);
    return isLink && QFileInfo::exists(target) ? target : QString();
}

QString linkTarget(const QString &path)
{
    std::error_code error;
    const std::filesystem::path target =
        std::filesystem::canonical(QFile::encodeName(path).toStdString(), error);
    return error ? QString() : usablePath(QByteArray::fromStdString(target.string()));
}

} // namespace

QString expandTilde(const QString &path)
{
    const bool isHome = path == QLatin1String("~") || path.startsWith(QLatin1String("~/"));
    return isHome ? QDir::homePath() + path.mid(1) : path;
}

QString EyetvBundle(const QString &path)
{
    const QString expanded = expandTilde(path);
    const QString parent = parentOf(expanded);
    const bool isInside =
        expanded.contains(recorderMarker) && parent.endsWith(QLatin1String(".eyetv"));
    return isInside ? parent : expanded;
}

QString fichier_dirname(const QString &path)
{
    QString expanded = expandTilde(path);
    if (expanded.contains(editorShareMarker)) {
        expanded.chop(editorShareMarker.size());
    }
    return parentOf(EyetvBundle(expanded));
}

QString sourceTitle(const QString &path)
{
    const QString expanded = expandTilde(path);
    for (const QLatin1String marker : {editorMarker, recorderMarker}) {
        if (const qsizetype at = expanded.indexOf(marker); at >= 0) {
            return bundleTitle(expanded, at);
        }
    }
    return withoutExtension(lastPathComponent(expanded));
}

QString resolveAlias(const QString &path)
{
    const QString expanded = expandTilde(path);
    const bool isOurOwn = shownPath(expanded) != expanded; // a link that only gives a name
    if (expanded.isEmpty() || isOurOwn) {
        return {};
    }
    if (QFileInfo(expanded).isSymLink()) {
        return linkTarget(expanded);
    }
    const bool isEntry = pathExtension(expanded) == QLatin1String("desktop");
    return isEntry ? desktopEntryTarget(expanded) : QString();
}

QString lastPathComponent(const QString &path)
{
    const QString trimmed = withoutTrailingSlashes(path);
    const qsizetype slash = trimmed.lastIndexOf(QLatin1Char('/'));
    return trimmed.size() > 1 ? trimmed.mid(slash + 1) : trimmed;
}

QString pathExtension(const QString &path)
{
    const QString name = lastPathComponent(path);
    const qsizetype dot = extensionDot(name);
    return dot < 0 ? QStringLiteral("") : name.mid(dot + 1);
}

QString withoutExtension(const QString &path)
{
    const QString trimmed = withoutTrailingSlashes(path);
    const QString name = lastPathComponent(trimmed);
    const qsizetype dot = extensionDot(name);
    return dot < 0 ? trimmed : trimmed.chopped(name.size() - dot);
}

QString appendPath(const QString &folder, const QString &name)
{
    if (folder.isEmpty() || name.isEmpty()) {
        return folder.isEmpty() ? name : folder;
    }
    const bool hasSlash = folder.endsWith(QLatin1Char('/'));
    return hasSlash ? folder + name : folder + QLatin1Char('/') + name;
}

QString fittedName(const QString &name, const QString &suffix, int limit)
{
    QString cut = name;
    while (!cut.isEmpty() && QFile::encodeName(cut + suffix).size() > limit) {
        cut.chop(cut.size() > 1 && cut.back().isLowSurrogate() ? 2 : 1);
    }
    return cut + suffix;
}

} // namespace qv
