#include "updater/archive/zip_archive.h"

#include "process/child_process.h"
#include "support/log.h"
#include "updater/archive/zip_extraction.h"
#include "updater/archive/zip_plan.h"
#include "updater/archive/zip_reader.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>

namespace qv
{
namespace
{

tl::expected<void, QString> unpack(int archive, const QString &destination,
                                   const UnpackLimits &limits, const std::atomic<bool> *isCancelled)
{
    auto reader = ZipReader::over(archive);
    if (!reader) {
        return tl::unexpected(reader.error());
    }
    const auto plan = planOf(*reader, limits, isCancelled);
    if (!plan) {
        return tl::unexpected(plan.error());
    }
    return ZipExtraction(*reader, *plan, isCancelled).into(destination, limits.keptFree);
}

tl::expected<void, QString> logged(const tl::expected<void, QString> &unpacked,
                                   const QString &archive)
{
    if (!unpacked) {
        logLine(QStringLiteral("unzipFileAtPath     :-( %1: %2").arg(archive, unpacked.error()));
    }
    return unpacked;
}

} // namespace

tl::expected<void, QString> SSZipArchive::unzipFileAtPath(const QString &path,
                                                          const QString &toDestination,
                                                          const UnpackLimits &limits,
                                                          const std::atomic<bool> *isCancelled)
{
    // A pipe must not make us wait for its writer.
    const FileDescriptor archive(
        ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!archive.isOpen()) {
        return logged(
            tl::unexpected(
                QStringLiteral("the archive can't be opened: %1").arg(qt_error_string(errno))),
            path);
    }
    return logged(unpack(archive.get(), toDestination, limits, isCancelled), path);
}

tl::expected<void, QString> SSZipArchive::unzipFile(int archive, const QString &toDestination,
                                                    const std::atomic<bool> &isCancelled)
{
    return logged(unpack(archive, toDestination, {}, &isCancelled), QStringLiteral("download"));
}

} // namespace qv
