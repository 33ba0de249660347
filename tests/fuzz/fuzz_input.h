#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace qv::fuzz
{

inline QByteArray bytes(const uint8_t *data, size_t size)
{
    return {reinterpret_cast<const char *>(data), static_cast<qsizetype>(size)};
}

inline QString text(const uint8_t *data, size_t size)
{
    return QString::fromUtf8(bytes(data, size));
}

// What must hold whatever the input is.
inline void require(bool holds, const char *what)
{
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

} // namespace qv::fuzz
