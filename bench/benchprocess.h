// What the benchmarks that drive other processes share: waiting in the event loop, the test
// client's windows, tint2 as the peer measured beside Orvella, and a process's CPU time and
// resident memory read from /proc.
#pragma once

#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTimer>

#include <unistd.h>

#include <memory>

namespace orvella::bench {

// Runs the event loop for `ms`, or until `done` holds (looked at every few milliseconds).
template<typename Done>
bool spin(int ms, Done done)
{
    QEventLoop loop;
    QTimer check;
    QObject::connect(&check, &QTimer::timeout, &loop, [&] {
        if (done())
            loop.quit();
    });
    check.start(2);
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    if (!done())
        loop.exec();
    return done();
}

// Runs the event loop for `ms` with no wake-ups of its own, so as not to add to what is measured.
inline void idleFor(int ms)
{
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

// Starts one test client with a window per title and waits until all are managed.
inline bool startClient(QProcess &client, const QStringList &titles, int timeoutMs = 60000)
{
    QStringList args;
    for (const QString &title : titles)
        args << QStringLiteral("--title") << title;
    client.start(QStringLiteral(ORVELLA_TESTCLIENT), args);
    qsizetype ready = 0;
    while (ready < titles.size() && client.waitForReadyRead(timeoutMs)) {
        while (client.canReadLine())
            ready += client.readLine().startsWith("ready") ? 1 : 0;
    }
    return ready == titles.size();
}

inline void stopClient(QProcess &client)
{
    client.write("quit\n");
    client.closeWriteChannel();
    if (!client.waitForFinished(10000))
        client.kill();
}

// User plus system time of another process, from its /proc stat line; 0 once it is gone.
inline double processCpuSeconds(qint64 pid)
{
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (pid <= 0 || !stat.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray line = stat.readAll();
    // Fields after the parenthesised command name, which may itself hold spaces.
    const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
    if (fields.size() < 13)
        return 0;
    return double(fields[11].toLongLong() + fields[12].toLongLong()) / double(sysconf(_SC_CLK_TCK));
}

// Resident memory of another process in MiB (VmRSS), or -1 when it cannot be read.
inline double residentMiB(qint64 pid)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (pid <= 0 || !status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:")) {
            // "VmRSS:     12345 kB"
            const QList<QByteArray> parts = line.mid(6).simplified().split(' ');
            bool ok = false;
            const double kib = parts.value(0).toDouble(&ok);
            return ok ? kib / 1024.0 : -1;
        }
    }
    return -1;
}

// tint2 with a plain taskbar panel, the part that follows every window; nothing when it is
// not installed. `dir` holds its configuration for as long as it runs.
inline std::unique_ptr<QProcess> startTint2(QTemporaryDir &dir)
{
    const QString tint2 = QStandardPaths::findExecutable(QStringLiteral("tint2"));
    if (tint2.isEmpty())
        return nullptr;
    QFile config(dir.filePath(QStringLiteral("tint2rc")));
    if (!config.open(QIODevice::WriteOnly))
        return nullptr;
    config.write("panel_items = T\npanel_size = 100% 30\npanel_position = bottom center horizontal\n"
                 "taskbar_mode = single_desktop\ntask_text = 1\ntask_icon = 1\n");
    config.close();
    auto process = std::make_unique<QProcess>();
    process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process->setStandardOutputFile(QProcess::nullDevice());
    process->start(tint2, {QStringLiteral("-c"), config.fileName()});
    return process->waitForStarted() ? std::move(process) : nullptr;
}

} // namespace orvella::bench
