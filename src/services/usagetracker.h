// How long and how often Orvella has been used: launch count, usage milestones, share prompt.
#pragma once

#include <QDate>
#include <QObject>
#include <QSet>

#include <functional>
#include <optional>

namespace orvella::platform {
class PreferencesStore;
}

namespace orvella::services {

/**
 * Counts launches and days since the first one in the preferences store
 * ("ov.launchCount", "ov.firstLaunchDay" as an ISO date), announces each usage
 * milestone once ("ov.milestonesShown") and decides when to suggest sharing
 * ("ov.shareSuggestedDay").
 *
 * Sharing is suggested after at least kShareMinLaunches launches and kShareMinDays days
 * of use, and then at most once every kShareIntervalDays days.
 *
 * A stored value of the wrong type or an unreadable date is logged once and read as
 * absent; a first day in the future (a clock set back) is read as today. Other keys
 * are never touched because of it.
 */
class UsageTracker : public QObject
{
    Q_OBJECT
public:
    static constexpr int kShareMinLaunches = 10;
    static constexpr int kShareMinDays = 14;
    static constexpr int kShareIntervalDays = 90;

    /// `today` defaults to the local calendar date.
    explicit UsageTracker(platform::PreferencesStore &store, std::function<QDate()> today = {},
                          QObject *parent = nullptr);

    /// One more launch; the first one also records today as the first day.
    void recordLaunch();

    int launchCount() const;
    int daysSinceFirstLaunch() const;
    std::optional<QDate> firstLaunchDay() const;

    /// The highest milestone (7, 14, 30, 90, 180 or 365 days) reached and not yet
    /// announced; every reached one is then recorded as announced, so a long absence
    /// announces only the highest and none comes twice.
    std::optional<int> checkMilestone();
    /// The interface text key of a milestone: "milestone.7days".
    static QString milestoneKey(int days);

    bool shouldSuggestShare() const;
    void markShareSuggested();

private:
    std::optional<QDate> storedDay(const QString &key) const;
    QList<int> milestonesShown() const;
    void warnOnce(const QString &key, const QString &problem) const;

    platform::PreferencesStore &m_store;
    std::function<QDate()> m_today;
    mutable QSet<QString> m_warned;
};

} // namespace orvella::services
