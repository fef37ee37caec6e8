// The What's New window shows the bundled notes and closes without ending the program.
#include "settings/localizationmanager.h"
#include "sidebar/whatsnewwindow.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTextBrowser>
#include <QTimer>

using namespace orvella;
using sidebar::WhatsNewWindow;

class TestWhatsNewWindow : public QObject
{
    Q_OBJECT
private slots:
    void showsTheNotesAndClosesAlone();
};

void TestWhatsNewWindow::showsTheNotesAndClosesAlone()
{
    QVERIFY(WhatsNewWindow::notes().startsWith("# "));
    WhatsNewWindow window;
    QCOMPARE(window.windowTitle(), settings::LocalizationManager::shared().string("whatsNew.windowTitle"));
    // Rendered, not shown as source: the heading's marker is gone, its words remain.
    const QString shown = window.browser()->toPlainText();
    QVERIFY(shown.contains("What's new in Orvella"));
    QVERIFY(!shown.contains("# "));

    QSignalSpy lastClosed(qApp, &QGuiApplication::lastWindowClosed);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    // Inside the application's own event loop, where closing a window can end it.
    QTimer::singleShot(0, &window,
                       [&] { window.findChild<QDialogButtonBox *>()->buttons().value(0)->click(); });
    QTimer::singleShot(200, qApp, [] { QCoreApplication::exit(7); });
    QCOMPARE(QCoreApplication::exec(), 7);
    QVERIFY(!window.isVisible());
    QCOMPARE(lastClosed.size(), 0);
}

QTEST_MAIN(TestWhatsNewWindow)
#include "tst_whatsnewwindow.moc"
