// How long and how often Orvella has been used: launch count, usage milestones, share prompt.
#include "services/usagetracker.h"

#include "logging.h"
#include "platform/preferencesstore.h"

#include <QJsonArray>

#include <algorithm>
#include <cmath>
#include <limits>

namespace orvella::services {

namespace {

const QString kLaunchCount = QStringLiteral("ov.launchCount");
const QString kFirstLaunchDay = QStringLiteral("ov.firstLaunchDay");
const QString kMilestonesShown = QStringLiteral("ov.milestonesShown");
const QString kShareSuggestedDay = QStringLiteral("ov.shareSuggestedDay");

constexpr int kMilestones[] = {7, 14, 30, 90, 180, 365};

bool isCount(double value)
{
    return value >= 0 && value <= std::numeric_limits<int>::max() && std::floor(value) == value;
}

} // namespace

UsageTracker::UsageTracker(platform::PreferencesStore &store, std::function<QDate()> today, QObject *parent)
    : QObject(parent)
    , m_store(store)
    , m_today(today ? std::move(today) : [] { return QDate::currentDate(); })
{}

void UsageTracker::recordLaunch()
{
    m_store.setDouble(kLaunchCount, launchCount() + 1);
    // An unreadable or future first day is replaced, or the days would never count up.
    const auto first = firstLaunchDay();
    const QString stored = m_store.stringValue(kFirstLaunchDay).value_or(QString());
    if (!first || stored != first->toString(Qt::ISODate))
        m_store.setString(kFirstLaunchDay, m_today().toString(Qt::ISODate));
}

int UsageTracker::launchCount() const
{
    if (!m_store.contains(kLaunchCount))
        return 0;
    const auto count = m_store.doubleValue(kLaunchCount);
    if (count && isCount(*count))
        return int(*count);
    warnOnce(kLaunchCount, QStringLiteral("is not a count; counting from 0"));
    return 0;
}

int UsageTracker::daysSinceFirstLaunch() const
{
    const auto first = firstLaunchDay();
    return first ? int(first->daysTo(m_today())) : 0;
}

std::optional<QDate> UsageTracker::firstLaunchDay() const
{
    return storedDay(kFirstLaunchDay);
}

std::optional<int> UsageTracker::checkMilestone()
{
    if (!firstLaunchDay())
        return std::nullopt;
    const int days = daysSinceFirstLaunch();
    QList<int> shown = milestonesShown();
    std::optional<int> announce;
    for (int milestone : kMilestones) {
        if (milestone <= days && !shown.contains(milestone)) {
            shown.append(milestone);
            announce = milestone;
        }
    }
    if (announce) {
        std::sort(shown.begin(), shown.end());
        QJsonArray list;
        for (int milestone : shown)
            list.append(milestone);
        m_store.setValue(kMilestonesShown, list);
    }
    return announce;
}

QString UsageTracker::milestoneKey(int days)
{
    return QStringLiteral("milestone.%1days").arg(days);
}

bool UsageTracker::shouldSuggestShare() const
{
    if (launchCount() < kShareMinLaunches || daysSinceFirstLaunch() < kShareMinDays)
        return false;
    const auto last = storedDay(kShareSuggestedDay);
    return !last || last->daysTo(m_today()) >= kShareIntervalDays;
}

void UsageTracker::markShareSuggested()
{
    m_store.setString(kShareSuggestedDay, m_today().toString(Qt::ISODate));
}

std::optional<QDate> UsageTracker::storedDay(const QString &key) const
{
    if (!m_store.contains(key))
        return std::nullopt;
    const QDate day = QDate::fromString(m_store.stringValue(key).value_or(QString()), Qt::ISODate);
    if (!day.isValid()) {
        warnOnce(key, QStringLiteral("is not a date; read as absent"));
        return std::nullopt;
    }
    const QDate today = m_today();
    if (day > today) {
        warnOnce(key, QStringLiteral("lies in the future; read as today"));
        return today;
    }
    return day;
}

QList<int> UsageTracker::milestonesShown() const
{
    QList<int> shown;
    if (!m_store.contains(kMilestonesShown))
        return shown;
    const QJsonValue stored = m_store.value(kMilestonesShown);
    bool clean = stored.isArray();
    for (const QJsonValue &item : stored.toArray()) {
        if (item.isDouble() && isCount(item.toDouble()))
            shown.append(item.toInt());
        else
            clean = false;
    }
    if (!clean)
        warnOnce(kMilestonesShown, QStringLiteral("is not a list of day counts; keeping what is readable"));
    return shown;
}

void UsageTracker::warnOnce(const QString &key, const QString &problem) const
{
    if (m_warned.contains(key))
        return;
    m_warned.insert(key);
    qCWarning(lcServices).noquote() << QStringLiteral("[OV] Usage: the stored \"%1\" %2").arg(key, problem);
}

} // namespace orvella::services
