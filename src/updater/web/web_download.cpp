#include "updater/web/web_download.h"

#include "support/log.h"
#include "support/platform.h"

#include <QPointer>

#include <algorithm>

namespace qv
{
namespace
{

constexpr int progressInterval = 50; // milliseconds
constexpr qsizetype longestValidator = 1024;

// A validator goes back to the server as a header's value.
bool isHeaderValue(const QByteArray &value)
{
    return value.size() <= longestValidator &&
           std::all_of(value.begin(), value.end(), [](char c) { return c >= ' ' && c < 0x7f; });
}

// The server's name for this state of its file, if it promises identical bytes.
QByteArray validatorOf(const WebExchange &exchange)
{
    const QByteArray tag = exchange.header("ETag").trimmed();
    const bool isStrong = tag.size() > 2 && tag.startsWith('"') && tag.endsWith('"');
    const QByteArray validator = isStrong ? tag : exchange.header("Last-Modified").trimmed();
    return isHeaderValue(validator) ? validator : QByteArray();
}

} // namespace

WebDownload::WebDownload(QNetworkAccessManager &manager, KeptFile &kept,
                         const webUtils::DownloadRequest &request, const WebLimits &limits,
                         webUtils::DownloadHandler handler)
    : m_manager(manager), m_request(request), m_limits(limits), m_handler(std::move(handler)),
      m_kept(kept)
{
    m_pause.setSingleShot(true);
    connect(&m_pause, &QTimer::timeout, this, &WebDownload::ask);
    connect(&m_ticks, &QTimer::timeout, this, &WebDownload::tellProgress);
    start();
}

void WebDownload::start()
{
    QString refusal = addressRefusal(m_request.address);
    if (refusal.isNull()) {
        refusal = m_kept.open(m_request.folder);
    }
    if (!refusal.isNull()) {
        return fail(refusal);
    }
    m_ticks.start(progressInterval);
    m_pause.start(0);
}

void WebDownload::ask()
{
    m_isAccepted = false;
    m_isContinuing = m_kept.resume(m_request.address, m_limits.fileBytes);
    m_most = std::max(m_most, m_kept.size());
    m_exchange =
        std::make_unique<WebExchange>(m_manager, m_request.address, rangeHeaders(), m_limits);
    connect(m_exchange.get(), &WebExchange::bytesCame, this, &WebDownload::take);
    connect(m_exchange.get(), &WebExchange::ended, this, &WebDownload::end);
}

QList<WebExchange::Header> WebDownload::rangeHeaders() const
{
    if (!m_isContinuing) {
        return {};
    }
    return {{"Range", "bytes=" + QByteArray::number(m_kept.size()) + '-'},
            {"If-Range", m_kept.facts().validator}};
}

void WebDownload::take()
{
    if (!m_isAccepted) {
        judge();
    }
    if (m_isAccepted && m_exchange) {
        keep(m_exchange->read());
    }
}

void WebDownload::judge()
{
    const int status = m_exchange->status();
    if (status == 200) {
        acceptWhole();
    } else if (status == 206 && m_isContinuing) {
        acceptPart();
    } else if (status == 416 && m_isContinuing) {
        beginAnew();
    } else {
        fail(QStringLiteral("the server at %1 answered with status %2")
                 .arg(m_exchange->host(), QString::number(status)));
    }
}

void WebDownload::acceptWhole()
{
    const bool isTold = !m_exchange->header("Content-Length").isEmpty();
    m_total = m_exchange->declaredLength().value_or(-1);
    QString refusal = isTold ? lengthRefusal(m_total) : QString();
    if (refusal.isNull()) {
        refusal = m_kept.beginAnew({m_request.address, validatorOf(*m_exchange), m_total});
    }
    if (refusal.isNull()) {
        refusal = spaceRefusal(m_total);
    }
    m_isAccepted = refusal.isNull();
    if (!m_isAccepted) {
        fail(refusal);
    }
}

void WebDownload::acceptPart()
{
    const KeptFile::Facts &facts = m_kept.facts();
    const auto range = ContentRange::parse(m_exchange->header("Content-Range"));
    const QByteArray validator = validatorOf(*m_exchange);
    m_isAccepted = range && range->first == m_kept.size() && range->whole == facts.length &&
                   (validator.isEmpty() || validator == facts.validator);
    if (!m_isAccepted) {
        return beginAnew();
    }
    m_total = facts.length;
    const QString refusal = spaceRefusal(m_total - m_kept.size());
    if (!refusal.isNull()) {
        fail(refusal);
    }
}

void WebDownload::beginAnew()
{
    const QString host = m_exchange->host();
    if (std::exchange(m_hasBegunAnew, true)) {
        return fail(QStringLiteral("the server at %1 sends another part of the file than it was "
                                   "asked for")
                        .arg(host));
    }
    logDebug([&] { return QStringLiteral("download            - begins anew"); });
    m_kept.forget();
    m_exchange.reset();
    m_pause.start(0);
}

QString WebDownload::lengthRefusal(qint64 length) const
{
    if (length < 0) {
        return QStringLiteral("the server at %1 gives the file an invalid length")
            .arg(m_exchange->host());
    }
    return length <= m_limits.fileBytes
               ? QString()
               : QStringLiteral("the file of the server at %1 is larger than %2 bytes")
                     .arg(m_exchange->host(), QString::number(m_limits.fileBytes));
}

QString WebDownload::spaceRefusal(qint64 length) const
{
    const auto free = platform::freeSpace(m_request.folder).bytes;
    if (!free || length < 0 || *free >= static_cast<quint64>(length)) {
        return {};
    }
    return QStringLiteral("the download needs %1 MB; the disk has %2 MB free")
        .arg(QString::number((length >> 20) + 1), QString::number(*free >> 20));
}

void WebDownload::keep(const QByteArray &bytes)
{
    const qint64 size = m_kept.size() + bytes.size();
    QString refusal;
    if (m_total >= 0 && size > m_total) {
        refusal =
            QStringLiteral("the server at %1 sent more than it promised").arg(m_exchange->host());
    } else if (m_total < 0) {
        refusal = lengthRefusal(size);
    }
    if (refusal.isNull()) {
        refusal = m_kept.append(bytes);
    }
    if (!refusal.isNull()) {
        fail(refusal);
    }
}

void WebDownload::end(WebExchange::Ending ending, const QString &reason)
{
    const int status = m_exchange->status();
    if (ending == WebExchange::Ending::Whole || status == 200 || status == 206) {
        take();
    }
    if (!m_exchange) {
        return;
    }
    const bool isShort = m_total >= 0 && m_kept.size() < m_total;
    if (ending == WebExchange::Ending::Refused) {
        fail(reason);
    } else if (ending == WebExchange::Ending::Cut || isShort) {
        askAgain(isShort && reason.isNull()
                     ? QStringLiteral("the server at %1 sent less than it promised")
                           .arg(m_exchange->host())
                     : reason);
    } else {
        m_exchange.reset();
        deliverLater();
    }
}

// Only as long as it helps.
void WebDownload::askAgain(const QString &reason)
{
    ++m_attempts;
    if (m_attempts >= m_limits.attempts || m_kept.size() <= m_most) {
        return fail(reason);
    }
    logLine(QStringLiteral("download            ? %1; going on").arg(reason));
    m_most = m_kept.size();
    m_exchange.reset();
    m_pause.start(m_limits.pause << std::min(m_attempts - 1, 10));
}

void WebDownload::cancel()
{
    fail(webUtils::cancelledReason());
}

// The last reason before the delivery counts: a cancelled download does not succeed.
void WebDownload::fail(const QString &reason)
{
    m_failure = reason;
    m_exchange.reset();
    m_pause.stop();
    deliverLater();
}

void WebDownload::deliverLater()
{
    if (!std::exchange(m_isFinished, true)) {
        QMetaObject::invokeMethod(this, &WebDownload::deliver, Qt::QueuedConnection);
    }
}

void WebDownload::tellProgress()
{
    if (m_kept.size() != std::exchange(m_told, m_kept.size())) {
        Q_EMIT progressed(m_kept.size(), m_total);
    }
}

// From the event loop only: the handler may delete this object.
void WebDownload::deliver()
{
    m_ticks.stop();
    const QPointer<WebDownload> self(this);
    tellProgress();
    if (self) {
        const webUtils::DownloadHandler handler = std::move(m_handler);
        if (m_failure.isNull()) {
            handler(std::make_shared<FileDescriptor>(m_kept.take()));
        } else {
            handler(tl::unexpected(QString(m_failure)));
        }
    }
}

} // namespace qv
