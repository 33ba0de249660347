#pragma once

#include "updater/web/web_headers.h"
#include "updater/web/web_utils.h"

#include <QNetworkReply>
#include <QTimer>

namespace qv
{

// One request and what is answered to it in the end, redirects followed, within time limits. Never
// holds more than some hundred kilobytes that nobody has read yet: the server waits meanwhile.
class WebExchange : public QObject
{
    Q_OBJECT

public:
    enum class Ending {
        Whole,  // as much came as was promised
        Cut,    // the connection broke or fell silent; to ask again may help
        Refused // it would end the same way again
    };
    Q_ENUM(Ending)

    // The address must be one that addressRefusal() accepts. Headers are added to the request.
    struct Header {
        QByteArray name;
        QByteArray value;
    };
    WebExchange(QNetworkAccessManager &manager, const QUrl &address, const QList<Header> &headers,
                const WebLimits &limits);
    // Ends the request when it still runs.
    ~WebExchange() override;

    // Of the last server asked.
    QString host() const;
    int status() const;
    QByteArray header(const QByteArray &name) const;
    // The length of the body that the server promises: nothing when it doesn't tell or makes no
    // sense.
    std::optional<qint64> declaredLength() const;

    // What came since the last time; also to be asked when it has ended.
    QByteArray read();

Q_SIGNALS:
    // The headers stand, and there are bytes to read.
    void bytesCame();
    // Once, the last signal; the reason is for people, null for a whole one. Whoever hears it may
    // delete this object.
    void ended(qv::WebExchange::Ending ending, const QString &reason);

private:
    void ask(const QUrl &address);
    void watchReply();
    void dropReply();
    bool isAnswer() const;
    void noteLife();
    void followRedirect();
    void fallSilent();
    void finish();
    bool hasHttpStatusError() const;
    bool isShort() const;
    void giveBytes();
    void end(Ending ending, const QString &reason);
    QString failureReason() const;

    QNetworkAccessManager &m_manager;
    QList<Header> m_headers;
    WebLimits m_limits;
    QNetworkReply *m_reply = nullptr;
    int m_redirects = 0;
    QTimer m_patience;
    bool m_isSent = false;
    bool m_hasEnded = false;
    bool m_isCertificateBad = false;
    qint64 m_received = 0;
};

} // namespace qv
