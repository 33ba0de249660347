#include "support/twin_names.h"

#include <QString>

#include <algorithm>

namespace qv
{
namespace
{

bool isAscii(char byte)
{
    return static_cast<unsigned char>(byte) < 0x80;
}

} // namespace

QByteArray twinKey(const QByteArray &name)
{
    if (std::all_of(name.begin(), name.end(), isAscii) || !name.isValidUtf8()) {
        return name.toLower();
    }
    // Decomposed first: folding a composed character may give another than folding its parts. In
    // capitals first: folding leaves letters single of which some disks make two.
    return QString::fromUtf8(name)
        .normalized(QString::NormalizationForm_D)
        .toUpper()
        .toCaseFolded()
        .normalized(QString::NormalizationForm_C)
        .toUtf8();
}

} // namespace qv
