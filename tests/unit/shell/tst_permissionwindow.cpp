// The session window: the hint each reason adds, its keys and buttons, and that closing
// it never ends the application. Screenshots are kept for review.
#include "settings/localizationmanager.h"
#include "shell/permissionwindow.h"

#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

using namespace orvella;
using shell::PermissionWindow;
using Reason = PermissionWindow::Reason;

class TestPermissionWindow : public QObject
{
    Q_OBJECT
private slots:
    void hintPerReason_data();
    void hintPerReason();
    void buttonsAndKeys();
};

void TestPermissionWindow::hintPerReason_data()
{
    QTest::addColumn<Reason>("reason");
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("hint"); // the one of the two reason hints shown, if any
    QTest::newRow("nodisplay-en") << Reason::NoDisplay << "en"
                                  << "";
    QTest::newRow("nowm-en") << Reason::NoWindowManager << "en"
                             << "permission.x11.hint";
    for (const char *language : {"en", "de", "ja"})
        QTest::addRow("wayland-%s", language)
            << Reason::WaylandOnly << language << "permission.x11.waylandOnly";
}

void TestPermissionWindow::hintPerReason()
{
    QFETCH(Reason, reason);
    QFETCH(QString, language);
    QFETCH(QString, hint);
    settings::LocalizationManager::shared().setLanguage(language);
    PermissionWindow window(reason, {});
    QStringList texts;
    for (const QLabel *label : window.findChildren<QLabel *>())
        texts << label->text();
    for (const QString key : {"permission.x11.hint", "permission.x11.waylandOnly"})
        QVERIFY2(texts.contains(settings::LocalizationManager::shared().string(key)) == (key == hint),
                 qPrintable(key));

    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const QString dir = qEnvironmentVariable("ORVELLA_SCREENSHOT_DIR", QDir::currentPath());
    const QString name = QStringLiteral("session-window-%1.png").arg(QTest::currentDataTag());
    QVERIFY(window.grab().save(QDir(dir).filePath(name)));
}

void TestPermissionWindow::buttonsAndKeys()
{
    int relaunched = 0;
    PermissionWindow window(Reason::NoWindowManager, [&relaunched] { ++relaunched; });
    QSignalSpy lastClosed(qApp, &QGuiApplication::lastWindowClosed);
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QTest::keyClick(&window, Qt::Key_Return); // Relaunch starts with the focus
    window.relaunchButton()->click();
    QCOMPARE(relaunched, 2);

    QTest::keyClick(&window, Qt::Key_Escape);
    QVERIFY(!window.isVisible());
    // Qt only ends an application for its last window from inside a running event loop.
    window.show();
    QTimer::singleShot(0, window.closeButton(), &QPushButton::click);
    QTimer::singleShot(300, qApp, [] { QCoreApplication::exit(); }); // quit() would close the window
    QCoreApplication::exec();
    QVERIFY(!window.isVisible());
    QCOMPARE(lastClosed.count(), 0);
    QCOMPARE(relaunched, 2);
}

QTEST_MAIN(TestPermissionWindow)
#include "tst_permissionwindow.moc"
