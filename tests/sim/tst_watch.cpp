// `orvella watch`: a line per visible change, none for refreshes that change nothing.
#include "platform/sim/manualscheduler.h"
#include "platform/sim/simulateddesktop.h"
#include "platform/sim/simulatedobserver.h"
#include "shell/watchcommand.h"
#include "tracking/windowmanager.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace orvella;
using Kind = platform::DesktopEvent::Kind;

class TestWatch : public QObject
{
    Q_OBJECT
private slots:
    void printsOneLinePerVisibleChange();
};

void TestWatch::printsOneLinePerVisibleChange()
{
    auto desktop = std::make_shared<platform::sim::SimulatedDesktop>();
    desktop->addApp({10, QStringLiteral("Editor"), QStringLiteral("org.gnome.TextEditor"), true, {}});
    platform::sim::SimulatedDesktop::Window w;
    w.number = 1;
    w.title = QStringLiteral("a.txt");
    desktop->addWindow(10, w);
    platform::sim::ManualScheduler clock;
    platform::sim::SimulatedObserver observer;
    tracking::WindowManager manager(desktop, nullptr, nullptr, clock);
    manager.setObserver(&observer);

    QList<QByteArray> lines;
    shell::WatchCommand json(manager, true, [&](const QByteArray &line) { lines.append(line); });
    QList<QByteArray> textLines;
    QStringList problems;
    shell::WatchCommand text(
        manager, false, [&](const QByteArray &line) { textLines.append(line); },
        [&](const QString &message) { problems.append(message); });
    manager.startObserving();
    QTRY_COMPARE(lines.size(), 1);
    QVERIFY(lines[0].endsWith('\n'));
    QCOMPARE(QJsonDocument::fromJson(lines[0]).object().value(QStringLiteral("windows")).toArray().size(), 1);
    QCOMPARE(textLines.value(0), QByteArray("1 windows; active: -; sections: Editor (1)\n"));

    // A burst of new windows: one refresh, one line holding all of them.
    for (int n = 2; n <= 4; ++n) {
        w.number = n;
        w.title = QStringLiteral("doc %1").arg(n);
        desktop->addWindow(10, w);
        observer.post({Kind::WindowCreated, 10, n});
    }
    desktop->setFocus(3);
    QCoreApplication::processEvents();
    clock.advance(std::chrono::milliseconds(200));
    QTRY_COMPARE(lines.size(), 2);
    const QJsonObject second = QJsonDocument::fromJson(lines[1]).object();
    QCOMPARE(second.value(QStringLiteral("windows")).toArray().size(), 4);
    QCOMPARE(second.value(QStringLiteral("activeWindowID")).toString(),
             QStringLiteral("org.gnome.TextEditor::wn:3"));
    QCOMPARE(textLines.value(1), QByteArray("4 windows; active: doc 3; sections: Editor (4)\n"));

    // A heartbeat that finds nothing new prints nothing.
    clock.advance(std::chrono::milliseconds(1500));
    QTRY_VERIFY(!manager.state().isRefreshing);
    QTest::qWait(20);
    QCOMPARE(lines.size(), 2);

    // No window manager: said once, however many heartbeats pass; then the state again.
    desktop->setTrusted(false);
    for (int beat = 0; beat < 3; ++beat) {
        clock.advance(std::chrono::milliseconds(1500));
        QTest::qWait(20);
    }
    QCOMPARE(problems.size(), 1);
    QVERIFY(problems[0].startsWith(QLatin1String("no EWMH window manager")));
    desktop->setTrusted(true);
    clock.advance(std::chrono::milliseconds(1500));
    QTRY_COMPARE(textLines.size(), 3);
    QCOMPARE(textLines[2], textLines[1]);
    QCOMPARE(lines.size(), 3);
}

QTEST_GUILESS_MAIN(TestWatch)
#include "tst_watch.moc"
