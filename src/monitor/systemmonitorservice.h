// The system monitor: samples the machine at an interval and publishes the readings.
#pragma once

#include "monitor/formatters.h"
#include "monitor/monitorsample.h"
#include "platform/scheduler.h"
#include "platform/systemfacts.h"

#include <QDateTime>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QThread>
#include <QUrl>

#include <atomic>
#include <memory>
#include <mutex>

namespace orvella::monitor {

class SystemSampler;

/**
 * Every reading is an observable property written on the main thread only. Sampling
 * runs on a serial worker thread, "com.orvella.sysmon"; each poll hands its values back
 * in one queued call that assigns them in a fixed order and then appends to the bounded
 * histories. Time goes through the injected scheduler, so tests drive the interval,
 * the 30-second disk cache and the 0.1-second network rule without waiting.
 */
class SystemMonitorService : public QObject
{
    Q_OBJECT
    Q_PROPERTY(double cpuUsage READ cpuUsage NOTIFY cpuUsageChanged)
    Q_PROPERTY(double memoryUsage READ memoryUsage NOTIFY memoryUsageChanged)
    Q_PROPERTY(double memoryUsedGB READ memoryUsedGB NOTIFY memoryUsedGBChanged)
    Q_PROPERTY(double memoryTotalGB READ memoryTotalGB NOTIFY memoryTotalGBChanged)
    Q_PROPERTY(double memoryPressure READ memoryPressure NOTIFY memoryPressureChanged)
    Q_PROPERTY(double memoryActiveGB READ memoryActiveGB NOTIFY memoryActiveGBChanged)
    Q_PROPERTY(double memoryWiredGB READ memoryWiredGB NOTIFY memoryWiredGBChanged)
    Q_PROPERTY(double memoryCompressedGB READ memoryCompressedGB NOTIFY memoryCompressedGBChanged)
    Q_PROPERTY(quint64 swapUsedBytes READ swapUsedBytes NOTIFY swapUsedBytesChanged)
    Q_PROPERTY(double diskUsage READ diskUsage NOTIFY diskUsageChanged)
    Q_PROPERTY(double diskUsedGB READ diskUsedGB NOTIFY diskUsedGBChanged)
    Q_PROPERTY(double diskTotalGB READ diskTotalGB NOTIFY diskTotalGBChanged)
    Q_PROPERTY(QString diskName READ diskName NOTIFY diskNameChanged)
    Q_PROPERTY(quint64 networkDownSpeed READ networkDownSpeed NOTIFY networkDownSpeedChanged)
    Q_PROPERTY(quint64 networkUpSpeed READ networkUpSpeed NOTIFY networkUpSpeedChanged)
    Q_PROPERTY(QString networkInterface READ networkInterface NOTIFY networkInterfaceChanged)
    Q_PROPERTY(QString localIP READ localIP NOTIFY localIPChanged)
    Q_PROPERTY(QString externalIP READ externalIP NOTIFY externalIPChanged)
    Q_PROPERTY(double batteryLevel READ batteryLevel NOTIFY batteryLevelChanged)
    Q_PROPERTY(int batteryCapacityMAh READ batteryCapacityMAh NOTIFY batteryCapacityMAhChanged)
    Q_PROPERTY(int batteryMaxCapacityMAh READ batteryMaxCapacityMAh NOTIFY batteryMaxCapacityMAhChanged)
    Q_PROPERTY(double batteryTemperature READ batteryTemperature NOTIFY batteryTemperatureChanged)
    Q_PROPERTY(double batteryVoltage READ batteryVoltage NOTIFY batteryVoltageChanged)
    Q_PROPERTY(bool isCharging READ isCharging NOTIFY isChargingChanged)
    Q_PROPERTY(bool isPluggedIn READ isPluggedIn NOTIFY isPluggedInChanged)
    Q_PROPERTY(bool hasBattery READ hasBattery CONSTANT)
    Q_PROPERTY(int adapterWatts READ adapterWatts NOTIFY adapterWattsChanged)
    Q_PROPERTY(double adapterAmps READ adapterAmps NOTIFY adapterAmpsChanged)
    Q_PROPERTY(double adapterVoltage READ adapterVoltage NOTIFY adapterVoltageChanged)
    Q_PROPERTY(double cpuTemperature READ cpuTemperature NOTIFY cpuTemperatureChanged)
    Q_PROPERTY(QString modelName READ modelName CONSTANT)
    Q_PROPERTY(QString osVersion READ osVersion CONSTANT)
    Q_PROPERTY(double uptime READ uptime NOTIFY uptimeChanged)
    Q_PROPERTY(QDateTime bootDate READ bootDate CONSTANT)
    Q_PROPERTY(QList<double> cpuHistory READ cpuHistory NOTIFY cpuHistoryChanged)
    Q_PROPERTY(QList<double> temperatureHistory READ temperatureHistory NOTIFY temperatureHistoryChanged)

public:
    static constexpr int cpuHistoryMax = 60;
    static constexpr int temperatureHistoryMax = 60;

    /// Reads the model, OS version, boot date and battery presence at once, and starts
    /// fetching the external address from `externalAddressUrl` (empty: never fetched).
    /// A fetch that stop() cancels is asked again at the next start.
    explicit SystemMonitorService(std::shared_ptr<const platform::SystemFacts> facts,
                                  const QUrl &externalAddressUrl = QUrl(),
                                  platform::Scheduler &scheduler = platform::Scheduler::system(),
                                  QObject *parent = nullptr);
    ~SystemMonitorService() override;

