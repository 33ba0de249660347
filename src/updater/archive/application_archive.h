#pragma once

#include "support/bundle.h"
#include "updater/update_manifest.h"

#include <QString>

#include <tl/expected.hpp>

#include <atomic>
#include <optional>

// From a downloaded archive to an item that may be installed. Reasons are for people. What blocks
// here may run on any thread.
namespace qv
{

// The manifest that the archive was signed with. Nothing: the build has no key, and the connection
// is trusted instead.
using SignedManifest = std::optional<UpdateManifest>;

// Checks the open archive against its manifest and unpacks it through the same descriptor.
tl::expected<void, QString> openArchive(int archive, const SignedManifest &manifest,
                                        const QString &folder,
                                        const std::atomic<bool> &isCancelled);

// Whether the address names the application itself, by its last component, or an add-on.
bool isApplicationAddress(const QString &address);
// The last component of the address; null when it is not usable as the name of a file.
QString archiveName(const QString &address);
// The add-on in an archive of that name: the name without its extension; null when it has none.
QString addOnName(const QString &archiveName);

// The add-on that was unpacked from the archive of that name, made executable.
tl::expected<QString, QString> unpackedAddOn(const QString &folder, const QString &archiveName);

// The first application of the folder, its tools and program made executable: the version that the
// manifest names, newer than the running and the installed one, and able to start on this system.
tl::expected<QString, QString> unpackedApplication(const QString &folder, const Bundle &running,
                                                   const SignedManifest &manifest,
                                                   const std::atomic<bool> &isCancelled);

} // namespace qv
