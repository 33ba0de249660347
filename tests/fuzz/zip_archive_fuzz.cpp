// Whatever the archive is: nothing appears beside the place where it is unpacked, no more than is
// allowed appears within, and an archive that is refused leaves nothing.
#include "fuzz_input.h"

#include "support/copy_tree.h"
#include "support/platform.h"
#include "support/tree_walk.h"
#include "updater/archive/zip_archive.h"

#include <QDir>
#include <QFile>

#include <unistd.h>

using namespace qv;

namespace
{

const UnpackLimits limits = {.bytes = 64 << 10, .entries = 50, .keptFree = 0};

struct Workspace {
    QString folder = platform::makePrivateFolder(QDir::tempPath() + QStringLiteral("/zip-fuzz-"));
    QString archive = folder + QStringLiteral("/archive.zip");
    QString destination = folder + QStringLiteral("/parent/destination");

    ~Workspace() { removeTree(folder); }
};

void requireWithinLimits(const QString &folder)
{
    quint64 bytes = 0;
    int entries = 0;
    walkTree(QFile::encodeName(folder), [&](const QByteArray &path, platform::EntryKind kind) {
        ++entries;
        bytes +=
            kind == platform::EntryKind::File ? static_cast<quint64>(platform::itemSize(path)) : 0;
        fuzz::require(::access(path.constData(), R_OK) == 0 || kind == platform::EntryKind::Other,
                      "what was unpacked can be read");
        return true;
    });
    fuzz::require(entries > 0 && entries <= limits.entries, "as many entries as are allowed");
    fuzz::require(bytes <= limits.bytes, "as many bytes as are allowed");
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const Workspace place;
    QFile archive(place.archive);
    fuzz::require(archive.open(QIODevice::WriteOnly | QIODevice::Truncate), "there is a place");
    archive.write(fuzz::bytes(data, size));
    archive.close();
    if (SSZipArchive::unzipFileAtPath(place.archive, place.destination, limits)) {
        requireWithinLimits(place.destination);
        removeTree(place.folder + QStringLiteral("/parent"));
    }
    const auto left = platform::readDirectory(QFile::encodeName(place.folder));
    fuzz::require(left && left->size() == 1, "nothing but the archive stays");
    return 0;
}
