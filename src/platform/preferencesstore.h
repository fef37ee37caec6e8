// The per-user preferences store: one typed JSON file, written atomically.
#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <QObject>
#include <QStringList>
#include <QTimer>

#include <chrono>
#include <optional>

namespace orvella::platform {

/**
 * Key-value store for settings, window-tracking state and telemetry.
 *
 * Values keep their JSON type (bool, number, string, array, object); binary data is a
 * base64 string. Typed reads answer "absent" (std::nullopt) both for a missing key and
 * for a value of another type, so callers fall back to their defaults in one place.
 *
 * Writes are visible in memory at once and reach the disk shortly after (debounced),
 * on flush() and on destruction, always through a temporary file that is fsync'ed and
 * renamed over the old one: a crash leaves either the old or the new file, never a
 * torn one. A file that does not parse is moved aside (not deleted) and the store
 * starts empty.
 *
 * When the path is a symbolic link (configuration kept in a dotfiles repository), the
 * link stays: saves go to the file it ends at, with that file's permissions. Anything
 * but a regular file of at most kMaxFileBytes (a FIFO, a device, a huge file) is never
 * read nor written: the store starts empty and saves nothing for this run.
 *
 * Belongs to the thread that created it (the main thread).
 */
class PreferencesStore : public QObject
{
    Q_OBJECT
public:
    /// 4 MiB: far above any real file (a long day of tracked windows leaves some 32 KiB).
    static constexpr qint64 kMaxFileBytes = 4 * 1024 * 1024;

    enum class Access {
        ReadWrite,
        /// For one-shot readers such as `orvella list`: nothing is ever written, and a
        /// corrupt file is left where it is.
        ReadOnly,
    };

    /// Opens (or prepares to create) the store at `filePath`.
    explicit PreferencesStore(const QString &filePath, QObject *parent = nullptr);
    PreferencesStore(const QString &filePath, Access access, QObject *parent = nullptr);
    ~PreferencesStore() override;

    /// `$XDG_CONFIG_HOME/orvella/preferences.json` (`~/.config/...` when unset).
    static QString defaultFilePath();

    QString filePath() const { return m_filePath; }
    /// Where a corrupt file was moved at load, empty when the file was fine.
    QString setAsidePath() const { return m_setAsidePath; }

    bool contains(const QString &key) const { return m_values.contains(key); }
    /// The stored value whatever its type; undefined when absent.
    QJsonValue value(const QString &key) const { return m_values.value(key); }
    QJsonObject snapshot() const { return m_values; }

    std::optional<bool> boolValue(const QString &key) const;
    std::optional<double> doubleValue(const QString &key) const;
    std::optional<QString> stringValue(const QString &key) const;
    /// Absent unless the value is an array whose every element is a string.
    std::optional<QStringList> stringListValue(const QString &key) const;
    std::optional<QJsonObject> dictionaryValue(const QString &key) const;
    /// Absent unless the value is a string holding valid base64.
    std::optional<QByteArray> dataValue(const QString &key) const;

    void setValue(const QString &key, const QJsonValue &value);
    void setBool(const QString &key, bool value) { setValue(key, value); }
    /// Non-finite numbers have no JSON form; they are refused with a log line.
    void setDouble(const QString &key, double value);
    void setString(const QString &key, const QString &value) { setValue(key, value); }
    void setStringList(const QString &key, const QStringList &value);
    void setDictionary(const QString &key, const QJsonObject &value) { setValue(key, value); }
    void setData(const QString &key, const QByteArray &value);
    void remove(const QString &key);

    /// Delay between the first unsaved write and the disk write (default 250 ms).
    void setFlushDelay(std::chrono::milliseconds delay);
    /// Writes pending changes now. False when the disk write failed (logged; the
    /// values stay in memory and the next write retries).
    bool flush();
    bool hasUnsavedChanges() const { return m_dirty; }

private:
    void load();
    void setAside(const QString &reason);
    void markDirty();
    bool writeAtomically(const QByteArray &bytes);
    void reportWriteProblem(const QString &problem);

    QString m_filePath;
    QString m_setAsidePath;
    QJsonObject m_values;
    QTimer m_flushTimer;
    bool m_dirty = false;
    // Set for read-only stores, and when the file exists but could not be read or is
    // not a regular file: writing would destroy it.
    bool m_writeBlocked = false;
    // The last save failure logged; a save failing the same way again stays quiet.
    QString m_lastWriteProblem;
};

} // namespace orvella::platform
