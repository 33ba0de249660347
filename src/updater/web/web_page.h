#pragma once

#include "updater/web/web_exchange.h"

namespace qv
{

// Loads one page and tells it once.
class PageLoad : public QObject
{
    Q_OBJECT

public:
    PageLoad(QNetworkAccessManager &manager, const QUrl &address, const WebLimits &limits,
             webUtils::PageHandler handler);

private:
    void begin(QNetworkAccessManager &manager, const QUrl &address);
    void take();
    void end(WebExchange::Ending ending, const QString &reason);
    void giveUp();
    void deliver(tl::expected<WebPage, QString> page);
    QString lengthReason() const;

    WebLimits m_limits;
    webUtils::PageHandler m_handler;
    std::unique_ptr<WebExchange> m_exchange;
    QTimer m_whole;
    QByteArray m_body;
};

} // namespace qv
