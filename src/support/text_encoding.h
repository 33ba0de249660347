#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace qv
{

// Which encoding a text file's bytes seem to be in.
struct EncodingGuess {
    QByteArray iconvName; // what decodeText takes; empty when nothing fits
    QString toolName;     // what the tools are told: one of a fixed list, "CP1252" outside it
};
EncodingGuess guessEncoding(const QByteArray &bytes);

// The text, without a byte-order mark; nothing when the bytes don't fit the encoding or nobody
// knows it.
std::optional<QString> decodeText(const QByteArray &bytes, const QByteArray &iconvName);

} // namespace qv
