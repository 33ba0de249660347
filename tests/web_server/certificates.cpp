#include "web_server/certificates.h"

#include <QFile>
#include <QProcess>
#include <QSslCertificate>
#include <QSslKey>

#include <utility>

namespace
{

const QStringList newKey = {"-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes"};

} // namespace

const Certificates &Certificates::shared()
{
    static const Certificates certificates;
    return certificates;
}

Certificates::Certificates()
{
    openssl(QStringList{"req", "-x509"} + newKey +
            QStringList{"-subj", "/CN=Test authority", "-days", "30", "-keyout", file("ca.key"),
                        "-out", file("ca.pem")});
    const QStringList authority = {"-CA", file("ca.pem"), "-CAkey", file("ca.key"),
                                   "-CAcreateserial"};
    makeServer("good", authority + QStringList{"-days", "30"}, "IP:127.0.0.1");
    makeServer("expired", authority + QStringList{"-days", "-1"}, "IP:127.0.0.1");
    makeServer("other", authority + QStringList{"-days", "30"}, "DNS:elsewhere.example");
    makeServer("unknown", {"-signkey", file("unknown.key"), "-days", "30"}, "IP:127.0.0.1");
}

void Certificates::makeServer(const QString &name, const QStringList &options,
                              const QString &subjectName)
{
    const QString request = file(name + ".csr");
    openssl(
        QStringList{"req"} + newKey +
        QStringList{"-subj", "/CN=Test server", "-keyout", file(name + ".key"), "-out", request});
    QFile extensions(file("names"));
    if (extensions.open(QIODevice::WriteOnly)) {
        extensions.write("subjectAltName=" + subjectName.toLatin1());
        extensions.close();
    }
    openssl(QStringList{"x509", "-req", "-in", request, "-extfile", extensions.fileName(), "-out",
                        file(name + ".pem")} +
            options);
}

void Certificates::openssl(const QStringList &arguments) const
{
    QProcess tool;
    tool.start("openssl", arguments);
    if (!tool.waitForFinished() || tool.exitCode() != 0) {
        qFatal("openssl: %s", tool.readAllStandardError().constData());
    }
}

void Certificates::trust() const
{
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setCaCertificates(QSslCertificate::fromPath(file("ca.pem")));
    QSslConfiguration::setDefaultConfiguration(configuration);
}

QSslConfiguration Certificates::server(Server kind) const
{
    static const QHash<Server, QString> names = {{Server::Good, "good"},
                                                 {Server::Expired, "expired"},
                                                 {Server::OtherName, "other"},
                                                 {Server::Unknown, "unknown"}};
    const QString name = names.value(kind);
    QFile key(file(name + ".key"));
    if (!key.open(QIODevice::ReadOnly)) {
        qFatal("no key of the %s server", qUtf8Printable(name));
    }
    QSslConfiguration configuration;
    configuration.setLocalCertificateChain(QSslCertificate::fromPath(file(name + ".pem")));
    configuration.setPrivateKey(QSslKey(&key, QSsl::Ec));
    return configuration;
}
