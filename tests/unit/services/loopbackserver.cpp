// A small HTTP server on 127.0.0.1 for tests: records requests, answers as told.
#include "loopbackserver.h"

#include <QHostAddress>
#include <QTcpSocket>

LoopbackServer::LoopbackServer(QObject *parent)
    : QObject(parent)
{
    connect(&m_server, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket *socket = m_server.nextPendingConnection()) {
            socket->setParent(this);
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { serve(socket); });
        }
    });
}

bool LoopbackServer::listen()
{
    return m_server.listen(QHostAddress::LocalHost);
}

QString LoopbackServer::url() const
{
    return QStringLiteral("http://127.0.0.1:%1/telemetry.php").arg(m_server.serverPort());
}

QString LoopbackServer::refusingUrl()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost);
    const quint16 port = probe.serverPort();
    probe.close();
    return QStringLiteral("http://127.0.0.1:%1/telemetry.php").arg(port);
}

void LoopbackServer::serve(QTcpSocket *socket)
{
    // Requests arrive in pieces; keep what came until the headers and body are complete.
    QByteArray buffer = socket->property("buffer").toByteArray() + socket->readAll();
    socket->setProperty("buffer", buffer);
    const qsizetype headerEnd = buffer.indexOf("\r\n\r\n");
    if (headerEnd < 0)
        return;
    const QList<QByteArray> lines = buffer.left(headerEnd).split('\n');
    const QList<QByteArray> requestLine = lines.value(0).trimmed().split(' ');
    ReceivedRequest request;
    request.method = requestLine.value(0);
    request.path = requestLine.value(1);
    qsizetype length = 0;
    for (const QByteArray &line : lines.mid(1)) {
        const qsizetype colon = line.indexOf(':');
        const QByteArray name = line.left(colon).trimmed().toLower();
        const QByteArray value = line.mid(colon + 1).trimmed();
        if (name == "content-length")
            length = value.toLongLong();
        else if (name == "content-type")
            request.contentType = value;
    }
    if (buffer.size() < headerEnd + 4 + length)
        return;
    request.body = buffer.mid(headerEnd + 4, length);
    socket->setProperty("buffer", QByteArray());
    requests.append(request);
    if (silent)
        return;
    // Without a length the body lasts until the connection closes.
    const QByteArray lengthHeader =
        filler < 0 ? QByteArray() : "Content-Length: " + QByteArray::number(answer.size() + filler) + "\r\n";
    socket->write("HTTP/1.1 " + QByteArray::number(status) + " Answer\r\nContent-Type: application/json\r\n"
                  + lengthHeader + "Connection: close\r\n\r\n" + answer);
    if (filler == 0) {
        socket->disconnectFromHost();
        return;
    }
    socket->setProperty("filler", filler);
    connect(socket, &QTcpSocket::bytesWritten, this, [this, socket] { sendFiller(socket); });
    sendFiller(socket);
}

void LoopbackServer::sendFiller(QTcpSocket *socket)
{
    constexpr qint64 chunk = 64 * 1024;
    // A few chunks in flight at most, so the server's own memory stays small too.
    if (socket->state() != QAbstractSocket::ConnectedState || socket->bytesToWrite() >= 4 * chunk)
        return;
    const qint64 left = socket->property("filler").toLongLong();
    if (left == 0)
        return;
    const qint64 size = left < 0 ? chunk : std::min(chunk, left);
    socket->write(QByteArray(size, 'x'));
    if (left < 0)
        return;
    socket->setProperty("filler", left - size);
    if (left == size)
        socket->disconnectFromHost();
}
