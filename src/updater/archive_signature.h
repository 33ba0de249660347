#pragma once

#include <QByteArray>
#include <QString>

#include <tl/expected.hpp>

namespace qv
{

// Whether the signature (64 bytes of Ed25519, RFC 8032, in base64) is that of the file's bytes by
// the key (32 bytes); why not, for people, when not. May run on any thread.
tl::expected<void, QString> checkSignature(const QString &path, const QString &signature,
                                           const QByteArray &publicKey);

} // namespace qv
