// What the system monitor costs: CPU time of one poll and of a running service at the
// default 3-second interval, beside `top -b -n 1` reading the same facts. Prints a table.
//   build/bench/bench_sysmon [--seconds 60]
#include "benchstats.h"
#include "monitor/systemmonitorservice.h"
#include "monitor/systemsampler.h"
#include "platform/linux/linuxsystemfacts.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QLoggingCategory>
#include <QProcess>
#include <QSignalSpy>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <sys/resource.h>
#include <vector>

using namespace orvella;

namespace {

double threadCpuMs()
{
    timespec ts{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return double(ts.tv_sec) * 1e3 + double(ts.tv_nsec) / 1e6;
}

double usageMs(int who)
{
    rusage usage{};
    getrusage(who, &usage);
    auto ms = [](const timeval &t) { return double(t.tv_sec) * 1e3 + double(t.tv_usec) / 1e3; };
    return ms(usage.ru_utime) + ms(usage.ru_stime);
}

using bench::Stats;
using bench::stats;

// CPU time (this thread) and wall time per call of `work`, over `runs` calls.
void row(const char *name, int runs, const std::function<void()> &work)
{
    std::vector<double> cpu, wall;
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer timer;
        timer.start();
        const double before = threadCpuMs();
        work();
        cpu.push_back(threadCpuMs() - before);
        wall.push_back(double(timer.nsecsElapsed()) / 1e6);
    }
    const Stats c = stats(cpu), w = stats(wall);
    std::printf("%-34s | %5d | %8.3f | %8.3f | %8.3f | %8.3f\n", name, runs, c.median, c.p95, c.max,
                w.median);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("orvella.monitor.info=false"));
    int seconds = 60;
    const QStringList args = app.arguments();
    if (const qsizetype i = args.indexOf(QStringLiteral("--seconds")); i > 0 && i + 1 < args.size())
        seconds = std::max(3, args[i + 1].toInt());

    const auto facts = std::make_shared<platform::LinuxSystemFacts>();
    std::printf("%-34s | %5s | %8s | %8s | %8s | %8s\n", "step", "runs", "cpu p50", "cpu p95", "cpu max",
                "wall p50");
    std::printf("%-34s | %5s | %8s | %8s | %8s | %8s\n", "", "", "ms", "ms", "ms", "ms");
    std::printf("-----------------------------------+-------+----------+----------+----------+---------\n");
    row("reader: /proc/stat", 500, [&] { facts->cpuTicks(); });
    row("reader: /proc/meminfo", 500, [&] { facts->memory(); });
    row("reader: statvfs + mount table", 500, [&] { facts->homeVolume(); });
    row("reader: getifaddrs", 500, [&] { facts->interfaces(); });
    row("reader: power_supply", 500, [&] { facts->battery(); });
    row("reader: hwmon / thermal", 500, [&] { facts->cpuTemperature(); });
    row("reader: /proc/uptime", 500, [&] { facts->uptimeSeconds(); });
    monitor::SystemSampler sampler(facts);
    sampler.sample(true, QDateTime::currentDateTimeUtc());
    row("poll (disk cached)", 500, [&] { sampler.sample(true, QDateTime::currentDateTimeUtc()); });
    row("poll (first: disk read)", 200,
        [&] { monitor::SystemSampler(facts).sample(true, QDateTime::currentDateTimeUtc()); });

    // top reads every process; this is what a general-purpose tool pays for one screen.
    std::vector<double> topCpu, topWall;
    for (int i = 0; i < 10; ++i) {
        const double before = usageMs(RUSAGE_CHILDREN);
        QElapsedTimer timer;
        timer.start();
        QProcess top;
        top.start(QStringLiteral("top"), {QStringLiteral("-b"), QStringLiteral("-n"), QStringLiteral("1")});
        if (!top.waitForFinished(10000) || top.exitCode() != 0) {
            std::printf("top -b -n 1: could not run (%s)\n", qPrintable(top.errorString()));
            break;
        }
        topWall.push_back(double(timer.nsecsElapsed()) / 1e6);
        topCpu.push_back(usageMs(RUSAGE_CHILDREN) - before);
    }
    if (!topCpu.empty()) {
        const Stats c = stats(topCpu), w = stats(topWall);
        std::printf("%-34s | %5zu | %8.3f | %8.3f | %8.3f | %8.3f\n", "reference: top -b -n 1 (process)",
                    topCpu.size(), c.median, c.p95, c.max, w.median);
    }

    // The service as the application runs it: its worker, the timer and the publication.
    monitor::SystemMonitorService service(facts);
    QSignalSpy sampled(&service, &monitor::SystemMonitorService::sampled);
    const double before = usageMs(RUSAGE_SELF);
    service.start(3);
    QTimer::singleShot(seconds * 1000, &app, &QCoreApplication::quit);
    app.exec();
    service.stop();
    const double cpu = usageMs(RUSAGE_SELF) - before;
    std::printf(
        "\nservice at 3 s for %d s: %lld samples, %.1f ms CPU in all (%.3f ms per sample, %.4f %% of one "
        "core)\n",
        seconds, qlonglong(sampled.count()), cpu, cpu / double(std::max<qsizetype>(1, sampled.count())),
        cpu / (seconds * 10.0));
    return 0;
}
