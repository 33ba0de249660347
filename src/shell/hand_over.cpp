#include "shell/hand_over.h"

#include <QtEndian>

#include <algorithm>

namespace qv::handover
{
namespace
{

const QByteArray mark = QByteArrayLiteral("QVH1");
constexpr qsizetype longestPath = 4096;

bool isAbsolutePath(const QByteArray &path)
{
    return path.startsWith('/') && path.size() <= longestPath;
}

QByteArray message(const QByteArray &payload)
{
    QByteArray size(sizeof(quint32), '\0');
    qToBigEndian(static_cast<quint32>(payload.size()), size.data());
    return mark + size + payload;
}

} // namespace

QByteArrayList messages(const QByteArrayList &rawPaths)
{
    QByteArrayList messages;
    QByteArray payload;
    for (const QByteArray &path : rawPaths) {
        if (!payload.isEmpty() && payload.size() + path.size() + 1 > longestPayload) {
            messages.append(message(payload));
            payload.clear();
        }
        payload += path + '\0';
    }
    messages.append(message(payload));
    return messages;
}

QByteArray actionMessage(LaunchAction action)
{
    return message(optionOf(action) + '\0');
}

std::optional<qsizetype> payloadSize(const QByteArray &header)
{
    if (header.size() < headerSize || !header.startsWith(mark)) {
        return std::nullopt;
    }
    const auto size = qFromBigEndian<quint32>(header.constData() + mark.size());
    return size <= longestPayload ? std::optional<qsizetype>(size) : std::nullopt;
}

std::optional<QByteArrayList> pathsIn(const QByteArray &payload)
{
    if (payload.isEmpty()) {
        return QByteArrayList();
    }
    if (!payload.endsWith('\0')) {
        return std::nullopt;
    }
    const QByteArrayList paths = payload.chopped(1).split('\0');
    const bool good = std::all_of(paths.begin(), paths.end(), isAbsolutePath);
    return good ? std::optional(paths) : std::nullopt;
}

std::optional<LaunchAction> actionIn(const QByteArray &payload)
{
    return payload.endsWith('\0') ? launchActionOf(payload.chopped(1)) : std::nullopt;
}

} // namespace qv::handover
