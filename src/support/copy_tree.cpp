#include "support/copy_tree.h"

#include "support/platform.h"
#include "support/tree_walk.h"

#include <QFile>

#include <filesystem>
#include <vector>

namespace qv
{
namespace
{

namespace fs = std::filesystem;

struct CopiedFolder {
    QByteArray source;
    QByteArray destination;
};

std::string bytes(const QByteArray &path)
{
    return path.toStdString();
}

QString reason(const std::error_code &error)
{
    return error ? QString::fromStdString(error.message()) : QString();
}

// Open to its owner until everything is inside; sealFolders gives the real permissions.
std::error_code makeFolder(const QByteArray &path)
{
    std::error_code error;
    if (fs::create_directory(bytes(path), error)) {
        fs::permissions(bytes(path), fs::perms::owner_all, error);
    }
    return error;
}

std::error_code copyFileContent(const QByteArray &source, const QByteArray &destination)
{
    std::error_code error;
    fs::copy_file(bytes(source), bytes(destination), error);
    return error;
}

std::error_code copyLink(const QByteArray &source, const QByteArray &destination)
{
    std::error_code error;
    fs::copy_symlink(bytes(source), bytes(destination), error);
    return error;
}

std::error_code copyEntry(const QByteArray &source, const QByteArray &destination)
{
    std::error_code error;
    switch (fs::symlink_status(bytes(source), error).type()) {
    case fs::file_type::directory:
        return makeFolder(destination);
    case fs::file_type::symlink:
        error = copyLink(source, destination);
        break;
    case fs::file_type::regular:
        error = copyFileContent(source, destination);
        break;
    default: // reading a pipe or a device might never end
        return error ? error : std::make_error_code(std::errc::not_supported);
    }
    platform::copyTimes(source, destination);
    return error;
}

// The innermost first, because writing into a folder changes its date.
void sealFolders(const std::vector<CopiedFolder> &folders)
{
    for (auto it = folders.rbegin(); it != folders.rend(); ++it) {
        std::error_code error;
        const fs::file_status status = fs::status(bytes(it->source), error);
        fs::permissions(bytes(it->destination), status.permissions(), error);
        platform::copyTimes(it->source, it->destination);
    }
}

std::error_code copyContents(const QByteArray &source, const QByteArray &destination)
{
    std::error_code error;
    std::vector<CopiedFolder> folders = {{source, destination}};
    walkTree(source, [&](const QByteArray &path, platform::EntryKind kind) {
        if (error) {
            return false;
        }
        const QByteArray target = destination + path.mid(source.size());
        error = copyEntry(path, target);
        if (kind == platform::EntryKind::Folder) {
            folders.push_back({path, target});
        }
        return !error;
    });
    sealFolders(folders);
    return error;
}

} // namespace

QString copyTree(const QString &source, const QString &destination)
{
    const QByteArray from = QFile::encodeName(source);
    const QByteArray to = QFile::encodeName(destination);
    std::error_code error = copyEntry(from, to);
    const bool isFolder =
        !error && fs::symlink_status(bytes(from), error).type() == fs::file_type::directory;
    return reason(isFolder ? copyContents(from, to) : error);
}

QString removeTree(const QString &path)
{
    std::error_code error;
    fs::remove_all(bytes(QFile::encodeName(path)), error);
    return reason(error);
}

} // namespace qv
