// The Linux readers against copies of real machines' files, and against this machine.
#include "platform/linux/linuxsystemfacts.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <sys/statvfs.h>
#include <sys/sysinfo.h>

using namespace orvella;
using orvella::platform::LinuxSystemFacts;

namespace {

QString fixture(const QString &machine)
{
    return QStringLiteral(ORVELLA_FIXTURES "/") + machine;
}

// A writable copy of a machine's tree, symbolic links kept as they are.
QString copyOf(const QString &machine, const QTemporaryDir &dir)
{
    const QString target = dir.path() + u'/' + machine;
    if (QProcess::execute(QStringLiteral("cp"), {QStringLiteral("-a"), fixture(machine), target}) != 0)
        qFatal("cannot copy the %s fixture", qPrintable(machine));
    return target;
}

// "path=content" writes a file below `root`; "path=" empties it; "-path" removes it.
void apply(const QString &root, const QStringList &edits)
{
    for (const QString &edit : edits) {
        if (edit.startsWith(u'-')) {
            QVERIFY(QFile::remove(root + u'/' + edit.mid(1)));
            continue;
        }
        const qsizetype eq = edit.indexOf(u'=');
        QFile file(root + u'/' + edit.left(eq));
        QVERIFY2(file.open(QIODevice::WriteOnly | QIODevice::Truncate), qPrintable(file.fileName()));
        file.write(edit.mid(eq + 1).toUtf8());
    }
}

quint64 statvfsTotal(const QString &path)
{
    struct statvfs fs;
    if (::statvfs(QFile::encodeName(path).constData(), &fs) != 0)
        return 0;
    return quint64(fs.f_blocks) * fs.f_frsize;
}

const QString kBattery = QStringLiteral("sys/class/power_supply/BAT0/");
const QString kUsbC = QStringLiteral("sys/class/power_supply/ucsi-source-psy-USBC000:001/");
const QString kPackage = QStringLiteral("sys/class/hwmon/hwmon4/temp1_input");
const QString kZone0 = QStringLiteral("sys/class/thermal/thermal_zone0/temp");
const QString kZone10 = QStringLiteral("sys/class/thermal/thermal_zone10/temp");

} // namespace

class TestLinuxSystemFacts : public QObject
{
    Q_OBJECT
private slots:
    void machines_data();
    void machines();
    void volumeNames();
    void battery_data();
    void battery();
    void temperature_data();
    void temperature();
    void malformedKernelFiles_data();
    void malformedKernelFiles();
    void liveMachine();
};

void TestLinuxSystemFacts::machines_data()
{
    QTest::addColumn<QString>("machine");
    QTest::addColumn<QString>("home");
    QTest::addColumn<int>("processors");
    QTest::addColumn<double>("memoryTotalGB");
    QTest::addColumn<bool>("hasBattery");
    QTest::addColumn<double>("temperature");
    QTest::addColumn<QString>("model");
    QTest::addColumn<QString>("os");
    QTest::addColumn<double>("uptime");
    QTest::addColumn<QString>("volume");
    QTest::newRow("laptop") << "laptop"
                            << "/home/alex" << 8 << 16088332.0 / 1048576 << true << 52.0 << "XPS 13 9310"
                            << "6.1.0" << 93784.52 << "home";
    // The mouse's battery is not the machine's.
    QTest::newRow("desktop") << "desktop"
                             << "/home/sam" << 12 << 32768000.0 / 1048576 << false << 48.625
                             << "PRIME B450M-A"
                             << "6.5.0" << 3541.87 << "Data Disk";
    QTest::newRow("vm") << "vm"
                        << "/root" << 2 << 2014840.0 / 1048576 << false << 0.0 << ""
                        << "6.1.0" << 59.03 << "/";
}

void TestLinuxSystemFacts::machines()
{
    QFETCH(QString, machine);
    QFETCH(QString, home);
    QFETCH(int, processors);
    QFETCH(double, memoryTotalGB);
    QFETCH(bool, hasBattery);
    QFETCH(double, temperature);
    QFETCH(QString, model);
    QFETCH(QString, os);
    QFETCH(double, uptime);
    QFETCH(QString, volume);
    const LinuxSystemFacts facts(fixture(machine), home);

    const auto ticks = facts.cpuTicks();
    QVERIFY(ticks);
    QCOMPARE(ticks->size(), processors);
    QCOMPARE(facts.memory().totalGB, memoryTotalGB);
    QCOMPARE(facts.hasInternalBattery(), hasBattery);
    QCOMPARE(facts.battery().has_value(), hasBattery);
    if (temperature == 0)
        QTest::ignoreMessage(QtInfoMsg, "[OV] SMC: service not found");
    QCOMPARE(facts.cpuTemperature(), temperature);
    QCOMPARE(facts.modelName(), model);
    QCOMPARE(facts.osVersion(), os);
    QCOMPARE(facts.uptimeSeconds(), uptime);

    const auto disk = facts.homeVolume();
    QVERIFY(disk);
    QCOMPARE(disk->name, volume);
    QCOMPARE(disk->total, statvfsTotal(fixture(machine) + home));
    QVERIFY(disk->available <= disk->total);
}

