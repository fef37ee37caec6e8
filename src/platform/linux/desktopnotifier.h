// Notifications through the desktop's notification server on the session bus.
#pragma once

#include "platform/systemnotifier.h"

#include <QDBusConnection>
#include <QHash>
#include <QObject>

namespace orvella::platform {

/**
 * Calls org.freedesktop.Notifications.Notify and listens for ActionInvoked and
 * NotificationClosed from the server. No bus, no owner of the name or an error answer
 * all count as "not accepted".
 */
class DesktopNotifier : public QObject, public SystemNotifier
{
    Q_OBJECT
public:
    explicit DesktopNotifier(QDBusConnection bus = QDBusConnection::sessionBus(), QObject *parent = nullptr);

    void notify(const QString &identifier, const QString &title, const QString &body,
                const QString &actionLabel, std::function<void(bool accepted)> accepted,
                std::function<void()> action) override;

private slots:
    void onActionInvoked(uint id, const QString &actionKey);
    void onNotificationClosed(uint id, uint reason);

private:
    QDBusConnection m_bus;
    // The server's id for each identifier, so a repeat replaces the shown one.
    QHash<QString, uint> m_shown;
    QHash<uint, std::function<void()>> m_actions;
};

} // namespace orvella::platform
