// Which desktop-entry action opens a new window; the startup ids launches hand over.
#include "platform/linux/applauncher.h"

#include <QRegularExpression>
#include <QTest>

using namespace orvella::platform;

class TestAppLauncher : public QObject
{
    Q_OBJECT
private slots:
    void newWindowAction_data();
    void newWindowAction();
    void startupIDNeedsNoQuoting_data();
    void startupIDNeedsNoQuoting();
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

void TestAppLauncher::startupIDNeedsNoQuoting_data()
{
    QTest::addColumn<QString>("bundleID");
    QTest::addColumn<QString>("tail"); // what follows "<host>+<pid>-<sequence>-"
    QTest::newRow("plain") << "org.gnome.TextEditor"
                           << "org.gnome.TextEditor_TIME4242";
    QTest::newRow("quotes and spaces") << "my \"app\""
                                       << "my__app__TIME4242";
    QTest::newRow("not ASCII") << QStringLiteral("caf\u00e9") << "caf__TIME4242";
}

// The id travels in the environment and in startup messages' quoted fields.
void TestAppLauncher::startupIDNeedsNoQuoting()
{
    QFETCH(QString, bundleID);
    QFETCH(QString, tail);
    const QString id = applauncher::makeStartupID(bundleID, 4242);
    const QRegularExpression form(QStringLiteral("^[A-Za-z0-9._-]+\\+\\d+-\\d+-(.*)$"));
    const QRegularExpressionMatch match = form.match(id);
    QVERIFY2(match.hasMatch(), qPrintable(id));
    QCOMPARE(match.captured(1), tail);
    QVERIFY(applauncher::makeStartupID(bundleID, 4242) != id);
}

QTEST_GUILESS_MAIN(TestAppLauncher)
#include "tst_applauncher.moc"
