#include "updater/archive_signature.h"

#include <QFile>

#include <sodium.h>

namespace qv
{
namespace
{

QByteArray decodedSignature(const QString &text)
{
    const auto decoded = QByteArray::fromBase64Encoding(text.trimmed().toUtf8(),
                                                        QByteArray::AbortOnBase64DecodingErrors);
    return decoded && decoded.decoded.size() == qsizetype(crypto_sign_BYTES) ? decoded.decoded
                                                                             : QByteArray();
}

const unsigned char *bytesOf(const QByteArray &data)
{
    return reinterpret_cast<const unsigned char *>(data.constData());
}

} // namespace

tl::expected<void, QString> checkSignature(const QString &path, const QString &signature,
                                           const QByteArray &publicKey)
{
    if (signature.trimmed().isEmpty()) {
        return tl::make_unexpected(QStringLiteral("the update is not signed"));
    }
    const QByteArray wanted = decodedSignature(signature);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return tl::make_unexpected(
            QStringLiteral("the downloaded archive can't be read: %1").arg(file.errorString()));
    }
    // The algorithm wants the message as one piece of memory; mapped, it may be of any size.
    const uchar *message = file.size() > 0 ? file.map(0, file.size()) : nullptr;
    const bool isRight = sodium_init() >= 0 && message != nullptr && !wanted.isEmpty() &&
                         publicKey.size() == qsizetype(crypto_sign_PUBLICKEYBYTES) &&
                         crypto_sign_verify_detached(bytesOf(wanted), message,
                                                     static_cast<unsigned long long>(file.size()),
                                                     bytesOf(publicKey)) == 0;
    if (!isRight) {
        return tl::make_unexpected(
            QStringLiteral("the update's signature is not the one of the application's maker"));
    }
    return {};
}

} // namespace qv
