// Notifications through the desktop's notification server on the session bus.
#include "platform/linux/desktopnotifier.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QTimer>
#include <QVariantMap>

namespace orvella::platform {

namespace {

const QString kService = QStringLiteral("org.freedesktop.Notifications");
const QString kPath = QStringLiteral("/org/freedesktop/Notifications");
const QString kInterface = QStringLiteral("org.freedesktop.Notifications");

} // namespace

DesktopNotifier::DesktopNotifier(QDBusConnection bus, QObject *parent)
    : QObject(parent)
    , m_bus(std::move(bus))
{
    if (!m_bus.isConnected())
        return;
    m_bus.connect(kService, kPath, kInterface, QStringLiteral("ActionInvoked"), this,
                  SLOT(onActionInvoked(uint, QString)));
    m_bus.connect(kService, kPath, kInterface, QStringLiteral("NotificationClosed"), this,
                  SLOT(onNotificationClosed(uint, uint)));
}

void DesktopNotifier::notify(const QString &identifier, const QString &title, const QString &body,
                             const QString &actionLabel, std::function<void(bool accepted)> accepted,
                             std::function<void()> action)
{
    if (!m_bus.isConnected()) {
        // The caller expects the answer later, as it would come from the bus.
        QTimer::singleShot(0, this, [accepted = std::move(accepted)] { accepted(false); });
        return;
    }
    QStringList actions;
    if (!actionLabel.isEmpty() && action) {
        // "default" is a click on the notification itself; the second key shows a button.
        actions << QStringLiteral("default") << actionLabel << QStringLiteral("run") << actionLabel;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("Notify"));
    call << QStringLiteral("Orvella") << m_shown.value(identifier, 0u) << QStringLiteral("orvella") << title
         << body << actions << QVariantMap() << -1;

    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call, 5000), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, identifier, accepted = std::move(accepted),
             action = std::move(action)](QDBusPendingCallWatcher *finished) {
                finished->deleteLater();
                const QDBusPendingReply<uint> reply = *finished;
                if (reply.isError()) {
                    accepted(false);
                    return;
                }
                const uint id = reply.value();
                m_shown.insert(identifier, id);
                if (action)
                    m_actions.insert(id, action);
                else
                    m_actions.remove(id);
                accepted(true);
            });
}

void DesktopNotifier::onActionInvoked(uint id, const QString &actionKey)
{
    Q_UNUSED(actionKey)
    // Copied: the action may show another notification and change the table.
    const std::function<void()> action = m_actions.value(id);
    if (action)
        action();
}

void DesktopNotifier::onNotificationClosed(uint id, uint reason)
{
    Q_UNUSED(reason)
    m_actions.remove(id);
    for (auto it = m_shown.begin(); it != m_shown.end(); ++it) {
        if (it.value() == id) {
            m_shown.erase(it);
            break;
        }
    }
}

} // namespace orvella::platform
