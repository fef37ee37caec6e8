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

#include <algorithm>
#include <cerrno>
#include <climits>
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

QString fileKind(mode_t mode)
{
    if (S_ISFIFO(mode))
        return QStringLiteral("a FIFO");
    if (S_ISCHR(mode))
        return QStringLiteral("a character device");
    if (S_ISBLK(mode))
        return QStringLiteral("a block device");
    if (S_ISSOCK(mode))
        return QStringLiteral("a socket");
    if (S_ISDIR(mode))
        return QStringLiteral("a directory");
    return QStringLiteral("a special file");
}

// Reads the whole of an open file, refusing anything but a regular file within the
// size limit. Returns why it refused, empty on success.
QString readRegularFile(int fd, QByteArray &bytes)
{
    struct stat st = {};
    if (::fstat(fd, &st) != 0)
        return QStringLiteral("cannot examine it: %1").arg(QString::fromLocal8Bit(std::strerror(errno)));
    if (!S_ISREG(st.st_mode))
        return QStringLiteral("it is %1, not a regular file").arg(fileKind(st.st_mode));
    const QString tooLarge =
        QStringLiteral("it is larger than the %1-byte limit").arg(PreferencesStore::kMaxFileBytes);
    if (st.st_size > PreferencesStore::kMaxFileBytes)
        return tooLarge;
    // The size is only a hint: the file may still be growing.
    constexpr qsizetype chunk = 64 * 1024;
    bytes.reserve(qsizetype(st.st_size) + chunk);
    for (;;) {
        const qsizetype used = bytes.size();
        bytes.resize(used + chunk);
        const ssize_t n = ::read(fd, bytes.data() + used, size_t(chunk));
        const int readErrno = errno;
        bytes.resize(used + std::max<qsizetype>(n, 0));
        if (n < 0 && readErrno == EINTR)
            continue;
        if (n < 0)
            return QStringLiteral("cannot read it: %1").arg(QString::fromLocal8Bit(std::strerror(readErrno)));
        if (n == 0)
            return {};
        if (bytes.size() > PreferencesStore::kMaxFileBytes)
            return tooLarge;
    }
}

// Where a save must land: the file at the end of a chain of symbolic links (the path
// itself when it is no link). A relative link is joined to the directory it sits in,
// as written rather than cleaned, so that ".." after a linked directory goes where the
// kernel would take it. The end may not exist yet (a dangling link). Sets `problem` on a
// loop or a link that cannot be read.
QByteArray linkEnd(QByteArray path, QString &problem)
{
    constexpr int maxHops = 40; // the kernel's own limit
    for (int hop = 0; hop < maxHops; ++hop) {
        struct stat st = {};
        if (::lstat(path.constData(), &st) != 0 || !S_ISLNK(st.st_mode))
            return path;
        QByteArray target(PATH_MAX, '\0');
        const ssize_t n = ::readlink(path.constData(), target.data(), size_t(target.size()));
        if (n < 0 || n >= target.size()) {
            problem = QStringLiteral("cannot follow the link %1: %2")
                          .arg(QFile::decodeName(path),
                               QString::fromLocal8Bit(std::strerror(n < 0 ? errno : ENAMETOOLONG)));
            return {};
        }
        target.truncate(n);
        if (!target.startsWith('/'))
            target.prepend(path.left(path.lastIndexOf('/') + 1));
        path = target;
    }
    problem = QStringLiteral("too many levels of symbolic links");
    return {};
}

