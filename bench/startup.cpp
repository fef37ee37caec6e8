// How long Orvella takes from exec to publishing its first window list of 200 windows, and
// what it holds in memory and spends in CPU time once idle, with tint2 measured beside it on
// the same windows. Each run starts from empty configuration and data folders, as on a first
// launch. Prints a table; exits 1 when a run fails or Orvella does not exit cleanly.
//   --runs N          launches of each (5)
//   --idle-s S        the measured period after the list is published (10)
//   --titles-per-s R  retitle one of the windows R times a second during that period (0)
#include "benchprocess.h"
#include "benchstats.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <vector>

using namespace orvella;

namespace {

using bench::idleFor;
using bench::processCpuSeconds;
using bench::residentMiB;
using bench::spin;
using bench::stats;

constexpr int kWindows = 200;
int g_idleMs = 10000;
int g_titlesPerSecond = 0;
QProcess *g_client = nullptr;
const QString kService = QStringLiteral("org.orvella.Orvella");

struct Sample
{
    double startupMs = -1;
    double residentMiB = -1;
    double idleCpuMs = -1;
};

// The window count of the line the window manager logs when it publishes a new list, if
// `line` is one.
std::optional<int> publishedCount(const QByteArray &line)
{
    static const QRegularExpression pattern(QStringLiteral(R"(\[OV\] refresh\(\) — windows: -?\d+ → (\d+))"));
    const QRegularExpressionMatch match = pattern.match(QString::fromUtf8(line));
    if (!match.hasMatch())
        return std::nullopt;
    return match.captured(1).toInt();
}

// The measured period, with the windows retitled at the chosen rate; the retitling is the
// client's work, not the process measured.
void measuredPeriod()
{
    if (g_titlesPerSecond <= 0) {
        idleFor(g_idleMs);
        return;
    }
    QTimer retitle;
    int n = 0;
    QObject::connect(&retitle, &QTimer::timeout, [&n] {
        g_client->write(QStringLiteral("title %1 Changing %2\n").arg(n % kWindows).arg(n).toUtf8());
        ++n;
    });
    retitle.start(1000 / g_titlesPerSecond);
    idleFor(g_idleMs);
}

void quitOrvella(QProcess &orvella)
{
    const QDBusMessage reply = QDBusConnection::sessionBus().call(
        QDBusMessage::createMethodCall(kService, QStringLiteral("/org/orvella/Orvella"),
                                       QStringLiteral("org.orvella.Orvella1"), QStringLiteral("Quit")),
        QDBus::Block, 5000);
    if (reply.type() == QDBusMessage::ErrorMessage) {
        std::fprintf(stderr, "bench_startup: Quit failed (%s); sending SIGTERM\n",
                     qPrintable(reply.errorMessage()));
        orvella.terminate();
    }
    if (!orvella.waitForFinished(15000)) {
        std::fprintf(stderr, "bench_startup: Orvella did not exit within 15 s\n");
        orvella.kill();
        orvella.waitForFinished(3000);
    }
}

// One launch with fresh folders: exec to the first list of `kWindows`, then `kIdleMs` idle.
// Nothing when Orvella never published the list or did not exit with status 0.
std::optional<Sample> measureOrvella()
{
    QTemporaryDir home;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral("config")));
    env.insert(QStringLiteral("XDG_DATA_HOME"), home.filePath(QStringLiteral("data")));
    env.insert(QStringLiteral("DO_NOT_TRACK"), QStringLiteral("1"));
    env.insert(QStringLiteral("ORVELLA_EXTERNAL_ADDRESS_URL"), QString());
    // With stderr on a pipe, Qt could otherwise send the log lines to the journal instead.
    env.insert(QStringLiteral("QT_FORCE_STDERR_LOGGING"), QStringLiteral("1"));

    QProcess orvella;
    orvella.setProcessEnvironment(env);
    orvella.setStandardOutputFile(QProcess::nullDevice());
    QElapsedTimer clock;
    double publishedAt = -1;
    QByteArrayList log; // kept to say why a run failed
    QObject::connect(&orvella, &QProcess::readyReadStandardError, [&] {
        orvella.setReadChannel(QProcess::StandardError);
        while (orvella.canReadLine()) {
            const QByteArray line = orvella.readLine().trimmed();
            if (publishedAt < 0 && publishedCount(line).value_or(0) >= kWindows)
                publishedAt = double(clock.nsecsElapsed()) / 1e6;
            log.append(line);
            if (log.size() > 20)
                log.removeFirst();
        }
    });
    clock.start();
    orvella.start(QStringLiteral(ORVELLA_BINARY), {});
    const bool published =
        spin(60000, [&] { return publishedAt >= 0 || orvella.state() == QProcess::NotRunning; })
        && publishedAt >= 0;
    if (!published) {
        std::fprintf(stderr, "bench_startup: Orvella never published %d windows; its last lines:\n",
                     kWindows);
        for (const QByteArray &line : log)
            std::fprintf(stderr, "  %s\n", line.constData());
        orvella.kill();
        orvella.waitForFinished(3000);
        return std::nullopt;
    }
    const qint64 pid = orvella.processId();
    const double cpu0 = processCpuSeconds(pid);
    measuredPeriod();
    Sample sample;
    sample.startupMs = publishedAt;
    sample.idleCpuMs = (processCpuSeconds(pid) - cpu0) * 1000;
    sample.residentMiB = residentMiB(pid);

    quitOrvella(orvella);
    if (orvella.exitStatus() != QProcess::NormalExit || orvella.exitCode() != 0) {
        std::fprintf(stderr, "bench_startup: Orvella exited with status %d (%s)\n", orvella.exitCode(),
                     orvella.exitStatus() == QProcess::NormalExit ? "normal" : "crashed");
        return std::nullopt;
    }
    // The next launch must not find this one's name still on the bus and hand over to it.
    spin(5000, [] { return !QDBusConnection::sessionBus().interface()->isServiceRegistered(kService); });
    return sample;
}

