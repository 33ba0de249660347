#include "updater/package_owner.h"

#include "process/tool_run.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QStringList>

namespace qv
{
namespace
{

// Its arguments are patterns.
QString dpkgPattern(const QString &path)
{
    static const QRegularExpression special(QStringLiteral("([*?\\[\\]\\\\])"));
    return QString(path).replace(special, QStringLiteral("\\\\1"));
}

// "dpkg: /usr/bin/dpkg", and "mawk, gawk: /usr/bin/awk" of what several share.
QString dpkgOwner(const QString &path)
{
    const QString end = QStringLiteral(": ") + path;
    const QString printed = taskArray1PipeMax(
        {QStringLiteral("/usr/bin/dpkg-query"), QStringLiteral("-S"), dpkgPattern(path)},
        ErrorText::Merged);
    for (const QString &line : printed.split(QLatin1Char('\n'))) {
        if (line.endsWith(end) && !line.startsWith(QLatin1String("diversion by "))) {
            return line.chopped(end.size());
        }
    }
    return {};
}

// Of these only the name, or a sentence that says that nobody owns it.
QString onlyWord(const QStringList &query)
{
    const QString printed = taskArray1PipeMax(query, ErrorText::Merged).trimmed();
    return printed.isEmpty() || printed.contains(QLatin1Char(' ')) ? QString() : printed;
}

QString askedOwner(const QString &path)
{
    if (QFileInfo::exists(QStringLiteral("/usr/bin/dpkg-query"))) {
        if (const QString owner = dpkgOwner(path); !owner.isEmpty()) {
            return owner;
        }
    }
    const QList<QStringList> queries = {
        {QStringLiteral("/usr/bin/rpm"), QStringLiteral("-q"), QStringLiteral("--qf"),
         QStringLiteral("%{NAME}"), QStringLiteral("-f"), path},
        {QStringLiteral("/usr/bin/pacman"), QStringLiteral("-Qqo"), path}};
    for (const QStringList &query : queries) {
        if (QFileInfo::exists(query.first())) {
            if (const QString owner = onlyWord(query); !owner.isEmpty()) {
                return owner;
            }
        }
    }
    return {};
}

// Systems that give each program a file system of its own.
QString boxOwner(const QString &path)
{
    if (QFileInfo::exists(QStringLiteral("/.flatpak-info")) &&
        path.startsWith(QLatin1String("/app/"))) {
        return QStringLiteral("Flatpak");
    }
    if (path.startsWith(QLatin1String("/snap/"))) {
        return QStringLiteral("Snap");
    }
    if (path.startsWith(QLatin1String("/nix/store/")) ||
        path.startsWith(QLatin1String("/gnu/store/"))) {
        return path.section(QLatin1Char('/'), 3, 3);
    }
    return {};
}

} // namespace

QString packageOwner(const QString &path)
{
    const QString real = QFileInfo(path).canonicalFilePath();
    if (real.isEmpty()) {
        return {};
    }
    const QString owner = boxOwner(real);
    return owner.isEmpty() ? askedOwner(real) : owner;
}

} // namespace qv
