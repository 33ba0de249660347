#pragma once

#include "common/test_files.h"
#include "updater/update_manifest.h"

#include <QCryptographicHash>

#include <sodium.h>

// The maker's key, and what it signs.
struct SigningKey {
    QByteArray publicKey = QByteArray(crypto_sign_PUBLICKEYBYTES, '\0');
    QByteArray secretKey = QByteArray(crypto_sign_SECRETKEYBYTES, '\0');

    SigningKey()
    {
        crypto_sign_keypair(reinterpret_cast<unsigned char *>(publicKey.data()),
                            reinterpret_cast<unsigned char *>(secretKey.data()));
    }
    // As a reply has it.
    QString sign(const QByteArray &text) const
    {
        QByteArray both(qsizetype(crypto_sign_BYTES) + text.size(), '\0');
        crypto_sign(reinterpret_cast<unsigned char *>(both.data()), nullptr,
                    reinterpret_cast<const unsigned char *>(text.constData()),
                    static_cast<unsigned long long>(text.size()),
                    reinterpret_cast<const unsigned char *>(secretKey.constData()));
        return QString::fromLatin1(both.toBase64());
    }
};

inline qv::UpdateManifest manifestOf(const QString &archive, const QString &version)
{
    const QByteArray bytes = contentOf(archive);
    return {"org.quorvantel.Quorvantel", version, QFileInfo(archive).fileName(), bytes.size(),
            QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex()};
}
