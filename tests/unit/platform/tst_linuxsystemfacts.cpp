// The Linux readers against copies of real machines' files, and against this machine.
#include "platform/linux/linuxsystemfacts.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
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

QString number(double value)
{
    return QString::number(value, 'f', 3);
}

// Every reading in one line, so that a row states what a machine's files give.
QString summary(const LinuxSystemFacts &facts)
{
    const auto ticks = facts.cpuTicks();
    const platform::MemoryInfo memory = facts.memory();
    const auto disk = facts.homeVolume();
    return QStringLiteral(
               "%1 cpus, %2 of %3 kB, pressure %4, battery %5%6, %7 C, '%8', kernel '%9', up %10 s, on '%11'")
        .arg(ticks ? QString::number(ticks->size()) : QStringLiteral("no"),
             QString::number(memory.usedGB * 1048576, 'f', 0),
             QString::number(memory.totalGB * 1048576, 'f', 0), number(memory.pressure),
             facts.hasInternalBattery() ? QStringLiteral("internal") : QStringLiteral("none"),
             facts.battery() ? QStringLiteral(" with readings") : QString(), number(facts.cpuTemperature()),
             facts.modelName(), facts.osVersion(), number(facts.uptimeSeconds()),
             disk ? disk->name : QStringLiteral("?"));
}

QString summary(const platform::BatteryInfo &b)
{
    return QStringLiteral("%1%, %2/%3 mAh, %4, %5, %6 C, %7 V, adapter %8 W %9 V %10 A")
        .arg(number(b.level), QString::number(b.currentMAh), QString::number(b.maxMAh),
             b.charging ? QStringLiteral("charging") : QStringLiteral("not charging"),
             b.pluggedIn ? QStringLiteral("plugged in") : QStringLiteral("unplugged"), number(b.temp),
             number(b.voltage), QString::number(b.adapterW), number(b.adapterV), number(b.adapterA));
}

QStringList *s_messages = nullptr;

void collectMessage(QtMsgType, const QMessageLogContext &, const QString &message)
{
    s_messages->append(message);
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
    void absencesAreReportedOnce();
    void liveMachine();
};

// Each row reads a copy of a machine's tree after `edits` (see apply()).
void TestLinuxSystemFacts::machines_data()
{
    QTest::addColumn<QString>("machine");
    QTest::addColumn<QString>("home");
    QTest::addColumn<QStringList>("edits");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char *name, const char *home, const QStringList &edits, const char *expected) {
        QTest::newRow(name) << QString::fromLatin1(name).section(u',', 0, 0) << QString::fromLatin1(home)
                            << edits << QString::fromLatin1(expected);
    };
    // Used memory is MemTotal - MemAvailable. Only the desktop's kernel keeps pressure
    // stall figures (Debian's are built with them off); the others estimate from pages.
    row("laptop", "/home/alex", {},
        "8 cpus, 7164920 of 16088332 kB, pressure 55.955, battery internal with readings, 52.000 C, "
        "'XPS 13 9310', kernel '6.1.0', up 93784.520 s, on 'home'");
    // The mouse's battery is not the machine's.
    row("desktop", "/home/sam", {},
        "12 cpus, 6553600 of 32768000 kB, pressure 1.370, battery none, 48.625 C, 'PRIME B450M-A', "
        "kernel '6.5.0', up 3541.870 s, on 'Data Disk'");
    row("vm", "/root", {},
        "2 cpus, 402496 of 2014840 kB, pressure 23.778, battery none, 0.000 C, '', kernel '6.1.0', "
        "up 59.030 s, on '/'");
    row("desktop, unreadable pressure figures", "/home/sam", {"proc/pressure/memory=some avg10=n/a\n"},
        "12 cpus, 6553600 of 32768000 kB, pressure 16.800, battery none, 48.625 C, 'PRIME B450M-A', "
        "kernel '6.5.0', up 3541.870 s, on 'Data Disk'");
    row("laptop, truncated mid-line", "/home/alex",
        {"proc/stat=cpu  1843212 3121 612398\ncpu0 1843", "proc/meminfo=MemTotal:  160", "proc/uptime=93",
         "proc/sys/kernel/osrelease=6."},
        "no cpus, 0 of 160 kB, pressure 100.000, battery internal with readings, 52.000 C, 'XPS 13 9310', "
        "kernel '6.0.0', up 93.000 s, on 'home'");
    row("laptop, missing files", "/home/alex",
        {"-proc/stat", "-proc/meminfo", "-proc/uptime", "-proc/sys/kernel/osrelease"},
        "no cpus, 0 of 0 kB, pressure 0.000, battery internal with readings, 52.000 C, 'XPS 13 9310', "
        "kernel '', up 0.000 s, on 'home'");
}

