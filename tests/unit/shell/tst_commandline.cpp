// The command line: what each argument list asks for.
#include "shell/commandline.h"

#include <QTest>

using namespace orvella::shell;
using Action = CommandLineRequest::Action;

class TestCommandLine : public QObject
{
    Q_OBJECT
private slots:
    void parse_data();
    void parse();
    void sysmonOptions_data();
    void sysmonOptions();
};

void TestCommandLine::parse_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("action");
    QTest::addColumn<bool>("json");
    QTest::newRow("nothing runs the app") << QStringList{} << int(Action::Run) << false;
    QTest::newRow("version") << QStringList{"--version"} << int(Action::Version) << false;
    QTest::newRow("help") << QStringList{"-h"} << int(Action::Help) << false;
    QTest::newRow("list") << QStringList{"list"} << int(Action::List) << false;
    QTest::newRow("list json") << QStringList{"list", "--json"} << int(Action::List) << true;
    QTest::newRow("watch json") << QStringList{"watch", "--json"} << int(Action::Watch) << true;
    QTest::newRow("json without list") << QStringList{"--json"} << int(Action::Invalid) << false;
    QTest::newRow("unknown command") << QStringList{"frobnicate"} << int(Action::Invalid) << false;
    QTest::newRow("unknown option") << QStringList{"list", "--yaml"} << int(Action::Invalid) << false;
}

void TestCommandLine::parse()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, action);
    QFETCH(bool, json);
    const CommandLineRequest request = parseCommandLine(arguments);
    QCOMPARE(int(request.action), action);
    QCOMPARE(request.json, json);
    QCOMPARE(request.error.isEmpty(), action != int(Action::Invalid));
}

void TestCommandLine::sysmonOptions_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("action");
    QTest::addColumn<double>("interval");
    QTest::addColumn<int>("count");
    QTest::newRow("defaults") << QStringList{"sysmon"} << int(Action::Sysmon) << 3.0 << 1;
    QTest::newRow("all options") << QStringList{"sysmon", "--count", "5", "--json", "--interval", "0.5"}
                                 << int(Action::Sysmon) << 0.5 << 5;
    QTest::newRow("help") << QStringList{"sysmon", "--help"} << int(Action::Help) << 3.0 << 1;
    QTest::newRow("interval without value")
        << QStringList{"sysmon", "--interval"} << int(Action::Invalid) << 0.0 << 1;
    QTest::newRow("interval not a number")
        << QStringList{"sysmon", "--interval", "soon"} << int(Action::Invalid) << 0.0 << 1;
    QTest::newRow("interval too short")
        << QStringList{"sysmon", "--interval", "0.01"} << int(Action::Invalid) << 0.01 << 1;
    QTest::newRow("count zero") << QStringList{"sysmon", "--count", "0"} << int(Action::Invalid) << 3.0 << 0;
    QTest::newRow("unknown option") << QStringList{"sysmon", "--yaml"} << int(Action::Invalid) << 3.0 << 1;
}

void TestCommandLine::sysmonOptions()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, action);
    QFETCH(double, interval);
    QFETCH(int, count);
    const CommandLineRequest request = parseCommandLine(arguments);
    QCOMPARE(int(request.action), action);
    QCOMPARE(request.error.isEmpty(), action != int(Action::Invalid));
    if (action == int(Action::Sysmon)) {
        QCOMPARE(request.sysmonInterval, interval);
        QCOMPARE(request.sysmonCount, count);
        QCOMPARE(request.json, arguments.contains(QStringLiteral("--json")));
    }
}

QTEST_GUILESS_MAIN(TestCommandLine)
#include "tst_commandline.moc"
