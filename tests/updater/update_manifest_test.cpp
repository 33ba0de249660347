#include "updater/update_manifest.h"

#include "updater/signing_key.h"

#include <QProcess>
#include <QTemporaryDir>

using namespace qv;

namespace
{

// What scripts/sign-update prints; null when it fails.
QString signUpdate(const QStringList &arguments)
{
    QProcess script;
    script.start(QStringLiteral(QV_SIGN_UPDATE), arguments);
    EXPECT_TRUE(script.waitForFinished());
    const QString printed = QString::fromUtf8(script.readAllStandardOutput()).trimmed();
    return script.exitCode() == 0 ? printed : QString();
}

QString reasonFor(const QString &signature, const QByteArray &key)
{
    const auto manifest = openManifest(signature, key);
    return manifest ? QString() : manifest.error();
}

const UpdateManifest sample = {"org.quorvantel.Quorvantel", "2.0", "Quorvantel 2 é.zip", 1234,
                               QByteArray(64, 'a')};

} // namespace

TEST(UpdateManifest, IsReadOnlyAsItsMakerSignedIt)
{
    const SigningKey key;
    const SigningKey other;
    const QString signature = key.sign(sample.text());
    EXPECT_EQ(reasonFor(' ' + signature + '\n', key.publicKey), QString());
    EXPECT_EQ(openManifest(signature, key.publicKey)->text(), sample.text());

    const QString foreign = "the update's signature is not the one of the application's maker";
    EXPECT_EQ(reasonFor(signature, other.publicKey), foreign);
    EXPECT_EQ(reasonFor(signature, {}), foreign);
    EXPECT_EQ(reasonFor("\u00e9" + signature, key.publicKey), foreign);
    EXPECT_EQ(reasonFor(" ", key.publicKey), "the update is not signed");
    const QByteArray whole = QByteArray::fromBase64(signature.toLatin1());
    EXPECT_TRUE(reasonFor(whole.left(64).toBase64(), key.publicKey).contains("old signature"));
    for (qsizetype i = 0; i < whole.size(); ++i) {
        QByteArray altered = whole;
        altered[i] = static_cast<char>(altered.at(i) ^ 1);
        EXPECT_EQ(reasonFor(altered.toBase64(), key.publicKey), foreign) << i;
    }

    const auto changed = [](const char *from, const char *to) {
        return sample.text().replace(from, to);
    };
    for (const QByteArray &text :
         {changed("manifest 1", "manifest 2"), changed("1234", "01234"), changed("1234", "1e3"),
          changed("\n", "\r\n"), changed("archive", "Archive"), changed("version: 2.0\n", ""),
          changed("2.0", "\xff"), sample.text() + '\n', sample.text().chopped(1),
          sample.text() + sample.text(), QByteArray("PK\3\4")}) {
        EXPECT_EQ(reasonFor(key.sign(text), key.publicKey),
                  "the update is signed in an unknown format")
            << text.toStdString();
    }
}

TEST(UpdateManifest, IsMadeAndCheckedByTheScriptToo)
{
    const QTemporaryDir folder;
    const QString key = folder.filePath("key");
    const QString archive = folder.filePath("tool \u00e9.zip");
    writeFile(archive, QByteArray(100'000, 'x'));
    signUpdate({"new-key", key});
    const QString publicKey = signUpdate({"public-key", key});
    const QString ours = signUpdate({"sign", key, archive, "1.5"})
                             .section("signature</key><value>", 1)
                             .section("</value>", 0, 0);
    const auto manifest = openManifest(ours, QByteArray::fromBase64(publicKey.toLatin1()));
    ASSERT_TRUE(manifest) << qPrintable(manifest.error());
    EXPECT_EQ(manifest->text(), manifestOf(archive, "1.5").text());
    EXPECT_EQ(signUpdate({"verify", publicKey, ours, archive}) + '\n', manifest->text());
    writeFile(archive, "other bytes");
    EXPECT_TRUE(signUpdate({"verify", publicKey, ours, archive}).isNull());
}
