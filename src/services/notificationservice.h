// The one in-window banner and desktop notifications, with a banner when the desktop has none.
#pragma once

#include "platform/systemnotifier.h"

#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace orvella::services {

/**
 * Holds the banner the sidebar shows (one at a time: a new one replaces the old) and
 * sends desktop notifications. A notification that nothing on the desktop takes is
 * shown as an Info banner with the same texts and action instead.
 *
 * Main thread only.
 */
class NotificationService : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString bannerMessage READ bannerMessage NOTIFY bannerChanged)
    Q_PROPERTY(QString bannerType READ bannerType NOTIFY bannerChanged)
    Q_PROPERTY(QString bannerSubtitle READ bannerSubtitle NOTIFY bannerChanged)
    Q_PROPERTY(QString bannerActionLabel READ bannerActionLabel NOTIFY bannerChanged)
    Q_PROPERTY(bool hasBanner READ hasBanner NOTIFY bannerChanged)
public:
    enum class BannerType { Info, Update, Milestone, Warning };
    Q_ENUM(BannerType)

    /// Without a notifier, notifications go to the desktop's server on the session bus.
    explicit NotificationService(std::unique_ptr<platform::SystemNotifier> notifier = {},
                                 QObject *parent = nullptr);
    ~NotificationService() override;

    void showBanner(const QString &message, BannerType type, const QString &subtitle = {},
                    const QString &actionLabel = {}, std::function<void()> action = {});
    Q_INVOKABLE void dismissBanner();
    /// Runs the banner's action (if any) and dismisses the banner.
    Q_INVOKABLE void runBannerAction();
    std::optional<BannerType> currentBannerType() const;

    /// A desktop notification; one with the same `identifier` replaces the earlier one.
    void showSystemNotification(const QString &title, const QString &body, const QString &identifier,
                                const QString &actionLabel = {}, std::function<void()> action = {});

    QString bannerMessage() const { return m_banner ? m_banner->message : QString(); }
    /// "info", "update", "milestone" or "warning"; empty without a banner.
    QString bannerType() const;
    QString bannerSubtitle() const { return m_banner ? m_banner->subtitle : QString(); }
    QString bannerActionLabel() const { return m_banner ? m_banner->actionLabel : QString(); }
    bool hasBanner() const { return m_banner.has_value(); }

    static QString rawValue(BannerType type);

signals:
    void bannerChanged();

private:
    struct Banner
    {
        QString message;
        BannerType type = BannerType::Info;
        QString subtitle;
        QString actionLabel;
        std::function<void()> action;
    };

    void fallBackToBanner(const QString &title, const QString &body, const QString &actionLabel,
                          std::function<void()> action);

    std::unique_ptr<platform::SystemNotifier> m_notifier;
    std::optional<Banner> m_banner;
    bool m_fallbackLogged = false;
};

} // namespace orvella::services
