// Tells the user when a newer release is out; installing it is the package manager's job.
#pragma once

#include "platform/updatefeed.h"

#include <QObject>
#include <QThread>
#include <QTimer>
#include <QUrl>

#include <chrono>
#include <optional>

namespace orvella::platform {
class PreferencesStore;
}

namespace orvella::services {

/**
 * Reads the release feed (`{"version", "url", "urgent", "notes"}`) and says whether it
 * names a newer version than the running one. With no feed address every check does
 * nothing. An urgent release is remembered in "ov.pendingUrgentUpdateVersion" until the
 * running version reaches it, so the next start can insist.
 *
 * Lives on the main thread with the preferences store; the fetch runs on its worker
 * thread "com.orvella.updates". A check already running absorbs a second request.
 */
class UpdaterService : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool updateAvailable READ updateAvailable NOTIFY updateAvailableChanged)
public:
    static constexpr std::chrono::hours kBackgroundInterval{24};

    UpdaterService(platform::PreferencesStore &store, QUrl feedURL,
                   QString currentVersion = QStringLiteral(ORVELLA_VERSION), QObject *parent = nullptr);
    ~UpdaterService() override;

    /// Checks in the background once a day from now on; the first check is the
    /// application's to schedule, after it has looked at an urgent update left pending.
    void start();
    /// The feed this build was configured with (ORVELLA_UPDATE_FEED_URL); empty when none.
    static QUrl configuredFeedURL() { return QUrl(QStringLiteral(ORVELLA_UPDATE_FEED_URL)); }
    /// Whether a usable feed address was given.
    bool isEnabled() const { return m_feed.has_value(); }

    /// A check the user asked for: its outcome also comes as `checkFinished`.
    void checkForUpdates();
    void checkForUpdatesInBackground();

    bool updateAvailable() const { return m_available.has_value(); }
    QString availableVersion() const { return m_available ? m_available->version : QString(); }
    QUrl releasePageURL() const { return m_available ? m_available->releasePage : QUrl(); }
    void openReleasePage();

    std::optional<QString> pendingUrgentUpdateVersion() const;
    void clearPendingUrgentUpdateIfInstalled();

    /// Negative, zero or positive as `a` is older than, the same as or newer than `b`,
    /// part by part as numbers ("1.10" > "1.9", "1.4" == "1.4.0"); absent when either is
    /// not a dotted version.
    static std::optional<int> compareVersions(const QString &a, const QString &b);

    void setDeadline(std::chrono::milliseconds deadline) { m_deadline = deadline; }

signals:
    void updateAvailableChanged();
    /// After `checkForUpdates`: the outcome in the interface language.
    void checkFinished(bool updateAvailable, const QString &message);
    /// After every check, whatever asked for it.
    void checked();

private:
    void check(bool interactive);
    void fetched(const QByteArray &body, const QString &failure);
    void setAvailable(std::optional<platform::UpdateFeedEntry> entry);

    platform::PreferencesStore &m_store;
    std::optional<QUrl> m_feed;
    QString m_currentVersion;
    std::chrono::milliseconds m_deadline{10000};
    QThread m_worker;
    platform::UpdateFeed *m_fetcher = nullptr;
    QTimer m_daily;
    bool m_checking = false;
    bool m_interactive = false;
    bool m_offLogged = false;
    std::optional<platform::UpdateFeedEntry> m_available;
};

} // namespace orvella::services
