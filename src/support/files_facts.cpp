// What is known of files: sizes, space, dates, first bytes.
#include "support/files.h"

#include "support/dates.h"
#include "support/log.h"
#include "support/platform.h"
#include "support/tree_walk.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <climits>
#include <cmath>

namespace qv
{
namespace
{

constexpr double kibi = 1024.0;

// How many bytes a unit stands for; 0 for a text that is no unit.
double bytesOfUnit(const QString &unit)
{
    const QString upper = unit.toUpper();
    if (upper == QLatin1String("G")) {
        return kibi * kibi * kibi;
    }
    if (upper == QLatin1String("M")) {
        return kibi * kibi;
    }
    if (upper == QLatin1String("K")) {
        return kibi;
    }
    return upper == QLatin1String("O") ? 1.0 : 0.0;
}

} // namespace

int freeDiskSpace(const QString &path)
{
    if (path.isEmpty()) {
        return -1;
    }
    const platform::FreeSpace space = platform::freeSpace(expandTilde(path));
    if (!space.bytes) {
        logLine(QStringLiteral("error               :-( %1").arg(space.error));
        return -1;
    }
    const auto mebibytes = static_cast<int>(std::min<quint64>(*space.bytes >> 20, INT_MAX));
    logDebug([&] { return QStringLiteral("free disk space     : %1 Mo").arg(mebibytes); });
    return mebibytes;
}

float folderSize(const QString &path)
{
    float mebibytes = 0;
    if (path.isEmpty()) {
        return mebibytes;
    }
    walkTree(QFile::encodeName(expandTilde(path)),
             [&](const QByteArray &entry, platform::EntryKind kind) {
                 if (kind != platform::EntryKind::Folder) {
                     const auto size = static_cast<double>(platform::itemSize(entry));
                     mebibytes += static_cast<float>(size / (kibi * kibi));
                 }
                 return true;
             });
    return mebibytes;
}

double fileSize(const QString &path, const QString &unit)
{
    const QString expanded = expandTilde(path);
    if (!fileExists(expanded)) {
        return -1;
    }
    const QFileInfo item(expanded);
    const double divisor = bytesOfUnit(unit);
    if (item.isDir() && divisor > 0) {
        const double wholeMebibytes = std::trunc(static_cast<double>(folderSize(expanded)));
        return wholeMebibytes * (kibi * kibi) / divisor;
    }
    return static_cast<double>(item.size()) / std::max(divisor, 1.0);
}

QString creationDateText(const QString &path)
{
    return path.isEmpty() ? QString() : dateDescription(platform::creationTime(expandTilde(path)));
}

} // namespace qv
