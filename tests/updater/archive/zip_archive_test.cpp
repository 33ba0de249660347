#include "updater/archive/zip_archive.h"

#include "common/test_files.h"
#include "support/copy_tree.h"
#include "updater/archive/zip_bytes.h"

#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <csignal>
#include <thread>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace qv;
using testing::HasSubstr;

namespace
{

QByteArray shell(const QString &folder, const QByteArray &line)
{
    QProcess tool;
    tool.setWorkingDirectory(folder);
    tool.start("/bin/sh", {"-c", line});
    EXPECT_TRUE(tool.waitForFinished() && tool.exitCode() == 0)
        << tool.readAllStandardError().constData();
    return tool.readAllStandardOutput();
}

// Every entry with its kind, rights, date and content.
std::string treeOf(const QString &folder)
{
    return shell(folder, "find . -mindepth 1 -printf '%p %y %m %Ts %l\\n' | sort;"
                         "find . -type f -exec cksum {} + | sort")
        .toStdString();
}

struct UnpackedArchive : testing::Test {
    QTemporaryDir folder;
    QString archive = folder.filePath("update.zip");
    QString destination = folder.filePath("not there/yet");

    // Names that are no text are beyond what the temporary folder deletes by itself.
    void TearDown() override { removeTree(folder.path()); }

    // Why it failed; empty when it did not.
    std::string unpack(const UnpackLimits &limits = {},
                       const std::atomic<bool> *isCancelled = nullptr)
    {
        const auto unpacked =
            SSZipArchive::unzipFileAtPath(archive, destination, limits, isCancelled);
        return unpacked ? std::string() : unpacked.error().toStdString();
    }

    std::string unpack(const QList<ZipItem> &items)
    {
        writeFile(archive, zipBytes(items));
        return unpack();
    }

    QByteArray unpackedPath(const char *name)
    {
        return QFile::encodeName(destination) + '/' + name;
    }

    // What stands in the bundle, dated on even seconds, as the oldest kind of date has them.
    QString makeBundle()
    {
        const QString bundle = folder.filePath("source/App.app");
        QByteArray large;
        for (int i = 0; i < 100'000; ++i) {
            large += QByteArray::number(i * 7919);
        }
        const QString contents = bundle + "/Contents/";
        writeFile(contents + "Info.plist", "<plist/>");
        writeFile(contents + "MacOS/App", large);
        writeFile(contents + "Resources/日本語 %1.txt", "text");
        writeFile(contents + "Resources/empty file", "");
        ::chmod(QFile::encodeName(contents + "MacOS/App").constData(), 0755);
        QDir().mkpath(contents + "Frameworks/Empty");
        ::symlink("../MacOS/App", QFile::encodeName(contents + "Resources/link").constData());
        ::symlink("Contents/MacOS", QFile::encodeName(bundle + "/folder link").constData());
        shell(folder.filePath("source"),
              "chmod -R go-w .; date=1000000000; find . -depth | while read -r item; do"
              " date=$((date + 1000)); touch -h -d @$date \"$item\"; done");
        return folder.filePath("source");
    }

