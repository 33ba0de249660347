#pragma once

#include "support/bundle.h"

#include <QString>

#include <tl/expected.hpp>

namespace qv
{

// The versions of the add-ons that the updater has installed, so that an older one does not
// replace a newer one: a property list among the user's preferences. Reasons are for people.
class AddOnVersions
{
public:
    explicit AddOnVersions(const Bundle &bundle);

    // The add-on's version; null when it was never installed.
    tl::expected<QString, QString> of(const QString &name) const;
    // Null on success.
    QString set(const QString &name, const QString &version) const;

private:
    tl::expected<QVariantMap, QString> read() const;

    QString m_path;
};

// Where the bundle's add-ons are installed.
QString addOnFolder(const Bundle &bundle);

// Why this version of the add-on may not be installed, for people; null when it may. A version is
// refused when it is not newer than the installed one; when the add-on was deleted, only an older
// one is.
QString addOnRefusal(const QString &name, const QString &version, const Bundle &bundle);

} // namespace qv
