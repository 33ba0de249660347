#include "updater/update_service.h"

#include "common/test_bundle.h"
#include "support/localized_strings.h"
#include "updater/archive_signature.h"
#include "updater/package_owner.h"

#include "small_application.h"

#include <QProcess>

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

// What scripts/sign-update prints.
QString signUpdate(const QStringList &arguments)
{
    QProcess script;
    script.start(QStringLiteral(QV_SIGN_UPDATE), arguments);
    EXPECT_TRUE(script.waitForFinished());
    return QString::fromUtf8(script.readAllStandardOutput()).trimmed();
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

TEST(ArchiveSignature, FitsOnlyTheBytesThatWereSigned)
{
    const QTemporaryDir folder;
    const QString key = folder.filePath("key");
    const QString otherKey = folder.filePath("other key");
    const QString archive = folder.filePath("a.zip");
    const QString empty = folder.filePath("empty");
    writeFile(archive, QByteArray(100'000, 'x'));
    writeFile(empty, "");
    signUpdate({"new-key", key});
    signUpdate({"new-key", otherKey});
    const auto publicKey = [&](const QString &file) {
        return QByteArray::fromBase64(signUpdate({"public-key", file}).toLatin1());
    };
    QString signature = signUpdate({"sign", key, archive});
    ASSERT_TRUE(signature.startsWith("<key>signature</key><value>"));
    signature = signature.section("<value>", 1).section("</value>", 0, 0);
    const QByteArray ours = publicKey(key);

    EXPECT_TRUE(checkSignature(archive, signature, ours));
    EXPECT_TRUE(checkSignature(archive, ' ' + signature + '\n', ours));
    EXPECT_FALSE(checkSignature(archive, signature, publicKey(otherKey)));
    EXPECT_FALSE(checkSignature(archive, signature, {}));
    EXPECT_FALSE(checkSignature(archive, {}, ours));
    EXPECT_FALSE(checkSignature(archive, "AAAA", ours));
    EXPECT_FALSE(checkSignature(archive, "\u00e9" + signature, ours));
    EXPECT_FALSE(checkSignature(empty, signature, ours));
    EXPECT_FALSE(checkSignature(folder.path(), signature, ours));
    EXPECT_FALSE(checkSignature(folder.filePath("none"), signature, ours));
    writeFile(archive, QByteArray(99'999, 'x') + 'y');
    EXPECT_FALSE(checkSignature(archive, signature, ours));
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
