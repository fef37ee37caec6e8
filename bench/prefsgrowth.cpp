// How large the preferences file grows over a long day of use: 10,000 window lifetimes
// on the simulated desktop, with window ids handed out again, applications quitting and
// starting, a new application every few hundred windows, a day passing every 200, and
// one window in five put on a shelf by the user. Prints the file size as it goes.
#include "platform/preferencesstore.h"
#include "platform/sim/manualscheduler.h"
#include "platform/sim/simulateddesktop.h"
#include "tracking/windowmanager.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <cstdio>

using namespace orvella;
using platform::sim::SimulatedDesktop;

namespace {

constexpr int kLifetimes = 10000;
constexpr int kCoreApps = 8;
constexpr int kTitlesPerApp = 40;
// The bound this benchmark holds the file to; it fails (exit 1) above it.
constexpr qint64 kBoundBytes = 64 * 1024;

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("orvella.*.info=false"));
    QTemporaryDir dir;
    platform::PreferencesStore store(dir.filePath(QStringLiteral("preferences.json")));
    platform::sim::ManualScheduler clock;
    auto desktop = std::make_shared<SimulatedDesktop>();
    tracking::WindowManager wm(desktop, nullptr, &store, clock);
    wm.restoreState();
    QRandomGenerator random(7);
    const auto refresh = [&] {
        wm.refresh();
        wm.waitForRefresh(5000);
    };

    // pid and open windows (number, title) of each running application.
    QList<qint32> pids;
    QList<QList<std::pair<qint64, QString>>> open;
    QStringList owners;
    qint32 nextPid = 100;
    qint64 nextNumber = 0x400000;
    QList<qint64> freed;
    const auto startApp = [&](int a) {
        pids[a] = nextPid++;
        SimulatedDesktop::App sim;
        sim.pid = pids[a];
        sim.name = owners[a];
        sim.bundleID = owners[a];
        sim.startTime = quint64(pids[a]) * 1000;
        desktop->addApp(sim);
    };
    const auto addOwner = [&](const QString &owner) {
        owners.append(owner);
        pids.append(0);
        open.append(QList<std::pair<qint64, QString>>());
        startApp(int(owners.size()) - 1);
    };
    for (int a = 0; a < kCoreApps; ++a)
        addOwner(QStringLiteral("org.example.app%1").arg(a));
    const QString shelf = wm.addShelf();

    std::printf("%-10s | %-6s | %-10s\n", "lifetimes", "apps", "file bytes");
    std::printf("-----------+--------+-----------\n");
    qint64 size = 0;
    for (int life = 1; life <= kLifetimes; ++life) {
        const int a = int(random.bounded(kCoreApps));
        const qint64 number = !freed.isEmpty() && random.bounded(2) ? freed.takeLast() : nextNumber++;
        const QString title = QStringLiteral("Document %1").arg(random.bounded(kTitlesPerApp));
        SimulatedDesktop::Window w;
        w.number = number;
        w.title = title;
        desktop->addWindow(pids[a], w);
        open[a].append({number, title});
        refresh();
        if (a < kCoreApps && random.bounded(5) == 0)
            wm.dragMoveWindow(owners[a] + QStringLiteral("::wn:") + QString::number(number), shelf);
        // Windows live a while: the oldest of a busy application closes.
        if (open[a].size() > 6)
            desktop->removeWindow(open[a].takeFirst().first);
        if (life % 250 == 0) { // an application quits (its ids go back) and starts again
            const int q = int(random.bounded(kCoreApps));
            desktop->removeApp(pids[q]);
            for (const auto &[n, t] : std::as_const(open[q]))
                freed.append(n);
            open[q].clear();
            refresh();
            startApp(q);
        }
        if (life % 400 == 0) { // a new application is tried once, then never used again
            addOwner(QStringLiteral("org.example.once%1").arg(life));
            refresh();
            desktop->removeApp(pids.constLast());
        }
        if (life % 200 == 0)
            clock.advance(std::chrono::hours(24));
        if (life % 1000 == 0) {
            refresh();
            store.flush();
            size = QFileInfo(store.filePath()).size();
            std::printf("%-10d | %-6lld | %lld\n", life, qlonglong(owners.size()), qlonglong(size));
        }
    }
    std::printf("bound: %lld bytes — %s\n", qlonglong(kBoundBytes),
                size <= kBoundBytes ? "held" : "EXCEEDED");
    return size <= kBoundBytes ? 0 : 1;
}
