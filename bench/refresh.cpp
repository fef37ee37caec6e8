// How long one refresh and one `orvella list` take for 10 to 500 windows, with
// `wmctrl -lpG` timed beside them on the same windows. Prints a table.
#include "benchprocess.h"
#include "benchstats.h"
#include "platform/x11/x11desktop.h"
#include "tracking/windowmanager.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QStandardPaths>

#include <algorithm>
#include <cstdio>
#include <vector>

using namespace orvella;

namespace {

using bench::startClient;
using bench::Stats;
using bench::stats;

std::vector<double> timeProcess(const QString &program, const QStringList &args, int runs)
{
    std::vector<double> ms;
    for (int i = 0; i < runs; ++i) {
        QProcess p;
        p.setStandardOutputFile(QProcess::nullDevice());
        QElapsedTimer t;
        t.start();
        p.start(program, args);
        if (!p.waitForFinished(60000) || p.exitCode() != 0)
            return {};
        ms.push_back(double(t.nsecsElapsed()) / 1e6);
    }
    return ms;
}

std::vector<double> timeRefresh(tracking::WindowManager &manager, int runs)
{
    std::vector<double> ms;
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer t;
        t.start();
        manager.refresh(true);
        if (!manager.waitForRefresh(60000))
            return {};
        ms.push_back(double(t.nsecsElapsed()) / 1e6);
    }
    return ms;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QString error;
    auto desktop = platform::x11::X11Desktop::open(QString(), &error);
    if (!desktop || !desktop->isTrusted()) {
        std::fprintf(stderr, "bench_refresh: needs an X session with an EWMH window manager (%s)\n",
                     qPrintable(error));
        return 2;
    }
    const QString wmctrl = QStandardPaths::findExecutable(QStringLiteral("wmctrl"));
    constexpr int kRuns = 30;

    std::printf("%-8s | %-21s | %-21s | %-21s\n", "windows", "refresh ms (p50/p95)", "orvella list ms",
                "wmctrl -lpG ms");
    std::printf("---------+-----------------------+-----------------------+----------------------\n");
    for (int count : {10, 50, 200, 500}) {
        QStringList titles;
        for (int i = 0; i < count; ++i)
            titles << QStringLiteral("Bench window %1").arg(i);
        QProcess client;
        if (!startClient(client, titles)) {
            std::fprintf(stderr, "bench_refresh: the test client could not show %d windows\n", count);
            return 1;
        }
        tracking::WindowManager manager(desktop, nullptr, nullptr);
        const Stats refresh = stats(timeRefresh(manager, kRuns));
        const Stats list =
            stats(timeProcess(QStringLiteral(ORVELLA_BINARY), {QStringLiteral("list")}, kRuns));
        const Stats peer =
            wmctrl.isEmpty() ? Stats{} : stats(timeProcess(wmctrl, {QStringLiteral("-lpG")}, kRuns));
        std::printf("%-8d | %9.2f / %-9.2f | %9.2f / %-9.2f | %9.2f / %-9.2f\n", count, refresh.median,
                    refresh.p95, list.median, list.p95, peer.median, peer.p95);
        std::fflush(stdout);
        bench::stopClient(client);
    }
    if (wmctrl.isEmpty())
        std::printf("(wmctrl not installed: its column is empty)\n");
    return 0;
}
