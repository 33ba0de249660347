#include "process/landlock.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

// The kernel's interface, in our words: the headers of Debian 12 are older than some of it.
namespace qv::landlock
{
namespace
{

constexpr long createRuleset = 444;
constexpr long addRule = 445;
constexpr long restrictSelf = 446;
constexpr unsigned askVersion = 1;
constexpr int pathBeneath = 1;

constexpr std::uint64_t execute = 1U << 0;
constexpr std::uint64_t writeFile = 1U << 1;
constexpr std::uint64_t readFile = 1U << 2;
constexpr std::uint64_t readFolder = 1U << 3;
constexpr std::uint64_t removeFolder = 1U << 4;
constexpr std::uint64_t removeFile = 1U << 5;
constexpr std::uint64_t makeDevice = 1U << 6 | 1U << 11;
constexpr std::uint64_t makeFolder = 1U << 7;
constexpr std::uint64_t makeFile = 1U << 8;
constexpr std::uint64_t makeOther = 1U << 9 | 1U << 10 | 1U << 12; // socket, pipe, link
constexpr std::uint64_t refer = 1U << 13;                          // since version 2
constexpr std::uint64_t truncate = 1U << 14;                       // since version 3
constexpr std::uint64_t allTcp = 3;                                // since version 4
constexpr std::uint64_t abstractSocketsAndSignals = 3;             // since version 6

constexpr std::uint64_t reading = execute | readFile;
constexpr std::uint64_t readingFolders = reading | readFolder;

struct RulesetAttributes {
    std::uint64_t handledFiles = 0;
    std::uint64_t handledNetwork = 0;
    std::uint64_t scoped = 0;
};

struct __attribute__((packed)) PathAttributes {
    std::uint64_t allowed = 0;
    std::int32_t parent = -1;
};

std::uint64_t writing()
{
    return writeFile | (version() >= 3 ? truncate : 0);
}

std::uint64_t writingFolders()
{
    return writing() | removeFolder | removeFile | makeFolder | makeFile |
           (version() >= 2 ? refer : 0);
}

FileDescriptor emptyRuleset()
{
    RulesetAttributes attributes;
    attributes.handledFiles = readingFolders | writingFolders() | makeDevice | makeOther;
    attributes.handledNetwork = version() >= 4 ? allTcp : 0;
    attributes.scoped = version() >= 6 ? abstractSocketsAndSignals : 0;
    return FileDescriptor(
        static_cast<int>(::syscall(createRuleset, &attributes, sizeof attributes, 0U)));
}

struct Rights {
    std::uint64_t ofFile = 0;
    std::uint64_t ofFolder = 0;
};

// No tool can open what isn't there, or what its user may not reach.
bool isOutOfReach(int error)
{
    constexpr std::array errors{ENOENT, ENOTDIR, EACCES, ELOOP, ENAMETOOLONG};
    return std::find(errors.begin(), errors.end(), error) != errors.end();
}

struct Item {
    FileDescriptor handle; // closed: it is out of reach
    bool isFolder = false;
};

tl::expected<Item, int> opened(const QString &path)
{
    Item item;
    item.handle = FileDescriptor(
        ::open(QFile::encodeName(path).constData(), O_PATH | O_CLOEXEC | O_NONBLOCK));
    if (!item.handle.isOpen()) {
        return isOutOfReach(errno) ? tl::expected<Item, int>(std::move(item))
                                   : tl::make_unexpected(errno);
    }
    struct stat status {
    };
    if (::fstat(item.handle.get(), &status) != 0) {
        return tl::make_unexpected(errno);
    }
    item.isFolder = S_ISDIR(status.st_mode);
    return item;
}

// 0, or the system's error number.
int allow(const FileDescriptor &ruleset, const Item &item, const Rights &rights)
{
    if (!item.handle.isOpen()) {
        return 0;
    }
    const PathAttributes attributes{item.isFolder ? rights.ofFolder : rights.ofFile,
                                    item.handle.get()};
    return ::syscall(addRule, ruleset.get(), pathBeneath, &attributes, 0U) == 0 ? 0 : errno;
}

int allowAll(const FileDescriptor &ruleset, const QStringList &paths, const Rights &rights)
{
    int error = 0;
    for (auto path = paths.begin(); path != paths.end() && error == 0; ++path) {
        const auto item = opened(*path);
        error = item ? allow(ruleset, *item, rights) : item.error();
    }
    return error;
}

// Opened once: that is most of what a rule costs.
int allowLasting(const FileDescriptor &ruleset, const QStringList &paths, const Rights &rights)
{
    static std::mutex mutex;
    static std::map<QString, Item> items;
    const std::lock_guard lock(mutex);
    for (const QString &path : paths) {
        auto known = items.find(path);
        if (known == items.end()) {
            auto item = opened(path);
            if (!item) {
                return item.error();
            }
            known = items.emplace(path, std::move(*item)).first;
        }
        if (const int error = allow(ruleset, known->second, rights); error != 0) {
            return error;
        }
    }
    return 0;
}

} // namespace

int version()
{
    static const int version =
        static_cast<int>(std::max(::syscall(createRuleset, nullptr, size_t{0}, askVersion), 0L));
    return version;
}

tl::expected<FileDescriptor, int> makeRuleset(const ToolAccess &access)
{
    FileDescriptor ruleset = emptyRuleset();
    if (!ruleset.isOpen()) {
        return tl::make_unexpected(errno);
    }
    const Rights toRead{reading, readingFolders};
    const Rights toWrite{reading | writing(), readingFolders | writingFolders()};
    int error = allowLasting(ruleset, access.lasting, toRead);
    if (error == 0) {
        error = allowAll(ruleset, access.readable, toRead);
    }
    if (error == 0) {
        error = allowAll(ruleset, access.writable, toWrite);
    }
    if (error != 0) {
        return tl::make_unexpected(error);
    }
    return ruleset;
}

bool enter(const FileDescriptor &ruleset)
{
    return ::syscall(restrictSelf, ruleset.get(), 0U) == 0;
}

} // namespace qv::landlock
