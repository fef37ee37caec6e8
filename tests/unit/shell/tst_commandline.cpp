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

QTEST_GUILESS_MAIN(TestCommandLine)
#include "tst_commandline.moc"
