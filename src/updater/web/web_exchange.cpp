#include "updater/web/web_exchange.h"

#include "support/bundle.h"

#include <QNetworkAccessManager>
#include <QSslError>

namespace qv
{
namespace
{

constexpr qint64 unreadBytes = 256 << 10;

// A header's value is one line of visible characters.
QByteArray headerText(const QString &text)
{
    QByteArray line;
    for (const QChar character : text) {
        line +=
            character.unicode() > ' ' && character.unicode() < 0x7f ? character.toLatin1() : '-';
    }
    return line;
}

QByteArray userAgent()
{
    const Bundle &bundle = Bundle::main();
    return headerText(bundle.name()) + '/' + headerText(bundle.version());
}

QNetworkRequest plainRequest(const QUrl &address)
{
    // A name and a password in an address would be given to whoever asks for them.
    QNetworkRequest request(address.adjusted(QUrl::RemoveUserInfo | QUrl::RemoveFragment));
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute,
                         QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::ManualRedirectPolicy);
    // Only the older protocol makes the server wait for a slow reader.
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    request.setRawHeader("Accept-Encoding", "identity");
    request.setRawHeader("User-Agent", userAgent());
    return request;
}

bool isRedirectStatus(int status)
{
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

QString seconds(int milliseconds)
{
    return QString::number(milliseconds / 1000.0, 'g', 3);
}

// What the library gives when a server can be asked again with some hope.
bool isPassing(QNetworkReply::NetworkError error)
{
    switch (error) {
    case QNetworkReply::RemoteHostClosedError:
    case QNetworkReply::TimeoutError:
    case QNetworkReply::TemporaryNetworkFailureError:
    case QNetworkReply::NetworkSessionFailedError:
    case QNetworkReply::UnknownNetworkError:
    case QNetworkReply::ProxyConnectionClosedError:
    case QNetworkReply::ProxyTimeoutError:
        return true;
    default:
        return false;
    }
}

} // namespace

WebExchange::WebExchange(QNetworkAccessManager &manager, const QUrl &address,
                         const QList<Header> &headers, const WebLimits &limits)
    : m_manager(manager), m_headers(headers), m_limits(limits)
{
    m_patience.setSingleShot(true);
    connect(&m_patience, &QTimer::timeout, this, &WebExchange::fallSilent);
    ask(address);
}

void WebExchange::ask(const QUrl &address)
{
    QNetworkRequest request = plainRequest(address);
    for (const Header &header : m_headers) {
        request.setRawHeader(header.name, header.value);
    }
    m_reply = m_manager.get(request);
    m_reply->setReadBufferSize(unreadBytes);
    m_isSent = false;
    m_patience.start(m_limits.connecting);
    watchReply();
}

void WebExchange::watchReply()
{
    connect(m_reply, &QNetworkReply::requestSent, this, [this] {
        m_isSent = true;
        noteLife();
    });
    connect(m_reply, &QNetworkReply::metaDataChanged, this, [this] {
        noteLife();
        if (!m_hasEnded && !isAnswer()) {
            followRedirect();
        }
    });
    connect(m_reply, &QNetworkReply::sslErrors, this, [this] { m_isCertificateBad = true; });
    connect(m_reply, &QNetworkReply::readyRead, this, [this] {
        noteLife();
        giveBytes();
    });
    connect(m_reply, &QNetworkReply::finished, this, &WebExchange::finish);
}

WebExchange::~WebExchange()
{
    dropReply();
}

void WebExchange::dropReply()
{
    m_reply->disconnect(this);
    m_reply->deleteLater();
}

QString WebExchange::host() const
{
    return m_reply->url().host();
}

int WebExchange::status() const
{
    return m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

QByteArray WebExchange::header(const QByteArray &name) const
{
    return m_reply->rawHeader(name);
}

std::optional<qint64> WebExchange::declaredLength() const
{
    return parseByteCount(header("Content-Length"));
}

QByteArray WebExchange::read()
{
    const QByteArray bytes = m_reply->readAll();
    m_received += bytes.size();
    return bytes;
}

// The page of a redirect is not the answer.
bool WebExchange::isAnswer() const
{
    return !isRedirectStatus(status()) || header("Location").isEmpty();
}

void WebExchange::noteLife()
{
    if (m_isSent && !m_hasEnded) {
        m_patience.start(m_limits.silence);
    }
}

// Not waiting for the end of its page, which may be endless.
void WebExchange::followRedirect()
{
    const QUrl from = m_reply->url();
    const QUrl to = from.resolved(QUrl::fromEncoded(header("Location")));
    const QString refusal = ++m_redirects > m_limits.redirects
                                ? QStringLiteral("the server at %1 redirects too often").arg(host())
                                : redirectRefusal(from, to, m_limits.isBoundToServer);
    if (!refusal.isNull()) {
        return end(Ending::Refused, refusal);
    }
    dropReply();
    ask(to);
}

void WebExchange::giveBytes()
{
    if (!m_hasEnded) {
        Q_EMIT bytesCame();
    }
}

void WebExchange::fallSilent()
{
    const int waited = m_isSent ? m_limits.silence : m_limits.connecting;
    end(Ending::Cut,
        QStringLiteral("the server at %1 did not answer for %2 s").arg(host(), seconds(waited)));
}

void WebExchange::finish()
{
    const QNetworkReply::NetworkError error = m_reply->error();
    const bool isBroken = error == QNetworkReply::RemoteHostClosedError;
    if (isShort() && (isBroken || error == QNetworkReply::NoError || hasHttpStatusError())) {
        end(Ending::Cut, QStringLiteral("the server at %1 sent less than it promised").arg(host()));
    } else if (error != QNetworkReply::NoError && !hasHttpStatusError()) {
        end(isPassing(error) ? Ending::Cut : Ending::Refused, failureReason());
    } else {
        end(Ending::Whole, {});
    }
}

// The library makes errors of statuses from 400 on, although their pages came well.
bool WebExchange::hasHttpStatusError() const
{
    const int error = m_reply->error();
    return status() >= 400 && ((error > 200 && error <= QNetworkReply::UnknownContentError) ||
                               (error > 400 && error <= QNetworkReply::UnknownServerError) ||
                               error == QNetworkReply::ProtocolInvalidOperationError ||
                               error == QNetworkReply::ProxyAuthenticationRequiredError);
}

bool WebExchange::isShort() const
{
    const std::optional<qint64> declared = declaredLength();
    return declared && m_received + m_reply->bytesAvailable() < *declared;
}

void WebExchange::end(Ending ending, const QString &reason)
{
    if (std::exchange(m_hasEnded, true)) {
        return;
    }
    m_patience.stop();
    Q_EMIT ended(ending, reason);
}

QString WebExchange::failureReason() const
{
    switch (m_reply->error()) {
    case QNetworkReply::SslHandshakeFailedError:
        return (m_isCertificateBad
                    ? QStringLiteral("the certificate of %1 can't be trusted: %2")
                    : QStringLiteral("no safe connection to the server at %1 can be made: %2"))
            .arg(host(), m_reply->errorString());
    case QNetworkReply::RemoteHostClosedError:
        return QStringLiteral("the server at %1 broke off the connection").arg(host());
    case QNetworkReply::ProtocolFailure:
        return QStringLiteral("what the server at %1 answers makes no sense: %2")
            .arg(host(), m_reply->errorString());
    default:
        return QStringLiteral("the server at %1 can't be reached: %2")
            .arg(host(), m_reply->errorString());
    }
}

} // namespace qv
