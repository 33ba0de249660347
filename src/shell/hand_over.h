#pragma once

#include "shell/launch_action.h"

#include <QByteArray>
#include <QByteArrayList>

#include <optional>

// What a later copy sends to the first one: a mark, the length of what follows, and raw paths that
// each end with a zero byte; or the option of an action in their place.
namespace qv::handover
{

inline constexpr qsizetype headerSize = 8;
inline constexpr qsizetype longestPayload = 4 * 1024 * 1024;
inline constexpr char taken = 'Y';
inline constexpr char refused = 'N';

// As many as the paths need, at least one.
QByteArrayList messages(const QByteArrayList &rawPaths);
QByteArray actionMessage(LaunchAction action);
// Of the first headerSize bytes; nothing when they are no such header, or announce too much.
std::optional<qsizetype> payloadSize(const QByteArray &header);
// Nothing when there is something else in it than absolute paths.
std::optional<QByteArrayList> pathsIn(const QByteArray &payload);
// Nothing when it is not exactly one action.
std::optional<LaunchAction> actionIn(const QByteArray &payload);

} // namespace qv::handover
