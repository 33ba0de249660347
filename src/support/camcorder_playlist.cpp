#include "support/camcorder_playlist.h"

#include "support/files.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace qv
{
namespace
{

namespace fs = std::filesystem;

constexpr QByteArrayView listStart("\xFF\xFF\x1E\x20", 4);
constexpr QByteArrayView markBytes("\x1E\x20", 2);
constexpr qsizetype bytesBeforeMark = 2;
constexpr qsizetype bytesOfMark = 8; // with the date
constexpr qsizetype mostMarks = 65536;
// All playlists of a card take some KB.
constexpr quint64 mostBytes = 64ULL * 1024 * 1024;

QByteArray listingLine(QByteArrayView playlist, qsizetype mark)
{
    const auto byte = [&](qsizetype offset) {
        return static_cast<unsigned>(static_cast<unsigned char>(playlist[mark + offset]));
    };
    std::array<char, 64> line{};
    std::snprintf(line.data(), line.size(), "%.3u%.2u : clip-20%.2X-%.2X-%.2X %.2X;%.2X;%.2X\n",
                  byte(-2), byte(-1), byte(2), byte(3), byte(4), byte(5), byte(6), byte(7));
    return line.data();
}

bool isWhole(QByteArrayView playlist, qsizetype mark)
{
    return mark >= bytesBeforeMark && playlist.size() - mark >= bytesOfMark;
}

using Handle = std::unique_ptr<std::FILE, int (*)(std::FILE *)>;

// One folder's playlists, with what is left to be read of them.
class Playlists
{
public:
    bool print(const std::string &name)
    {
        std::error_code error;
        const fs::file_status status = fs::status(name, error);
        if (status.type() == fs::file_type::none || status.type() == fs::file_type::not_found) {
            return failed("Error getting file stats:%s:%s\n", name, error.message());
        }
        // Opening a pipe would wait for ever.
        return !fs::is_regular_file(status) || printFile(name);
    }

    static bool failed(const char *format, const std::string &path, const std::string &why);

private:
    bool printFile(const std::string &name)
    {
        std::error_code error;
        const quint64 size = fs::file_size(name, error);
        if (error) {
            return failed("Error getting file stats:%s:%s\n", name, error.message());
        }
        const Handle file(std::fopen(name.c_str(), "rb"), std::fclose);
        if (!file) {
            return failed("Error opening file:%s:%s", name, std::strerror(errno));
        }
        QByteArray bytes(static_cast<qsizetype>(std::min(size, m_left)), Qt::Uninitialized);
        bytes.truncate(static_cast<qsizetype>(
            std::fread(bytes.data(), 1, static_cast<size_t>(bytes.size()), file.get())));
        m_left -= static_cast<quint64>(bytes.size());
        return static_cast<quint64>(bytes.size()) < size ? cutShort(size, bytes.size())
                                                         : printMarks(bytes);
    }

    static bool cutShort(quint64 size, qsizetype read)
    {
        std::fprintf(stderr,
                     "Could not read all the characters in the file:"
                     "Expecting %lld characters:Read %lld characters\n",
                     static_cast<long long>(size), static_cast<long long>(read));
        return false;
    }

    static bool printMarks(QByteArrayView playlist)
    {
        for (const QByteArray &line : clipMarks(playlist)) {
            std::fputs(line.constData(), stdout);
        }
        return true;
    }

    quint64 m_left = mostBytes;
