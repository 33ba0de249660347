#include "updater/archive/zip_plan.h"

#include "support/twin_names.h"
#include "updater/archive/zip_names.h"

#include <QHash>

#include <algorithm>
#include <utility>

#include <sys/stat.h>

namespace qv
{
namespace
{

using Checked = tl::expected<void, QString>;
using Kind = ZipNode::Kind;

constexpr unsigned long stored = 0;
constexpr unsigned long deflated = 8;
constexpr quint64 largest = quint64{1} << 62; // so that sums don't overflow

Checked refused(const QString &reason)
{
    return tl::unexpected(reason);
}

std::optional<Kind> kindOfMode(quint32 mode, Kind byName)
{
    switch (mode & S_IFMT) {
    case 0:
        return byName;
    case S_IFREG:
        return Kind::File;
    case S_IFDIR:
        return Kind::Folder;
    case S_IFLNK:
        return Kind::Link;
    default:
        return std::nullopt;
    }
}

tl::expected<Kind, QString> kindOf(const ZipEntry &entry)
{
    const Kind byName = entry.name.endsWith('/') ? Kind::Folder : Kind::File;
    const auto kind = kindOfMode(entry.unixMode.value_or(0), byName);
    if (!kind) {
        return tl::unexpected(
            QStringLiteral("the archive holds something that is neither file, folder nor link: %1")
                .arg(shownEntry(entry.name)));
    }
    if ((*kind == Kind::Folder) != (byName == Kind::Folder)) {
        return tl::unexpected(damagedArchive(entry.name));
    }
    return *kind;
}

Checked checkCoding(const ZipEntry &entry)
{
    if (entry.isEncrypted) {
        return refused(
            QStringLiteral("the archive holds an encrypted entry: %1").arg(shownEntry(entry.name)));
    }
    if (entry.method != stored && entry.method != deflated) {
        return refused(QStringLiteral("the archive holds an entry of an unknown compression: %1")
                           .arg(shownEntry(entry.name)));
    }
    if (entry.method == stored && entry.packedSize != entry.place.size) {
        return refused(damagedArchive(entry.name));
    }
    return {};
}

Checked checkSize(const ZipEntry &entry, Kind kind)
{
    const bool fits = kind == Kind::File || (kind == Kind::Folder && entry.place.size == 0) ||
                      (kind == Kind::Link && entry.place.size <= quint64{longestLink});
    return fits ? Checked() : refused(damagedArchive(entry.name));
}

class Planner
{
public:
    explicit Planner(const UnpackLimits &limits) : m_limits(limits) {}

    Checked add(const ZipEntry &entry);
    ZipPlan take() { return std::move(m_plan); }
    Checked checkCount(quint64 count) const;

private:
    Checked addBytes(quint64 bytes);
    tl::expected<int, QString> folders(const QList<QByteArray> &path, const ZipEntry &entry);
    tl::expected<int, QString> folder(int parent, const QByteArray &name, const ZipEntry &entry);
    Checked place(int parent, const QByteArray &name, const ZipEntry &entry, Kind kind);
    tl::expected<int, QString> append(ZipNode node);
    // The node of that name or of one that some volume takes for it; null when there is none.
    ZipNode *find(int parent, const QByteArray &name);
    QString clash(const ZipNode &found, const QByteArray &name, const ZipEntry &entry) const;

