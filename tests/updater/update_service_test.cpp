#include "updater/update_service.h"

#include "common/test_bundle.h"
#include "support/localized_strings.h"
#include "updater/install/package_owner.h"

#include "updater/small_application.h"

#include <gmock/gmock.h>

using namespace qv;

namespace
{

UpdateService serviceAt(const QString &address, const QString &key = {})
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("A.app");
    SmallApplication{.info = {{"QVUpdateAddress", address}, {"QVUpdatePublicKey", key}}}.write(
        path);
    return UpdateService(Bundle(path));
}

} // namespace

TEST(UpdateService, DownloadsFromItsOwnSiteUnlessAnotherIsNamedInFull)
{
    const UpdateService service = serviceAt("https://u.example/kv");
    EXPECT_EQ(service.downloadAddress("http://v.example/b.zip"), "http://v.example/b.zip");
    for (const QString path : {"a/b.zip", "https://v.example/b.zip", "file:///etc"}) {
        EXPECT_EQ(service.downloadAddress(path), "https://u.example/kv/dlCenter/" + path);
    }
    EXPECT_EQ(QUrl(service.downloadAddress("//v.example/../b.zip")).host(), "u.example");
}

TEST(UpdateService, InstallsOnlyWhatCanBeTrusted)
{
    const QString key = "UoKjIx03yhq/xkw7whPaJ8wbz2BFsex5z7zfGyLJO7o=";
    const struct {
        const char *address, *dlPath;
        QString key;
        bool trusted;
    } cases[] = {
        {"https://u.example/", "a.zip", "", true},
        {"https://u.example/", "http://u.example/a.zip", "", false},
        {"http://u.example/", "a.zip", "", false},
        {"", "a.zip", "", false},
        {"http://u.example/", "a.zip", key, true},
        {"https://u.example/", "http://u.example/a.zip", key, true},
        {"https://u.example/", "a.zip", "not a key", false},
        {"https://u.example/", "a.zip", "c2hvcnQ=", false},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(serviceAt(c.address, c.key).refusal(c.dlPath).isNull(), c.trusted)
            << c.address << " " << c.dlPath << " " << qPrintable(c.key);
    }
}

TEST(PackageOwner, IsAskedOfTheSystem)
{
    const QTemporaryDir folder;
    const QString own = folder.filePath("a [b]*?\\c");
    writeFile(own, "");
    const std::atomic<bool> no = false;
    const std::atomic<bool> yes = true;
    EXPECT_EQ(packageOwner(own, no), QString());
    EXPECT_EQ(packageOwner(folder.filePath("none"), no), QString());
    if (!QFileInfo::exists("/usr/bin/dpkg-query")) {
        GTEST_SKIP() << "another kind of system";
    }
    EXPECT_EQ(packageOwner("/usr/bin/dpkg-query", no), "dpkg");
    EXPECT_EQ(packageOwner("/usr/bin/[", no), "coreutils");
    EXPECT_TRUE(packageOwner("/usr/bin/[", yes)
                    .error()
                    .endsWith("dpkg-query did not answer (was stopped)"));
}
