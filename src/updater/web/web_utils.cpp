#include "updater/web/web_utils.h"

#include "updater/web/web_download.h"
#include "updater/web/web_page.h"

#include <QNetworkAccessManager>

namespace qv
{

webUtils::webUtils(const WebLimits &limits, QObject *parent)
    : QObject(parent), m_limits(limits), m_pages(std::make_unique<QObject>()),
      m_kept(std::make_unique<KeptFile>())
{
}

webUtils::~webUtils() = default;

// Made when it is wanted: most starts of the application ask nobody.
QNetworkAccessManager &webUtils::manager()
{
    if (!m_manager) {
        m_manager = std::make_unique<QNetworkAccessManager>();
    }
    return *m_manager;
}

void webUtils::webpageLoad(const QUrl &address, PageHandler handler)
{
    auto *page = new PageLoad(manager(), address, m_limits, std::move(handler));
    page->setParent(m_pages.get());
}

void webUtils::internetConnexionCheck(const QUrl &address, ConnexionHandler handler)
{
    const auto judge = [host = address.host(), handler = std::move(handler)](const auto &page) {
        if (!page) {
            handler(tl::unexpected(page.error()));
        } else if (page->text().isEmpty()) {
            handler(
                tl::unexpected(QStringLiteral("the server at %1 sent an empty page").arg(host)));
        } else {
            handler({});
        }
    };
    webpageLoad(address, judge);
}

void webUtils::downloadURL(const DownloadRequest &request, DownloadHandler handler)
{
    if (m_download) {
        const auto refuse = [handler = std::move(handler)] {
            handler(tl::unexpected(QStringLiteral("there is a download on its way already")));
        };
        QMetaObject::invokeMethod(m_pages.get(), refuse, Qt::QueuedConnection);
        return;
    }
    const auto tell = [this, handler = std::move(handler)](const auto &done) {
        // The handler may begin the next download or delete this object.
        const std::unique_ptr<WebDownload> download = std::move(m_download);
        handler(done);
    };
    m_download = std::make_unique<WebDownload>(manager(), *m_kept, request, m_limits, tell);
    connect(m_download.get(), &WebDownload::progressed, this, &webUtils::downloadProgressed);
}

bool webUtils::isDownloading() const
{
    return m_download != nullptr;
}

void webUtils::cancelDownload()
{
    if (m_download) {
        m_download->cancel();
    }
}

QString webUtils::cancelledReason()
{
    return QStringLiteral("the download was cancelled");
}

} // namespace qv
