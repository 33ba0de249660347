#include "updater/archive/zip_input.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <sys/stat.h>
#include <unistd.h>

namespace qv
{

tl::expected<std::unique_ptr<ZipInput>, QString> ZipInput::over(int file)
{
    struct stat status = {};
    if (::fstat(file, &status) != 0) {
        return tl::unexpected(
            QStringLiteral("the archive can't be opened: %1").arg(qt_error_string(errno)));
    }
    if (!S_ISREG(status.st_mode)) {
        return tl::unexpected(QStringLiteral("the archive is no plain file"));
    }
    return std::unique_ptr<ZipInput>(new ZipInput(file, static_cast<quint64>(status.st_size)));
}

size_t ZipInput::read(char *buffer, size_t size)
{
    size_t done = 0;
    while (done < size) {
        const size_t got = readSome(buffer + done, size - done);
        if (got == 0) {
            break;
        }
        done += got;
        m_position += got;
    }
    m_isWhole = done == size;
    return done;
}

size_t ZipInput::readSome(char *buffer, size_t size)
{
    if (!isInWindow()) {
        if (size >= m_window.size()) {
            return readFile(buffer, size);
        }
        m_windowSize = readFile(m_window.data(), m_window.size());
        m_windowStart = m_position;
    }
    const size_t offset = m_position - m_windowStart;
    const size_t count = std::min(size, m_windowSize - offset);
    std::memcpy(buffer, m_window.data() + offset, count);
    return count;
}

size_t ZipInput::readFile(char *buffer, size_t size)
{
    if (m_position >= m_size) {
        return 0;
    }
    ssize_t got = -1;
    do {
        got = ::pread(m_file, buffer, size, static_cast<off_t>(m_position));
    } while (got < 0 && errno == EINTR);
    return got < 0 ? 0 : static_cast<size_t>(got);
}

bool ZipInput::isInWindow() const
{
    return m_position >= m_windowStart && m_position - m_windowStart < m_windowSize;
}

} // namespace qv
