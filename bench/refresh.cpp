// How long one refresh and one `orvella list` take for 10 to 500 windows, with
// `wmctrl -lpG` timed beside them on the same windows. A refresh is timed twice: reading
// every window (no observer), and with nothing changed, served by the property cache that
// a running observer keeps (one read in twenty is still a full one). Prints a table.
#include "benchprocess.h"
#include "benchstats.h"
#include "platform/x11/x11desktop.h"
#include "platform/x11/x11desktopobserver.h"
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
    // --windows N --runs R [--cached-only]: one size, e.g. under a profiler.
    QList<int> counts{10, 50, 200, 500};
    int kRuns = 30;
    bool cachedOnly = false;
    for (int i = 1; i < argc; ++i)
        cachedOnly = cachedOnly || qstrcmp(argv[i], "--cached-only") == 0;
    for (int i = 1; i + 1 < argc; i += 2) {
        if (qstrcmp(argv[i], "--windows") == 0)
            counts = {std::max(1, atoi(argv[i + 1]))};
        else if (qstrcmp(argv[i], "--runs") == 0)
            kRuns = std::max(1, atoi(argv[i + 1]));
    }

    std::printf("%-8s | %-21s | %-21s | %-21s | %-21s\n", "windows", "full refresh ms", "cached refresh ms",
                "orvella list ms", "wmctrl -lpG ms");
    std::printf("         | %-21s | %-21s | %-21s |\n", "(p50 / p95)", "(p50 / p95)", "(p50 / p95)");
    std::printf("---------+-----------------------+-----------------------+-----------------------+-------"
                "---------------\n");
    for (int count : counts) {
        QStringList titles;
        for (int i = 0; i < count; ++i)
            titles << QStringLiteral("Bench window %1").arg(i);
        QProcess client;
        if (!startClient(client, titles)) {
            std::fprintf(stderr, "bench_refresh: the test client could not show %d windows\n", count);
            return 1;
        }
        tracking::WindowManager manager(desktop, nullptr, nullptr);
        const Stats refresh = cachedOnly ? Stats{} : stats(timeRefresh(manager, kRuns));
        auto observer = platform::x11::X11DesktopObserver::open(QString(), &error);
        if (!observer || !observer->start()) {
            std::fprintf(stderr, "bench_refresh: the observer could not start (%s)\n", qPrintable(error));
            return 1;
        }
        timeRefresh(manager, 2); // the first fills the cache
        const Stats cached = stats(timeRefresh(manager, kRuns));
        observer.reset();
        const Stats list =
            cachedOnly ? Stats{}
                       : stats(timeProcess(QStringLiteral(ORVELLA_BINARY), {QStringLiteral("list")}, kRuns));
        const Stats peer = cachedOnly || wmctrl.isEmpty()
                               ? Stats{}
                               : stats(timeProcess(wmctrl, {QStringLiteral("-lpG")}, kRuns));
        std::printf("%-8d | %9.2f / %-9.2f | %9.2f / %-9.2f | %9.2f / %-9.2f | %9.2f / %-9.2f\n", count,
                    refresh.median, refresh.p95, cached.median, cached.p95, list.median, list.p95,
                    peer.median, peer.p95);
        std::fflush(stdout);
        bench::stopClient(client);
    }
    if (wmctrl.isEmpty())
        std::printf("(wmctrl not installed: its column is empty)\n");
    return 0;
}
