#include "support/clip_names.h"

#include "support/files.h"
#include "support/log.h"
#include "support/numbers.h"

#include <QFile>
#include <QFileInfo>

namespace qv
{
namespace
{

// The bundle's property list as one line; null when it can't be read.
QString readRecorderFile(const QString &path)
{
    constexpr qint64 largest = 16 * 1024 * 1024;
    QFile file(path);
    if (!QFileInfo(path).isReadable()) {
        logLine(QStringLiteral("bundledVideoEyetvDura- not readable"));
        return {};
    }
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly)) {
        logLine(QStringLiteral("bundledVideoEyetvDura- no read"));
        return {};
    }
    QString text = QString::fromUtf8(file.read(largest));
    text.remove(u'\n').remove(u'\t');
    return findAndReplace(text, QStringLiteral("  "), QStringLiteral(" "), true);
}

} // namespace

float eyetvRecordedDuration(const QString &path)
{
    const QString marker = QStringLiteral("<key>actual duration</key><real>");
    if (!path.contains(QLatin1String(".eyetv/"))) {
        return 0.0F;
    }
    const QString list =
        fileFromFolder(path.left(path.lastIndexOf(u'/') + 1), QStringLiteral("eyetvr"));
    const QString text = list.isEmpty() ? QString() : readRecorderFile(list);
    const qsizetype found = text.indexOf(marker);
    return found < 0 ? 0.0F : floatValue(text.mid(found + marker.size()));
}

QString fileFromFolder(const QString &folder, const QString &extension)
{
    for (const QString &entry : lsCocoa(folder)) {
        if (pathExtension(entry) == extension) {
            return entry;
        }
    }
    return QLatin1String("");
}

} // namespace qv
