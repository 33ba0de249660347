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

constexpr QByteArrayView marksBegin("\xFF\xFF\x1E\x20", 4);
constexpr QByteArrayView markBytes("\x1E\x20", 2);
constexpr qsizetype bytesBeforeMark = 2;
constexpr qsizetype bytesFromMark = 8; // with the date
constexpr qsizetype mostMarks = 65536;
// All playlists of a card together take some KB.
constexpr quint64 mostBytes = 64ULL * 1024 * 1024;

bool isWhole(QByteArrayView playlist, qsizetype mark)
{
    return mark >= bytesBeforeMark && playlist.size() - mark >= bytesFromMark;
}

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

// After the lines so far, also where both streams are one.
bool failed(const std::string &message)
{
    std::fflush(stdout);
    std::fputs(message.c_str(), stderr);
    return false;
}

bool noStatus(const std::string &name, const std::error_code &error)
{
    return failed("Error getting file stats:" + name + ':' + error.message() + '\n');
}

bool isPlaylistName(const std::string &name)
{
    constexpr std::string_view ending = ".MPL";
    return std::string_view(name).ends_with(ending);
}

// The playlists of the current folder, by name; what went wrong stands in the error.
std::vector<std::string> playlistNames(std::error_code &error)
{
    std::vector<std::string> names;
    for (fs::directory_iterator entry(".", error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        if (std::string name = entry->path().filename().string(); isPlaylistName(name)) {
            names.push_back(std::move(name));
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

// At most `limit` bytes of it.
QByteArray firstBytes(std::FILE *file, quint64 limit)
{
    QByteArray bytes(static_cast<qsizetype>(limit), Qt::Uninitialized);
    bytes.truncate(static_cast<qsizetype>(
        std::fread(bytes.data(), 1, static_cast<size_t>(bytes.size()), file)));
    return bytes;
}

// Takes what it reads off the bytes that may still be read.
bool printPlaylist(const std::string &name, quint64 &bytesLeft)
{
    std::error_code error;
    const quint64 size = fs::file_size(name, error);
    if (error) {
        return noStatus(name, error);
    }
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(std::fopen(name.c_str(), "rb"),
                                                                std::fclose);
    if (!file) {
        return failed("Error opening file:" + name + ':' + std::strerror(errno));
    }
    const QByteArray bytes = firstBytes(file.get(), std::min(size, bytesLeft));
    const auto read = static_cast<quint64>(bytes.size());
    bytesLeft -= read;
    if (read < size) {
        return failed("Could not read all the characters in the file:Expecting " +
                      std::to_string(size) + " characters:Read " + std::to_string(read) +
                      " characters\n");
    }
    for (const QByteArray &line : clipMarks(bytes)) {
        std::fputs(line.constData(), stdout);
    }
    return true;
}

// Opening a pipe would wait for ever, so only a file is opened.
bool printIfFile(const std::string &name, quint64 &bytesLeft)
{
    std::error_code error;
    const fs::file_status status = fs::status(name, error);
    if (!fs::exists(status)) {
        return noStatus(name, error);
    }
    return !fs::is_regular_file(status) || printPlaylist(name, bytesLeft);
}

} // namespace

QByteArrayList clipMarks(QByteArrayView playlist)
{
    QByteArrayList lines;
    const qsizetype begin = playlist.indexOf(marksBegin);
    if (begin < 0) {
        return lines;
    }
    for (qsizetype mark = playlist.indexOf(markBytes, begin + marksBegin.size());
         mark >= 0 && lines.size() < mostMarks;
         mark = playlist.indexOf(markBytes, mark + markBytes.size())) {
        if (isWhole(playlist, mark)) {
            lines.append(listingLine(playlist, mark));
        }
    }
    return lines;
}

bool playlistTimestamps(const QString &folder)
{
    const std::string path = QFile::encodeName(expandTilde(folder)).toStdString();
    std::error_code error;
    fs::current_path(path, error);
    if (error) {
        return failed("Cannot change directory:" + path + ':' + error.message());
    }
    const std::vector<std::string> names = playlistNames(error);
    if (error) {
        return failed("Error reading directory:" + path + ':' + error.message());
    }
    quint64 bytesLeft = mostBytes;
    return std::all_of(names.begin(), names.end(),
                       [&](const std::string &name) { return printIfFile(name, bytesLeft); });
}

} // namespace qv
