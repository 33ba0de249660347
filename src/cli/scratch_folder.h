#pragma once

#include <QString>

#include <memory>

// A temporary folder of this process alone, so that many copies run side by side. It is locked
// while the process lives; folders whose process was killed are cleared away by the next one.
namespace qv
{

class ScratchFolder
{
public:
    // Where they are made: TMPDIR, else /tmp.
    static QString root();
    // Null when none can be made.
    static std::unique_ptr<ScratchFolder> create();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder &) = delete;
    ScratchFolder &operator=(const ScratchFolder &) = delete;

    QString path() const { return m_path; }

private:
    ScratchFolder(QString path, int lock) : m_path(std::move(path)), m_lock(lock) {}

    QString m_path;
    int m_lock;
};

} // namespace qv
