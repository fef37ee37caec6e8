// A small HTTP server on 127.0.0.1 for the telemetry tests: records requests, answers as told.
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

    /// The answer to every following request.
    void setAnswer(int status, const QByteArray &body);
    /// Reads requests but never answers them.
    void setSilent(bool silent) { m_silent = silent; }

    QList<ReceivedRequest> requests;

private:
    void serve(QTcpSocket *socket);

    QTcpServer m_server;
    int m_status = 200;
    QByteArray m_body = R"({"ok": true})";
    bool m_silent = false;
};
