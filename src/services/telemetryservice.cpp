// Anonymous lifecycle events (first launch, update), queued on disk and sent one at a time.
#include "services/telemetryservice.h"

#include "logging.h"
#include "platform/linux/telemetrysender.h"
#include "platform/preferencesstore.h"
#include "platform/serviceurl.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QUuid>

namespace orvella::services {

namespace {

const QString kInstallID = QStringLiteral("ov_telemetry_installID");
const QString kFirstLaunchQueued = QStringLiteral("ov_telemetry_firstLaunchQueued");
const QString kLastTrackedVersion = QStringLiteral("ov_telemetry_lastTrackedVersion");
const QString kPendingEvents = QStringLiteral("ov_telemetry_pendingEvents");
const QString kCachedAttribution = QStringLiteral("ov_telemetry_cachedInstallAttribution");
const QString kInternalInstall = QStringLiteral("ov_telemetry_internalInstall");

const QString kPlatform = QStringLiteral("linux");

} // namespace

TelemetryService::TelemetryService(platform::PreferencesStore &store, Options options, QObject *parent)
    : QObject(parent)
    , m_store(store)
    , m_options(std::move(options))
    , m_endpoint(endpointURL(m_options.endpoint))
{
    if (m_options.endpoint.isEmpty())
        qCDebug(lcTelemetry).noquote() << "[OV] Telemetry has no endpoint: events stay queued, unsent";
    else if (!m_endpoint)
        qCWarning(lcTelemetry).noquote()
            << "[OV] Telemetry endpoint ignored (only https, or http to this machine):" << m_options.endpoint;

    m_queue.setObjectName(QStringLiteral("com.orvella.telemetry"));
    m_sender = new platform::TelemetrySender;
    m_sender->moveToThread(&m_queue);
    connect(&m_queue, &QThread::finished, m_sender, &QObject::deleteLater);
    connect(m_sender, &platform::TelemetrySender::finished, this, &TelemetryService::sendFinished);
    m_queue.start();
}

TelemetryService::~TelemetryService()
{
    // Work still on the worker finishes first; what it posts back here is dropped with us.
    m_queue.quit();
    m_queue.wait();
}

bool TelemetryService::recordLifecycleEvents()
{
    if (m_options.doNotTrack) {
        qCInfo(lcTelemetry).noquote() << "[OV] Telemetry off: DO_NOT_TRACK=1, nothing is recorded";
        return false;
    }
    // Reading the download's attributes and the marker file may block on a slow disk;
    // the store belongs to this thread, so the facts come back here.
    TelemetryService *service = this;
    QMetaObject::invokeMethod(m_sender, [service, host = m_options.host] {
        const platform::TelemetryHostFacts facts = host.gather();
        const QString timestamp = QDateTime::currentDateTimeUtc().toString(Qt::ISODate);
        // `service` is the context: once it is gone the call is dropped, never run.
        QMetaObject::invokeMethod(
            service, [service, facts, timestamp] { service->record(facts, timestamp); },
            Qt::QueuedConnection);
    });
    return true;
}

void TelemetryService::record(const platform::TelemetryHostFacts &facts, const QString &timestamp)
{
    const InternalTelemetryState internal =
        internalTelemetryState(m_store.boolValue(kInternalInstall).value_or(false), facts.internalEnvironment,
                               facts.markerFileExists);

    TelemetryEvent base;
    base.installID = installID();
    base.version = m_options.version;
    base.channel = installChannel(facts.installPath, facts.isAppImage);
    base.platform = kPlatform;
    base.timestamp = timestamp;
    base.attribution = installAttribution(facts);
    base.isInternal = internal.isInternal;
    base.internalReason = internal.reason;

    std::vector<TelemetryEvent> events;
    if (!m_store.boolValue(kFirstLaunchQueued).value_or(false)) {
        TelemetryEvent first = base;
        first.event = QStringLiteral("first_launch");
        events.push_back(first);
        m_store.setBool(kFirstLaunchQueued, true);
    }
    const std::optional<QString> lastVersion = m_store.stringValue(kLastTrackedVersion);
    if (lastVersion && *lastVersion != m_options.version) {
        TelemetryEvent update = base;
        update.event = QStringLiteral("app_update");
        update.previousVersion = *lastVersion;
        events.push_back(update);
    }
    m_store.setString(kLastTrackedVersion, m_options.version);

    // The flags and the events reach the disk in one write, so a crash can neither lose
    // an event nor queue the first launch twice.
    const bool stored = enqueue(events);
    emit recorded(stored);
    if (!stored)
        return;

    const QStringList pending = pendingEvents();
    if (!m_isFlushing && !pending.isEmpty() && m_endpoint) {
        m_isFlushing = true;
        sendNext(pending);
    }
}

QString TelemetryService::installID()
{
    const QString stored = m_store.stringValue(kInstallID).value_or(QString());
    if (!stored.isEmpty())
        return stored;
    const QString id = QUuid::createUuid().toString(QUuid::WithoutBraces).toLower();
    m_store.setString(kInstallID, id);
    return id;
}

std::optional<InstallAttribution>
TelemetryService::installAttribution(const platform::TelemetryHostFacts &facts)
{
    if (m_store.contains(kCachedAttribution)) {
        const auto bytes = m_store.dataValue(kCachedAttribution);
        const QJsonDocument doc = bytes ? QJsonDocument::fromJson(*bytes) : QJsonDocument();
        if (const auto cached = InstallAttribution::fromJson(doc.object()))
            return cached;
        qCWarning(lcTelemetry).noquote() << "[OV] Telemetry: cached install attribution is unreadable; "
                                            "looking at the download again";
    }
    const auto found = InstallAttribution::discovered(InstallAttribution::whereFromURLs(facts.originURLs),
                                                      installChannel(facts.installPath, facts.isAppImage));
    if (found)
        m_store.setData(kCachedAttribution, QJsonDocument(found->toJson()).toJson(QJsonDocument::Compact));
    return found;
}

QStringList TelemetryService::pendingEvents() const
{
    if (!m_store.contains(kPendingEvents))
        return {};
    if (const auto list = m_store.stringListValue(kPendingEvents))
        return *list;
    // Not ours to throw away: a newer version may have written it. Only reading stops.
    qCWarning(lcTelemetry).noquote()
        << "[OV] Telemetry: the stored queue is not a list of texts; not sending";
    return {};
}

bool TelemetryService::enqueue(const std::vector<TelemetryEvent> &events)
{
    if (!events.empty()) {
        if (m_store.contains(kPendingEvents) && !m_store.stringListValue(kPendingEvents)) {
            qCWarning(lcTelemetry).noquote() << "[OV] Telemetry: the stored queue is not a list of texts; "
                                                "the new events are dropped";
        } else {
            QStringList pending = pendingEvents();
            for (const TelemetryEvent &event : events)
                pending.append(QString::fromUtf8(event.toJson()));
            m_store.setStringList(kPendingEvents, pending);
        }
    }
    if (m_store.flush())
        return true;
    qCWarning(lcTelemetry).noquote()
        << "[OV] Telemetry: the queue could not be written; not sending this time";
    return false;
}

void TelemetryService::sendNext(const QStringList &pending)
{
    if (pending.isEmpty() || !m_endpoint) {
        m_isFlushing = false;
        emit flushFinished(pending.isEmpty());
        return;
    }
    m_inFlight = pending.first();
    QMetaObject::invokeMethod(m_sender,
                              [sender = m_sender, url = *m_endpoint, body = m_inFlight.toUtf8(),
                               timeout = m_options.sendTimeout] { sender->post(url, body, timeout); });
}

void TelemetryService::sendFinished(bool confirmed, const QString &failure)
{
    if (!confirmed) {
        qCInfo(lcTelemetry).noquote() << "[OV] Telemetry send failed: " + failure;
        m_isFlushing = false;
        emit flushFinished(false);
        return;
    }
    QStringList pending = pendingEvents();
    // Only this chain removes entries and new ones are appended, so the sent event is
    // still the first; look it up anyway rather than drop a stranger.
    const qsizetype index = pending.indexOf(m_inFlight);
    if (index >= 0)
        pending.removeAt(index);
    m_store.setStringList(kPendingEvents, pending);
    if (!m_store.flush()) {
        // Sending on would deliver this event again at the next start; stop here.
        qCWarning(lcTelemetry).noquote() << "[OV] Telemetry: the queue could not be written after a delivery";
        m_isFlushing = false;
        emit flushFinished(false);
        return;
    }
    sendNext(pending);
}

std::optional<QUrl> TelemetryService::endpointURL(const QString &text)
{
    return platform::serviceUrl(QUrl(text.trimmed(), QUrl::StrictMode));
}

QString TelemetryService::installChannel(const QString &installPath, bool isAppImage)
{
    const QString path = installPath.toLower();
    for (const char *word : {"caskroom", "homebrew", "linuxbrew"}) {
        if (path.contains(QLatin1String(word)))
            return QStringLiteral("homebrew");
    }
    if (isAppImage || path.startsWith(QLatin1String("/opt/"))
        || path.contains(QLatin1String("/applications/")))
        return QStringLiteral("direct");
    return QStringLiteral("unknown");
}

InternalTelemetryState TelemetryService::internalTelemetryState(bool defaultsSwitch,
                                                                const std::optional<QString> &environment,
                                                                bool markerFileExists)
{
    if (defaultsSwitch)
        return {true, QStringLiteral("defaults_override")};
    if (environment) {
        const QString value = environment->toLower();
        if (value == QLatin1String("1") || value == QLatin1String("true") || value == QLatin1String("yes"))
            return {true, QStringLiteral("environment_override")};
    }
    if (markerFileExists)
        return {true, QStringLiteral("marker_file")};
    return {};
}

} // namespace orvella::services
