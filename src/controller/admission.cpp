#include "controller/admission.h"

#include "controller/reasons.h"
#include "support/files.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace qv
{
namespace
{

bool isNoVideoExtension(const QString &extension)
{
    const QString lower = extension.toLower();
    return lower == QLatin1String("eyetv") || lower == QLatin1String("imovieproject");
}

// In a listing a folder stands right before what it holds.
bool isListedFolder(const QStringList &listing, qsizetype index)
{
    return listing.value(index + 1).startsWith(listing.at(index) + QLatin1Char('/'));
}

LeftOut countedLeftOut(const QString &folder, const QStringList &listing,
                       const QSet<QString> &closed, const QSet<QString> &extensions)
{
    int videos = 0;
    int others = 0;
    for (qsizetype i = 0; i < listing.size(); ++i) {
        if (extensions.contains(pathExtension(listing.at(i)))) {
            ++videos;
        } else if (!isListedFolder(listing, i) && !closed.contains(listing.at(i))) {
            ++others;
        }
    }
    if (videos == 0) {
        return closed.contains(folder) ? LeftOut{} : LeftOut{folder, reasons::folderWithoutVideo};
    }
    return others == 0
               ? LeftOut{}
               : LeftOut{folder, QStringLiteral("%1 other files in it are no videos by their names")
                                     .arg(others)};
}

// Whether a drop stands for what is below its first path.
bool isWalked(const QStringList &dropped)
{
    const QString &first = dropped.first();
    return QFileInfo(first).isDir() || QFileInfo(resolveAlias(first)).isDir();
}

// AppleDouble (RFC 1740 appendix B): what other systems leave beside a file on cards and network
// shares to keep its attributes. "._clip.mp4" belongs to "clip.mp4".
bool isCompanion(const QString &path)
{
    const QLatin1String mark("._");
    const qsizetype name = path.lastIndexOf(QLatin1Char('/')) + 1;
    if (!QStringView(path).mid(name).startsWith(mark)) {
        return false;
    }
    static const QByteArray magic = QByteArray::fromHex("00051607");
    QFile file(path);
    const bool isRegular = QFileInfo(path).isFile();
    const bool hasMagic =
        isRegular && file.open(QIODevice::ReadOnly) && file.read(magic.size()) == magic;
    return hasMagic || (isRegular && QFileInfo::exists(QString(path).remove(name, mark.size())));
}

QString statProblem(int error)
{
    switch (error) {
    case ENOENT:
    case ENOTDIR:
        return QStringLiteral("no such file");
    case EACCES:
        return QStringLiteral("its folder may not be entered (no permission)");
    case ENAMETOOLONG:
        return QStringLiteral("its path is too long for this system");
    case ELOOP:
        return QStringLiteral("it is a link that leads in circles");
    default:
        return qt_error_string(error);
    }
}

} // namespace

QSet<QString> admittedExtensions(const QStringList &declared)
{
    QSet<QString> admitted;
    for (const QString &extension : declared) {
        if (isNoVideoExtension(extension) || extension.isEmpty()) {
            continue;
        }
        const QString lower = extension.toLower();
        admitted << extension << lower << extension.toUpper()
                 << lower.left(1).toUpper() + lower.mid(1);
    }
    return admitted;
}

QStringList expandedDrop(const QStringList &paths, QStringList *closed)
{
    if (paths.isEmpty()) {
        return paths;
    }
    QStringList expanded = paths;
    if (!QFileInfo(expanded.first()).isDir()) {
        if (const QString target = resolveAlias(expanded.first()); !target.isNull()) {
            expanded.first() = target;
        }
    }
    return QFileInfo(expanded.first()).isDir() ? listedBelow(expanded.first(), closed) : expanded;
}

QStringList listedBelow(const QString &folder, QStringList *closed)
{
    QStringList paths = subpaths(folder, closed);
    paths.removeIf(isCompanion);
    return paths;
}

QStringList withAdmittedExtension(const QStringList &paths, const QSet<QString> &extensions)
{
    QStringList admitted;
    for (const QString &path : paths) {
        if (extensions.contains(pathExtension(path))) {
            admitted.append(path);
        }
    }
    return admitted;
}

QStringList admittedOf(const QStringList &dropped, const QStringList &fresh,
                       const QSet<QString> &extensions)
{
    QStringList admitted = withAdmittedExtension(fresh, extensions);
    if (admitted.size() == fresh.size() || isWalked(dropped)) {
        return admitted;
    }
    admitted = fresh;
    admitted.removeIf([&](const QString &path) {
        return !extensions.contains(pathExtension(path)) && !sourceProblem(path).isNull();
    });
    return admitted;
}

QList<LeftOut> leftOutOf(const QStringList &dropped, const QStringList &expanded,
                         const QStringList &closed, const QSet<QString> &extensions)
{
    QList<LeftOut> left;
    if (!isWalked(dropped)) {
        for (const QString &path : expanded) {
            const QString problem =
                extensions.contains(pathExtension(path)) ? QString() : sourceProblem(path);
            if (!problem.isNull()) {
                left.append({path, problem});
            }
        }
        return left;
    }
    const QString &first = dropped.first();
    const QString target = QFileInfo(first).isDir() ? first : resolveAlias(first);
    for (const QString &beside : dropped.mid(1)) {
        left.append({beside, QStringLiteral("it came together with a folder: take it by itself")});
    }
    for (const QString &folder : closed) {
        left.append({folder, reasons::folderClosed});
    }
    const QSet<QString> told(closed.begin(), closed.end());
    if (const LeftOut counted = countedLeftOut(target, expanded, told, extensions);
        !counted.path.isEmpty()) {
        left.append(counted);
    }
    return left;
}

QString sourceProblem(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    struct stat status {
    };
    if (::stat(name.constData(), &status) != 0) {
        return statProblem(errno);
    }
    if (S_ISDIR(status.st_mode)) {
        return QStringLiteral("it is a folder");
    }
    if (!S_ISREG(status.st_mode)) {
        return QStringLiteral("it is no regular file");
    }
    if (::access(name.constData(), R_OK) != 0) {
        return QStringLiteral("it may not be read (no permission)");
    }
    if (status.st_size == 0) {
        return QStringLiteral("the file is empty (0 bytes)");
    }
    return isCompanion(path) ? QStringLiteral("it is no video but another system's notes about a "
                                              "file (AppleDouble)")
                             : QString();
}

} // namespace qv
