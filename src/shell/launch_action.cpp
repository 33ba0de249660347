#include "shell/launch_action.h"

#include <algorithm>
#include <array>

namespace qv
{
namespace
{

struct Entry {
    LaunchAction action;
    const char *option;
};

constexpr std::array<Entry, 3> entries{{{LaunchAction::ChooseVideos, "--choose-videos"},
                                        {LaunchAction::ChooseFolder, "--choose-folder"},
                                        {LaunchAction::ShowPreferences, "--preferences"}}};

} // namespace

std::optional<LaunchAction> launchActionOf(const QByteArray &option)
{
    const auto *found = std::find_if(entries.begin(), entries.end(),
                                     [&](const Entry &entry) { return option == entry.option; });
    return found == entries.end() ? std::nullopt : std::optional(found->action);
}

QByteArray optionOf(LaunchAction action)
{
    return std::find_if(entries.begin(), entries.end(),
                        [&](const Entry &entry) { return entry.action == action; })
        ->option;
}

} // namespace qv
