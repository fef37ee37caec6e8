// The machine's facts from /proc, /sys, statvfs and getifaddrs.
#include "platform/linux/linuxsystemfacts.h"

#include "logging.h"
#include "platform/linux/kernelparsers.h"
#include "platform/linux/sysfsfile.h"

#include <QDir>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <ifaddrs.h>
#include <linux/if_link.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/statvfs.h>

namespace orvella::platform {

namespace {

QString withoutTrailingSlash(QString root)
{
    while (root.endsWith(u'/'))
        root.chop(1);
    return root;
}

// Mount tables write blanks and other bytes as "\040"-style octal escapes.
QString decodeOctalEscapes(const QByteArray &field)
{
    QByteArray out;
    for (qsizetype i = 0; i < field.size(); ++i) {
        if (field[i] == '\\' && i + 3 < field.size()) {
            bool ok = false;
            const int code = field.mid(i + 1, 3).toInt(&ok, 8);
            if (ok && code < 256) {
                out.append(char(code));
                i += 3;
                continue;
            }
        }
        out.append(field[i]);
    }
    return QString::fromUtf8(out);
}

// udev writes blanks and other bytes of labels as "\x20"-style hex escapes.
QString decodeHexEscapes(const QString &name)
{
    QByteArray in = name.toUtf8();
    QByteArray out;
    for (qsizetype i = 0; i < in.size(); ++i) {
        if (in[i] == '\\' && i + 3 < in.size() && in[i + 1] == 'x') {
            bool ok = false;
            const int code = in.mid(i + 2, 2).toInt(&ok, 16);
            if (ok) {
                out.append(char(code));
                i += 3;
                continue;
            }
        }
        out.append(in[i]);
    }
    return QString::fromUtf8(out);
}

bool isAtOrBelow(const QString &path, const QString &mountPoint)
{
    if (mountPoint == QLatin1String("/"))
        return true;
    return path == mountPoint || path.startsWith(mountPoint + u'/');
}

} // namespace

LinuxSystemFacts::LinuxSystemFacts(QString root, QString home)
    : m_root(withoutTrailingSlash(std::move(root)))
    , m_home(home.isEmpty() ? QDir::homePath() : std::move(home))
    , m_power(m_root)
    , m_thermal(m_root)
{}

std::optional<QList<CpuTicks>> LinuxSystemFacts::cpuTicks() const
{
    const std::optional<QByteArray> text = sysfs::readFile(path(QStringLiteral("/proc/stat")));
    if (!text)
        return std::nullopt;
    return platform::parsers::procStat(*text);
}

MemoryInfo LinuxSystemFacts::memory() const
{
    const std::optional<QByteArray> text = sysfs::readFile(path(QStringLiteral("/proc/meminfo")));
    if (!text) {
        qCWarning(lcMonitor) << "[OV] /proc/meminfo cannot be read; memory reads as 0";
        return {};
    }
    MemoryInfo info = platform::parsers::memInfo(*text);
    if (info.totalGB > 0) {
        if (const std::optional<double> pressure = memoryPressure())
            info.pressure = *pressure;
    }
    return info;
}

std::optional<double> LinuxSystemFacts::memoryPressure() const
{
    // Many distribution kernels are built with pressure stall information switched off
    // unless "psi=1" is given at boot; the page-count estimate stands in then.
    const std::optional<QByteArray> text = sysfs::readFile(path(QStringLiteral("/proc/pressure/memory")));
    const std::optional<double> pressure = text ? platform::parsers::memoryPressure(*text) : std::nullopt;
    if (!pressure && !m_pressureFallbackReported.exchange(true)) {
        qCInfo(lcMonitor).noquote() << (text ? "[OV] /proc/pressure/memory has no \"some avg10\" figure;"
                                             : "[OV] /proc/pressure/memory cannot be read;")
                                    << "memory pressure is estimated from page counts";
    }
    return pressure;
}

std::optional<VolumeCapacity> LinuxSystemFacts::homeVolume() const
{
    struct statvfs fs;
    if (::statvfs(QFile::encodeName(path(m_home)).constData(), &fs) != 0) {
        qCWarning(lcMonitor).noquote()
            << "[OV] statvfs of" << path(m_home) << "failed:" << std::strerror(errno);
        return std::nullopt;
    }
    VolumeCapacity volume;
    volume.total = quint64(fs.f_blocks) * fs.f_frsize;
    volume.available = quint64(fs.f_bavail) * fs.f_frsize;
    volume.name = volumeName(m_home);
    return volume;
}

QString LinuxSystemFacts::volumeName(const QString &target) const
{
    const std::optional<QByteArray> table = sysfs::readFile(path(QStringLiteral("/proc/self/mountinfo")));
    if (!table)
        return QString();
    QString mountPoint;
    QString source;
    for (const QByteArray &line : table->split('\n')) {
        // "36 25 8:2 / /home rw,relatime shared:1 - ext4 /dev/sda2 rw": the optional
        // fields end at " - ", after which come the type and the source.
        const QList<QByteArray> fields = line.split(' ');
        const qsizetype dash = fields.indexOf("-");
        if (fields.size() < 5 || dash < 5 || dash + 2 >= fields.size())
            continue;
        const QString point = decodeOctalEscapes(fields[4]);
        // Later entries mount over earlier ones; the longest match wins, the later on a tie.
        if (isAtOrBelow(target, point) && point.size() >= mountPoint.size()) {
            mountPoint = point;
            source = decodeOctalEscapes(fields[dash + 2]);
        }
    }
    if (mountPoint.isEmpty())
        return QString();
    if (source.startsWith(QLatin1String("/dev/"))) {
        const QString device = QFileInfo(path(source)).canonicalFilePath();
        QDir labels(path(QStringLiteral("/dev/disk/by-label")));
        for (const QFileInfo &link :
             labels.entryInfoList(QDir::System | QDir::Files | QDir::NoDotAndDotDot)) {
            if (!link.isSymLink())
                continue;
            const QFileInfo linked(link.symLinkTarget());
            const bool sameDevice = !device.isEmpty() ? linked.canonicalFilePath() == device
                                                      : linked.fileName() == QFileInfo(source).fileName();
            if (sameDevice)
                return decodeHexEscapes(link.fileName());
        }
    }
    return mountPoint;
}

QList<InterfaceEntry> LinuxSystemFacts::interfaces() const
{
    QList<InterfaceEntry> entries;
    ifaddrs *list = nullptr;
    if (::getifaddrs(&list) != 0) {
        qCWarning(lcMonitor) << "[OV] getifaddrs failed:" << std::strerror(errno);
        return entries;
    }
    for (const ifaddrs *a = list; a; a = a->ifa_next) {
        if (!a->ifa_addr || !a->ifa_name)
            continue;
        InterfaceEntry entry;
        entry.name = QString::fromLocal8Bit(a->ifa_name);
        if (a->ifa_addr->sa_family == AF_PACKET) {
            entry.kind = InterfaceEntry::Kind::Link;
            if (const auto *stats = static_cast<const rtnl_link_stats *>(a->ifa_data)) {
                entry.rxBytes = stats->rx_bytes;
                entry.txBytes = stats->tx_bytes;
            }
        } else if (a->ifa_addr->sa_family == AF_INET) {
            entry.kind = InterfaceEntry::Kind::IPv4;
            char host[NI_MAXHOST] = {};
            if (::getnameinfo(a->ifa_addr, sizeof(sockaddr_in), host, sizeof host, nullptr, 0, NI_NUMERICHOST)
                == 0)
                entry.address = QString::fromLatin1(host);
        } else {
            continue;
        }
        entries.append(entry);
    }
    ::freeifaddrs(list);
    return entries;
}

bool LinuxSystemFacts::hasInternalBattery() const
{
    return m_power.hasInternalBattery();
}

std::optional<BatteryInfo> LinuxSystemFacts::battery() const
{
    return m_power.battery();
}

double LinuxSystemFacts::cpuTemperature() const
{
    return m_thermal.cpuTemperature();
}

QString LinuxSystemFacts::modelName() const
{
    const QString dmi = path(QStringLiteral("/sys/class/dmi/id/"));
    platform::parsers::DmiFields fields;
    fields.sysVendor = sysfs::readLine(dmi + QLatin1String("sys_vendor"));
    fields.productName = sysfs::readLine(dmi + QLatin1String("product_name"));
    fields.productVersion = sysfs::readLine(dmi + QLatin1String("product_version"));
    fields.productFamily = sysfs::readLine(dmi + QLatin1String("product_family"));
    fields.boardName = sysfs::readLine(dmi + QLatin1String("board_name"));
    return platform::parsers::friendlyModelName(fields);
}

QString LinuxSystemFacts::osVersion() const
{
    return platform::parsers::kernelVersion(
        sysfs::readLine(path(QStringLiteral("/proc/sys/kernel/osrelease"))).toLatin1());
}

double LinuxSystemFacts::uptimeSeconds() const
{
    const std::optional<QByteArray> text = sysfs::readFile(path(QStringLiteral("/proc/uptime")));
    if (!text)
        return 0;
    return platform::parsers::uptime(*text).value_or(0);
}

} // namespace orvella::platform
