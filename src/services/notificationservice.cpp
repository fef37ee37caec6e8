// The one in-window banner and desktop notifications, with a banner when the desktop has none.
#include "services/notificationservice.h"

#include "logging.h"
#include "platform/linux/desktopnotifier.h"

#include <QPointer>

namespace orvella::services {

NotificationService::NotificationService(std::unique_ptr<platform::SystemNotifier> notifier, QObject *parent)
    : QObject(parent)
    , m_notifier(notifier ? std::move(notifier) : std::make_unique<platform::DesktopNotifier>())
{}

NotificationService::~NotificationService() = default;

void NotificationService::showBanner(const QString &message, BannerType type, const QString &subtitle,
                                     const QString &actionLabel, std::function<void()> action)
{
    m_banner = Banner{message, type, subtitle, actionLabel, std::move(action)};
    emit bannerChanged();
}

void NotificationService::dismissBanner()
{
    if (!m_banner)
        return;
    m_banner.reset();
    emit bannerChanged();
}

void NotificationService::runBannerAction()
{
    if (!m_banner)
        return;
    // Dismissed first: the action may put up a banner of its own, which must stay.
    const std::function<void()> action = m_banner->action;
    dismissBanner();
    if (action)
        action();
}

std::optional<NotificationService::BannerType> NotificationService::currentBannerType() const
{
    if (!m_banner)
        return std::nullopt;
    return m_banner->type;
}

void NotificationService::showSystemNotification(const QString &title, const QString &body,
                                                 const QString &identifier, const QString &actionLabel,
                                                 std::function<void()> action)
{
    QPointer<NotificationService> self(this);
    m_notifier->notify(
        identifier, title, body, actionLabel,
        [self, title, body, actionLabel, action](bool accepted) {
            if (self && !accepted)
                self->fallBackToBanner(title, body, actionLabel, action);
        },
        action);
}

QString NotificationService::bannerType() const
{
    return m_banner ? rawValue(m_banner->type) : QString();
}

QString NotificationService::rawValue(BannerType type)
{
    switch (type) {
    case BannerType::Info: return QStringLiteral("info");
    case BannerType::Update: return QStringLiteral("update");
    case BannerType::Milestone: return QStringLiteral("milestone");
    case BannerType::Warning: return QStringLiteral("warning");
    }
    return QStringLiteral("info");
}

void NotificationService::fallBackToBanner(const QString &title, const QString &body,
                                           const QString &actionLabel, std::function<void()> action)
{
    if (!m_fallbackLogged) {
        m_fallbackLogged = true;
        qCInfo(lcServices).noquote()
            << "[OV] No desktop notification server answered; notifications are shown as banners";
    }
    showBanner(title, BannerType::Info, body, actionLabel, std::move(action));
}

} // namespace orvella::services
