// The session window: its texts per reason, its keys and buttons, and that closing it
// never ends the application. Screenshots in three languages are kept for review.
#include "settings/localizationmanager.h"
#include "shell/permissionwindow.h"

#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

using namespace orvella;
using shell::PermissionWindow;
using Reason = PermissionWindow::Reason;

namespace {

QStringList labelTexts(const QWidget &window)
{
    QStringList texts;
    for (const QLabel *label : window.findChildren<QLabel *>())
        texts << label->text();
    return texts;
}

QString text(const char *key)
{
    return settings::LocalizationManager::shared().string(QString::fromLatin1(key));
}

} // namespace

class TestPermissionWindow : public QObject
{
    Q_OBJECT
private slots:
    void cleanup() { settings::LocalizationManager::shared().setLanguage(QStringLiteral("en")); }
    void textsPerReason_data();
    void textsPerReason();
    void buttonsAndKeys();
    void screenshots_data();
    void screenshots();
};

void TestPermissionWindow::textsPerReason_data()
{
    QTest::addColumn<Reason>("reason");
    QTest::addColumn<QString>("extraKey");
    QTest::addColumn<QString>("absentKey");
    QTest::newRow("no display") << Reason::NoDisplay << ""
                                << "permission.x11.waylandOnly";
    QTest::newRow("no window manager") << Reason::NoWindowManager << "permission.x11.hint"
                                       << "permission.x11.waylandOnly";
    QTest::newRow("wayland only") << Reason::WaylandOnly << "permission.x11.waylandOnly"
                                  << "permission.x11.hint";
}

void TestPermissionWindow::textsPerReason()
{
    QFETCH(Reason, reason);
    QFETCH(QString, extraKey);
    QFETCH(QString, absentKey);
    PermissionWindow window(reason, {});
    const QStringList texts = labelTexts(window);
    for (const char *key : {"banner.x11Required.title", "permission.x11.desc", "banner.x11Required.step1",
                            "banner.x11Required.step2", "banner.x11Required.step3"})
        QVERIFY2(texts.contains(text(key)), key);
    if (!extraKey.isEmpty())
        QVERIFY(texts.contains(text(extraKey.toLatin1())));
    QVERIFY(!texts.contains(text(absentKey.toLatin1())));
    QCOMPARE(window.windowTitle(), text("banner.x11Required.title"));
    for (const QWidget *child : window.findChildren<QWidget *>())
        QVERIFY2(!child->accessibleName().isEmpty(), child->metaObject()->className());
}

void TestPermissionWindow::buttonsAndKeys()
{
    int relaunched = 0;
    PermissionWindow window(Reason::NoWindowManager, [&relaunched] { ++relaunched; });
    QSignalSpy lastClosed(qApp, &QGuiApplication::lastWindowClosed);
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QCOMPARE(QApplication::focusWidget(), window.relaunchButton());

    QTest::keyClick(&window, Qt::Key_Return);
    QCOMPARE(relaunched, 1);
    window.closeButton()->setFocus();
    QTest::keyClick(&window, Qt::Key_Tab);
    QCOMPARE(QApplication::focusWidget(), window.relaunchButton());
    window.relaunchButton()->click();
    QCOMPARE(relaunched, 2);

    QTest::keyClick(&window, Qt::Key_Escape);
    QVERIFY(!window.isVisible());
    window.show();
    window.closeButton()->click();
    QVERIFY(!window.isVisible());
    QCoreApplication::processEvents();
    QCOMPARE(lastClosed.count(), 0);
    QCOMPARE(relaunched, 2);
}

void TestPermissionWindow::screenshots_data()
{
    QTest::addColumn<QString>("language");
    for (const char *language : {"en", "de", "ja"})
        QTest::newRow(language) << QString::fromLatin1(language);
}

void TestPermissionWindow::screenshots()
{
    QFETCH(QString, language);
    settings::LocalizationManager::shared().setLanguage(language);
    PermissionWindow window(Reason::WaylandOnly, {});
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const QString dir = qEnvironmentVariableIsSet("ORVELLA_SCREENSHOT_DIR")
                            ? qEnvironmentVariable("ORVELLA_SCREENSHOT_DIR")
                            : QDir::currentPath();
    QVERIFY(window.grab().save(QDir(dir).filePath(QStringLiteral("session-window-%1.png").arg(language))));
}

QTEST_MAIN(TestPermissionWindow)
#include "tst_permissionwindow.moc"
