#include "web_server/web_connection.h"

#include <QTcpSocket>

#include <algorithm>
#include <limits>

namespace
{

constexpr qint64 chunkBytes = 64 << 10;
constexpr int tickInterval = 10; // milliseconds

QByteArray reasonPhrase(int status)
{
    return status < 300 ? "Fine" : status < 400 ? "Elsewhere" : "Refused";
}

std::optional<WebRequest> parseRequest(const QByteArray &head)
{
    const QList<QByteArray> lines = head.split('\n');
    const QList<QByteArray> words = lines.first().trimmed().split(' ');
    if (words.size() != 3) {
        return {};
    }
    const QUrl url(QString::fromLatin1(words.at(1)));
    WebRequest request{words.at(0), url.path(), url.query(), {}};
    for (const QByteArray &line : lines.mid(1)) {
        const qsizetype colon = line.indexOf(':');
        if (colon > 0) {
            request.headers[line.left(colon).toLower()] = line.mid(colon + 1).trimmed();
        }
    }
    return request;
}

} // namespace

WebConnection::WebConnection(WebServer &server, QTcpSocket &socket)
    : QObject(&socket), m_server(server), m_socket(socket)
{
    connect(&socket, &QTcpSocket::readyRead, this, &WebConnection::read);
    connect(&socket, &QTcpSocket::bytesWritten, this, &WebConnection::pump);
    connect(&socket, &QTcpSocket::disconnected, &socket, &QObject::deleteLater);
    connect(&m_tick, &QTimer::timeout, this, &WebConnection::pump);
    read();
}

void WebConnection::read()
{
    m_input += m_socket.readAll();
    if (m_socket.state() != QAbstractSocket::ConnectedState) {
        return; // what comes after the end is no request
    }
    const qsizetype end = m_input.indexOf("\r\n\r\n");
    if (m_isAnswering || end < 0) {
        return;
    }
    const auto request = parseRequest(m_input.left(end));
    m_input.remove(0, end + 4);
    if (request) {
        answer(*request);
    } else {
        m_socket.disconnectFromHost();
    }
}

void WebConnection::answer(const WebRequest &request)
{
    m_isAnswering = true;
    m_route = m_server.answerTo(request);
    m_closes = request.headers.value("connection").toLower() == "close" ||
               m_route.promisesNothing || m_route.isEndless || m_route.promise >= 0;
    if (m_route.silence == Route::Silence::BeforeHeaders) {
        return;
    }
    if (!openBody()) {
        m_route = Route{.status = 404};
        openBody();
    }
    const Span span = spanOf(request);
    if (!m_route.cutsHeaders) {
        m_socket.write(headOf(span));
    }
    m_next = span.first;
    m_left = m_route.isEndless ? std::numeric_limits<qint64>::max() : span.length;
    m_sent = 0;
    m_clock.start();
    m_tick.start(tickInterval);
    pump();
}

bool WebConnection::openBody()
{
    m_file.close();
    m_whole = m_route.body.size();
    if (m_route.file.isEmpty()) {
        return true;
    }
    m_file.setFileName(m_route.file);
    const bool isOpen = m_file.open(QIODevice::ReadOnly);
    m_whole = m_file.size();
    return isOpen;
}

bool WebConnection::isRangeWanted(const WebRequest &request) const
{
    const QByteArray condition = request.headers.value("if-range");
    return m_route.status == 200 && !m_route.ignoresRanges &&
           request.headers.value("range").startsWith("bytes=") &&
           (condition.isEmpty() || condition == m_route.etag || condition == m_route.lastModified);
}

WebConnection::Span WebConnection::spanOf(const WebRequest &request) const
{
    if (!isRangeWanted(request)) {
        return {0, m_whole, false, false};
    }
    const QList<QByteArray> ends = request.headers.value("range").mid(6).split('-');
    const qint64 first = ends.value(0).toLongLong() + m_route.rangeLie;
    const qint64 last = ends.value(1).isEmpty() ? m_whole - 1 : ends.value(1).toLongLong();
    if (first >= m_whole || last < first) {
        return {0, 0, true, true};
    }
    return {first, std::min(last, m_whole - 1) - first + 1, true, false};
}

QByteArray WebConnection::headOf(const Span &span) const
{
    const int status = span.isOutside ? 416 : span.isPart ? 206 : m_route.status;
    QList<QByteArray> lines = {"HTTP/1.1 " + QByteArray::number(status) + ' ' +
                               reasonPhrase(status)};
    lines += m_route.headers;
    const auto add = [&lines](const QByteArray &name, const QByteArray &value) {
        if (!value.isEmpty()) {
            lines += name + ": " + value;
        }
    };
    add("Content-Type", m_route.contentType);
    add("ETag", m_route.etag);
    add("Last-Modified", m_route.lastModified);
    add("Location", m_route.location);
    add("Connection", m_closes ? "close" : "keep-alive");
    const QByteArray whole = QByteArray::number(m_whole);
    if (span.isPart) {
        const QByteArray part = span.isOutside
                                    ? QByteArray("*")
                                    : QByteArray::number(span.first) + '-' +
                                          QByteArray::number(span.first + span.length - 1);
        add("Content-Range", "bytes " + part + '/' + whole);
    }
    if (!m_route.promisesNothing && !m_route.isEndless) {
        add("Content-Length",
            QByteArray::number(m_route.promise >= 0 ? m_route.promise : span.length));
    }
    return lines.join("\r\n") + "\r\n\r\n";
}

// Bytes that may be sent now.
qint64 WebConnection::allowance() const
{
    qint64 most = std::min(m_left, chunkBytes - m_socket.bytesToWrite());
    if (m_route.cutAfter >= 0) {
        most = std::min(most, m_route.cutAfter - m_sent);
    }
    if (m_route.bytesPerSecond > 0) {
        most = std::min(most, m_route.bytesPerSecond * m_clock.elapsed() / 1000 - m_sent);
    }
    return most;
}

void WebConnection::pump()
{
    const bool isOpen = m_socket.state() == QAbstractSocket::ConnectedState;
    if (!isOpen || !m_isAnswering || m_route.silence != Route::Silence::None) {
        return;
    }
    while (m_left > 0) {
        const QByteArray bytes = nextBytes(allowance());
        if (bytes.isEmpty()) {
            break;
        }
        if (m_socket.write(bytes) < 0) {
            break;
        }
        m_next += bytes.size();
        m_left -= bytes.size();
        m_sent += bytes.size();
    }
    const bool isCut = m_route.cutAfter >= 0 && m_sent >= m_route.cutAfter;
    if (isCut && m_route.cutsSilently) {
        m_tick.stop();
    } else if (m_left <= 0 || isCut) {
        m_closes = m_closes || isCut;
        endAnswer();
    }
}

QByteArray WebConnection::nextBytes(qint64 most)
{
    if (most <= 0) {
        return {};
    }
    if (m_file.isOpen()) {
        m_file.seek(m_next);
        return m_file.read(most);
    }
    return m_route.body.mid(m_route.isEndless ? m_next % m_whole : m_next, most);
}

void WebConnection::endAnswer()
{
    m_isAnswering = false;
    m_tick.stop();
    if (m_closes) {
        m_socket.disconnectFromHost();
    } else {
        QMetaObject::invokeMethod(this, &WebConnection::read, Qt::QueuedConnection);
    }
}
