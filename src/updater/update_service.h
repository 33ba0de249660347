#pragma once

#include "support/bundle.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <optional>

namespace qv
{

// The vendor's update service: its addresses, and what makes an archive from it trustworthy. Both
// are settings of the build that stand in Info.plist: "QVUpdateAddress" and "QVUpdatePublicKey".
class UpdateService
{
public:
    explicit UpdateService(const Bundle &bundle);

    // Answers any text when the service can be reached.
    QUrl connexionTest() const;
    // What is the newest version, for a user of this language on this system?
    QUrl versionQuery(const QString &language, float systemVersion) const;
    QUrl releaseNotes(const QString &language) const;
    // The whole address of an archive. Only one that begins with "http://" is whole already;
    // everything else stands below the download centre.
    QString downloadAddress(const QString &dlPath) const;

    // Whether the build asks for a signature, and the key for it: 32 bytes of Ed25519 (RFC 8032),
    // nothing when the setting holds none.
    bool wantsSignature() const { return !m_keyText.isEmpty(); }
    std::optional<QByteArray> publicKey() const;
    // Why nothing from this address may be installed; null when it may be. A build without a key
    // trusts only what comes over https from the service itself.
    QString refusal(const QString &dlPath) const;

private:
    QString m_base;
    QString m_keyText;
};

// "fr" when the interface speaks French, else "en".
QString updateLanguage();
// The kernel's version, because it grows on every distribution alike: "6.1.0-18" gives 6.01.
float systemVersion();

} // namespace qv
