// Unpacking the archive of a bundle of about 200 MB against `unzip` on the same file, both into
// fresh folders of the same volume, in turns. Prints the medians and their ratio; fails above the
// bound.
//
// unpack_bench [FOLDER]: where the archive is kept and unpacked; the temporary folder by default.

#include "measuring.h"
#include "support/copy_tree.h"
#include "updater/archive/zip_archive.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace
{

constexpr int rounds = 9;
constexpr double bound = 1.2;

// As of machine code, about half of it can be squeezed out: every other piece stood before.
QByteArray halfCompressible(QRandomGenerator &random, qsizetype size)
{
    constexpr qsizetype piece = 24;
    constexpr quint32 reach = 16 << 10;
    QByteArray bytes;
    bytes.reserve(size + piece);
    while (bytes.size() < size) {
        const qsizetype back = piece + random.bounded(reach);
        if (back <= bytes.size() && random.bounded(2) == 0) {
            bytes.append(bytes.mid(bytes.size() - back, piece));
        } else {
            for (qsizetype i = 0; i < piece; ++i) {
                bytes.append(static_cast<char>(random.bounded(200)));
            }
        }
    }
    bytes.truncate(size);
    return bytes;
}

void makeFiles(QRandomGenerator &random, const QString &folder, int count, qsizetype size)
{
    QDir().mkpath(folder);
    for (int i = 0; i < count; ++i) {
        QFile file(folder + QStringLiteral("/file %1").arg(i));
        if (file.open(QIODevice::WriteOnly)) {
            file.write(halfCompressible(random, size));
        }
    }
}

void makeBundle(const QString &folder)
{
    QRandomGenerator random(1);
    const QString contents = folder + QStringLiteral("/App.app/Contents");
    makeFiles(random, contents + QStringLiteral("/MacOS"), 3, 20 << 20);
    makeFiles(random, contents + QStringLiteral("/Frameworks"), 25, 4 << 20);
    makeFiles(random, contents + QStringLiteral("/Resources/fonts"), 40, 600 << 10);
    for (int i = 0; i < 40; ++i) {
        makeFiles(random, contents + QStringLiteral("/Resources/part %1").arg(i), 50, 6 << 10);
    }
}

bool makeArchive(const QString &archive)
{
    const QTemporaryDir source;
    makeBundle(source.path());
    QProcess zip;
    zip.setWorkingDirectory(source.path());
    zip.start(QStringLiteral("zip"), {QStringLiteral("-qr"), archive, QStringLiteral("App.app")});
    return zip.waitForFinished(-1) && zip.exitCode() == 0;
}

// Milliseconds of the work in a folder of its own, which is deleted, and written out, outside of
// the time.
double inFreshFolder(const QString &folder, const std::function<bool(const QString &)> &unpack)
{
    const QString fresh = folder + QStringLiteral("/unpacked");
    QDir().mkpath(fresh);
    QElapsedTimer clock;
    clock.start();
    const bool isGood = unpack(fresh);
    const double time = static_cast<double>(clock.nsecsElapsed()) / 1e6;
    qv::removeTree(fresh);
    ::sync();
    return isGood ? time : -1;
}

} // namespace

int main(int argc, char **argv)
{
    const QTemporaryDir temporary;
    const QString folder =
        QDir(argc > 1 ? QFile::decodeName(argv[1]) : temporary.path()).absolutePath();
    const QString archive = folder + QStringLiteral("/bundle.zip");
    QDir().mkpath(folder);
    if (!QFile::exists(archive) && !makeArchive(archive)) {
        std::printf("the archive can't be made\n");
        return 1;
    }
    std::vector<double> ours;
    std::vector<double> theirs;
    for (int round = 0; round < rounds; ++round) {
        theirs.push_back(inFreshFolder(folder, [&](const QString &fresh) {
            return bench::run({QStringLiteral("/usr/bin/unzip"), QStringLiteral("-q"), archive,
                               QStringLiteral("-d"), fresh})
                       .status == 0;
        }));
        ours.push_back(inFreshFolder(folder, [&](const QString &fresh) {
            return qv::SSZipArchive::unzipFileAtPath(archive, fresh).has_value();
        }));
    }
    const bool isWhole = *std::min_element(ours.begin(), ours.end()) > 0 &&
                         *std::min_element(theirs.begin(), theirs.end()) > 0;
    const double own = bench::median(ours);
    const double other = bench::median(theirs);
    std::printf("archive of %lld MB: unzip %.0f ms, ours %.0f ms\n",
                static_cast<long long>(QFileInfo(archive).size() >> 20), other, own);
    return bench::atMost(QStringLiteral("unpacking / unzip"), own / other, bound) && isWhole ? 0
                                                                                             : 1;
}
