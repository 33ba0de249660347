#include "updater/install/package_owner.h"

#include "support/files.h"
#include "updater/install/program_run.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QStringList>

#include <functional>

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

// Of the lines "dpkg: /usr/bin/dpkg", and "mawk, gawk: /usr/bin/awk" for a shared file.
QString ownerInLines(const QString &printed, const QString &path)
{
    const QString end = QStringLiteral(": ") + path;
    for (const QString &line : printed.split(QLatin1Char('\n'))) {
        if (line.endsWith(end) && !line.startsWith(QLatin1String("diversion by "))) {
            return line.chopped(end.size());
        }
    }
    return {};
}

// The other package managers print only the name, or a sentence that says that nobody owns it.
QString onlyWord(const QString &printed)
{
    const QString word = printed.trimmed();
    return word.contains(QLatin1Char(' ')) ? QString() : word;
}

struct Query {
    QStringList command;
    std::function<QString(const QString &printed)> owner;
};

QList<Query> queries(const QString &path)
{
    return {{{QStringLiteral("/usr/bin/dpkg-query"), QStringLiteral("-S"), dpkgPattern(path)},
             [path](const QString &printed) { return ownerInLines(printed, path); }},
            {{QStringLiteral("/usr/bin/rpm"), QStringLiteral("-q"), QStringLiteral("--qf"),
              QStringLiteral("%{NAME}"), QStringLiteral("-f"), path},
             onlyWord},
            {{QStringLiteral("/usr/bin/pacman"), QStringLiteral("-Qqo"), path}, onlyWord}};
}

tl::expected<QString, QString> askedOwner(const QString &path, const std::atomic<bool> &isCancelled)
{
    for (const Query &query : queries(path)) {
        const QString &program = query.command.first();
        if (!QFileInfo::exists(program)) {
            continue;
        }
        const ToolReport run = runProgram(query.command, isCancelled);
        if (run.outcome.ending != ToolOutcome::Ending::Exited) {
            return tl::make_unexpected(
                QStringLiteral("it is unknown whether this copy belongs to a package of the "
                               "system: %1 did not answer (%2)")
                    .arg(lastPathComponent(program), programEndText(run.outcome)));
        }
        if (const QString owner = query.owner(QString::fromUtf8(run.output)); !owner.isEmpty()) {
            return owner;
        }
    }
    return QString();
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

tl::expected<QString, QString> packageOwner(const QString &path,
                                            const std::atomic<bool> &isCancelled)
{
    const QString real = QFileInfo(path).canonicalFilePath();
    if (real.isEmpty()) {
        return QString();
    }
    const QString owner = boxOwner(real);
    return owner.isEmpty() ? askedOwner(real, isCancelled) : owner;
}

} // namespace qv
