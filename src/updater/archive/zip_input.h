#pragma once

#include <QString>

#include <tl/expected.hpp>

#include <array>
#include <memory>

// The bytes of an archive as minizip asks for them: header fields one byte at a time, so what is
// read lies in a small window; contents in larger pieces, which go past it.
namespace qv
{

class ZipInput
{
public:
    // Over an open file, which the caller keeps open. The reason is for people.
    static tl::expected<std::unique_ptr<ZipInput>, QString> over(int file);

    quint64 size() const { return m_size; }
    quint64 position() const { return m_position; }
    void seek(quint64 position) { m_position = position; }
    // How many bytes came; fewer than asked for only at the end or when the file can't be read.
    size_t read(char *buffer, size_t size);
    // Whether the last read gave all that was asked for.
    bool isWhole() const { return m_isWhole; }

private:
    ZipInput(int file, quint64 size) : m_file(file), m_size(size) {}
    size_t readSome(char *buffer, size_t size);
    size_t readFile(char *buffer, size_t size);
    bool isInWindow() const;

    int m_file;
    quint64 m_size = 0;
    quint64 m_position = 0;
    quint64 m_windowStart = 0;
    size_t m_windowSize = 0;
    bool m_isWhole = true;
    std::array<char, 8192> m_window = {};
};

} // namespace qv
