#include "updater/install/add_on_versions.h"

#include "support/files.h"
#include "support/property_list.h"
#include "support/variant_values.h"
#include "updater/update_reply.h"

#include <QFileInfo>
#include <QSaveFile>

namespace qv
{

AddOnVersions::AddOnVersions(const Bundle &bundle)
    : m_path(expandTilde(
          QStringLiteral("~/Library/Preferences/%1.add-ons.plist").arg(bundle.identifier())))
{
}

tl::expected<QVariantMap, QString> AddOnVersions::read() const
{
    if (!standsThere(m_path)) {
        return QVariantMap();
    }
    const auto list = readPropertyList(m_path);
    if (!list || list->typeId() != QMetaType::QVariantMap) {
        return tl::make_unexpected(
            QStringLiteral("the list of installed add-ons can't be read: %1").arg(m_path));
    }
    return list->toMap();
}

tl::expected<QString, QString> AddOnVersions::of(const QString &name) const
{
    return read().map([&](const QVariantMap &versions) { return stringIn(versions, name); });
}

QString AddOnVersions::set(const QString &name, const QString &version) const
{
    auto versions = read();
    if (!versions) {
        return versions.error();
    }
    versions->insert(name, version);
    mkdir(QFileInfo(m_path).path());
    QSaveFile file(m_path);
    const auto xml = propertyListXml(*versions);
    if (!xml || !file.open(QIODevice::WriteOnly) || file.write(*xml) != xml->size() ||
        !file.commit()) {
        return QStringLiteral("%1 can't be written").arg(m_path);
    }
    return {};
}

QString addOnFolder(const Bundle &bundle)
{
    return expandTilde(QStringLiteral("~/Library/Application Support/%1").arg(bundle.name()));
}

QString addOnRefusal(const QString &name, const QString &version, const Bundle &bundle)
{
    const auto installed = AddOnVersions(bundle).of(name);
    if (!installed) {
        return installed.error();
    }
    const bool isThere = standsThere(appendPath(addOnFolder(bundle), name));
    const bool isRollback =
        isThere ? !isNewerVersion(version, *installed) : isNewerVersion(*installed, version);
    if (installed->isEmpty() || !isRollback) {
        return {};
    }
    return QStringLiteral("version %1 of %2 is not newer than version %3, which was installed")
        .arg(version, name, *installed);
}

} // namespace qv
