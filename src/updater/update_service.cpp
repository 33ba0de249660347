#include "updater/update_service.h"

#include "support/localized_strings.h"
#include "support/numbers.h"

#include <QRegularExpression>
#include <QSysInfo>

namespace qv
{
namespace
{

const QString productCode = QStringLiteral("ky");
const QLatin1String wholeAddressStart("http://");
constexpr qsizetype publicKeyBytes = 32;

QString withSlash(const QString &base)
{
    return base.endsWith(QLatin1Char('/')) ? base : base + QLatin1Char('/');
}

} // namespace

UpdateService::UpdateService(const Bundle &bundle)
    : m_base(withSlash(bundle.infoValue(QStringLiteral("QVUpdateAddress")).toString())),
      m_keyText(bundle.infoValue(QStringLiteral("QVUpdatePublicKey")).toString().trimmed())
{
}

QUrl UpdateService::connexionTest() const
{
    return QUrl(m_base + productCode + QStringLiteral("/isConnected.htm"));
}

QUrl UpdateService::versionQuery(const QString &language, float systemVersion) const
{
    return QUrl(QStringLiteral("%1dlCenter/update.php?s=%2&l=%3&os=%4")
                    .arg(m_base, productCode, language, fixedText(double(systemVersion), 6)));
}

// What follows "h" is empty on purpose: its presence asks for the page.
QUrl UpdateService::releaseNotes(const QString &language) const
{
    return QUrl(
        QStringLiteral("%1dlCenter/update.php?s=%2&l=%3&h").arg(m_base, productCode, language));
}

QString UpdateService::downloadAddress(const QString &dlPath) const
{
    return dlPath.startsWith(wholeAddressStart) ? dlPath
                                                : m_base + QStringLiteral("dlCenter/") + dlPath;
}

std::optional<QByteArray> UpdateService::publicKey() const
{
    const auto decoded =
        QByteArray::fromBase64Encoding(m_keyText.toUtf8(), QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded || decoded.decoded.size() != publicKeyBytes) {
        return std::nullopt;
    }
    return decoded.decoded;
}

QString UpdateService::refusal(const QString &dlPath) const
{
    if (wantsSignature()) {
        return publicKey() ? QString()
                           : QStringLiteral("this copy of the application holds no usable key to "
                                            "check updates with");
    }
    if (dlPath.startsWith(wholeAddressStart) || !m_base.startsWith(QLatin1String("https://"))) {
        return QStringLiteral("it would come unprotected, and this copy of the application holds "
                              "no key to check it with");
    }
    return {};
}

QString updateLanguage()
{
    const QString french = QStringLiteral("fr");
    return localized(QStringLiteral("D_Langue")) == french ? french : QStringLiteral("en");
}

float systemVersion()
{
    static const QRegularExpression leadingNumbers(QStringLiteral("^[0-9.]*"));
    return versionStr2Float(leadingNumbers.match(QSysInfo::kernelVersion()).captured());
}

} // namespace qv
