// Tells the user when a newer release is out; installing it is the package manager's job.
#include "services/updaterservice.h"

#include "logging.h"
#include "platform/preferencesstore.h"
#include "platform/serviceurl.h"
#include "platform/urlopener.h"
#include "settings/localizationmanager.h"

namespace orvella::services {

namespace {

const QString kPendingUrgent = QStringLiteral("ov.pendingUrgentUpdateVersion");

} // namespace

UpdaterService::UpdaterService(platform::PreferencesStore &store, QUrl feedURL, QString currentVersion,
                               QObject *parent)
    : QObject(parent)
    , m_store(store)
    , m_feed(platform::serviceUrl(feedURL))
    , m_currentVersion(std::move(currentVersion))
{
    if (!feedURL.isEmpty() && !m_feed)
        qCWarning(lcServices).noquote() << "[OV] updates: feed address ignored (only https, or http to this "
                                           "machine):"
                                        << feedURL.toString();
    m_daily.setInterval(kBackgroundInterval);
    connect(&m_daily, &QTimer::timeout, this, &UpdaterService::checkForUpdatesInBackground);

    m_worker.setObjectName(QStringLiteral("com.orvella.updates"));
    m_fetcher = new platform::UpdateFeed;
    m_fetcher->moveToThread(&m_worker);
    connect(&m_worker, &QThread::finished, m_fetcher, &QObject::deleteLater);
    connect(m_fetcher, &platform::UpdateFeed::finished, this, &UpdaterService::fetched);
    m_worker.start();
}

UpdaterService::~UpdaterService()
{
    m_worker.quit();
    m_worker.wait();
}

void UpdaterService::start()
{
    if (!m_feed) {
        if (!m_offLogged)
            qCInfo(lcServices).noquote() << "[OV] updates: no update feed configured; update checks are off";
        m_offLogged = true;
        return;
    }
    m_daily.start();
}

void UpdaterService::checkForUpdates()
{
    check(true);
}

void UpdaterService::checkForUpdatesInBackground()
{
    check(false);
}

void UpdaterService::check(bool interactive)
{
    if (!m_feed)
        return;
    m_interactive = m_interactive || interactive;
    if (m_checking)
        return;
    m_checking = true;
    QMetaObject::invokeMethod(m_fetcher, [fetcher = m_fetcher, url = *m_feed, deadline = m_deadline] {
        fetcher->fetch(url, deadline);
    });
}

void UpdaterService::fetched(const QByteArray &body, const QString &failure)
{
    const bool interactive = m_interactive;
    m_checking = false;
    m_interactive = false;
    auto &texts = settings::LocalizationManager::shared();

    const auto parsed = failure.isEmpty() ? platform::UpdateFeed::parse(body)
                                          : std::variant<platform::UpdateFeedEntry, QString>(failure);
    if (const QString *problem = std::get_if<QString>(&parsed)) {
        // What was known before stays: one failed check does not take an update away.
        qCWarning(lcServices).noquote() << "[OV] updates: check failed: " + *problem;
        if (interactive)
            emit checkFinished(updateAvailable(), texts.string(QStringLiteral("update.checkFailed")));
        emit checked();
        return;
    }
    const auto &entry = std::get<platform::UpdateFeedEntry>(parsed);
    const auto order = compareVersions(entry.version, m_currentVersion);
    if (!order)
        qCWarning(lcServices).noquote()
            << "[OV] updates: the running version is not a dotted version:" << m_currentVersion;
    const bool newer = order.value_or(0) > 0;
    if (newer && entry.urgent)
        m_store.setString(kPendingUrgent, entry.version);
    setAvailable(newer ? std::optional(entry) : std::nullopt);
    if (newer)
        qCInfo(lcServices).noquote() << "[OV] updates: version" << entry.version << "is available";
    if (interactive) {
        emit checkFinished(newer,
                           newer ? texts.formatted(QStringLiteral("update.available"), {entry.version})
                                 : texts.formatted(QStringLiteral("update.upToDate"), {m_currentVersion}));
    }
    emit checked();
}

void UpdaterService::setAvailable(std::optional<platform::UpdateFeedEntry> entry)
{
    const bool was = updateAvailable();
    m_available = std::move(entry);
    if (was != updateAvailable())
        emit updateAvailableChanged();
}

void UpdaterService::openReleasePage()
{
    if (m_available)
        platform::urlOpener::open(m_available->releasePage);
}

std::optional<QString> UpdaterService::pendingUrgentUpdateVersion() const
{
    return m_store.stringValue(kPendingUrgent);
}

void UpdaterService::clearPendingUrgentUpdateIfInstalled()
{
    if (!m_store.contains(kPendingUrgent))
        return;
    const auto pending = pendingUrgentUpdateVersion();
    const auto order = pending ? compareVersions(m_currentVersion, *pending) : std::nullopt;
    if (!order) {
        // Only this service writes the key, so an unreadable value is safe to drop.
        qCWarning(lcServices).noquote() << "[OV] updates: the stored urgent version is unreadable; dropped";
        m_store.remove(kPendingUrgent);
    } else if (*order >= 0) {
        m_store.remove(kPendingUrgent);
    }
}

std::optional<int> UpdaterService::compareVersions(const QString &a, const QString &b)
{
    if (!platform::UpdateFeed::isVersion(a) || !platform::UpdateFeed::isVersion(b))
        return std::nullopt;
    const QStringList left = a.split(QLatin1Char('.'));
    const QStringList right = b.split(QLatin1Char('.'));
    for (qsizetype i = 0; i < std::max(left.size(), right.size()); ++i) {
        const qint64 x = left.value(i, QStringLiteral("0")).toLongLong();
        const qint64 y = right.value(i, QStringLiteral("0")).toLongLong();
        if (x != y)
            return x < y ? -1 : 1;
    }
    return 0;
}

} // namespace orvella::services
