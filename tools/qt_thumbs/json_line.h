#pragma once

#include <string>

namespace qv
{

// One JSON object on one line of standard output.
class JsonLine
{
public:
    void add(const std::string &key, const std::string &value);
    void add(const std::string &key, const char *value) { add(key, std::string(value)); }
    void add(const std::string &key, int value);
    void add(const std::string &key, double value);
    void add(const std::string &key, bool value);
    void print() const;

private:
    void append(const std::string &key, const std::string &value);

    std::string m_members;
};

} // namespace qv
