// Anonymous lifecycle events (first launch, update), queued on disk and sent one at a time.
#pragma once

#include "platform/linux/telemetryhost.h"
#include "services/installattribution.h"
#include "services/telemetryevent.h"

#include <QObject>
#include <QThread>
#include <QUrl>

#include <chrono>
#include <optional>
#include <vector>

namespace orvella::platform {
class PreferencesStore;
class TelemetrySender;
} // namespace orvella::platform

namespace orvella::services {

struct InternalTelemetryState
{
    bool isInternal = false;
    std::optional<QString> reason;
    bool operator==(const InternalTelemetryState &) const = default;
};

/// What a `TelemetryService` reports and where it sends; the defaults describe this process.
struct TelemetryOptions
{
    QString version = QStringLiteral(ORVELLA_VERSION);
    /// Checked by `endpointURL(text)`; empty means "do not send".
    QString endpoint = platform::TelemetryHost::configuredEndpoint();
    bool doNotTrack = platform::TelemetryHost::doNotTrack();
    platform::TelemetryHost host;
    std::chrono::milliseconds sendTimeout{8000};
};

/**
 * Records "first_launch" and "app_update" events into "ov_telemetry_pendingEvents" and
 * sends them oldest first. An event is on disk before it is sent and leaves the queue
 * only when the server answers 2xx with {"ok": true}; any other outcome stops the chain
 * until the next start. Nothing is recorded with DO_NOT_TRACK=1; without a usable
 * endpoint events are recorded but never sent.
 *
 * Lives on the main thread with the preferences store; reading the system and talking to
 * the network happen on its worker thread "com.orvella.telemetry".
 */
class TelemetryService : public QObject
{
    Q_OBJECT
public:
    using Options = TelemetryOptions;

    explicit TelemetryService(platform::PreferencesStore &store, Options options = Options(),
                              QObject *parent = nullptr);
    ~TelemetryService() override;

    /// Queues this start's events and sends the backlog. False (and nothing touched)
    /// when the user opted out with DO_NOT_TRACK.
    bool recordLifecycleEvents();

    bool isFlushing() const { return m_isFlushing; }
    std::optional<QUrl> endpointURL() const { return m_endpoint; }
    bool doNotTrack() const { return m_options.doNotTrack; }
    /// The recorded events not yet sent, oldest first, as the JSON sent for each.
    QStringList pendingEvents() const;

    /// The endpoint to send to: https, or http to a loopback address; absent otherwise.
    static std::optional<QUrl> endpointURL(const QString &text);
    /// "homebrew", "direct" or "unknown" from where the program lives.
    static QString installChannel(const QString &installPath, bool isAppImage);
    /// The preferences switch, then the environment variable, then the marker file.
    static InternalTelemetryState internalTelemetryState(bool defaultsSwitch,
                                                         const std::optional<QString> &environment,
                                                         bool markerFileExists);

signals:
    /// This start's events are in the stored list on disk (or could not be stored).
    void recorded(bool stored);
    /// A send chain stopped: the queue is empty, or a send failed.
    void flushFinished(bool queueEmpty);

private:
    void record(const platform::TelemetryHostFacts &facts, const QString &timestamp);
    QString installID();
    std::optional<InstallAttribution> installAttribution(const platform::TelemetryHostFacts &facts);
    bool enqueue(const std::vector<TelemetryEvent> &events);
    void sendNext(const QStringList &pending);
    void sendFinished(bool confirmed, const QString &failure);

    platform::PreferencesStore &m_store;
    Options m_options;
    std::optional<QUrl> m_endpoint;
    QThread m_queue;
    platform::TelemetrySender *m_sender = nullptr;
    bool m_isFlushing = false;
    QString m_inFlight;
};

} // namespace orvella::services
