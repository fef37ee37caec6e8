// The diagnostics a user may send: window titles stay out unless asked for, the settings
// that differ are listed, and the log keeps only this run's last lines.
#include "logging.h"
#include "platform/preferencesstore.h"
#include "settings/appsettings.h"
#include "sidebar/diagnosticsreport.h"

#include <QGuiApplication>
#include <QTemporaryDir>
#include <QTest>

using namespace orvella;

class TestDiagnosticsReport : public QObject
{
    Q_OBJECT
private slots:
    void windowTitlesOnlyWhenAskedFor();
    void changedSettingsAreListed();
    void logKeepsTheLastLines();
};

void TestDiagnosticsReport::windowTitlesOnlyWhenAskedFor()
{
    sidebar::DiagnosticsReport report;
    report.version = QStringLiteral("1.2.3");
    report.windowTitles = {QStringLiteral("Mail"), QStringLiteral("Mail — Inbox (3)"), QString()};
    report.logLines = {QStringLiteral("focus \"Mail — Inbox (3)\" done"),
                       QStringLiteral("title Mail changed"), QStringLiteral("refresh() — windows: 2")};

    const QString hidden = report.compose(false);
    QVERIFY(!hidden.contains(QStringLiteral("Mail")));
    QVERIFY(!hidden.contains(QStringLiteral("Inbox")));
    QVERIFY(hidden.contains(QStringLiteral("refresh() — windows: 2")));
    QVERIFY(hidden.contains(QStringLiteral("Orvella 1.2.3")));

    const QString shown = report.compose(true);
    QVERIFY(shown.contains(QStringLiteral("focus \"Mail — Inbox (3)\" done")));
    QVERIFY(shown.contains(QStringLiteral("  Mail — Inbox (3)\n")));
}

void TestDiagnosticsReport::changedSettingsAreListed()
{
    QTemporaryDir dir;
    platform::PreferencesStore store(dir.filePath(QStringLiteral("prefs.json")));
    settings::AppSettings s(store);
    s.setPosition(QStringLiteral("right"));
    s.setActiveRowColorLight(QColor(255, 0, 0));
    const QStringList changed = sidebar::DiagnosticsReport::changedSettingsOf(s);
    QVERIFY(changed.contains(QStringLiteral("sidebarPosition = right")));
    QVERIFY(changed.contains(QStringLiteral("activeRowColor_light = #FF0000FF")));
    QVERIFY(changed.contains(QStringLiteral("colorScheme = Custom")));
    QVERIFY(!changed.join(u'\n').contains(QStringLiteral("fontSize")));
}

void TestDiagnosticsReport::logKeepsTheLastLines()
{
    logging::keepRecentLines();
    logging::keepRecentLines(); // a second install must not chain to itself
    for (int i = 0; i < logging::kRecentLineCount + 50; ++i)
        qCInfo(lcShell) << "[OV] line" << i;
    const QStringList lines = logging::recentLines();
    QCOMPARE(lines.size(), logging::kRecentLineCount);
    QVERIFY(lines.first().endsWith(QStringLiteral("line 50")));
    QVERIFY(lines.last().endsWith(QStringLiteral("line 249")));
}

QTEST_MAIN(TestDiagnosticsReport)
#include "tst_diagnosticsreport.moc"
