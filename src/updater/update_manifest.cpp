#include "updater/update_manifest.h"

#include "updater/archive/zip_plan.h"

#include <QList>

#include <array>
#include <cerrno>
#include <optional>
#include <sodium.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qv
{
namespace
{

constexpr qsizetype signatureBytes = crypto_sign_BYTES;
constexpr qsizetype longestManifest = 4096; // bytes

// No other text that is signed with the same key begins like this.
const QByteArray format = "Quorvantel update manifest 1";
const std::array<QByteArray, 5> fieldNames = {"application", "version", "archive", "size",
                                              "sha256"};

auto refused(const QString &reason)
{
    return tl::make_unexpected(reason);
}

QByteArray fieldLine(const QByteArray &name, const QByteArray &value)
{
    return name + ": " + value + '\n';
}

// Null unless the line is the field's.
QByteArray fieldValue(const QByteArray &name, const QByteArray &line)
{
    const QByteArray start = name + ": ";
    return line.startsWith(start) ? line.mid(start.size()) : QByteArray();
}

// Only the canonical form is a manifest, so that a text has one meaning.
std::optional<UpdateManifest> parsed(const QByteArray &text)
{
    const QList<QByteArray> lines = text.split('\n');
    std::array<QByteArray, fieldNames.size()> values;
    for (size_t i = 0; i < values.size(); ++i) {
        values[i] = fieldValue(fieldNames[i], lines.value(static_cast<qsizetype>(i) + 1));
    }
    const UpdateManifest manifest{QString::fromUtf8(values[0]), QString::fromUtf8(values[1]),
                                  QString::fromUtf8(values[2]), values[3].toLongLong(), values[4]};
    return manifest.text() == text ? std::optional(manifest) : std::nullopt;
}

const unsigned char *bytesOf(const QByteArray &data)
{
    return reinterpret_cast<const unsigned char *>(data.constData());
}

bool isSignedBy(const QByteArray &publicKey, const QByteArray &signature, const QByteArray &text)
{
    return sodium_init() >= 0 && publicKey.size() == qsizetype(crypto_sign_PUBLICKEYBYTES) &&
           crypto_sign_verify_detached(bytesOf(signature), bytesOf(text),
                                       static_cast<unsigned long long>(text.size()),
                                       bytesOf(publicKey)) == 0;
}

// Hexadecimal; null when the file can't be read to its end.
QByteArray digestOf(int file, const std::atomic<bool> &isCancelled)
{
    crypto_hash_sha256_state state;
    crypto_hash_sha256_init(&state);
    QByteArray block(256 * 1024, Qt::Uninitialized);
    for (off_t position = 0; !isCancelled;) {
        const ssize_t got =
            ::pread(file, block.data(), static_cast<size_t>(block.size()), position);
        if (got < 0 && errno != EINTR) {
            return {};
        }
        if (got == 0) {
            QByteArray digest(crypto_hash_sha256_BYTES, Qt::Uninitialized);
            crypto_hash_sha256_final(&state, reinterpret_cast<unsigned char *>(digest.data()));
            return digest.toHex();
        }
        if (got > 0) {
            crypto_hash_sha256_update(&state, bytesOf(block), static_cast<size_t>(got));
            position += got;
        }
    }
    return {};
}

} // namespace

QByteArray UpdateManifest::text() const
{
    return format + '\n' + fieldLine(fieldNames[0], application.toUtf8()) +
           fieldLine(fieldNames[1], version.toUtf8()) + fieldLine(fieldNames[2], archive.toUtf8()) +
           fieldLine(fieldNames[3], QByteArray::number(size)) + fieldLine(fieldNames[4], sha256);
}

tl::expected<UpdateManifest, QString> openManifest(const QString &signature,
                                                   const QByteArray &publicKey)
{
    if (signature.trimmed().isEmpty()) {
        return refused(QStringLiteral("the update is not signed"));
    }
    const auto decoded = QByteArray::fromBase64Encoding(signature.trimmed().toUtf8(),
                                                        QByteArray::AbortOnBase64DecodingErrors);
    if (decoded && decoded.decoded.size() == signatureBytes) {
        return refused(QStringLiteral("the update has an old signature, which covers neither its "
                                      "version nor its name"));
    }
    const QByteArray text = decoded ? decoded.decoded.mid(signatureBytes) : QByteArray();
    if (text.isEmpty() || text.size() > longestManifest ||
        !isSignedBy(publicKey, decoded.decoded.left(signatureBytes), text)) {
        return refused(
            QStringLiteral("the update's signature is not the one of the application's maker"));
    }
    const auto manifest = parsed(text);
    if (!manifest) {
        return refused(QStringLiteral("the update is signed in an unknown format"));
    }
    return *manifest;
}

QString manifestRefusal(const UpdateManifest &manifest, const OfferedArchive &offered)
{
    if (manifest.application != offered.application) {
        return QStringLiteral("the update is signed for another application: %1")
            .arg(manifest.application);
    }
    if (manifest.archive != offered.archive) {
        return QStringLiteral("the update is signed as the archive %1, but offered as %2")
            .arg(manifest.archive, offered.archive);
    }
    if (manifest.version != offered.version) {
        return QStringLiteral("the update is signed as version %1, but offered as version %2")
            .arg(manifest.version, offered.version);
    }
    return {};
}

tl::expected<void, QString> checkArchive(int archive, const UpdateManifest &manifest,
                                         const std::atomic<bool> &isCancelled)
{
    struct stat status = {};
    const bool isRight = ::fstat(archive, &status) == 0 && status.st_size == manifest.size &&
                         digestOf(archive, isCancelled) == manifest.sha256;
    if (isCancelled) {
        return refused(unpackingCancelled());
    }
    return isRight
               ? tl::expected<void, QString>()
               : refused(QStringLiteral("the downloaded archive is not the one that was signed"));
}

} // namespace qv
