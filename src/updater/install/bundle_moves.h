#pragma once

#include <QString>

#include <functional>

// How a finished item takes the place of another one so that, whatever happens meanwhile, a whole
// one stands there. Where the file system can, the two change places in one step.
namespace qv
{

// The moves on the disk; a test hands in ones that fail.
struct DiskMoves {
    enum class Exchange { Done, Unsupported, Failed };
    // Two items of one volume change their places.
    std::function<Exchange(const QString &, const QString &)> exchange;
    // Within a volume; false when it did not happen.
    std::function<bool(const QString &from, const QString &to)> rename;
    // Gives where the item lies in the trash; null when it did not get there.
    std::function<QString(const QString &path)> trash;

    static DiskMoves real();
};

// A new folder for this user only within another one, deleted with its contents at the end.
// Archives are unpacked in such a folder, and new items wait in one beside their place.
class StagingFolder
{
public:
    explicit StagingFolder(const QString &parent);
    ~StagingFolder();
    StagingFolder(const StagingFolder &) = delete;
    StagingFolder &operator=(const StagingFolder &) = delete;

    // Empty when it can't be made.
    QString path() const { return m_path; }
    // Leaves it on the disk, because of what lies in it.
    void keep() { m_path.clear(); }

private:
    QString m_path;
};

// Deletes the staging folders that a killed process has left in this folder.
void clearStagingFolders(const QString &parent);

// Where the old item is after a replacement.
struct Replacement {
    QString error; // null when the new one is in place
    QString oldAt; // of the old one; null when there was none or it is where it was
    bool isTrashed = false;
};

// Brings the item `from` to the place `to`; what stood there goes to the trash, or, when the trash
// doesn't take it, stays beside it under another name. `from` may be on another volume. When it
// fails, the old one is where it was, or `oldAt` says where it lies.
Replacement replaceItem(const QString &from, const QString &to, const DiskMoves &moves);

} // namespace qv