void TestLinuxSystemFacts::volumeNames()
{
    const LinuxSystemFacts desktop(fixture(QStringLiteral("desktop")));
    // Blanks come escaped both in the mount table ("\040") and in the label ("\x20").
    QCOMPARE(desktop.volumeName(QStringLiteral("/media/sam/Photo Archive/2024")),
             QStringLiteral("Photo Archive"));
    QCOMPARE(desktop.volumeName(QStringLiteral("/srv/data")), QStringLiteral("ubuntu"));
    // "/homework" is on the root file system, not below "/home".
    QCOMPARE(desktop.volumeName(QStringLiteral("/homework")), QStringLiteral("ubuntu"));
    const LinuxSystemFacts laptop(fixture(QStringLiteral("laptop")));
    QCOMPARE(laptop.volumeName(QStringLiteral("/boot/efi")), QStringLiteral("/boot/efi")); // no label
    QCOMPARE(LinuxSystemFacts(QStringLiteral("/nonexistent")).volumeName(QStringLiteral("/home")), QString());
}

void TestLinuxSystemFacts::battery_data()
{
    QTest::addColumn<QStringList>("edits");
    QTest::addColumn<double>("level");
    QTest::addColumn<int>("current");
    QTest::addColumn<int>("max");
    QTest::addColumn<bool>("charging");
    QTest::addColumn<bool>("pluggedIn");
    QTest::addColumn<double>("temp");
    QTest::addColumn<double>("voltage");
    QTest::addColumn<int>("watts");
    QTest::newRow("as found: USB-C charger gives the power")
        << QStringList{} << 80.0 << 5208 << 6510 << true << true << 0.0 << 8.412 << 65;
    QTest::newRow("energy-reporting driver")
        << QStringList{"-" + kBattery + "charge_now", "-" + kBattery + "charge_full",
                       kBattery + "energy_now=41232000\n", kBattery + "energy_full=51540000\n"}
        << 80.0 << 41232 << 51540 << true << true << 0.0 << 8.412 << 65;
    QTest::newRow("battery temperature in tenths") << QStringList{kBattery + "temp=312\n"} << 80.0 << 5208
                                                   << 6510 << true << true << 31.2 << 8.412 << 65;
    QTest::newRow("non-numeric charge: the driver's percentage")
        << QStringList{kBattery + "charge_now=N/A\n", kBattery + "charge_full=\n"} << 80.0 << 0 << 0 << true
        << true << 0.0 << 8.412 << 65;
    QTest::newRow("unplugged") << QStringList{kBattery + "status=Discharging\n",
                                              "sys/class/power_supply/AC/online=0\n", kUsbC + "online=0\n"}
                               << 80.0 << 5208 << 6510 << false << false << 0.0 << 8.412 << 0;
    QTest::newRow("mains without figures, no USB-C entry")
        << QStringList{kUsbC + "type=Unknown\n"} << 80.0 << 5208 << 6510 << true << true << 0.0 << 8.412 << 0;
    QTest::newRow("every attribute empty")
        << QStringList{kBattery + "charge_now=", kBattery + "charge_full=", kBattery + "capacity=",
                       kBattery + "status=",     kBattery + "voltage_now=", kUsbC + "voltage_now=",
                       kUsbC + "voltage_max=",   kUsbC + "online="}
        << -1.0 << 0 << 0 << false << true << 0.0 << 0.0 << 0;
}

void TestLinuxSystemFacts::battery()
{
    QFETCH(QStringList, edits);
    QFETCH(double, level);
    QFETCH(int, current);
    QFETCH(int, max);
    QFETCH(bool, charging);
    QFETCH(bool, pluggedIn);
    QFETCH(double, temp);
    QFETCH(double, voltage);
    QFETCH(int, watts);
    QTemporaryDir dir;
    const QString root = copyOf(QStringLiteral("laptop"), dir);
    apply(root, edits);
    const auto battery = LinuxSystemFacts(root).battery();
    QVERIFY(battery);
    QCOMPARE(battery->level, level);
    QCOMPARE(battery->currentMAh, current);
    QCOMPARE(battery->maxMAh, max);
    QCOMPARE(battery->charging, charging);
    QCOMPARE(battery->pluggedIn, pluggedIn);
    QCOMPARE(battery->temp, temp);
    QCOMPARE(battery->voltage, voltage);
    QCOMPARE(battery->adapterW, watts);
    QCOMPARE(battery->adapterV, watts ? 20.0 : 0.0);
    QCOMPARE(battery->adapterA, watts ? 3.25 : 0.0);
}

