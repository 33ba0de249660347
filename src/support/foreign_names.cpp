#include "support/foreign_names.h"

#include "support/files.h"
#include "support/log.h"

#include <QDir>
#include <QFile>
#include <QHash>

#include <filesystem>
#include <mutex>

namespace qv
{
namespace
{

constexpr int nameMaxBytes = 255; // what file systems take

struct Registry {
    QString folder;
    QHash<QByteArray, QString> linkOf;
    QHash<QString, QByteArray> rawOf;
    int lastNumber = 0;
};

// Tools are asked about sources on other threads, too.
std::mutex &registryMutex()
{
    static std::mutex mutex;
    return mutex;
}

Registry &registry()
{
    static Registry instance;
    return instance;
}

// Each bad byte becomes three, so the name can outgrow the file system; its extension must stay.
QString fittingName(const QString &name)
{
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    const QString stem = dot > 0 ? name.left(dot) : name;
    QString extension = dot > 0 ? name.mid(dot) : QString();
    while (extension.toUtf8().size() > nameMaxBytes / 2) {
        extension.chop(1);
    }
    return fittedName(stem, extension, nameMaxBytes);
}

// A sub-folder that nobody uses yet keeps equal names apart; empty when none can be made.
QString freshFolder(Registry &names)
{
    constexpr int attempts = 1000;
    for (int i = 0; i < attempts; ++i) {
        const QString folder =
            names.folder + QLatin1Char('/') + QString::number(++names.lastNumber);
        if (!QDir(folder).exists()) {
            return QDir().mkpath(folder) ? folder : QString();
        }
    }
    return {};
}

QString makeLink(const QByteArray &bytes, const QString &shown)
{
    const QString folder = freshFolder(registry());
    if (folder.isEmpty()) {
        return {};
    }
    const QString name = fittingName(shown.mid(shown.lastIndexOf(QLatin1Char('/')) + 1));
    const QString link = folder + QLatin1Char('/') + name;
    std::error_code error;
    std::filesystem::create_symlink(bytes.toStdString(), QFile::encodeName(link).toStdString(),
                                    error);
    return error ? QString() : link;
}

} // namespace

void setForeignNamesFolder(const QString &path)
{
    const std::lock_guard lock(registryMutex());
    registry() = Registry();
    registry().folder = path;
}

QString usablePath(const QByteArray &bytes)
{
    const QString shown = QString::fromUtf8(bytes);
    if (shown.toUtf8() == bytes) {
        return shown;
    }
    const std::lock_guard lock(registryMutex());
    Registry &names = registry();
    if (const auto known = names.linkOf.constFind(bytes); known != names.linkOf.cend()) {
        return *known;
    }
    const QString link = names.folder.isEmpty() ? QString() : makeLink(bytes, shown);
    if (link.isEmpty()) {
        logLine(QStringLiteral("File name           :-( not valid UTF-8: ") + shown);
        return shown;
    }
    names.linkOf.insert(bytes, link);
    names.rawOf.insert(link, bytes);
    return link;
}

QString shownPath(const QString &path)
{
    const std::lock_guard lock(registryMutex());
    const auto raw = registry().rawOf.constFind(path);
    return raw == registry().rawOf.cend() ? path : QString::fromUtf8(*raw);
}

QByteArray absoluteName(const QByteArray &name)
{
    if (name.startsWith('/')) {
        return name;
    }
    std::error_code error;
    const std::string folder = std::filesystem::current_path(error).string();
    return QByteArray::fromStdString(folder) + '/' + name;
}

QByteArray rawPath(const QString &path)
{
    const std::lock_guard lock(registryMutex());
    const auto raw = registry().rawOf.constFind(path);
    return raw == registry().rawOf.cend() ? QFile::encodeName(path) : *raw;
}

} // namespace qv
