// The system monitor: samples the machine at an interval and publishes the readings.
#include "monitor/systemmonitorservice.h"

#include "logging.h"
#include "monitor/systemsampler.h"
#include "platform/externaladdress.h"

#include <cmath>

namespace orvella::monitor {

namespace {

constexpr double kMinimumInterval = 0.1;
constexpr double kDefaultInterval = 3.0;

} // namespace

SystemMonitorService::SystemMonitorService(std::shared_ptr<const platform::SystemFacts> facts,
                                           const QUrl &externalAddressUrl, platform::Scheduler &scheduler,
                                           QObject *parent)
    : QObject(parent)
    , m_scheduler(scheduler)
    , m_sampler(std::make_unique<SystemSampler>(facts))
{
    m_disk = SystemSampler::diskInfo(std::nullopt);
    m_modelName = facts->modelName();
    m_osVersion = facts->osVersion();
    m_bootDate = scheduler.now().addMSecs(-qint64(std::llround(facts->uptimeSeconds() * 1000)));
    m_hasBattery = facts->hasInternalBattery();

    m_queue.setObjectName(QStringLiteral("com.orvella.sysmon"));
    m_worker = new QObject;
    m_worker->moveToThread(&m_queue);
    m_queue.start(QThread::LowPriority);

    m_externalAddressUrl = externalAddressUrl;
    requestExternalAddress();
}

SystemMonitorService::~SystemMonitorService()
{
    endRun();
    delete m_externalAddressRequest;
    m_queue.quit();
    m_queue.wait();
    delete m_worker;
}

void SystemMonitorService::start(double interval)
{
    if (m_isRunning)
        return;
    // A damaged preference must not turn sampling into a busy loop.
    if (!(interval >= kMinimumInterval)) {
        qCWarning(lcMonitor).noquote() << QString::asprintf(
            "[OV] SystemMonitorService: interval %g s is unusable; sampling every %.1f s", interval,
            kDefaultInterval);
        interval = kDefaultInterval;
    }
    m_isRunning = true;
    qCInfo(lcMonitor).noquote() << QString::asprintf("[OV] SystemMonitorService started (interval=%.1fs)",
                                                     interval);
    requestExternalAddress();
    queuePoll(m_scheduler.now());
    const qint64 intervalMs = std::max<qint64>(1, std::llround(interval * 1000));
    auto *run = new QObject;
    run->moveToThread(&m_queue);
    m_run = run;
    armTimer(run, m_scheduler.now().addMSecs(intervalMs), intervalMs);
}

void SystemMonitorService::stop()
{
    if (!m_isRunning)
        return;
    m_isRunning = false;
    endRun();
    delete m_externalAddressRequest;
    qCInfo(lcMonitor) << "[OV] SystemMonitorService stopped";
}

void SystemMonitorService::endRun()
{
    // Deleted on the worker, which may be in the middle of a tick: the armed timer goes
    // with its context, and a tick already under way sees that its run has ended.
    if (QObject *run = m_run.exchange(nullptr))
        run->deleteLater();
}

void SystemMonitorService::requestExternalAddress()
{
    if (m_externalAddressSettled || m_externalAddressRequest)
        return;
    m_externalAddressRequest = platform::fetchExternalAddress(
        m_externalAddressUrl, this, [this](const std::optional<QString> &address) {
            m_externalAddressSettled = true;
            if (address)
                assign(m_externalIP, *address, &SystemMonitorService::externalIPChanged);
        });
    // Nothing to ask, or nowhere to ask it: the next start need not try again.
    if (!m_externalAddressRequest)
        m_externalAddressSettled = true;
}

void SystemMonitorService::restart(double interval)
{
    stop();
    start(interval);
}

void SystemMonitorService::setPaused(bool paused)
{
    {
        std::lock_guard lock(m_pausedLock);
        if (m_isPaused == paused)
            return;
        m_isPaused = paused;
    }
    qCInfo(lcMonitor).noquote() << QString::asprintf("[OV] SystemMonitor paused=%d", paused ? 1 : 0);
    if (!paused)
        queuePoll(m_scheduler.now());
}

void SystemMonitorService::armTimer(QObject *run, QDateTime deadline, qint64 intervalMs)
{
    const qint64 delay = std::max<qint64>(0, m_scheduler.now().msecsTo(deadline));
    // Called only while `run` exists, and stopping deletes it; until then the ended run
    // is told apart by address, which no other object can share while it lives.
    m_scheduler.schedule(std::chrono::milliseconds(delay), run, [=, this] {
        if (run != m_run.load())
            return;
        // The pause is read when the timer fires, as a poll running right here would;
        // the queued poll reads it again.
        const QDateTime now = m_scheduler.now();
        if (!isPaused())
            queuePoll(now);
        // Deadlines follow the first one exactly; after a suspend the missed ones are
        // skipped instead of fired in a burst.
        QDateTime next = deadline.addMSecs(intervalMs);
        if (next <= now)
            next = now.addMSecs(intervalMs);
        armTimer(run, next, intervalMs);
    });
}

void SystemMonitorService::queuePoll(const QDateTime &now)
{
    // Every poll runs on the worker, whoever asks, so the sampler has one thread. The
    // time is taken where the poll is asked for: the clock belongs to the thread that
    // fires the timer, and the worker never reads it.
    QMetaObject::invokeMethod(
        m_worker, [this, now] { poll(now); }, Qt::QueuedConnection);
}

bool SystemMonitorService::isPaused()
{
    std::lock_guard lock(m_pausedLock);
    return m_isPaused;
}

void SystemMonitorService::poll(const QDateTime &now)
{
    if (isPaused())
        return;
    MonitorSample sample = m_sampler->sample(m_hasBattery, now);
    // `this` as the context: the call is dropped when the service is gone.
    QMetaObject::invokeMethod(
        this, [this, sample = std::move(sample)] { publish(sample); }, Qt::QueuedConnection);
}

template<typename T>
void SystemMonitorService::assign(T &field, const T &value, void (SystemMonitorService::*changed)())
{
    if (field == value)
        return;
    field = value;
    emit(this->*changed)();
}

void SystemMonitorService::publish(const MonitorSample &s)
{
    using S = SystemMonitorService;
    assign(m_cpuUsage, s.cpu, &S::cpuUsageChanged);
    assign(m_memory.usage, s.memory.usage, &S::memoryUsageChanged);
    assign(m_memory.usedGB, s.memory.usedGB, &S::memoryUsedGBChanged);
    assign(m_memory.totalGB, s.memory.totalGB, &S::memoryTotalGBChanged);
    assign(m_memory.pressure, s.memory.pressure, &S::memoryPressureChanged);
    assign(m_memory.activeGB, s.memory.activeGB, &S::memoryActiveGBChanged);
    assign(m_memory.wiredGB, s.memory.wiredGB, &S::memoryWiredGBChanged);
    assign(m_memory.compressedGB, s.memory.compressedGB, &S::memoryCompressedGBChanged);
    assign(m_memory.swapUsed, s.memory.swapUsed, &S::swapUsedBytesChanged);
    assign(m_disk.usage, s.disk.usage, &S::diskUsageChanged);
    assign(m_disk.usedGB, s.disk.usedGB, &S::diskUsedGBChanged);
    assign(m_disk.totalGB, s.disk.totalGB, &S::diskTotalGBChanged);
    assign(m_disk.name, s.disk.name, &S::diskNameChanged);
    assign(m_network.downSpeed, s.network.downSpeed, &S::networkDownSpeedChanged);
    assign(m_network.upSpeed, s.network.upSpeed, &S::networkUpSpeedChanged);
    assign(m_network.iface, s.network.iface, &S::networkInterfaceChanged);
    assign(m_network.ip, s.network.ip, &S::localIPChanged);
    assign(m_cpuTemperature, s.cpuTemperature, &S::cpuTemperatureChanged);
    assign(m_uptime, s.uptime, &S::uptimeChanged);
    if (s.battery) {
        const BatteryInfo &b = *s.battery;
        assign(m_battery.level, b.level, &S::batteryLevelChanged);
        assign(m_battery.currentMAh, b.currentMAh, &S::batteryCapacityMAhChanged);
        assign(m_battery.maxMAh, b.maxMAh, &S::batteryMaxCapacityMAhChanged);
        assign(m_battery.temp, b.temp, &S::batteryTemperatureChanged);
        assign(m_battery.voltage, b.voltage, &S::batteryVoltageChanged);
        assign(m_battery.charging, b.charging, &S::isChargingChanged);
        assign(m_battery.pluggedIn, b.pluggedIn, &S::isPluggedInChanged);
        assign(m_battery.adapterW, b.adapterW, &S::adapterWattsChanged);
        assign(m_battery.adapterA, b.adapterA, &S::adapterAmpsChanged);
        assign(m_battery.adapterV, b.adapterV, &S::adapterVoltageChanged);
    }
    m_cpuHistory.append(s.cpu);
    while (m_cpuHistory.size() > cpuHistoryMax)
        m_cpuHistory.removeFirst();
    emit cpuHistoryChanged();
    if (s.cpuTemperature > 0) {
        m_temperatureHistory.append(s.cpuTemperature);
        while (m_temperatureHistory.size() > temperatureHistoryMax)
            m_temperatureHistory.removeFirst();
        emit temperatureHistoryChanged();
    }
    emit sampled();
}

} // namespace orvella::monitor
