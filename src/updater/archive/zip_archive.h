#pragma once

#include <QString>

#include <tl/expected.hpp>

#include <atomic>

// Zip archives that came from outside.
namespace qv
{

// What unpacking may use at most, whatever the archive says of itself.
struct UnpackLimits {
    quint64 bytes = quint64{4} << 30; // of all unpacked files together
    int entries = 100'000;
    quint64 keptFree = quint64{64} << 20; // bytes that the volume keeps free
};

class SSZipArchive
{
public:
    // Unpacks the archive into the folder, which is made when it is missing. Files, folders and
    // links keep their dates, files their execute bits; nothing keeps other rights than its owner's
    // usual ones. An archive of which any entry can't be taken as it stands is refused as a whole:
    //  - absolute names, "..", "\", NUL, empty and over-long components, a name that stands for two
    //    things, names that differ only in case or in the composition of their characters;
    //  - links that lead out of the top-level entry that they stand in, absolute ones among them;
    //  - devices, pipes, sockets; encrypted entries and unknown methods of compression;
    //  - more entries or bytes than the limits, more bytes than the volume has free;
    //  - any entry whose bytes don't have the length and checksum that the archive gives.
    // Nothing that stood in the folder before is written over. When it fails, whatever it had made
    // is deleted again, and the reason, which is logged, is for people. May run on any thread;
    // `isCancelled` ends it early.
    static tl::expected<void, QString>
    unzipFileAtPath(const QString &path, const QString &toDestination,
                    const UnpackLimits &limits = {},
                    const std::atomic<bool> *isCancelled = nullptr);
    // The same with an open file: unpacks the very file that the caller checked.
    static tl::expected<void, QString> unzipFile(int archive, const QString &toDestination,
                                                 const std::atomic<bool> &isCancelled);
};

} // namespace qv
