#pragma once

#include <QByteArray>

#include <optional>

namespace qv
{

// What the application can be asked to begin with, by an option behind its name; the desktop's
// menus offer these.
enum class LaunchAction { ChooseVideos, ChooseFolder, ShowPreferences };

// "--choose-videos", "--choose-folder", "--preferences"; nothing for any other text.
std::optional<LaunchAction> launchActionOf(const QByteArray &option);
QByteArray optionOf(LaunchAction action);

} // namespace qv
