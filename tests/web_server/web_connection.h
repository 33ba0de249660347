#pragma once

#include "web_server/web_server.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTimer>

// One connection to the server, with one request after the other.
class WebConnection : public QObject
{
public:
    WebConnection(WebServer &server, QTcpSocket &socket);

private:
    struct Span {
        qint64 first = 0;
        qint64 length = 0;
        bool isPart = false;
        bool isOutside = false;
    };

    void read();
    void answer(const WebRequest &request);
    bool openBody();
    Span spanOf(const WebRequest &request) const;
    bool isRangeWanted(const WebRequest &request) const;
    QByteArray headOf(const Span &span) const;
    void pump();
    qint64 allowance() const;
    QByteArray nextBytes(qint64 most);
    void endAnswer();

    WebServer &m_server;
    QTcpSocket &m_socket;
    QByteArray m_input;
    bool m_isAnswering = false;
    bool m_closes = false; // after this answer

    Route m_route;
    QFile m_file;
    qint64 m_whole = 0; // bytes of the file or body
    qint64 m_next = 0;  // the first byte that is not yet sent
    qint64 m_left = 0;  // bytes of this answer still to be sent
    qint64 m_sent = 0;
    QElapsedTimer m_clock;
    QTimer m_tick;
};
