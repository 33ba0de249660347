#include "support/bundle.h"

#include "support/platform.h"
#include "support/property_list.h"
#include "support/variant_values.h"

#include <QDir>
#include <QFileInfo>

namespace qv
{
namespace
{

// "X.app" for "X.app/Contents/MacOS/x"; the executable's own folder when it stands elsewhere, as
// test programs do.
QString bundleOf(const QString &executable)
{
    const QString folder = QFileInfo(executable).path();
    const QString suffix = QStringLiteral("/Contents/MacOS");
    return folder.endsWith(suffix) ? folder.chopped(suffix.size()) : folder;
}

QVariantMap readInfo(const QString &bundlePath)
{
    const QString file = bundlePath + QStringLiteral("/Contents/Info.plist");
    return readPropertyList(file).value_or(QVariant()).toMap();
}

// Several threads may be the first to ask.
Bundle &mainBundle()
{
    static Bundle bundle(bundleOf(platform::executablePath()));
    return bundle;
}

} // namespace

Bundle::Bundle(const QString &path) : m_path(QDir::cleanPath(path)), m_info(readInfo(m_path)) {}

const Bundle &Bundle::main()
{
    return mainBundle();
}

void Bundle::setMain(const Bundle &bundle)
{
    mainBundle() = bundle;
}

QString Bundle::resourcePath() const
{
    return m_path + QStringLiteral("/Contents/Resources");
}

QString Bundle::toolsPath() const
{
    return resourcePath() + QStringLiteral("/tools");
}

QString Bundle::toolPath(const QString &name) const
{
    return toolsPath() + QLatin1Char('/') + name;
}

QString Bundle::programPath(const QString &name) const
{
    return m_path + QLatin1String("/Contents/MacOS/") + name;
}

QString Bundle::resource(const QString &name, const QString &type) const
{
    const QString extension = type.isEmpty() ? QString() : QLatin1Char('.') + type;
    const QString path = resourcePath() + QLatin1Char('/') + name + extension;
    return !name.isEmpty() && QFileInfo::exists(path) ? path : QString();
}

QVariant Bundle::infoValue(const QString &key) const
{
    return m_info.value(key);
}

QString Bundle::name() const
{
    const QString name = stringIn(m_info, QStringLiteral("CFBundleName"));
    return name.isEmpty() ? QStringLiteral("Quorvantel") : name;
}

QString Bundle::identifier() const
{
    return stringIn(m_info, QStringLiteral("CFBundleIdentifier"));
}

QString Bundle::version() const
{
    return stringIn(m_info, QStringLiteral("CFBundleShortVersionString"));
}

QStringList Bundle::documentExtensions() const
{
    const QVariantList types = infoValue(QStringLiteral("CFBundleDocumentTypes")).toList();
    const QVariantMap first = types.isEmpty() ? QVariantMap() : types.first().toMap();
    QStringList extensions;
    for (const QVariant &extension :
         first.value(QStringLiteral("CFBundleTypeExtensions")).toList()) {
        if (extension.typeId() == QMetaType::QString) {
            extensions.append(extension.toString());
        }
    }
    return extensions;
}

} // namespace qv