QByteArray directoryOf(const QByteArray &path)
{
    const qsizetype slash = path.lastIndexOf('/');
    if (slash < 0)
        return QByteArrayLiteral(".");
    return slash == 0 ? QByteArrayLiteral("/") : path.left(slash);
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
    // Non-blocking, so that a FIFO in the file's place cannot stall the open; the type is
    // checked on the open descriptor, since a check before opening could race a swap.
    const int fd = ::open(QFile::encodeName(m_filePath).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    QString refusal;
    QByteArray bytes;
    if (fd < 0) {
        if (errno == ENOENT)
            return; // nothing saved yet, or a link whose target the first save creates
        refusal = QStringLiteral("cannot open it: %1").arg(QString::fromLocal8Bit(std::strerror(errno)));
    } else {
        refusal = readRegularFile(fd, bytes);
        ::close(fd);
    }
    if (!refusal.isEmpty()) {
        m_writeBlocked = true;
        qCWarning(lcPlatform).noquote() << "[OV] preferences: cannot use " + m_filePath + " (" + refusal
                                               + "); using defaults, leaving the file untouched and "
                                                 "saving nothing this session";
        return;
    }

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
    // Behind a link, the file it points at is what gets moved, so that the link survives
    // and the next save recreates the file at its end.
    QString unfollowable;
    const QByteArray end = linkEnd(QFile::encodeName(m_filePath), unfollowable);
    const QString source = unfollowable.isEmpty() ? QFile::decodeName(end) : m_filePath;
    const QString stamp = QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    QString target = source + QStringLiteral(".corrupt-") + stamp;
    for (int n = 2; QFileInfo::exists(target); ++n)
        target = source + QStringLiteral(".corrupt-%1-%2").arg(stamp).arg(n);

    if (QFile::rename(source, target)) {
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
    QString problem;
    const QByteArray path = QFile::encodeName(m_filePath);
    const QByteArray target = linkEnd(path, problem);
    if (!problem.isEmpty()) {
        reportWriteProblem(problem);
        return false;
    }
    const QByteArray dir = directoryOf(target);
    // Our own directory is made on first save. A link's target directory is not: a
    // dangling link into a dotfiles checkout that is not there (yet, or unmounted) gets
    // its file only once that directory exists; until then the values stay in memory.
    if (target == path && !QDir().mkpath(QFile::decodeName(dir))) {
        reportWriteProblem(QStringLiteral("cannot create %1").arg(QFile::decodeName(dir)));
        return false;
    }

    mode_t mode = 0600;
    struct stat st = {};
    if (::stat(target.constData(), &st) == 0) {
        if (!S_ISREG(st.st_mode)) {
            m_writeBlocked = true;
            qCWarning(lcPlatform).noquote() << "[OV] preferences: " + QFile::decodeName(target) + " is "
                                                   + fileKind(st.st_mode)
                                                   + ", not a regular file; saving nothing this session";
            return false;
        }
        mode = st.st_mode & 07777;
    }

    QByteArray tmpl = target + ".tmp-XXXXXX";
    const int fd = ::mkstemp(tmpl.data());
    if (fd < 0) {
        reportWriteProblem(QStringLiteral("cannot create a temporary file in %1: %2")
                               .arg(QFile::decodeName(dir), QString::fromLocal8Bit(std::strerror(errno))));
        return false;
    }
    // The data must be on disk before the rename makes it the store, or a power cut
    // could leave an empty file under the real name.
    const bool ok = writeAll(fd, bytes) && ::fchmod(fd, mode) == 0 && ::fsync(fd) == 0;
    const int savedErrno = errno;
    ::close(fd);
    if (!ok || ::rename(tmpl.constData(), target.constData()) != 0) {
        reportWriteProblem(QStringLiteral("cannot write %1: %2")
                               .arg(QFile::decodeName(target),
                                    QString::fromLocal8Bit(std::strerror(ok ? errno : savedErrno))));
        ::unlink(tmpl.constData());
        return false;
    }
    // Make the rename itself durable.
    const int dirFd = ::open(dir.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dirFd >= 0) {
        ::fsync(dirFd);
        ::close(dirFd);
    }
    m_lastWriteProblem.clear();
    return true;
}

void PreferencesStore::reportWriteProblem(const QString &problem)
{
    if (problem == m_lastWriteProblem)
        return;
    m_lastWriteProblem = problem;
    qCWarning(lcPlatform).noquote() << "[OV] preferences: not saved to " + m_filePath + " (" + problem
                                           + "); the values are kept in memory and saving is retried";
}

} // namespace orvella::platform
