// Update checks against a real HTTP server on loopback: newer, same and older releases,
// urgent ones, and feeds that are broken, oversized or never answered.
#include "loopbackserver.h"
#include "platform/preferencesstore.h"
#include "services/updaterservice.h"
#include "settings/localizationmanager.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace orvella;
using services::UpdaterService;

namespace {
const QString kPending = QStringLiteral("ov.pendingUrgentUpdateVersion");
}

class TestUpdaterService : public QObject
{
    Q_OBJECT
private slots:
    void init() { QVERIFY(m_dir.isValid()); }
    void versionsCompareByNumber_data();
    void versionsCompareByNumber();
    void feedDecidesWhetherAnUpdateIsAvailable_data();
    void feedDecidesWhetherAnUpdateIsAvailable();
    void urgentVersionIsForgottenOnceInstalled();
    void withoutAFeedNothingIsChecked();

private:
    QString path() const { return m_dir.filePath("prefs.json"); }
    QTemporaryDir m_dir;
};

void TestUpdaterService::versionsCompareByNumber_data()
{
    QTest::addColumn<QString>("a");
    QTest::addColumn<QString>("b");
    QTest::addColumn<int>("order"); // 2: not comparable
    QTest::newRow("ten after nine") << "1.10.0"
                                    << "1.9.2" << 1;
    QTest::newRow("equal") << "1.4.0"
                           << "1.4.0" << 0;
    QTest::newRow("missing part is zero") << "1.4"
                                          << "1.4.0" << 0;
    QTest::newRow("patch") << "1.4.0"
                           << "1.4.1" << -1;
    QTest::newRow("major wins") << "2.0"
                                << "1.99.99" << 1;
    QTest::newRow("text") << "latest"
                          << "1.0" << 2;
    QTest::newRow("prefix") << "v1.2"
                            << "1.0" << 2;
    QTest::newRow("empty") << ""
                           << "1.0" << 2;
}

void TestUpdaterService::versionsCompareByNumber()
{
    QFETCH(QString, a);
    QFETCH(QString, b);
    QFETCH(int, order);
    const auto result = UpdaterService::compareVersions(a, b);
    QCOMPARE(result.has_value() ? std::clamp(*result, -1, 1) : 2, order);
}

void TestUpdaterService::feedDecidesWhetherAnUpdateIsAvailable_data()
{
    QTest::addColumn<QByteArray>("feed");
    QTest::addColumn<int>("status");
    QTest::addColumn<qint64>("filler");
    QTest::addColumn<bool>("silent");
    QTest::addColumn<bool>("available");
    QTest::addColumn<bool>("urgentKept");
    QTest::addColumn<bool>("failed");
    const QByteArray newer =
        R"({"version": "1.10.0", "url": "https://orvella.example/r/1.10.0", "notes": "x"})";
    QTest::newRow("newer") << newer << 200 << 0LL << false << true << false << false;
    QTest::newRow("newer, urgent") << QByteArray(
        R"({"version": "1.10.0", "url": "https://orvella.example/r", "urgent": true})")
                                   << 200 << 0LL << false << true << true << false;
    QTest::newRow("same") << QByteArray(R"({"version": "1.9.2", "url": "https://orvella.example/r"})") << 200
                          << 0LL << false << false << false << false;
    QTest::newRow("older, urgent") << QByteArray(
        R"({"version": "1.9", "url": "https://orvella.example/r", "urgent": true})")
                                   << 200 << 0LL << false << false << false << false;
    QTest::newRow("not JSON") << QByteArray("<html>") << 200 << 0LL << false << false << false << true;
    QTest::newRow("no version") << QByteArray(R"({"url": "https://orvella.example/r"})") << 200 << 0LL
                                << false << false << false << true;
    QTest::newRow("version is a word")
        << QByteArray(R"({"version": "latest", "url": "https://orvella.example/r"})") << 200 << 0LL << false
        << false << false << true;
    QTest::newRow("page not https") << QByteArray(R"({"version": "2.0", "url": "http://orvella.example/r"})")
                                    << 200 << 0LL << false << false << false << true;
    QTest::newRow("server error") << newer << 500 << 0LL << false << false << false << true;
    QTest::newRow("huge body") << newer << 200 << 200'000LL << false << false << false << true;
    QTest::newRow("endless body") << newer << 200 << -1LL << false << false << false << true;
    QTest::newRow("never answers") << newer << 200 << 0LL << true << false << false << true;
}

void TestUpdaterService::feedDecidesWhetherAnUpdateIsAvailable()
{
    QFETCH(QByteArray, feed);
    QFETCH(int, status);
    QFETCH(qint64, filler);
    QFETCH(bool, silent);
    QFETCH(bool, available);
    QFETCH(bool, urgentKept);
    QFETCH(bool, failed);
    LoopbackServer server;
    QVERIFY(server.listen());
    server.answer = feed;
    server.status = status;
    server.filler = filler;
    server.silent = silent;

    QFile::remove(path());
    platform::PreferencesStore store(path());
    UpdaterService updater(store, QUrl(server.url()), "1.9.2");
    updater.setDeadline(std::chrono::milliseconds(500));
    QSignalSpy finished(&updater, &UpdaterService::checkFinished);
    QSignalSpy changed(&updater, &UpdaterService::updateAvailableChanged);
    if (failed)
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^\\[OV\\] updates: check failed: "));
    updater.checkForUpdates();
    QVERIFY(finished.wait(5000));
    QCOMPARE(finished.size(), 1);
    QCOMPARE(finished.at(0).at(0).toBool(), available);
    const QString upToDate = settings::LocalizationManager::shared().formatted("update.upToDate", {"1.9.2"});
    QCOMPARE(finished.at(0).at(1).toString() == upToDate, !available && !failed);
    QCOMPARE(updater.updateAvailable(), available);
    QCOMPARE(changed.size(), available ? 1 : 0);
    QCOMPARE(updater.availableVersion(), available ? QStringLiteral("1.10.0") : QString());
    QCOMPARE(store.stringValue(kPending), urgentKept ? std::optional<QString>("1.10.0") : std::nullopt);
    QCOMPARE(server.requests.size(), 1);
}

void TestUpdaterService::urgentVersionIsForgottenOnceInstalled()
{
    QFile::remove(path());
    platform::PreferencesStore store(path());
    for (const auto &[running, kept] : {std::pair{"1.3.9", true}, {"1.4.0", false}}) {
        store.setString(kPending, "1.4.0");
        UpdaterService updater(store, QUrl(), running);
        updater.clearPendingUrgentUpdateIfInstalled();
        QCOMPARE(updater.pendingUrgentUpdateVersion().has_value(), kept);
    }
}

void TestUpdaterService::withoutAFeedNothingIsChecked()
{
    platform::PreferencesStore store(path());
    UpdaterService updater(store, QUrl(), "1.0");
    QTest::ignoreMessage(QtInfoMsg, "[OV] updates: no update feed configured; update checks are off");
    updater.start();
    QSignalSpy finished(&updater, &UpdaterService::checkFinished);
    updater.checkForUpdates();
    QVERIFY(!finished.wait(300));
    QVERIFY(!updater.updateAvailable());
}

QTEST_GUILESS_MAIN(TestUpdaterService)
#include "tst_updaterservice.moc"
