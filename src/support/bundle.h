#pragma once

#include <QString>
#include <QVariantMap>

// The application's folder "Quorvantel.app": its Info.plist and its resources.
namespace qv
{

class Bundle
{
public:
    // The bundle at this path (".../Quorvantel.app"); a missing Info.plist leaves no info values.
    explicit Bundle(const QString &path);

    // The bundle that the running executable stands in (.../Contents/MacOS/<executable>), unless
    // setMain gave another one.
    static const Bundle &main();
    static void setMain(const Bundle &bundle);

    QString path() const { return m_path; }
    QString resourcePath() const;               // ".../Contents/Resources"
    QString toolsPath() const;                  // ".../Contents/Resources/tools"
    QString toolPath(const QString &) const;    // path of a tool in it, whether it exists or not
    QString programPath(const QString &) const; // the same of a program in ".../Contents/MacOS"

    // A resource by name and type (extension, may be empty); an empty text when there is none.
    QString resource(const QString &name, const QString &type) const;

    // A value of Info.plist; an invalid variant when the key is missing.
    QVariant infoValue(const QString &key) const;
    QString name() const;       // CFBundleName, "Quorvantel" when missing
    QString identifier() const; // CFBundleIdentifier
    QString version() const;    // CFBundleShortVersionString, empty when missing

    // "CFBundleTypeExtensions" of the first document type: the extensions as declared.
    QStringList documentExtensions() const;

private:
    QString m_path;
    QVariantMap m_info;
};

} // namespace qv
