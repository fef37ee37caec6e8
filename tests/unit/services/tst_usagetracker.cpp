// Launch counts, milestones and the share suggestion over a real preferences file,
// with the calendar date injected.
#include "platform/preferencesstore.h"
#include "services/usagetracker.h"

#include <QJsonArray>
#include <QTemporaryDir>
#include <QTest>

using namespace orvella;
using services::UsageTracker;

static const QDate kFirstDay(2025, 3, 1);

class TestUsageTracker : public QObject
{
    Q_OBJECT
private slots:
    void milestonesAreAnnouncedOnceAndOnlyTheHighest_data();
    void milestonesAreAnnouncedOnceAndOnlyTheHighest();
    void shareIsSuggestedWhenUsedEnoughAndNotTooOften_data();
    void shareIsSuggestedWhenUsedEnoughAndNotTooOften();
    void badStoredValuesFallBackAndKeepTheRest_data();
    void badStoredValuesFallBackAndKeepTheRest();

private:
    QString path() const { return m_dir.filePath(QString::fromLatin1(QTest::currentDataTag()) + ".json"); }
    QTemporaryDir m_dir;
};

void TestUsageTracker::milestonesAreAnnouncedOnceAndOnlyTheHighest_data()
{
    // Days after the first launch (day 0) on which the app checks, and what each announces (0: none).
    QTest::addColumn<QList<int>>("checkDays");
    QTest::addColumn<QList<int>>("announced");
    QTest::newRow("daily user") << QList<int>{0, 6, 7, 8, 14, 30, 31} << QList<int>{0, 0, 7, 0, 14, 30, 0};
    QTest::newRow("away for months") << QList<int>{0, 3, 100, 120, 181} << QList<int>{0, 0, 90, 0, 180};
    QTest::newRow("back after a year") << QList<int>{0, 400, 401} << QList<int>{0, 365, 0};
}

void TestUsageTracker::milestonesAreAnnouncedOnceAndOnlyTheHighest()
{
    QFETCH(QList<int>, checkDays);
    QFETCH(QList<int>, announced);
    QDate today = kFirstDay;
    for (qsizetype i = 0; i < checkDays.size(); ++i) {
        // A fresh store each time: what was announced must survive a restart.
        platform::PreferencesStore store(path());
        UsageTracker tracker(store, [&] { return today; });
        if (i == 0)
            QVERIFY(!tracker.checkMilestone()); // never launched
        today = kFirstDay.addDays(checkDays[i]);
        tracker.recordLaunch();
        QCOMPARE(tracker.launchCount(), i + 1);
        QCOMPARE(tracker.daysSinceFirstLaunch(), checkDays[i]);
        QCOMPARE(tracker.checkMilestone().value_or(0), announced[i]);
    }
}

void TestUsageTracker::shareIsSuggestedWhenUsedEnoughAndNotTooOften_data()
{
    QTest::addColumn<int>("launches");
    QTest::addColumn<int>("days");
    QTest::addColumn<int>("suggestedDaysAgo"); // -1: never
    QTest::addColumn<bool>("suggest");
    QTest::newRow("enough of both") << 10 << 14 << -1 << true;
    QTest::newRow("too few launches") << 9 << 60 << -1 << false;
    QTest::newRow("too few days") << 50 << 13 << -1 << false;
    QTest::newRow("suggested lately") << 50 << 200 << 89 << false;
    QTest::newRow("suggested long ago") << 50 << 200 << 90 << true;
}

void TestUsageTracker::shareIsSuggestedWhenUsedEnoughAndNotTooOften()
{
    QFETCH(int, launches);
    QFETCH(int, days);
    QFETCH(int, suggestedDaysAgo);
    QFETCH(bool, suggest);
    QDate today = kFirstDay;
    platform::PreferencesStore store(path());
    UsageTracker tracker(store, [&] { return today; });
    for (int i = 0; i < launches; ++i)
        tracker.recordLaunch();
    if (suggestedDaysAgo >= 0) {
        today = kFirstDay.addDays(days - suggestedDaysAgo);
        tracker.markShareSuggested();
    }
    today = kFirstDay.addDays(days);
    QCOMPARE(tracker.shouldSuggestShare(), suggest);
    tracker.markShareSuggested();
    QVERIFY(!tracker.shouldSuggestShare());
}

void TestUsageTracker::badStoredValuesFallBackAndKeepTheRest_data()
{
    // Five launches since day 0, checked on day 40.
    QTest::addColumn<QString>("key");
    QTest::addColumn<QJsonValue>("bad");
    QTest::addColumn<int>("launchCount"); // after one more launch
    QTest::addColumn<int>("days");        // since the first launch
    QTest::addColumn<int>("milestone");   // announced then
    QTest::newRow("count as text") << "ov.launchCount" << QJsonValue("many") << 1 << 40 << 30;
    QTest::newRow("fractional count") << "ov.launchCount" << QJsonValue(2.5) << 1 << 40 << 30;
    QTest::newRow("unreadable day") << "ov.firstLaunchDay" << QJsonValue("last spring") << 6 << 0 << 0;
    QTest::newRow("future day") << "ov.firstLaunchDay" << QJsonValue("2031-01-01") << 6 << 0 << 0;
    QTest::newRow("milestones as text") << "ov.milestonesShown" << QJsonValue("7,14") << 6 << 40 << 30;
    QTest::newRow("milestones mixed")
        << "ov.milestonesShown" << QJsonValue(QJsonArray{7, "x", 30}) << 6 << 40 << 14;
}

void TestUsageTracker::badStoredValuesFallBackAndKeepTheRest()
{
    QFETCH(QString, key);
    QFETCH(QJsonValue, bad);
    QFETCH(int, launchCount);
    QFETCH(int, days);
    QFETCH(int, milestone);
    const QDate today = kFirstDay.addDays(40);
    platform::PreferencesStore store(path());
    store.setDouble("ov.launchCount", 5);
    store.setString("ov.firstLaunchDay", kFirstDay.toString(Qt::ISODate));
    store.setString("ov.shareSuggestedDay", "2025-03-02");
    store.setValue(key, bad);

    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^\\[OV\\] Usage: the stored \"" + key + "\""));
    UsageTracker tracker(store, [&] { return today; });
    tracker.recordLaunch();
    QCOMPARE(tracker.launchCount(), launchCount);
    QCOMPARE(tracker.daysSinceFirstLaunch(), days);
    QCOMPARE(tracker.checkMilestone().value_or(0), milestone);
    QCOMPARE(store.stringValue("ov.shareSuggestedDay"), QStringLiteral("2025-03-02"));
    // Repaired on the way: a new tracker reads every key without a complaint.
    QTest::failOnWarning(QRegularExpression("Usage"));
    UsageTracker again(store, [&] { return today; });
    QCOMPARE(again.launchCount(), launchCount);
    QCOMPARE(again.daysSinceFirstLaunch(), days);
}

QTEST_GUILESS_MAIN(TestUsageTracker)
#include "tst_usagetracker.moc"
