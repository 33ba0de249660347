#include "updater/archive/zip_extraction.h"

#include "support/platform.h"
#include "support/whole_write.h"
#include "updater/archive/zip_names.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <array>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qv
{
namespace
{

using Done = tl::expected<void, QString>;
using Kind = ZipNode::Kind;

constexpr quint64 blockSize = 4096; // that every file and folder takes at least
constexpr mode_t folderRights = 0755;
constexpr mode_t fileRights = 0644;
constexpr mode_t programRights = 0755;

Done failed(const QString &reason)
{
    return tl::unexpected(reason);
}

QString systemError(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

Done cantMake(const QByteArray &path, int error)
{
    if (error == EEXIST) {
        return failed(QStringLiteral("something of that name stands there already: %1")
                          .arg(shownEntry(path)));
    }
    return failed(
        QStringLiteral("%1 can't be unpacked: %2").arg(shownEntry(path), systemError(error)));
}

std::array<timespec, 2> timesOf(qint64 date)
{
    return {timespec{0, UTIME_OMIT}, timespec{static_cast<time_t>(date), 0}};
}

// The folders that are missing on the way to this one and itself, the outermost first.
QList<QByteArray> missingFolders(const QString &path)
{
    QList<QByteArray> missing;
    QString folder = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    while (!QFileInfo::exists(folder) && !QDir(folder).isRoot()) {
        missing.prepend(QFile::encodeName(folder));
        folder = QFileInfo(folder).path();
    }
    return missing;
}

} // namespace

ZipExtraction::ZipExtraction(ZipReader &archive, const ZipPlan &plan,
                             const std::atomic<bool> *isCancelled)
    : m_archive(archive), m_plan(plan), m_isCancelled(isCancelled)
{
}

Done ZipExtraction::into(const QString &destination, quint64 keptFree)
{
    Done done = openDestination(destination)
                    .and_then([&] { return checkSpace(destination, keptFree); })
                    .and_then([&] { return make(); });
    if (!done) {
        undo();
    }
    return done;
}

Done ZipExtraction::openDestination(const QString &destination)
{
    int error = 0;
    for (const QByteArray &folder : missingFolders(destination)) {
        if (::mkdir(folder.constData(), folderRights) != 0) {
            error = errno;
            break;
        }
        m_madeAbove.push_back(folder);
    }
    if (error == 0) {
        m_root = FileDescriptor(
            ::open(QFile::encodeName(destination).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        error = m_root.isOpen() ? 0 : errno;
    }
    return error == 0 ? Done()
                      : failed(QStringLiteral("the folder %1 can't be used: %2")
                                   .arg(destination, systemError(error)));
}

Done ZipExtraction::checkSpace(const QString &destination, quint64 keptFree) const
{
    const auto free = platform::freeSpace(destination).bytes;
    const quint64 needed = m_plan.bytes + blockSize * m_plan.nodes.size();
    if (free && (*free < keptFree || *free - keptFree < needed)) {
        return failed(
            QStringLiteral("the disk has no space for what the archive holds (%1 MB of %2 free)")
                .arg(QString::number(*free >> 20), QString::number((needed + keptFree) >> 20)));
    }
    return {};
}

// Links come after everything else, so that nothing is ever made through one.
Done ZipExtraction::make()
{
    for (const bool areLinks : {false, true}) {
        for (const ZipNode &node : m_plan.nodes) {
            if ((node.kind == Kind::Link) != areLinks) {
                continue;
            }
            const Done made = isCancelled() ? failed(unpackingCancelled()) : makeNode(node);
            if (!made) {
                return made;
            }
        }
    }
    dateFolders();
    return {};
}

Done ZipExtraction::makeNode(const ZipNode &node)
{
    const QByteArray path = m_plan.pathOf(node);
    switch (node.kind) {
    case Kind::Folder:
        return makeFolder(path).map([&] { m_madeHere.push_back(&node); });
    case Kind::File:
        return makeFile(node, path);
    case Kind::Link:
        return makeLink(node, path).map([&] { m_madeHere.push_back(&node); });
    }
    return {};
}

Done ZipExtraction::makeFolder(const QByteArray &path)
{
    const int status = ::mkdirat(m_root.get(), path.constData(), folderRights);
    return status == 0 ? Done() : cantMake(path, errno);
}

Done ZipExtraction::makeFile(const ZipNode &node, const QByteArray &path)
{
    const FileDescriptor file(::openat(m_root.get(), path.constData(),
                                       O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                                       node.isExecutable ? programRights : fileRights));
    if (!file.isOpen()) {
        return cantMake(path, errno);
    }
    m_madeHere.push_back(&node);
    return writeFile(node, path, file.get());
}

Done ZipExtraction::writeFile(const ZipNode &node, const QByteArray &path, int file)
{
    int error = 0;
    const auto outcome = m_archive.read(node.place, [&](const char *bytes, size_t size) {
        error = isCancelled() ? ECANCELED : writeAll(file, bytes, size);
        return error == 0;
    });
    if (outcome == ZipReader::Outcome::Stopped) {
        return error == ECANCELED ? failed(unpackingCancelled()) : cantMake(path, error);
    }
    if (outcome == ZipReader::Outcome::Damaged) {
        return failed(damagedArchive(path));
    }
    if (node.date) {
        ::futimens(file, timesOf(*node.date).data());
    }
    return {};
}

Done ZipExtraction::makeLink(const ZipNode &node, const QByteArray &path)
{
    const auto target = linkTarget(m_archive, m_plan, node);
    if (!target) {
        return failed(target.error());
    }
    if (::symlinkat(target->constData(), m_root.get(), path.constData()) != 0) {
        return cantMake(path, errno);
    }
    if (node.date) {
        ::utimensat(m_root.get(), path.constData(), timesOf(*node.date).data(),
                    AT_SYMLINK_NOFOLLOW);
    }
    return {};
}

// After all that was made inside, which changes a folder's date.
void ZipExtraction::dateFolders() const
{
    for (const ZipNode &node : m_plan.nodes) {
        if (node.kind == Kind::Folder && node.date) {
            ::utimensat(m_root.get(), m_plan.pathOf(node).constData(), timesOf(*node.date).data(),
                        AT_SYMLINK_NOFOLLOW);
        }
    }
}

void ZipExtraction::undo()
{
    for (auto node = m_madeHere.rbegin(); node != m_madeHere.rend(); ++node) {
        ::unlinkat(m_root.get(), m_plan.pathOf(**node).constData(),
                   (*node)->kind == Kind::Folder ? AT_REMOVEDIR : 0);
    }
    for (auto folder = m_madeAbove.rbegin(); folder != m_madeAbove.rend(); ++folder) {
        ::rmdir(folder->constData());
    }
}

bool ZipExtraction::isCancelled() const
{
    return m_isCancelled != nullptr && *m_isCancelled;
}

} // namespace qv
