#include "qt_thumbs/json_line.h"

#include <cstdio>

namespace qv
{
namespace
{

// Names of formats are plain; anything else in them is replaced.
std::string quoted(const std::string &text)
{
    std::string result = "\"";
    for (const char c : text) {
        const bool plain = c >= ' ' && c <= '~' && c != '"' && c != '\\';
        result += plain ? c : '?';
    }
    return result + '"';
}

} // namespace

void JsonLine::add(const std::string &key, const std::string &value)
{
    append(key, quoted(value));
}

void JsonLine::add(const std::string &key, int value)
{
    append(key, std::to_string(value));
}

void JsonLine::add(const std::string &key, double value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.6g", value);
    append(key, text);
}

void JsonLine::add(const std::string &key, bool value)
{
    append(key, value ? "true" : "false");
}

void JsonLine::print() const
{
    std::printf("{%s}\n", m_members.c_str());
}

void JsonLine::append(const std::string &key, const std::string &value)
{
    m_members += (m_members.empty() ? "" : ", ") + quoted(key) + ": " + value;
}

} // namespace qv
