#pragma once

#include <QByteArray>
#include <QString>

#include <tl/expected.hpp>

#include <atomic>

// What the application's maker signs of an update. It ties the archive's bytes to its name, its
// version and its application, so that an older archive, or one of something else, can't be served
// in its place.
namespace qv
{

// As text, which is what is signed: UTF-8 lines, each with "\n" at its end.
//     Quorvantel update manifest 1
//     application: org.quorvantel.Quorvantel
//     version: 1.1
//     archive: Quorvantel-1.1.zip
//     size: 48210931
//     sha256: 64 hexadecimal digits in lower case
struct UpdateManifest {
    QString application; // bundle identifier of the application that the archive is or extends
    QString version;     // of what the archive holds
    QString archive;     // last component of the download address
    qint64 size = 0;     // bytes of the archive
    QByteArray sha256;   // hexadecimal, of the archive

    QByteArray text() const;
};

// The manifest in a reply's "signature": base64 of an Ed25519 signature (64 bytes, RFC 8032)
// followed by the text that it signs. Only what the key (32 bytes) verifies is read. The reason is
// for people.
tl::expected<UpdateManifest, QString> openManifest(const QString &signature,
                                                   const QByteArray &publicKey);

// An update as the reply offers it.
struct OfferedArchive {
    QString application;
    QString version;
    QString archive;
};
// Why the manifest is not that of the offer, for people; null when it is.
QString manifestRefusal(const UpdateManifest &manifest, const OfferedArchive &offered);

// Whether the open file has the manifest's size and digest; the reason is for people. Blocking; may
// run on any thread.
tl::expected<void, QString> checkArchive(int archive, const UpdateManifest &manifest,
                                         const std::atomic<bool> &isCancelled);

} // namespace qv
