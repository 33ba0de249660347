#include "web_server/web_server.h"

#include "web_server/web_connection.h"

#include <QSslServer>
#include <QTcpSocket>

#include <algorithm>

WebServer::WebServer() : m_server(std::make_unique<QTcpServer>())
{
    listen();
}

WebServer::WebServer(const QSslConfiguration &tls) : m_isSafe(true)
{
    auto server = std::make_unique<QSslServer>();
    server->setSslConfiguration(tls);
    m_server = std::move(server);
    listen();
}

WebServer::~WebServer() = default;

void WebServer::listen()
{
    connect(m_server.get(), &QTcpServer::pendingConnectionAvailable, this, &WebServer::greet);
    if (!m_server->listen(QHostAddress::LocalHost, 0)) {
        qFatal("no port on the loopback: %s", qUtf8Printable(m_server->errorString()));
    }
}

void WebServer::greet()
{
    while (QTcpSocket *socket = m_server->nextPendingConnection()) {
        if (!m_isMute) {
            new WebConnection(*this, *socket);
        }
    }
}

quint16 WebServer::port() const
{
    return m_server->serverPort();
}

QUrl WebServer::address(const QString &path) const
{
    return QUrl(QStringLiteral("%1://127.0.0.1:%2%3")
                    .arg(m_isSafe ? QStringLiteral("https") : QStringLiteral("http"),
                         QString::number(port()), path));
}

int WebServer::countOf(const QString &path) const
{
    return static_cast<int>(
        std::count_if(m_requests.begin(), m_requests.end(),
                      [&](const WebRequest &request) { return request.path == path; }));
}

Route WebServer::answerTo(const WebRequest &request)
{
    m_requests += request;
    const auto found = m_routes.find(request.path);
    if (found == m_routes.end()) {
        const auto other = m_finder ? m_finder(request) : std::nullopt;
        return other.value_or(Route{.status = 404, .body = "not here"});
    }
    const Route route = *found;
    if (found->cutAfter >= 0 && --found->cuts <= 0) {
        found->cutAfter = -1;
    }
    return route;
}
