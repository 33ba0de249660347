#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QObject>
#include <QSslConfiguration>
#include <QString>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>

class QTcpServer;
class QTcpSocket;

// What a server does with one path.
struct Route {
    int status = 200;
    QByteArray body = {};
    QString file = {}; // sent instead of the body when named
    QByteArray contentType = "text/plain";
    QByteArray etag = {}; // with its quotes
    QByteArray lastModified = {};
    QByteArray location = {};       // of a redirect
    QList<QByteArray> headers = {}; // further ones, whole lines

    qint64 bytesPerSecond = 0;    // 0: as fast as it goes
    qint64 cutAfter = -1;         // bytes of the body, then the connection is closed ...
    int cuts = 1000;              // ... for the first so many requests
    bool cutsHeaders = false;     // closed before them
    bool cutsSilently = false;    // stays open, and nothing more comes
    qint64 promise = -1;          // another length than the true one
    bool promisesNothing = false; // no length; the end is the end of the connection
    enum class Silence { None, BeforeHeaders, AfterHeaders };
    Silence silence = Silence::None;
    bool isEndless = false;     // the body again and again, without a length
    bool ignoresRanges = false; // always the whole file
    qint64 rangeLie = 0;        // continues so many bytes further on than asked
};

struct WebRequest {
    QByteArray method;
    QString path;
    QString query;
    QHash<QByteArray, QByteArray> headers; // names in lower case
};

// A server of HTTP/1.1 on 127.0.0.1, at a port that the system gives, on the event loop of its
// thread.
class WebServer : public QObject
{
public:
    WebServer();
    // With TLS.
    explicit WebServer(const QSslConfiguration &tls);
    ~WebServer() override;

    QUrl address(const QString &path) const;
    quint16 port() const;

    void setRoute(const QString &path, const Route &route) { m_routes[path] = route; }
    // Asked for paths without a route of their own.
    using Finder = std::function<std::optional<Route>(const WebRequest &request)>;
    void setFinder(Finder finder) { m_finder = std::move(finder); }
    // Accepts connections and never says a word on them, not even of TLS.
    void fallMute() { m_isMute = true; }

    const QList<WebRequest> &requests() const { return m_requests; }
    int countOf(const QString &path) const;

private:
    friend class WebConnection;
    void listen();
    void greet();
    Route answerTo(const WebRequest &request);

    std::unique_ptr<QTcpServer> m_server;
    bool m_isSafe = false;
    bool m_isMute = false;
    QHash<QString, Route> m_routes;
    Finder m_finder;
    QList<WebRequest> m_requests;
};
