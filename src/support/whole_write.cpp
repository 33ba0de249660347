#include "support/whole_write.h"

#include <cerrno>
#include <unistd.h>

namespace qv
{

int writeAll(int file, const char *bytes, std::size_t size)
{
    while (size > 0) {
        const ssize_t written = ::write(file, bytes, size);
        if (written < 0 && errno != EINTR) {
            return errno;
        }
        if (written > 0) {
            bytes += written;
            size -= static_cast<std::size_t>(written);
        }
    }
    return 0;
}

} // namespace qv
