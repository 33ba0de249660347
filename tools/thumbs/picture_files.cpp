#include "thumbs/picture_files.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>

namespace qv
{
namespace
{

bool isFolder(const std::string &path)
{
    struct stat facts {
    };
    return ::stat(path.c_str(), &facts) == 0 && S_ISDIR(facts.st_mode);
}

} // namespace

std::string PictureFiles::prepare()
{
    const std::string &base = m_request.destination;
    m_intoFolder = isFolder(base) || m_request.instants.size() > 1;
    if (m_intoFolder && !isFolder(base) && ::mkdir(base.c_str(), 0777) != 0) {
        return base + ": " + std::strerror(errno);
    }
    return {};
}

std::string PictureFiles::pathOf(std::size_t index) const
{
    if (!m_intoFolder) {
        return m_request.destination;
    }
    char name[32];
    std::snprintf(name, sizeof name, "/img%02zu.jpg", index);
    return m_request.destination + name;
}

} // namespace qv
