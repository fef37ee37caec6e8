// A small HTTP server on 127.0.0.1 for tests: records requests, answers as told.
#pragma once

#include <QByteArray>
#include <QList>
#include <QTcpServer>

struct ReceivedRequest
{
    QByteArray method;
    QByteArray path;
    QByteArray contentType;
    QByteArray body;
};

class LoopbackServer : public QObject
{
    Q_OBJECT
public:
    explicit LoopbackServer(QObject *parent = nullptr);

    bool listen();
    /// http://127.0.0.1:<port>/telemetry.php
    QString url() const;
    /// A loopback URL on a port where nothing listens (connections are refused).
    static QString refusingUrl();

    QList<ReceivedRequest> requests;
    /// The answer to every following request.
    int status = 200;
    QByteArray answer = R"({"ok": true})";
    /// Read requests but never answer them.
    bool silent = false;
    /// Sent after `answer` as fast as the client takes it: this many 'x' bytes, or with
    /// -1 without end (the connection then closes only from the other side).
    qint64 filler = 0;

private:
    void serve(QTcpSocket *socket);
    void sendFiller(QTcpSocket *socket);

    QTcpServer m_server;
};