// tint2 has no line that says it has listed the windows, so it gets a short settling time
// before its idle period; its memory is read at the end of that period, like Orvella's.
std::optional<Sample> measureTint2()
{
    QTemporaryDir dir;
    const auto tint2 = bench::startTint2(dir);
    if (!tint2)
        return std::nullopt;
    idleFor(2000);
    const qint64 pid = tint2->processId();
    const double cpu0 = processCpuSeconds(pid);
    measuredPeriod();
    Sample sample;
    sample.idleCpuMs = (processCpuSeconds(pid) - cpu0) * 1000;
    sample.residentMiB = residentMiB(pid);
    tint2->terminate();
    tint2->waitForFinished(3000);
    return sample;
}

void printRow(const char *name, const std::vector<double> &values, const char *format)
{
    if (values.empty()) {
        std::printf("  %-30s | %10s | %10s\n", name, "-", "-");
        return;
    }
    const bench::Stats s = stats(values);
    char median[32], max[32];
    std::snprintf(median, sizeof median, format, s.median);
    std::snprintf(max, sizeof max, format, s.max);
    std::printf("  %-30s | %10s | %10s\n", name, median, max);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    // --runs N changes the number of launches (and of tint2 runs); the figures quoted use 5.
    int runs = 5;
    for (int i = 1; i + 1 < argc; i += 2) {
        if (qstrcmp(argv[i], "--runs") == 0)
            runs = std::max(1, atoi(argv[i + 1]));
        else if (qstrcmp(argv[i], "--idle-s") == 0)
            g_idleMs = std::max(1, atoi(argv[i + 1])) * 1000;
        else if (qstrcmp(argv[i], "--titles-per-s") == 0)
            g_titlesPerSecond = std::clamp(atoi(argv[i + 1]), 0, 1000);
    }
    if (!QDBusConnection::sessionBus().isConnected()) {
        std::fprintf(stderr, "bench_startup: needs a session bus (run it under dbus-run-session)\n");
        return 2;
    }
    QStringList titles;
    for (int i = 0; i < kWindows; ++i)
        titles << QStringLiteral("Startup window %1").arg(i);
    QProcess client;
    g_client = &client;
    if (!bench::startClient(client, titles)) {
        std::fprintf(stderr,
                     "bench_startup: the test client could not show %d windows (is there an X "
                     "session with a window manager?)\n",
                     kWindows);
        return 2;
    }

    std::vector<double> startup, orvellaRss, orvellaCpu, tint2Rss, tint2Cpu;
    int failed = 0;
    for (int run = 0; run < runs; ++run) {
        if (const auto s = measureOrvella()) {
            startup.push_back(s->startupMs);
            orvellaRss.push_back(s->residentMiB);
            orvellaCpu.push_back(s->idleCpuMs);
        } else {
            ++failed;
        }
    }
    for (int run = 0; run < runs; ++run) {
        if (const auto s = measureTint2()) {
            tint2Rss.push_back(s->residentMiB);
            tint2Cpu.push_back(s->idleCpuMs);
        }
    }
    bench::stopClient(client);

    std::printf("\nStart-up with %d windows, %d runs each (memory and CPU over %d s, %d retitles/s)\n",
                kWindows, runs, g_idleMs / 1000, g_titlesPerSecond);
    std::printf("  %-30s | %10s | %10s\n", "", "median", "max");
    std::printf("  -------------------------------+------------+-----------\n");
    printRow("Orvella exec -> list (ms)", startup, "%.0f");
    printRow("Orvella resident (MiB)", orvellaRss, "%.1f");
    printRow("Orvella idle CPU (ms)", orvellaCpu, "%.0f");
    printRow("tint2 resident (MiB)", tint2Rss, "%.1f");
    printRow("tint2 idle CPU (ms)", tint2Cpu, "%.0f");
    if (tint2Rss.empty())
        std::printf("(tint2 not installed or not started: its rows are empty)\n");
    if (failed > 0)
        std::printf("%d of %d Orvella runs failed (see stderr)\n", failed, runs);
    return failed > 0 ? 1 : 0;
}
