#include "updater/web/web_page.h"

#include <QRegularExpression>
#include <QStringDecoder>

namespace qv
{
namespace
{

// How often the limit of silence a page may take in all, however it trickles.
constexpr int silencesOfPage = 4;

QStringDecoder namedDecoder(const QString &contentType)
{
    static const QRegularExpression charset(
        QStringLiteral("charset\\s*=\\s*[\"']?([A-Za-z0-9._:+-]{1,40})"),
        QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch match = charset.match(contentType);
    return match.hasMatch() ? QStringDecoder(match.captured(1).toLatin1().constData())
                            : QStringDecoder();
}

QStringDecoder decoderOf(const WebPage &page)
{
    QStringDecoder decoder = namedDecoder(page.contentType);
    if (!decoder.isValid()) {
        decoder = QStringDecoder::decoderForHtml(page.body);
    }
    return decoder.isValid() ? std::move(decoder) : QStringDecoder(QStringDecoder::Utf8);
}

} // namespace

QString WebPage::text() const
{
    QStringDecoder decoder = decoderOf(*this);
    return decoder.decode(body);
}

PageLoad::PageLoad(QNetworkAccessManager &manager, const QUrl &address, const WebLimits &limits,
                   webUtils::PageHandler handler)
    : m_limits(limits), m_handler(std::move(handler))
{
    m_whole.setSingleShot(true);
    connect(&m_whole, &QTimer::timeout, this, &PageLoad::giveUp);
    const QString refusal = addressRefusal(address);
    if (refusal.isNull()) {
        begin(manager, address);
    } else {
        deliver(tl::unexpected(refusal));
    }
}

void PageLoad::begin(QNetworkAccessManager &manager, const QUrl &address)
{
    m_exchange =
        std::make_unique<WebExchange>(manager, address, QList<WebExchange::Header>(), m_limits);
    connect(m_exchange.get(), &WebExchange::bytesCame, this, &PageLoad::take);
    connect(m_exchange.get(), &WebExchange::ended, this, &PageLoad::end);
    m_whole.start(silencesOfPage * m_limits.silence);
}

void PageLoad::take()
{
    m_body += m_exchange->read();
    if (std::max<qint64>(m_body.size(), m_exchange->declaredLength().value_or(0)) >
        m_limits.pageBytes) {
        deliver(tl::unexpected(lengthReason()));
    }
}

void PageLoad::end(WebExchange::Ending ending, const QString &reason)
{
    if (ending != WebExchange::Ending::Whole) {
        deliver(tl::unexpected(reason));
        return;
    }
    take();
    if (m_exchange) {
        deliver(WebPage{m_exchange->status(), m_body,
                        QString::fromLatin1(m_exchange->header("Content-Type"))});
    }
}

void PageLoad::giveUp()
{
    deliver(tl::unexpected(
        QStringLiteral("the server at %1 is too slow: the page did not come within %2 s")
            .arg(m_exchange->host(), QString::number(m_whole.interval() / 1000.0, 'g', 3))));
}

QString PageLoad::lengthReason() const
{
    return QStringLiteral("the page of the server at %1 is longer than %2 bytes")
        .arg(m_exchange->host(), QString::number(m_limits.pageBytes));
}

// Later, because the handler may delete everything.
void PageLoad::deliver(tl::expected<WebPage, QString> page)
{
    m_whole.stop();
    m_exchange.reset();
    QMetaObject::invokeMethod(
        this,
        [this, page = std::move(page)] {
            const webUtils::PageHandler handler = std::move(m_handler);
            deleteLater();
            handler(page);
        },
        Qt::QueuedConnection);
}

} // namespace qv