    using Key = std::pair<int, QByteArray>;
    UnpackLimits m_limits;
    ZipPlan m_plan;
    QHash<Key, int> m_known;
};

Checked Planner::add(const ZipEntry &entry)
{
    const auto components = entryComponents(entry.name);
    if (!components) {
        return refused(QStringLiteral("the archive holds a name that can't be taken: %1")
                           .arg(shownEntry(entry.name)));
    }
    const auto kind = kindOf(entry);
    if (!kind) {
        return refused(kind.error());
    }
    return checkCoding(entry)
        .and_then([&] { return checkSize(entry, *kind); })
        .and_then([&] { return addBytes(entry.place.size); })
        .and_then([&]() -> Checked {
            const auto parent = folders(components->mid(0, components->size() - 1), entry);
            return parent ? place(*parent, components->constLast(), entry, *kind)
                          : refused(parent.error());
        });
}

Checked Planner::checkCount(quint64 count) const
{
    if (count > static_cast<quint64>(std::max(0, m_limits.entries))) {
        return refused(QStringLiteral("the archive holds too much: %1 entries are the most")
                           .arg(m_limits.entries));
    }
    return {};
}

Checked Planner::addBytes(quint64 bytes)
{
    const quint64 most = std::min(m_limits.bytes, largest);
    if (bytes > most || m_plan.bytes > most - bytes) {
        return refused(QStringLiteral("the archive holds too much: %1 MB are the most")
                           .arg(m_limits.bytes >> 20));
    }
    m_plan.bytes += bytes;
    return {};
}

// The innermost one's node.
tl::expected<int, QString> Planner::folders(const QList<QByteArray> &path, const ZipEntry &entry)
{
    int parent = -1;
    for (const QByteArray &name : path) {
        const auto found = folder(parent, name, entry);
        if (!found) {
            return found;
        }
        parent = *found;
    }
    return parent;
}

tl::expected<int, QString> Planner::folder(int parent, const QByteArray &name,
                                           const ZipEntry &entry)
{
    const ZipNode *found = find(parent, name);
    if (found == nullptr) {
        return append({.kind = Kind::Folder, .parent = parent, .name = name, .place = {}});
    }
    if (found->name != name || found->kind != Kind::Folder) {
        return tl::unexpected(clash(*found, name, entry));
    }
    return static_cast<int>(found - m_plan.nodes.data());
}

Checked Planner::place(int parent, const QByteArray &name, const ZipEntry &entry, Kind kind)
{
    ZipNode *found = find(parent, name);
    if (found == nullptr) {
        const bool isExecutable = (entry.unixMode.value_or(0) & S_IXUSR) != 0;
        const auto added = append({kind, parent, name, entry.place, isExecutable, entry.date});
        return added ? Checked() : refused(added.error());
    }
    if (found->name != name || found->kind != Kind::Folder || kind != Kind::Folder) {
        return refused(clash(*found, name, entry));
    }
    found->date = entry.date;
    return {};
}

tl::expected<int, QString> Planner::append(ZipNode node)
{
    const Checked fits = checkCount(m_plan.nodes.size() + 1);
    if (!fits) {
        return tl::unexpected(fits.error());
    }
    const int index = static_cast<int>(m_plan.nodes.size());
    m_known.insert({node.parent, twinKey(node.name)}, index);
    m_plan.nodes.push_back(std::move(node));
    return index;
}

ZipNode *Planner::find(int parent, const QByteArray &name)
{
    const auto found = m_known.constFind({parent, twinKey(name)});
    return found == m_known.constEnd() ? nullptr : &m_plan.nodes[static_cast<size_t>(*found)];
}

QString Planner::clash(const ZipNode &found, const QByteArray &name, const ZipEntry &entry) const
{
    return found.name == name
               ? QStringLiteral("the archive holds a name that stands for two things: %1")
                     .arg(shownEntry(entry.name))
               : QStringLiteral("the archive holds two names that are one on some disks: %1, %2")
                     .arg(shownEntry(m_plan.pathOf(found)), shownEntry(entry.name));
}

qsizetype foldersAbove(const ZipPlan &plan, const ZipNode &node)
{
    qsizetype count = 0;
    for (int at = node.parent; at >= 0; at = plan.nodes[static_cast<size_t>(at)].parent) {
        ++count;
    }
    return count;
}

Checked checkLinks(ZipReader &archive, const ZipPlan &plan, const std::atomic<bool> *isCancelled)
{
    for (const ZipNode &node : plan.nodes) {
        if (isCancelled != nullptr && *isCancelled) {
            return refused(unpackingCancelled());
        }
        if (node.kind != Kind::Link) {
            continue;
        }
        const auto target = linkTarget(archive, plan, node);
        if (!target) {
            return refused(target.error());
        }
    }
    return {};
}

Checked addAll(ZipReader &archive, Planner &planner, const std::atomic<bool> *isCancelled)
{
    for (quint64 i = 0; i < archive.count(); ++i) {
        if (isCancelled != nullptr && *isCancelled) {
            return refused(unpackingCancelled());
        }
        const auto entry = archive.next();
        const Checked added =
            entry ? planner.add(*entry)
                  : refused(QStringLiteral("the archive's list of contents is damaged"));
        if (!added) {
            return added;
        }
    }
    return {};
}

} // namespace

QByteArray ZipPlan::pathOf(const ZipNode &node) const
{
    QByteArray path = node.name;
    for (int at = node.parent; at >= 0; at = nodes[static_cast<size_t>(at)].parent) {
        path.prepend('/').prepend(nodes[static_cast<size_t>(at)].name);
    }
    return path;
}

tl::expected<ZipPlan, QString> planOf(ZipReader &archive, const UnpackLimits &limits,
                                      const std::atomic<bool> *isCancelled)
{
    Planner planner(limits);
    Checked checked = planner.checkCount(archive.count()).and_then([&] {
        return addAll(archive, planner, isCancelled);
    });
    ZipPlan plan = planner.take();
    checked = checked.and_then([&] { return checkLinks(archive, plan, isCancelled); });
    if (checked && plan.nodes.empty()) {
        checked = refused(QStringLiteral("the archive holds nothing"));
    }
    if (!checked) {
        return tl::unexpected(checked.error());
    }
    return plan;
}

tl::expected<QByteArray, QString> linkTarget(ZipReader &archive, const ZipPlan &plan,
                                             const ZipNode &link)
{
    QByteArray target;
    const auto outcome = archive.read(link.place, [&](const char *bytes, size_t size) {
        target.append(bytes, static_cast<qsizetype>(size));
        return true;
    });
    if (outcome != ZipReader::Outcome::Whole) {
        return tl::unexpected(damagedArchive(plan.pathOf(link)));
    }
    if (!isLinkWithin(target, foldersAbove(plan, link))) {
        return tl::unexpected(QStringLiteral("the archive holds a link that leads out of it: %1")
                                  .arg(shownEntry(plan.pathOf(link))));
    }
    return target;
}

QString unpackingCancelled()
{
    return QStringLiteral("unpacking was cancelled");
}

} // namespace qv
