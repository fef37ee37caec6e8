// Banners, and desktop notifications over a private session bus: delivered to a
// notification server that lives on that bus, or shown as a banner when none answers.
#include "platform/linux/desktopnotifier.h"
#include "services/notificationservice.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QSignalSpy>
#include <QTest>

using namespace orvella;
using services::NotificationService;
using Type = NotificationService::BannerType;

// The desktop's side: a notification server on its own bus connection.
class NotificationServer : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
public:
    QStringList titles, bodies, actions;

public slots:
    uint Notify(const QString &, uint, const QString &, const QString &summary, const QString &body,
                const QStringList &actionList, const QVariantMap &, int)
    {
        titles << summary;
        bodies << body;
        actions = actionList;
        return 41;
    }
};

class TestNotificationService : public QObject
{
    Q_OBJECT
private slots:
    void bannerShowsRunsAndDismisses();
    void noServerFallsBackToABanner_data();
    void noServerFallsBackToABanner();
    void serverOnTheBusGetsTheNotification();
};

void TestNotificationService::bannerShowsRunsAndDismisses()
{
    NotificationService service(std::make_unique<platform::DesktopNotifier>());
    QSignalSpy changed(&service, &NotificationService::bannerChanged);
    int runs = 0;
    service.showBanner("Update available", Type::Update, "Click to install", "Update Now", [&] { ++runs; });
    QCOMPARE(changed.size(), 1);
    QVERIFY(service.hasBanner());
    QCOMPARE(service.bannerType(), QStringLiteral("update"));
    QCOMPARE(service.bannerSubtitle(), QStringLiteral("Click to install"));
    QCOMPARE(service.bannerActionLabel(), QStringLiteral("Update Now"));

    // An action that puts up the next banner keeps it.
    service.showBanner("one", Type::Milestone, {}, "Share", [&] {
        ++runs;
        service.showBanner("two", Type::Warning);
    });
    service.runBannerAction();
    QCOMPARE(runs, 1);
    QCOMPARE(service.bannerMessage(), QStringLiteral("two"));
    QCOMPARE(service.currentBannerType(), Type::Warning);

    service.dismissBanner();
    QVERIFY(!service.hasBanner());
    QVERIFY(!service.currentBannerType());
    const qsizetype before = changed.size();
    service.dismissBanner();
    service.runBannerAction();
    QCOMPARE(changed.size(), before);
    QCOMPARE(runs, 1);
}

void TestNotificationService::noServerFallsBackToABanner_data()
{
    QTest::addColumn<bool>("busReachable");
    QTest::newRow("bus without a notification server") << true;
    QTest::newRow("no bus at all") << false;
}

void TestNotificationService::noServerFallsBackToABanner()
{
    QFETCH(bool, busReachable);
    QDBusConnection bus =
        busReachable ? QDBusConnection::sessionBus()
                     : QDBusConnection::connectToBus(QStringLiteral("unix:path=/nonexistent/bus"), "nowhere");
    QCOMPARE(bus.isConnected(), busReachable);
    NotificationService service(std::make_unique<platform::DesktopNotifier>(bus));
    int runs = 0;
    QTest::ignoreMessage(QtInfoMsg, "[OV] No desktop notification server answered; notifications are "
                                    "shown as banners");
    service.showSystemNotification("One week!", "Thanks", "milestone", "Share", [&] { ++runs; });
    QTRY_VERIFY(service.hasBanner());
    QCOMPARE(service.bannerType(), QStringLiteral("info"));
    QCOMPARE(service.bannerMessage(), QStringLiteral("One week!"));
    QCOMPARE(service.bannerSubtitle(), QStringLiteral("Thanks"));
    service.runBannerAction();
    QCOMPARE(runs, 1);
    service.showSystemNotification("Again", {}, "milestone");
    QTRY_COMPARE(service.bannerMessage(), QStringLiteral("Again"));
}

void TestNotificationService::serverOnTheBusGetsTheNotification()
{
    QDBusConnection desktop = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "desktop");
    NotificationServer server;
    QVERIFY(
        desktop.registerObject("/org/freedesktop/Notifications", &server, QDBusConnection::ExportAllSlots));
    QVERIFY(desktop.registerService("org.freedesktop.Notifications"));

    NotificationService service;
    int runs = 0;
    service.showSystemNotification("Update available: v1.4.0", "Open the release page", "update", "Open",
                                   [&] { ++runs; });
    QTRY_COMPARE(server.titles, QStringList{"Update available: v1.4.0"});
    QCOMPARE(server.bodies, QStringList{"Open the release page"});
    QVERIFY(server.actions.contains("Open"));

    // The user clicks the notification's action: the server says so on the bus.
    QDBusMessage clicked = QDBusMessage::createSignal("/org/freedesktop/Notifications",
                                                      "org.freedesktop.Notifications", "ActionInvoked");
    clicked << 41u << server.actions.value(0);
    QVERIFY(desktop.send(clicked));
    QTRY_COMPARE(runs, 1);
    QVERIFY(!service.hasBanner());

    desktop.unregisterService("org.freedesktop.Notifications");
    QDBusConnection::disconnectFromBus("desktop");
}

QTEST_GUILESS_MAIN(TestNotificationService)
#include "tst_notificationservice.moc"
