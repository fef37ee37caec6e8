// Which desktop-entry action opens a new window.
#include "platform/linux/applauncher.h"

#include <QTest>

using namespace orvella::platform;

class TestAppLauncher : public QObject
{
    Q_OBJECT
private slots:
    void newWindowAction_data();
    void newWindowAction();
};

void TestAppLauncher::newWindowAction_data()
{
    QTest::addColumn<QStringList>("actions");
    QTest::addColumn<QString>("expected"); // empty: none
    QTest::newRow("browser") << QStringList{"new-window", "new-private-window"} << "new-window";
    QTest::newRow("private listed first") << QStringList{"new-private-window", "new-window"} << "new-window";
    QTest::newRow("KDE spelling") << QStringList{"NewTab", "NewWindow"} << "NewWindow";
    QTest::newRow("editor's empty window") << QStringList{"new-empty-window"} << "new-empty-window";
    QTest::newRow("plain beats empty") << QStringList{"new-empty-window", "new_window"} << "new_window";
    QTest::newRow("window-new") << QStringList{"Window-New"} << "Window-New";
    QTest::newRow("private only") << QStringList{"new-private-window", "incognito"} << "";
    QTest::newRow("no actions") << QStringList{} << "";
}

void TestAppLauncher::newWindowAction()
{
    QFETCH(QStringList, actions);
    QFETCH(QString, expected);
    QCOMPARE(applauncher::pickNewWindowAction(actions).value_or(QString()), expected);
}

QTEST_GUILESS_MAIN(TestAppLauncher)
#include "tst_applauncher.moc"
