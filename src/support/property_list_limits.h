#pragma once

#include <QByteArray>

// libplist and the conversion to QVariant follow the nesting of a list by recursion, and a binary
// list may refer to one object many times over, so that a few hundred bytes unfold to gigabytes.
// These look at the bytes first.
namespace qv
{

inline constexpr unsigned propertyListMaxDepth = 256;
inline constexpr qint64 propertyListMaxBytes = qint64{64} << 20;

bool isBinaryPropertyList(const QByteArray &bytes);

// Whether no element of the XML stands deeper than propertyListMaxDepth.
bool xmlNestingIsBounded(const QByteArray &xml);
// Whether the binary list unfolds to at most that depth and propertyListMaxBytes. False also for
// a list whose tables do not lie inside the bytes, and for one with a text that holds a NUL.
bool binaryUnfoldingIsBounded(const QByteArray &bytes);

} // namespace qv
