#include "updater/install/bundle_moves.h"

#include "support/copy_tree.h"
#include "support/files.h"
#include "support/log.h"
#include "support/platform.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <filesystem>

namespace qv
{
namespace
{

const QString stagingPrefix = QStringLiteral(".quorvantel-update-");

bool renameItem(const QString &from, const QString &to)
{
    std::error_code error;
    std::filesystem::rename(QFile::encodeName(from).toStdString(),
                            QFile::encodeName(to).toStdString(), error);
    return !error;
}

DiskMoves::Exchange exchangeItems(const QString &a, const QString &b)
{
    switch (platform::exchange(a, b)) {
    case platform::ExchangeResult::Done:
        return DiskMoves::Exchange::Done;
    case platform::ExchangeResult::Unsupported:
        return DiskMoves::Exchange::Unsupported;
    default:
        return DiskMoves::Exchange::Failed;
    }
}

QString trashItem(const QString &path)
{
    QString where;
    moveToTrash(path, &where);
    return fileExists(path) ? QString() : where;
}

QString freeName(const QString &path)
{
    const QString extension = pathExtension(path);
    const QString suffix = extension.isEmpty() ? QString() : QLatin1Char('.') + extension;
    for (int number = 1;; ++number) {
        const QString name = QStringLiteral("%1 (%2)%3")
                                 .arg(withoutExtension(path), QString::number(number), suffix);
        if (!standsThere(name)) {
            return name;
        }
    }
}

// The trash offers to put things back where they came from.
void tellOrigin(const QString &trashed, const QString &place)
{
    const QFileInfo item(trashed);
    const QString info =
        QStringLiteral("%1/../info/%2.trashinfo").arg(item.path(), item.fileName());
    const QString text = readTextFile(info);
    const QByteArray origin = QFile::encodeName(place).toPercentEncoding("/");
    static const QRegularExpression path(QStringLiteral("^Path=/.*$"),
                                         QRegularExpression::MultilineOption);
    if (text.contains(path)) {
        ecritureFichier(info, QString(text).replace(path, QStringLiteral("Path=") +
                                                              QString::fromLatin1(origin)));
    }
}

// The old item to the trash; what the trash doesn't take stays beside its old place.
void putAway(const QString &old, const QString &place, const DiskMoves &moves, Replacement &done)
{
    done.oldAt = moves.trash(old);
    done.isTrashed = !done.oldAt.isNull();
    if (done.isTrashed) {
        tellOrigin(done.oldAt, place);
        return;
    }
    done.oldAt = freeName(place);
    if (!moves.rename(old, done.oldAt)) {
        done.oldAt = old;
    }
}

// Without an exchange there is a moment at which nothing stands at the place.
Replacement replaceInTwoSteps(const QString &staged, const QString &to, const QString &folder,
                              const DiskMoves &moves)
{
    Replacement done;
    const QString aside = appendPath(folder, QStringLiteral("old"));
    if (!moves.rename(to, aside)) {
        done.error = QStringLiteral("%1 can't be moved away").arg(to);
        return done;
    }
    if (moves.rename(staged, to)) {
        putAway(aside, to, moves, done);
        return done;
    }
    done.error = QStringLiteral("%1 can't be written").arg(to);
    done.oldAt = moves.rename(aside, to) ? QString() : aside;
    return done;
}

Replacement replaceStaged(const QString &staged, const QString &to, const QString &folder,
                          const DiskMoves &moves)
{
    Replacement done;
    switch (moves.exchange(staged, to)) {
    case DiskMoves::Exchange::Done:
        putAway(staged, to, moves, done);
        break;
    case DiskMoves::Exchange::Unsupported:
        done = replaceInTwoSteps(staged, to, folder, moves);
        break;
    case DiskMoves::Exchange::Failed:
        done.error = QStringLiteral("%1 can't be replaced").arg(to);
        break;
    }
    return done;
}

// A copy has reached the disk before the old item goes, or a power cut would leave neither.
QString stage(const QString &from, const QString &staged, const DiskMoves &moves)
{
    if (!moves.rename(from, staged)) {
        if (const QString error = copyTree(from, staged); !error.isNull()) {
            return error;
        }
    }
    platform::flushVolume(staged);
    return {};
}

} // namespace

DiskMoves DiskMoves::real()
{
    return {exchangeItems, renameItem, trashItem};
}

StagingFolder::StagingFolder(const QString &parent)
    : m_path(platform::makePrivateFolder(appendPath(parent, stagingPrefix)))
{
}

StagingFolder::~StagingFolder()
{
    if (!m_path.isEmpty()) {
        removeTree(m_path);
    }
}

void clearStagingFolders(const QString &parent)
{
    const QDir folder(parent);
    const QStringList names = folder.entryList({stagingPrefix + QLatin1Char('*')},
                                               QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot);
    for (const QString &name : names) {
        const QString left = folder.filePath(name);
        if (platform::isOwnFolder(left)) {
            logLine(QStringLiteral("left update         : ") + left);
            removeTree(left);
        }
    }
}

Replacement replaceItem(const QString &from, const QString &to, const DiskMoves &moves)
{
    Replacement failed;
    StagingFolder folder(QFileInfo(to).path());
    if (folder.path().isEmpty()) {
        failed.error = QStringLiteral("%1 can't be written").arg(QFileInfo(to).path());
        return failed;
    }
    const QString staged = appendPath(folder.path(), lastPathComponent(to));
    if (const QString error = stage(from, staged, moves); !error.isNull()) {
        failed.error = QStringLiteral("%1 can't be written: %2").arg(to, error);
        return failed;
    }
    if (!standsThere(to)) {
        if (!moves.rename(staged, to)) {
            failed.error = QStringLiteral("%1 can't be written").arg(to);
        }
        return failed;
    }
    const Replacement done = replaceStaged(staged, to, folder.path(), moves);
    if (done.oldAt.startsWith(folder.path())) {
        folder.keep();
    }
    return done;
}

} // namespace qv
