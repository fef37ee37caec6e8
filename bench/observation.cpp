// How quickly a new window reaches the window list, and what following 200 idle windows
// costs in CPU time at the shown, hidden and deep-idle rhythms, with tint2 (a taskbar that
// follows the same windows by X events alone) measured beside Orvella. Prints tables.
#include "benchprocess.h"
#include "benchstats.h"
#include "platform/x11/x11desktop.h"
#include "platform/x11/x11desktopobserver.h"
#include "tracking/windowmanager.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>

#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <vector>

using namespace orvella;

namespace {

using bench::idleFor;
using bench::processCpuSeconds;
using bench::spin;
using bench::startTint2;
using bench::Stats;
using bench::stats;
using bench::stopClient;

bool listed(const tracking::WindowManager &manager, const QString &title)
{
    return std::any_of(manager.windows().begin(), manager.windows().end(),
                       [&](const tracking::WindowItem &w) { return w.windowTitle == title; });
}

double ownCpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval &t) { return double(t.tv_sec) + double(t.tv_usec) / 1e6; };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// From a window's process starting, and from the window manager listing it, to the window
// being in `windows`: one window per client, each its own burst.
void measureLatency(tracking::WindowManager &manager, int count)
{
    std::vector<double> fromStart, fromListed;
    for (int i = 0; i < count; ++i) {
        const QString title = QStringLiteral("Latency window %1").arg(i);
        QProcess client;
        QElapsedTimer clock;
        double listedAt = -1;
        QObject::connect(&client, &QProcess::readyReadStandardOutput, [&] {
            if (listedAt < 0 && client.readAllStandardOutput().contains("ready"))
                listedAt = double(clock.nsecsElapsed()) / 1e6;
        });
        clock.start();
        client.start(QStringLiteral(ORVELLA_TESTCLIENT), {QStringLiteral("--title"), title});
        if (!spin(10000, [&] { return listed(manager, title); })) {
            std::fprintf(stderr, "bench_observation: \"%s\" never reached the list\n", qPrintable(title));
            stopClient(client);
            continue;
        }
        const double appearedAt = double(clock.nsecsElapsed()) / 1e6;
        spin(2000, [&] { return listedAt >= 0; });
        fromStart.push_back(appearedAt);
        if (listedAt >= 0)
            fromListed.push_back(std::max(0.0, appearedAt - listedAt));
        stopClient(client);
        idleFor(400); // let the close settle: the next window is a burst of its own
    }
    const Stats s = stats(fromStart), l = stats(fromListed);
    std::printf("\nnew window -> in `windows` (%d windows, ms)\n", count);
    std::printf("  from its process starting : median %7.1f  p95 %7.1f\n", s.median, s.p95);
    std::printf("  from the WM listing it    : median %7.1f  p95 %7.1f\n", l.median, l.p95);
}

// A pointer nudge through XTest: to the server, the user is back.
void nudgePointer()
{
    xcb_connection_t *c = xcb_connect(nullptr, nullptr);
    if (!xcb_connection_has_error(c)) {
        const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
        for (int16_t x : {10, 11})
            xcb_test_fake_input(c, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, root, x, 10, 0);
        free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr)); // a round trip: applied
    }
    xcb_disconnect(c);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    // --seconds N shortens the CPU phases for a quick look; the figures quoted use 60.
    int seconds = 60;
    int latencyWindows = 50;
    for (int i = 1; i + 1 < argc; i += 2) {
        if (qstrcmp(argv[i], "--seconds") == 0)
            seconds = std::max(1, atoi(argv[i + 1]));
        else if (qstrcmp(argv[i], "--windows") == 0)
            latencyWindows = std::max(1, atoi(argv[i + 1]));
    }
    QString error;
    auto desktop = platform::x11::X11Desktop::open(QString(), &error);
    auto observer = platform::x11::X11DesktopObserver::open(QString(), &error);
    if (!desktop || !observer || !desktop->isTrusted()) {
        std::fprintf(stderr, "bench_observation: needs an X session with an EWMH window manager (%s)\n",
                     qPrintable(error));
        return 2;
    }
    tracking::WindowManager manager(desktop, nullptr, nullptr);
    manager.setObserver(observer.get());
    manager.startObserving();
    manager.setRefreshInterval(60); // only notifications bring the windows in below
    measureLatency(manager, latencyWindows);

    // 200 idle windows, then each rhythm for `seconds`.
    QProcess idle;
    QStringList args;
    for (int i = 0; i < 200; ++i)
        args << QStringLiteral("--title") << QStringLiteral("Idle window %1").arg(i);
    idle.start(QStringLiteral(ORVELLA_TESTCLIENT), args);
    if (!spin(60000, [&] { return manager.windows().size() >= 200; })) {
        std::fprintf(stderr, "bench_observation: the 200 idle windows never reached the list\n");
        return 1;
    }
    QTemporaryDir dir;
    const auto tint2 = startTint2(dir);
    idleFor(2000); // both settle on the new windows first

    std::printf("\nCPU time following 200 idle windows for %d s (ms)\n", seconds);
    std::printf("  %-34s | %-10s | %-10s | %s\n", "rhythm", "Orvella", "refreshes", "tint2");
    struct Phase
    {
        const char *name;
        double interval;
        bool needsIdleUser;
    };
    const tracking::TrackingState &state = manager.state();
    for (const Phase &phase : {Phase{"shown (1.5 s)", state.fastRefreshInterval, false},
                               Phase{"hidden (10 s)", state.hiddenRefreshInterval, false},
                               Phase{"hidden, user idle (30 s)", state.hiddenRefreshInterval, true}}) {
        manager.setRefreshInterval(phase.interval);
        if (!phase.needsIdleUser) {
            nudgePointer(); // the whole phase stays well inside two minutes of the last input
        } else {
            // The deep-idle rule needs two minutes without input; the session has had none.
            const double idleSoFar = observer->userIdleSeconds().value_or(0);
            if (idleSoFar < 121)
                idleFor(int((121 - idleSoFar) * 1000));
        }
        int refreshes = 0;
        const QMetaObject::Connection counting =
            QObject::connect(&manager, &tracking::WindowManager::refreshApplied, [&] { ++refreshes; });
        const double own0 = ownCpuSeconds();
        const double tint0 = tint2 ? processCpuSeconds(tint2->processId()) : 0;
        idleFor(seconds * 1000);
        const double own = (ownCpuSeconds() - own0) * 1000;
        const double tint = tint2 ? (processCpuSeconds(tint2->processId()) - tint0) * 1000 : -1;
        QObject::disconnect(counting);
        std::printf("  %-34s | %10.0f | %10d | %.0f\n", phase.name, own, refreshes, tint);
        std::fflush(stdout);
    }
    if (!tint2)
        std::printf("(tint2 not installed: its column shows -1)\n");
    manager.stopObserving();
    if (tint2) {
        tint2->terminate();
        tint2->waitForFinished(3000);
    }
    stopClient(idle);
    return 0;
}
