#pragma once

#include "updater/web/web_exchange.h"
#include "updater/web/web_kept_file.h"

namespace qv
{

// One download from its beginning to the call of its handler, with as many requests as it takes.
class WebDownload : public QObject
{
    Q_OBJECT

public:
    // Resumes what is kept if it can; the bytes go there.
    WebDownload(QNetworkAccessManager &manager, KeptFile &kept,
                const webUtils::DownloadRequest &request, const WebLimits &limits,
                webUtils::DownloadHandler handler);

    void cancel();

Q_SIGNALS:
    // As webUtils' own.
    void progressed(qint64 received, qint64 total);

private:
    void start();
    void ask();
    QList<WebExchange::Header> rangeHeaders() const;

    void take();
    void judge();
    void acceptWhole();
    void acceptPart();
    void beginAnew();
    QString lengthRefusal(qint64 length) const;
    QString spaceRefusal(qint64 length) const;
    void keep(const QByteArray &bytes);

    void end(WebExchange::Ending ending, const QString &reason);
    void askAgain(const QString &reason);
    void fail(const QString &reason);
    void tellProgress();
    void deliverLater();
    void deliver();

    QNetworkAccessManager &m_manager;
    webUtils::DownloadRequest m_request;
    WebLimits m_limits;
    webUtils::DownloadHandler m_handler;

    KeptFile &m_kept;
    std::unique_ptr<WebExchange> m_exchange;
    QTimer m_pause;
    QTimer m_ticks;

    bool m_isContinuing = false; // asks for the rest of what is kept
    bool m_isAccepted = false;   // the bytes of this exchange are wanted
    bool m_hasBegunAnew = false;
    int m_attempts = 0;
    qint64 m_most = 0; // bytes that any attempt before this one came to
    qint64 m_total = -1;
    qint64 m_told = -1;

    bool m_isFinished = false;
    QString m_failure; // null: the file is whole
};

} // namespace qv