// The untouched machines' sensors are in machines_data.
void TestLinuxSystemFacts::temperature_data()
{
    QTest::addColumn<QString>("machine");
    QTest::addColumn<QStringList>("edits");
    QTest::addColumn<double>("celsius");
    QTest::newRow("140 is implausible: the next sensor")
        << "laptop" << QStringList{kPackage + "=140000\n"} << 25.0;
    QTest::newRow("zones by number: 10 after 7")
        << "laptop" << QStringList{kPackage + "=140000\n", kZone0 + "=0\n"} << 45.5;
    QTest::newRow("not a number: skipped") << "laptop" << QStringList{kPackage + "=N/A\n"} << 25.0;
    QTest::newRow("unreadable sensor: skipped") << "laptop" << QStringList{"-" + kPackage} << 25.0;
    QTest::newRow("all out of range")
        << "laptop" << QStringList{kPackage + "=130000\n", kZone0 + "=-5000\n", kZone10 + "=\n"} << 0.0;
    QTest::newRow("k10temp only, empty")
        << "desktop" << QStringList{"sys/class/hwmon/hwmon1/temp1_input="} << 0.0;
}

void TestLinuxSystemFacts::temperature()
{
    QFETCH(QString, machine);
    QFETCH(QStringList, edits);
    QFETCH(double, celsius);
    QTemporaryDir dir;
    const QString root = copyOf(machine, dir);
    apply(root, edits);
    QCOMPARE(LinuxSystemFacts(root).cpuTemperature(), celsius);
}

void TestLinuxSystemFacts::malformedKernelFiles_data()
{
    QTest::addColumn<QStringList>("edits");
    QTest::addColumn<bool>("ticks");
    QTest::addColumn<double>("memoryTotalGB");
    QTest::addColumn<double>("uptime");
    QTest::addColumn<QString>("os");
    QTest::newRow("truncated mid-line")
        << QStringList{"proc/stat=cpu  1843212 3121 612398\ncpu0 1843", "proc/meminfo=MemTotal:  160",
                       "proc/uptime=93", "proc/sys/kernel/osrelease=6."}
        << false << 160.0 / 1048576 << 93.0 << "6.0.0";
    QTest::newRow("missing files") << QStringList{"-proc/stat", "-proc/meminfo", "-proc/uptime",
                                                  "-proc/sys/kernel/osrelease"}
                                   << false << 0.0 << 0.0 << "";
}

void TestLinuxSystemFacts::malformedKernelFiles()
{
    QFETCH(QStringList, edits);
    QFETCH(bool, ticks);
    QFETCH(double, memoryTotalGB);
    QFETCH(double, uptime);
    QFETCH(QString, os);
    QTemporaryDir dir;
    const QString root = copyOf(QStringLiteral("laptop"), dir);
    apply(root, edits);
    const LinuxSystemFacts facts(root);
    QCOMPARE(facts.cpuTicks().has_value(), ticks);
    const platform::MemoryInfo memory = facts.memory();
    QCOMPARE(memory.totalGB, memoryTotalGB);
    if (memoryTotalGB == 0)
        QCOMPARE(memory.usedGB, 0.0);
    QCOMPARE(facts.uptimeSeconds(), uptime);
    QCOMPARE(facts.osVersion(), os);
}

void TestLinuxSystemFacts::liveMachine()
{
    const LinuxSystemFacts facts;
    struct sysinfo info;
    QCOMPARE(::sysinfo(&info), 0);
    QCOMPARE(facts.memory().totalGB, double(quint64(info.totalram) * info.mem_unit) / platform::kBytesPerGiB);

    const auto disk = facts.homeVolume();
    QVERIFY(disk);
    QCOMPARE(disk->total, statvfsTotal(QDir::homePath()));
    QVERIFY(!disk->name.isEmpty());
    // Every machine has at least a loopback link whose counters can be read.
    bool loopback = false;
    for (const platform::InterfaceEntry &entry : facts.interfaces())
        loopback =
            loopback
            || (entry.name == QLatin1String("lo") && entry.kind == platform::InterfaceEntry::Kind::Link);
    QVERIFY(loopback);
}

QTEST_GUILESS_MAIN(TestLinuxSystemFacts)
#include "tst_linuxsystemfacts.moc"
