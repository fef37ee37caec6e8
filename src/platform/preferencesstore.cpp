// The per-user preferences store: one typed JSON file, written atomically.
#include "platform/preferencesstore.h"

#include "logging.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QStandardPaths>
#include <QThread>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orvella::platform {

namespace {

bool writeAll(int fd, const QByteArray &bytes)
{
    const char *p = bytes.constData();
    qsizetype left = bytes.size();
    while (left > 0) {
        const ssize_t n = ::write(fd, p, size_t(left));
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        p += n;
        left -= n;
    }
    return true;
}

} // namespace

PreferencesStore::PreferencesStore(const QString &filePath, QObject *parent)
    : PreferencesStore(filePath, Access::ReadWrite, parent)
{}

PreferencesStore::PreferencesStore(const QString &filePath, Access access, QObject *parent)
    : QObject(parent)
    , m_filePath(filePath)
    , m_writeBlocked(access == Access::ReadOnly)
{
    m_flushTimer.setSingleShot(true);
    m_flushTimer.setInterval(std::chrono::milliseconds(250));
    connect(&m_flushTimer, &QTimer::timeout, this, &PreferencesStore::flush);
    if (auto *app = QCoreApplication::instance())
        connect(app, &QCoreApplication::aboutToQuit, this, &PreferencesStore::flush);
    load();
}

PreferencesStore::~PreferencesStore()
{
    flush();
}

QString PreferencesStore::defaultFilePath()
{
    QString base = qEnvironmentVariable("XDG_CONFIG_HOME");
    if (base.isEmpty() || !QDir::isAbsolutePath(base))
        base = QDir::homePath() + QStringLiteral("/.config");
    return base + QStringLiteral("/orvella/preferences.json");
}

void PreferencesStore::load()
{
    QFile file(m_filePath);
    if (!file.exists())
        return;
    if (!file.open(QIODevice::ReadOnly)) {
        m_writeBlocked = true;
        qCWarning(lcPlatform).noquote()
            << "[OV] preferences: cannot read" << m_filePath << "(" << file.errorString()
            << "); using defaults and leaving the file untouched";
        return;
    }
    const QByteArray bytes = file.readAll();
    file.close();

    QJsonParseError error{};
    const QJsonDocument doc = QJsonDocument::fromJson(bytes, &error);
    QString problem;
    if (error.error != QJsonParseError::NoError)
        problem = QStringLiteral("%1 at offset %2").arg(error.errorString()).arg(error.offset);
    else if (!doc.isObject())
        problem = QStringLiteral("top level is not an object");
    if (problem.isEmpty()) {
        m_values = doc.object();
    } else if (m_writeBlocked) {
        qCWarning(lcPlatform).noquote() << "[OV] preferences: " + m_filePath + " is not valid (" + problem
                                               + "); reading defaults, leaving the file untouched";
    } else {
        setAside(problem);
    }
}

void PreferencesStore::setAside(const QString &reason)
{
    const QString stamp = QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    QString target = m_filePath + QStringLiteral(".corrupt-") + stamp;
    for (int n = 2; QFileInfo::exists(target); ++n)
        target = m_filePath + QStringLiteral(".corrupt-%1-%2").arg(stamp).arg(n);

    if (QFile::rename(m_filePath, target)) {
        m_setAsidePath = target;
        qCWarning(lcPlatform).noquote() << "[OV] preferences: " + m_filePath + " is not valid (" + reason
                                               + "); moved aside to " + target + ", starting with defaults";
    } else {
        // Never overwrite what we could not move: the user may still recover it by hand.
        m_writeBlocked = true;
        qCWarning(lcPlatform).noquote()
            << "[OV] preferences: " + m_filePath + " is not valid (" + reason
                   + ") and could not be moved aside; starting with defaults, not saving";
    }
}

std::optional<bool> PreferencesStore::boolValue(const QString &key) const
{
    const QJsonValue v = m_values.value(key);
    return v.isBool() ? std::optional(v.toBool()) : std::nullopt;
}

std::optional<double> PreferencesStore::doubleValue(const QString &key) const
{
    const QJsonValue v = m_values.value(key);
    return v.isDouble() ? std::optional(v.toDouble()) : std::nullopt;
}

std::optional<QString> PreferencesStore::stringValue(const QString &key) const
{
    const QJsonValue v = m_values.value(key);
    return v.isString() ? std::optional(v.toString()) : std::nullopt;
}