void TestLinuxSystemFacts::machines()
{
    QFETCH(QString, machine);
    QFETCH(QString, home);
    QFETCH(QStringList, edits);
    QFETCH(QString, expected);
    QTemporaryDir dir;
    const QString root = copyOf(machine, dir);
    apply(root, edits);
    const LinuxSystemFacts facts(root, home);
    if (machine == QLatin1String("vm")) // no sensor at all
        QTest::ignoreMessage(QtInfoMsg, "[OV] SMC: service not found");
    QCOMPARE(summary(facts), expected);

    const auto disk = facts.homeVolume();
    QVERIFY(disk);
    QCOMPARE(disk->total, statvfsTotal(root + home));
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
    QTest::addColumn<QString>("expected");
    const auto row = [](const char *name, const QStringList &edits, const char *expected) {
        QTest::newRow(name) << edits << QString::fromUtf8(expected);
    };
    row("as found: USB-C charger gives the power", {},
        "80.000%, 5208/6510 mAh, charging, plugged in, 0.000 C, 8.412 V, adapter 65 W 20.000 V 3.250 A");
    row("energy-reporting driver",
        {"-" + kBattery + "charge_now", "-" + kBattery + "charge_full", kBattery + "energy_now=41232000\n",
         kBattery + "energy_full=51540000\n"},
        "80.000%, 41232/51540 mAh, charging, plugged in, 0.000 C, 8.412 V, adapter 65 W 20.000 V 3.250 A");
    row("battery temperature in tenths", {kBattery + "temp=312\n"},
        "80.000%, 5208/6510 mAh, charging, plugged in, 31.200 C, 8.412 V, adapter 65 W 20.000 V 3.250 A");
    row("non-numeric charge: the driver's percentage",
        {kBattery + "charge_now=N/A\n", kBattery + "charge_full=\n"},
        "80.000%, 0/0 mAh, charging, plugged in, 0.000 C, 8.412 V, adapter 65 W 20.000 V 3.250 A");
    row("unplugged",
        {kBattery + "status=Discharging\n", "sys/class/power_supply/AC/online=0\n", kUsbC + "online=0\n"},
        "80.000%, 5208/6510 mAh, not charging, unplugged, 0.000 C, 8.412 V, adapter 0 W 0.000 V 0.000 A");
    row("mains without figures, no USB-C entry", {kUsbC + "type=Unknown\n"},
        "80.000%, 5208/6510 mAh, charging, plugged in, 0.000 C, 8.412 V, adapter 0 W 0.000 V 0.000 A");
    row("every attribute empty",
        {kBattery + "charge_now=", kBattery + "charge_full=", kBattery + "capacity=", kBattery + "status=",
         kBattery + "voltage_now=", kUsbC + "voltage_now=", kUsbC + "voltage_max=", kUsbC + "online="},
        "-1.000%, 0/0 mAh, not charging, plugged in, 0.000 C, 0.000 V, adapter 0 W 0.000 V 0.000 A");
}

void TestLinuxSystemFacts::battery()
{
    QFETCH(QStringList, edits);
    QFETCH(QString, expected);
    QTemporaryDir dir;
    const QString root = copyOf(QStringLiteral("laptop"), dir);
    apply(root, edits);
    const auto battery = LinuxSystemFacts(root).battery();
    QVERIFY(battery);
    QCOMPARE(summary(*battery), expected);
}

// The untouched machines' sensors are in machines_data.
void TestLinuxSystemFacts::temperature_data()
{
    QTest::addColumn<QString>("machine");
    QTest::addColumn<QStringList>("edits");
    QTest::addColumn<double>("celsius");
    QTest::newRow("140 is implausible; zones by number: 10 after 7")
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

// A virtual machine has no temperature sensor, no battery and, on Debian's kernel, no
// pressure stall figures; the monitor polls every few seconds all the same.
void TestLinuxSystemFacts::absencesAreReportedOnce()
{
    const LinuxSystemFacts facts(fixture(QStringLiteral("vm")), QStringLiteral("/root"));
    QStringList messages;
    s_messages = &messages;
    const QtMessageHandler previous = qInstallMessageHandler(collectMessage);
    for (int poll = 0; poll < 3; ++poll) {
        facts.memory();
        facts.cpuTemperature();
        facts.battery();
    }
    qInstallMessageHandler(previous);
    messages.sort();
    QCOMPARE(messages,
             (QStringList{
                 "[OV] /proc/pressure/memory cannot be read; memory pressure is estimated from page "
                 "counts",
                 "[OV] SMC: service not found",
                 "[OV] power supply: no internal battery",
             }));
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
    const QList<platform::InterfaceEntry> interfaces = facts.interfaces();
    QVERIFY(std::any_of(interfaces.begin(), interfaces.end(), [](const platform::InterfaceEntry &e) {
        return e.name == QLatin1String("lo") && e.kind == platform::InterfaceEntry::Kind::Link;
    }));
}

QTEST_GUILESS_MAIN(TestLinuxSystemFacts)
#include "tst_linuxsystemfacts.moc"
