#include "updater/web/web_kept_file.h"

#include "support/whole_write.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <utility>

#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace qv
{
namespace
{

// Not O_TMPFILE, which some file systems lack.
FileDescriptor makeNamelessFile(const QString &folder)
{
    QByteArray path = QFile::encodeName(folder) + "/download-XXXXXX";
    FileDescriptor file(::mkostemp(path.data(), O_CLOEXEC));
    if (file.isOpen() && ::unlink(path.constData()) != 0) {
        file.close();
    }
    return file;
}

QString writingReason(const QString &folder, int error)
{
    return QStringLiteral("the download can't be written to %1: %2")
        .arg(folder, qt_error_string(error));
}

} // namespace

QString KeptFile::open(const QString &folder)
{
    if (!m_file.isOpen()) {
        m_folder = folder;
        m_file = makeNamelessFile(folder);
    }
    return m_file.isOpen() ? QString() : writingReason(folder, errno);
}

bool KeptFile::resume(const QUrl &address, qint64 mostBytes)
{
    const qint64 good = std::min(m_size, m_facts.length - 1);
    const bool fits = m_facts.address == address && !m_facts.validator.isEmpty() &&
                      m_facts.length <= mostBytes && good > 0;
    if (!fits || !cutTo(good)) {
        forget();
        return false;
    }
    return true;
}

QString KeptFile::beginAnew(const Facts &facts)
{
    m_facts = facts;
    return cutTo(0) ? QString() : writingReason(m_folder, errno);
}

void KeptFile::forget()
{
    m_facts = {};
    cutTo(0);
}

bool KeptFile::cutTo(qint64 size)
{
    m_size = size;
    return ::ftruncate(m_file.get(), size) == 0 && ::lseek(m_file.get(), size, SEEK_SET) == size;
}

QString KeptFile::append(const QByteArray &bytes)
{
    const int error = writeAll(m_file.get(), bytes.constData(), static_cast<size_t>(bytes.size()));
    if (error != 0) {
        cutTo(m_size);
        return writingReason(m_folder, error);
    }
    m_size += bytes.size();
    return {};
}

FileDescriptor KeptFile::take()
{
    m_facts = {};
    m_size = 0;
    return std::move(m_file);
}

} // namespace qv
