// Drives one orvella-testclient process: starts it, reads the windows it announces, sends it commands.
#pragma once

#include <QList>
#include <QProcess>
#include <QStringList>

#include <optional>

namespace orvella::testsupport {

/// One test client and its windows in creation order. It is a QProcess, so that a test can
/// also write to it, read from it or kill it directly.
class TestClient : public QProcess
{
public:
    /// Starts the client with `args` (in `environment`, if given) and waits, with the event
    /// loop running, until it has announced one window per --title (at least one); xids and
    /// titles then hold what it announced, fewer if it failed.
    explicit TestClient(const QStringList &args, const QStringList &environment = {});
    ~TestClient() override;

    /// The arguments for a client with one window per title.
    static QStringList titled(const QStringList &titles);

    /// Sends a stdin command and returns the client's answer.
    QString command(const QByteArray &line);
    /// The client's next line; nullopt when none comes in time.
    std::optional<QString> nextLine();
    /// Asks the client to quit and waits until it has, and until the window manager has let
    /// go of its windows: the server hands their ids to the next client.
    void quit();
    /// Its process id, also once it has ended.
    qint32 pid() const { return m_pid; }

    QList<quint32> xids;
    QStringList titles;

private:
    QString m_display;
    qint32 m_pid = 0;
};

} // namespace orvella::testsupport