std::optional<QStringList> PreferencesStore::stringListValue(const QString &key) const
{
    const QJsonValue v = m_values.value(key);
    if (!v.isArray())
        return std::nullopt;
    QStringList list;
    for (const QJsonValue &item : v.toArray()) {
        if (!item.isString())
            return std::nullopt;
        list.append(item.toString());
    }
    return list;
}

std::optional<QJsonObject> PreferencesStore::dictionaryValue(const QString &key) const
{
    const QJsonValue v = m_values.value(key);
    return v.isObject() ? std::optional(v.toObject()) : std::nullopt;
}

std::optional<QByteArray> PreferencesStore::dataValue(const QString &key) const
{
    const QJsonValue v = m_values.value(key);
    if (!v.isString())
        return std::nullopt;
    auto decoded =
        QByteArray::fromBase64Encoding(v.toString().toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    return decoded ? std::optional(*decoded) : std::nullopt;
}

void PreferencesStore::setValue(const QString &key, const QJsonValue &value)
{
    Q_ASSERT(thread() == QThread::currentThread());
    if (value.isUndefined()) {
        remove(key);
        return;
    }
    if (m_values.value(key) == value && m_values.contains(key))
        return;
    m_values.insert(key, value);
    markDirty();
}

void PreferencesStore::setDouble(const QString &key, double value)
{
    if (!std::isfinite(value)) {
        qCWarning(lcPlatform).noquote() << "[OV] preferences: refusing non-finite number for key" << key;
        return;
    }
    setValue(key, value);
}

void PreferencesStore::setStringList(const QString &key, const QStringList &value)
{
    setValue(key, QJsonArray::fromStringList(value));
}

void PreferencesStore::setData(const QString &key, const QByteArray &value)
{
    setValue(key, QString::fromLatin1(value.toBase64()));
}

void PreferencesStore::remove(const QString &key)
{
    Q_ASSERT(thread() == QThread::currentThread());
    if (!m_values.contains(key))
        return;
    m_values.remove(key);
    markDirty();
}

void PreferencesStore::setFlushDelay(std::chrono::milliseconds delay)
{
    m_flushTimer.setInterval(delay);
}

void PreferencesStore::markDirty()
{
    m_dirty = true;
    if (!m_flushTimer.isActive())
        m_flushTimer.start();
}

bool PreferencesStore::flush()
{
    m_flushTimer.stop();
    if (!m_dirty || m_writeBlocked)
        return !m_dirty;
    if (!writeAtomically(QJsonDocument(m_values).toJson(QJsonDocument::Indented)))
        return false;
    m_dirty = false;
    return true;
}

bool PreferencesStore::writeAtomically(const QByteArray &bytes)
{
    const QFileInfo info(m_filePath);
    const QString dirPath = info.absolutePath();
    if (!QDir().mkpath(dirPath)) {
        qCWarning(lcPlatform).noquote() << "[OV] preferences: cannot create" << dirPath;
        return false;
    }

    QByteArray tmpl = QFile::encodeName(m_filePath + QStringLiteral(".tmp-XXXXXX"));
    const int fd = ::mkstemp(tmpl.data());
    if (fd < 0) {
        qCWarning(lcPlatform).noquote() << "[OV] preferences: cannot create a temporary file beside"
                                        << m_filePath << ":" << std::strerror(errno);
        return false;
    }
    // The data must be on disk before the rename makes it the store, or a power cut
    // could leave an empty file under the real name.
    const bool ok = writeAll(fd, bytes) && ::fchmod(fd, 0600) == 0 && ::fsync(fd) == 0;
    const int savedErrno = errno;
    ::close(fd);
    if (!ok || ::rename(tmpl.constData(), QFile::encodeName(m_filePath).constData()) != 0) {
        qCWarning(lcPlatform).noquote() << "[OV] preferences: cannot write" << m_filePath << ":"
                                        << std::strerror(ok ? errno : savedErrno);
        ::unlink(tmpl.constData());
        return false;
    }
    // Make the rename itself durable.
    const int dirFd = ::open(QFile::encodeName(dirPath).constData(), O_RDONLY | O_DIRECTORY);
    if (dirFd >= 0) {
        ::fsync(dirFd);
        ::close(dirFd);
    }
    return true;
}

} // namespace orvella::platform
