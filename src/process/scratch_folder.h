#pragma once

#include <QString>

#include <memory>

// A temporary folder of this process alone, closed to other users and locked while the process
// lives. Folders whose process was killed go when the next one makes its own.
namespace qv
{

class ScratchFolder
{
public:
    // A new folder below temporaryRoot() whose name begins with the prefix, beside which abandoned
    // ones of this prefix are removed. Null when none can be made.
    static std::unique_ptr<ScratchFolder> create(const QString &prefix);
    // The folder at the path: made, or emptied when it is this user's and no process has locked it.
    // Null when it is somebody else's, in use, or can't be locked.
    static std::unique_ptr<ScratchFolder> take(const QString &path);
    // Removes the folder.
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder &) = delete;
    ScratchFolder &operator=(const ScratchFolder &) = delete;

    QString path() const { return m_path; }

private:
    ScratchFolder(QString path, int lock) : m_path(std::move(path)), m_lock(lock) {}

    QString m_path;
    int m_lock; // descriptor; -1 on file systems without locks
};

} // namespace qv
