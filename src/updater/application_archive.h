#pragma once

#include "support/bundle.h"

#include <QByteArray>
#include <QString>

#include <tl/expected.hpp>

#include <atomic>
#include <optional>

// From the downloaded archive to an item that may be installed. What is blocking here may run on
// any thread.
namespace qv
{

// What an archive must be to be unpacked.
struct ArchiveProof {
    std::optional<QByteArray> publicKey; // nothing: no signature is asked for
    QString signature;
};

// Checks the signature, then unpacks the archive into the folder that it stands in.
tl::expected<void, QString> openArchive(const QString &archive, const ArchiveProof &proof,
                                        const std::atomic<bool> &isCancelled);

// Whether the address names the application itself, by its last component, or an add-on.
bool isApplicationAddress(const QString &address);
// The name that a download from the address gets in a folder of ours: its last component. Null when
// that is no name for a file.
QString archiveName(const QString &address);

// The unpacked add-on: what is named as the archive is without its extension, made executable.
tl::expected<QString, QString> unpackedAddOn(const QString &archive);

// The first application of the folder, its tools and program made executable: a version newer than
// the running and the installed one, and able to start on this system.
tl::expected<QString, QString> unpackedApplication(const QString &folder, const Bundle &running,
                                                   const std::atomic<bool> &isCancelled);

} // namespace qv
