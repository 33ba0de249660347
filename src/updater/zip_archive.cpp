#include "updater/zip_archive.h"

#include "support/log.h"
#include "updater/zip_extraction.h"
#include "updater/zip_plan.h"
#include "updater/zip_reader.h"

namespace qv
{
namespace
{

tl::expected<void, QString> unpack(const QString &archive, const QString &destination,
                                   const UnpackLimits &limits, const std::atomic<bool> *isCancelled)
{
    auto reader = ZipReader::open(archive);
    if (!reader) {
        return tl::unexpected(reader.error());
    }
    const auto plan = planOf(*reader, limits, isCancelled);
    if (!plan) {
        return tl::unexpected(plan.error());
    }
    return ZipExtraction(*reader, *plan, isCancelled).into(destination, limits.keptFree);
}

} // namespace

tl::expected<void, QString> SSZipArchive::unzipFileAtPath(const QString &path,
                                                          const QString &toDestination,
                                                          const UnpackLimits &limits,
                                                          const std::atomic<bool> *isCancelled)
{
    const auto unpacked = unpack(path, toDestination, limits, isCancelled);
    if (!unpacked) {
        logLine(QStringLiteral("unzipFileAtPath     :-( %1: %2").arg(path, unpacked.error()));
    }
    return unpacked;
}

} // namespace qv
