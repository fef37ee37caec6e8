// The desktop's light/dark preference and its change broadcast.
#include "platform/linux/desktopappearance.h"

#include "logging.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QEvent>

namespace orvella::platform {

namespace {

constexpr auto kService = "org.freedesktop.portal.Desktop";
constexpr auto kPath = "/org/freedesktop/portal/desktop";
constexpr auto kInterface = "org.freedesktop.portal.Settings";
constexpr auto kNamespace = "org.freedesktop.appearance";
constexpr auto kKey = "color-scheme";

// Settings.Read wraps the value in one variant more than the signal does.
QVariant unwrap(QVariant value)
{
    while (value.canConvert<QDBusVariant>() && value.userType() == qMetaTypeId<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value;
}

} // namespace

DesktopAppearance::DesktopAppearance(QObject *parent)
    : QObject(parent)
{
    if (auto *app = QCoreApplication::instance())
        app->installEventFilter(this);

    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    bus.connect(QLatin1String(kService), QLatin1String(kPath), QLatin1String(kInterface),
                QStringLiteral("SettingChanged"), this,
                SLOT(onSettingChanged(QString, QString, QDBusVariant)));

    QDBusMessage read = QDBusMessage::createMethodCall(QLatin1String(kService), QLatin1String(kPath),
                                                       QLatin1String(kInterface), QStringLiteral("Read"));
    read << QLatin1String(kNamespace) << QLatin1String(kKey);
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(read, 2000), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher *w) {
        w->deleteLater();
        const QDBusMessage reply = w->reply();
        if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
            qCDebug(lcPlatform) << "[OV] appearance portal not available:" << w->error().message();
            return;
        }
        const QVariant value = unwrap(reply.arguments().constFirst());
        bool ok = false;
        const uint scheme = value.toUInt(&ok);
        update(ok ? fromColorScheme(scheme) : std::nullopt);
    });
}

std::optional<bool> DesktopAppearance::fromColorScheme(uint value)
{
    if (value == 1)
        return true;
    if (value == 2)
        return false;
    return std::nullopt;
}

void DesktopAppearance::onSettingChanged(const QString &ns, const QString &key, const QDBusVariant &value)
{
    if (ns != QLatin1String(kNamespace) || key != QLatin1String(kKey))
        return;
    bool ok = false;
    const uint scheme = unwrap(value.variant()).toUInt(&ok);
    update(ok ? fromColorScheme(scheme) : std::nullopt);
}

bool DesktopAppearance::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == QCoreApplication::instance() && event->type() == QEvent::ApplicationPaletteChange)
        emit changed();
    return QObject::eventFilter(watched, event);
}

void DesktopAppearance::update(std::optional<bool> prefersDark)
{
    if (prefersDark == m_prefersDark)
        return;
    m_prefersDark = prefersDark;
    emit changed();
}

} // namespace orvella::platform