    /// Polls at once and then every `interval` seconds (under 0.1 s: 3 s); nothing when
    /// already running.
    Q_INVOKABLE void start(double interval);
    /// Disarms the timer and cancels an address request in flight without waiting for the
    /// worker; a poll already queued still publishes.
    Q_INVOKABLE void stop();
    Q_INVOKABLE void restart(double interval);
    /// While paused the timer keeps running but polls sample nothing; unpausing polls at once.
    Q_INVOKABLE void setPaused(bool paused);
    bool isRunning() const { return m_isRunning; }

    static QString formatBytes(quint64 n) { return monitor::formatBytes(n); }
    static QString formatSpeed(quint64 n) { return monitor::formatSpeed(n); }
    static QString formatSpeedShort(quint64 n) { return monitor::formatSpeedShort(n); }
    static QString formatUptime(double seconds) { return monitor::formatUptime(seconds); }

    double cpuUsage() const { return m_cpuUsage; }
    double memoryUsage() const { return m_memory.usage; }
    double memoryUsedGB() const { return m_memory.usedGB; }
    double memoryTotalGB() const { return m_memory.totalGB; }
    double memoryPressure() const { return m_memory.pressure; }
    double memoryActiveGB() const { return m_memory.activeGB; }
    double memoryWiredGB() const { return m_memory.wiredGB; }
    double memoryCompressedGB() const { return m_memory.compressedGB; }
    quint64 swapUsedBytes() const { return m_memory.swapUsed; }
    double diskUsage() const { return m_disk.usage; }
    double diskUsedGB() const { return m_disk.usedGB; }
    double diskTotalGB() const { return m_disk.totalGB; }
    QString diskName() const { return m_disk.name; }
    quint64 networkDownSpeed() const { return m_network.downSpeed; }
    quint64 networkUpSpeed() const { return m_network.upSpeed; }
    QString networkInterface() const { return m_network.iface; }
    QString localIP() const { return m_network.ip; }
    QString externalIP() const { return m_externalIP; }
    double batteryLevel() const { return m_battery.level; }
    int batteryCapacityMAh() const { return m_battery.currentMAh; }
    int batteryMaxCapacityMAh() const { return m_battery.maxMAh; }
    double batteryTemperature() const { return m_battery.temp; }
    double batteryVoltage() const { return m_battery.voltage; }
    bool isCharging() const { return m_battery.charging; }
    bool isPluggedIn() const { return m_battery.pluggedIn; }
    bool hasBattery() const { return m_hasBattery; }
    int adapterWatts() const { return m_battery.adapterW; }
    double adapterAmps() const { return m_battery.adapterA; }
    double adapterVoltage() const { return m_battery.adapterV; }
    double cpuTemperature() const { return m_cpuTemperature; }
    QString modelName() const { return m_modelName; }
    QString osVersion() const { return m_osVersion; }
    double uptime() const { return m_uptime; }
    QDateTime bootDate() const { return m_bootDate; }
    QList<double> cpuHistory() const { return m_cpuHistory; }
    QList<double> temperatureHistory() const { return m_temperatureHistory; }

signals:
    void cpuUsageChanged();
    void memoryUsageChanged();
    void memoryUsedGBChanged();
    void memoryTotalGBChanged();
    void memoryPressureChanged();
    void memoryActiveGBChanged();
    void memoryWiredGBChanged();
    void memoryCompressedGBChanged();
    void swapUsedBytesChanged();
    void diskUsageChanged();
    void diskUsedGBChanged();
    void diskTotalGBChanged();
    void diskNameChanged();
    void networkDownSpeedChanged();
    void networkUpSpeedChanged();
    void networkInterfaceChanged();
    void localIPChanged();
    void externalIPChanged();
    void batteryLevelChanged();
    void batteryCapacityMAhChanged();
    void batteryMaxCapacityMAhChanged();
    void batteryTemperatureChanged();
    void batteryVoltageChanged();
    void isChargingChanged();
    void isPluggedInChanged();
    void adapterWattsChanged();
    void adapterAmpsChanged();
    void adapterVoltageChanged();
    void cpuTemperatureChanged();
    void uptimeChanged();
    void cpuHistoryChanged();
    void temperatureHistoryChanged();
    /// After each publication, once every property of that poll is in place.
    void sampled();

public:
    /// Whether polls currently sample nothing; safe from any thread.
    bool isPaused();

private:
    void queuePoll(const QDateTime &now);
    void poll(const QDateTime &now);
    void armTimer(QObject *run, QDateTime deadline, qint64 intervalMs);
    void endRun();
    void requestExternalAddress();
    void publish(const MonitorSample &sample);
    template<typename T>
    void assign(T &field, const T &value, void (SystemMonitorService::*changed)());

    platform::Scheduler &m_scheduler;
    QThread m_queue;
    QObject *m_worker = nullptr;              ///< lives on m_queue; the context of every sampling call
    std::unique_ptr<SystemSampler> m_sampler; ///< m_queue only
    std::atomic<QObject *> m_run{nullptr};    ///< lives on m_queue while running; the context of the timer
    QUrl m_externalAddressUrl;
    QPointer<QObject> m_externalAddressRequest;
    bool m_externalAddressSettled = false; ///< answered, or known to be unavailable
    bool m_isRunning = false;
    std::mutex m_pausedLock;
    bool m_isPaused = false; ///< guarded by m_pausedLock

    double m_cpuUsage = 0;
    MemoryInfo m_memory;
    DiskInfo m_disk;
    NetworkInfo m_network;
    QString m_externalIP;
    BatteryInfo m_battery;
    bool m_hasBattery = false;
    double m_cpuTemperature = 0;
    QString m_modelName;
    QString m_osVersion;
    double m_uptime = 0;
    QDateTime m_bootDate;
    QList<double> m_cpuHistory;
    QList<double> m_temperatureHistory;
};

} // namespace orvella::monitor