    int filesBeside() const
    {
        return static_cast<int>(
            QDir(folder.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size());
    }
};

struct PackedByTheTool : UnpackedArchive, testing::WithParamInterface<const char *> {
};

struct Refused {
    const char *what;
    QByteArray archive;
    const char *reason;
};

void PrintTo(const Refused &refused, std::ostream *stream)
{
    *stream << refused.what;
}

struct HostileArchive : UnpackedArchive, testing::WithParamInterface<Refused> {
};

QByteArray oneFile(const QByteArray &name, quint32 mode = 0100644)
{
    return zipBytes({{"first", "1"}, {name, "content", mode}});
}

QByteArray linkTo(const QByteArray &name, const QByteArray &target)
{
    return zipBytes({{"App.app/first", "1"}, linkItem(name, target)});
}

QByteArray oneItem(const std::function<void(ZipItem &)> &change)
{
    ZipItem item = deflatedItem("App.app/item", QByteArray(10'000, 'x'));
    change(item);
    return zipBytes({{"App.app/first", "1"}, item});
}

// With a 64-bit size, which may be a lie.
QByteArray wideItem(quint64 claimedSize, std::optional<quint32> claimedChecksum = {})
{
    return oneItem([&](ZipItem &item) {
        item.claimedSize = 0xffffffff;
        item.claimedChecksum = claimedChecksum;
        item.extra = littleEndian(1, 2) + littleEndian(8, 2) + littleEndian(claimedSize, 8);
    });
}

QByteArray twoNames(const QByteArray &first, const QByteArray &second)
{
    return zipBytes({{first, "1"}, {second, "2"}});
}

constexpr const char *badName = "a name that can't be taken";
constexpr const char *twins = "two names that are one on some disks";
constexpr const char *leadsOut = "a link that leads out of it";
constexpr const char *twoThings = "stands for two things";
constexpr const char *special = "neither file, folder nor link";
constexpr const char *damaged = "the archive is damaged";
constexpr const char *noArchive = "no whole zip archive";

const Refused refusals[] = {
    {"absolute", oneFile("/etc/passwd"), badName},
    {"upwards", oneFile("../beside"), badName},
    {"upwards further down", oneFile("a/../../beside"), badName},
    {"a folder upwards", zipBytes({{"first", "1"}, folderItem("../")}), badName},
    {"backslash", oneFile("..\\beside"), badName},
    {"empty", oneFile(""), badName},
    {"empty component", oneFile("a//b"), badName},
    {"dot", oneFile("a/./b"), badName},
    {"NUL", oneFile(QByteArray("a\0b", 3)), badName},
    {"line end", oneFile("a\nb"), badName},
    {"long component", oneFile(QByteArray(256, 'a')), badName},
    {"long path", oneFile(QByteArray("0123456789/").repeated(364)), badName},
    {"deep", oneFile(QByteArray("a/").repeated(64) + 'b'), badName},
    {"case twins", twoNames("App.app/Name", "App.app/nAME"), twins},
    {"folder case twins", twoNames("Dir/one", "dir/two"), twins},
    {"composition twins", twoNames("caf\xc3\xa9", "cafe\xcc\x81"), twins},
    {"twins by folding to two letters",
     twoNames("stra\xc3\x9f"
              "e",
              "STRASSE"),
     twins},
    {"the same twice", twoNames("a", "a"), twoThings},
    {"file as a folder", twoNames("a", "a/b"), twoThings},
    {"folder as a file", twoNames("a/b", "a"), twoThings},
    {"link at the top", linkTo("link", "App.app"), leadsOut},
    {"absolute link", linkTo("App.app/link", "/etc"), leadsOut},
    {"link upwards", linkTo("App.app/link", "../first"), leadsOut},
    {"link upwards further down", linkTo("App.app/a/link", "../../App.app"), leadsOut},
    {"link that descends and rises", linkTo("App.app/a/link", "b/../../../out"), leadsOut},
    {"empty link", linkTo("App.app/link", ""), leadsOut},
    {"link with NUL", linkTo("App.app/link", QByteArray("a\0b", 3)), leadsOut},
    {"over-long link", linkTo("App.app/link", QByteArray(4001, 'a')), damaged},
    {"chain of links that leads out",
     zipBytes({linkItem("App.app/a/up", ".."), linkItem("App.app/b/out", "../a/up/../..")}),
     leadsOut},
    {"entry through a link",
     zipBytes({linkItem("App.app/link", "first"), {"App.app/link/through", "1"}}), twoThings},
    {"character device", oneFile("device", 0020644), special},
    {"block device", oneFile("device", 0060644), special},
    {"pipe", oneFile("pipe", 0010644), special},
    {"socket", oneFile("socket", 0140644), special},
    {"folder named as a file", oneFile("folder", 0040755), damaged},
    {"file named as a folder", oneFile("file/", 0100644), damaged},
    {"folder with a content", oneFile("folder/", 0040755), damaged},
    {"declared smaller", oneItem([](ZipItem &item) { item.claimedSize = 9'000; }), damaged},
    {"declared larger", oneItem([](ZipItem &item) { item.claimedSize = 11'000; }), damaged},
    {"stored but declared smaller", oneItem([](ZipItem &item) {
         item.method = 0;
         item.packed = {};
         item.claimedSize = 9'000;
     }),
     damaged},
    {"wrong checksum", oneItem([](ZipItem &item) { item.claimedChecksum = 1; }), damaged},
    {"contents beyond the end", oneItem([](ZipItem &item) { item.claimedPacked = 1u << 30; }),
     damaged},
    {"broken compression", oneItem([](ZipItem &item) { item.packed = QByteArray(50, '\xff'); }),
     damaged},
    {"wide size declared smaller", wideItem(9'000), damaged},
    {"wide size declared larger", wideItem(11'000), damaged},
    {"wide size beyond all sums", wideItem(~quint64{0}), "too much: 1024 MB"},
    {"wide size with a wrong checksum", wideItem(10'000, 1), damaged},
    {"encrypted", oneItem([](ZipItem &item) { item.flags = 1; }), "an encrypted entry"},
    {"unknown method", oneItem([](ZipItem &item) { item.method = 14; }), "an unknown compression"},
    {"more than is allowed", oneItem([](ZipItem &item) { item.claimedSize = 0xfffffffe; }),
     "too much: 1024 MB"},
    {"no entry", zipBytes({}), noArchive},
    {"empty file", QByteArray(""), noArchive},
    {"no archive", QByteArray(5000, 'z'), noArchive},
    {"cut in half", oneFile("whole").chopped(60), noArchive},
    {"directory that is none", oneFile("whole").replace("PK\1\2", "PK\1\3"), "list of contents"},
};

} // namespace

TEST_P(PackedByTheTool, ComesOutAsItWas)
{
    const QString source = makeBundle();
    shell(source, QByteArray("zip ") + GetParam() + " '" + archive.toUtf8() + "' App.app");
    ASSERT_EQ(unpack(), "");
    EXPECT_EQ(treeOf(destination), treeOf(source));
    EXPECT_GE(std::ranges::count(treeOf(source), '\n'), 12);
}

// As usual; stored; with old dates alone; with 64-bit sizes.
INSTANTIATE_TEST_SUITE_P(UnpackArchive, PackedByTheTool,
                         testing::Values("-qry", "-qry0", "-qryX", "-qryfz"));

TEST_F(UnpackedArchive, HoldsWhatWasPackedFromAStream)
{
    const QByteArray content = QByteArray("stream ").repeated(200'000);
    writeFile(folder.filePath("content"), content);
    shell(folder.path(), "zip -q - - <content >update.zip");
    ASSERT_EQ(unpack(), "");
    EXPECT_EQ(contentOf(destination + "/-"), content);
}

TEST_F(UnpackedArchive, KeepsNamesThatAreNoText)
{
    ASSERT_EQ(unpack({{"Caf\xe9", "latin"}, {"CAF\xe8", "other"}, {"a%1b", "percent"}}), "");
    EXPECT_EQ(::access(unpackedPath("Caf\xe9").constData(), F_OK), 0);
    EXPECT_EQ(::access(unpackedPath("CAF\xe8").constData(), F_OK), 0);
}

TEST_F(UnpackedArchive, HasNoRightsButTheUsualOnes)
{
    const struct {
        quint32 mode;
        int host;
        mode_t expected;
    } cases[] = {{0104777, 3, 0755},  {0100666, 3, 0644}, {0, 3, 0644},
                 {0100000, 19, 0644}, {0755, 3, 0755},    {0020777, 0, 0644}};
    const mode_t before = ::umask(022);
    for (const auto &one : cases) {
        const QTemporaryDir place;
        destination = place.path();
        ASSERT_EQ(unpack({{"file", "1", one.mode, one.host}}), "");
        struct stat status = {};
        ASSERT_EQ(::stat(unpackedPath("file").constData(), &status), 0);
        EXPECT_EQ(status.st_mode, S_IFREG | one.expected) << one.mode;
    }
    ::umask(before);
}

TEST_F(UnpackedArchive, TakesLinksThatStayWithinTheirTopFolder)
{
    ASSERT_EQ(unpack({folderItem("App.app/"),
                      linkItem("App.app/a/b/up", "../../c"),
                      linkItem("App.app/a/top", ".."),
                      folderItem("App.app/"),
                      {"App.app/c", "1"},
                      linkItem("App.app/nowhere", "missing/file")}),
              "");
    EXPECT_EQ(contentOf(destination + "/App.app/a/b/up"), "1");
    EXPECT_EQ(QFile::symLinkTarget(destination + "/App.app/nowhere"),
              destination + "/App.app/missing/file");
}

TEST_F(UnpackedArchive, PassesOverDatesThatAreNone)
{
    ZipItem item{"file", "1"};
    item.dosTime = 0xffffffff;
    item.extra = QByteArray::fromHex("5554ff00 01"); // longer than there is
    EXPECT_EQ(unpack({item}), "");
}

TEST_P(HostileArchive, IsRefusedAndLeavesNothing)
{
    writeFile(archive, GetParam().archive);
    writeFile(folder.filePath("beside"), "stays");
    const auto before = treeOf(folder.path());
    const UnpackLimits limits = {.bytes = quint64{1} << 30};
    EXPECT_THAT(unpack(limits), HasSubstr(GetParam().reason));
    EXPECT_EQ(filesBeside(), 2);
    EXPECT_EQ(treeOf(folder.path()), before);
}

INSTANTIATE_TEST_SUITE_P(UnpackArchive, HostileArchive, testing::ValuesIn(refusals),
                         [](const auto &refusal) {
                             QString name = refusal.param.what;
                             for (QChar &letter : name) {
                                 letter = letter.isLetterOrNumber() ? letter : QChar('_');
                             }
                             return name.toStdString();
                         });

TEST_F(UnpackedArchive, NeverTouchesWhatStoodThereBefore)
{
    for (const char *name : {"App.app", "App.app/file"}) {
        const QTemporaryDir place;
        destination = place.path();
        writeFile(destination + "/other", "stays");
        writeFile(destination + '/' + name, "stays");
        ::symlink("/", (QFile::encodeName(destination) + "/link").constData());
        const auto before = treeOf(destination);
        for (const QByteArray top : {"App.app", "link"}) {
            EXPECT_THAT(unpack({{"New/file", "1"}, {top + "/file", "new"}}),
                        HasSubstr("stands there already"));
            EXPECT_EQ(treeOf(destination), before);
        }
    }
}

TEST_F(UnpackedArchive, StaysWithinItsLimits)
{
    writeFile(archive, zipBytes({{"a/b/c", "12345"}, {"d", "12345"}}));
    EXPECT_THAT(unpack(UnpackLimits{.entries = 1}), HasSubstr("1 entries are the most"));
    EXPECT_THAT(unpack(UnpackLimits{.entries = 3}), HasSubstr("3 entries are the most"));
    EXPECT_THAT(unpack(UnpackLimits{.bytes = 9}), HasSubstr("holds too much"));
    EXPECT_THAT(unpack(UnpackLimits{.keptFree = quint64{1} << 60}), HasSubstr("no space"));
    EXPECT_FALSE(QFile::exists(destination));
    EXPECT_EQ(unpack(UnpackLimits{.bytes = 10, .entries = 4, .keptFree = 0}), "");
}

TEST_F(UnpackedArchive, IsGoneAgainWhenTheDiskTakesNoMore)
{
    writeFile(archive, zipBytes({{"App.app/first", "1"},
                                 deflatedItem("App.app/large", QByteArray(1 << 20, 'x'))}));
    rlimit before = {};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small = {300'000, before.rlim_max};
    std::signal(SIGXFSZ, SIG_IGN);
    ::setrlimit(RLIMIT_FSIZE, &small);
    const std::string reason = unpack();
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, SIG_DFL);
    EXPECT_THAT(reason, HasSubstr("App.app/large can't be unpacked"));
    EXPECT_EQ(filesBeside(), 1);
}

TEST_F(UnpackedArchive, IsNothingWhenItIsNoPlainFile)
{
    ASSERT_EQ(::mkfifo(QFile::encodeName(archive).constData(), 0600), 0);
    EXPECT_THAT(unpack(), HasSubstr("no plain file"));
    archive = folder.path();
    EXPECT_THAT(unpack(), HasSubstr("no plain file"));
    archive = folder.filePath("missing");
    EXPECT_THAT(unpack(), HasSubstr("can't be opened"));
}

TEST_F(UnpackedArchive, IsGoneAgainWhenItIsCancelledOnTheWay)
{
    const QByteArray large(qsizetype{128} << 20, '\0');
    writeFile(archive, zipBytes({{"App.app/first", "1"}, deflatedItem("App.app/large", large)}));
    std::atomic<bool> isCancelled = false;
    std::atomic<bool> isOver = false;
    std::thread canceller([&, large = unpackedPath("App.app/large")] {
        while (!isOver && ::access(large.constData(), F_OK) != 0) {
            std::this_thread::yield();
        }
        isCancelled = true;
    });
    const std::string reason = unpack({}, &isCancelled);
    isOver = true;
    canceller.join();
    EXPECT_EQ(reason, "unpacking was cancelled");
    EXPECT_EQ(filesBeside(), 1);
}
