#include "support/tree_walk.h"

#include <algorithm>

namespace qv
{
namespace
{

struct Pending {
    QByteArray path;
    platform::EntryKind kind;
};

// The last entry first: what is taken from the end of the stack comes in order.
void pushEntries(std::vector<Pending> &stack, const QByteArray &folder, const FolderVisitor &failed)
{
    bool isWhole = true;
    const std::vector<platform::DirectoryEntry> entries = sortedEntries(folder, &isWhole);
    if (!isWhole && failed) {
        failed(folder);
    }
    const QByteArray prefix = folder.endsWith('/') ? folder : folder + '/';
    for (auto it = entries.rbegin(); it != entries.rend(); ++it) {
        stack.push_back({prefix + it->name, it->kind});
    }
}

} // namespace

std::vector<platform::DirectoryEntry> sortedEntries(const QByteArray &folder, bool *isWhole)
{
    std::vector<platform::DirectoryEntry> entries =
        platform::readDirectory(folder, isWhole).value_or(std::vector<platform::DirectoryEntry>());
    std::sort(entries.begin(), entries.end(),
              [](const auto &a, const auto &b) { return a.name < b.name; });
    return entries;
}

// A stack of its own, because a tree can be deeper than the call stack is.
void walkTree(const QByteArray &root, const TreeVisitor &visit, const FolderVisitor &failed)
{
    std::vector<Pending> stack;
    pushEntries(stack, root, failed);
    while (!stack.empty()) {
        const Pending entry = std::move(stack.back());
        stack.pop_back();
        const bool enter = visit(entry.path, entry.kind);
        if (enter && entry.kind == platform::EntryKind::Folder) {
            pushEntries(stack, entry.path, failed);
        }
    }
}

} // namespace qv
