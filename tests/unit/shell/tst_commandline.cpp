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
    void windowCommands_data();
    void windowCommands();
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
    QTest::newRow("focus") << QStringList{"focus", "app::wn:12"} << int(Action::Window) << false;
    QTest::newRow("help on a window command")
        << QStringList{"tile-shelf", "--help"} << int(Action::Help) << false;
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

void TestCommandLine::windowCommands_data()
{
    using Verb = WindowCommand::Verb;
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("verb"); // -1: refused
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("detail"); // position, or alignment and width
    QTest::newRow("close") << QStringList{"close", "a::wn:1"} << int(Verb::Close) << "a::wn:1"
                           << "";
    QTest::newRow("minimize") << QStringList{"minimize", "a::b"} << int(Verb::Minimize) << "a::b"
                              << "";
    QTest::newRow("minimize-all") << QStringList{"minimize-all"} << int(Verb::MinimizeAll) << ""
                                  << "";
    QTest::newRow("new-window") << QStringList{"new-window", "org.gnome.TextEditor"} << int(Verb::NewWindow)
                                << "org.gnome.TextEditor"
                                << "";
    QTest::newRow("tile-window") << QStringList{"tile-window", "a::wn:1", "topRight"} << int(Verb::TileWindow)
                                 << "a::wn:1"
                                 << "topRight";
    QTest::newRow("tile-shelf defaults")
        << QStringList{"tile-shelf", "shelf-1"} << int(Verb::TileShelf) << "shelf-1"
        << "left 0.5";
    QTest::newRow("tile-shelf options")
        << QStringList{"tile-shelf", "shelf-2", "--width", "0.3", "--align", "right"} << int(Verb::TileShelf)
        << "shelf-2"
        << "right 0.3";
    QTest::newRow("unknown position") << QStringList{"tile-window", "a::wn:1", "middle"} << -1 << ""
                                      << "";
    QTest::newRow("position missing") << QStringList{"tile-window", "a::wn:1"} << -1 << ""
                                      << "";
    QTest::newRow("id missing") << QStringList{"focus"} << -1 << ""
                                << "";
    QTest::newRow("an option is no id") << QStringList{"close", "--json"} << -1 << ""
                                        << "";
    QTest::newRow("extra argument") << QStringList{"focus", "a", "b"} << -1 << ""
                                    << "";
    QTest::newRow("unknown alignment") << QStringList{"tile-shelf", "shelf-1", "--align", "top"} << -1 << ""
                                       << "";
    QTest::newRow("width not a number") << QStringList{"tile-shelf", "shelf-1", "--width", "half"} << -1 << ""
                                        << "";
    QTest::newRow("width nan") << QStringList{"tile-shelf", "shelf-1", "--width", "nan"} << -1 << ""
                               << "";
    QTest::newRow("width without value") << QStringList{"tile-shelf", "shelf-1", "--width"} << -1 << ""
                                         << "";
    QTest::newRow("unknown shelf option") << QStringList{"tile-shelf", "shelf-1", "--height", "2"} << -1 << ""
                                          << "";
}

void TestCommandLine::windowCommands()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, verb);
    QFETCH(QString, target);
    QFETCH(QString, detail);
    const CommandLineRequest request = parseCommandLine(arguments);
    if (verb < 0) {
        QCOMPARE(int(request.action), int(Action::Invalid));
        QVERIFY(!request.error.isEmpty());
        return;
    }
    QCOMPARE(int(request.action), int(Action::Window));
    QCOMPARE(int(request.window.verb), verb);
    QCOMPARE(request.window.target, target);
    if (request.window.verb == WindowCommand::Verb::TileWindow)
        QCOMPARE(request.window.position, detail);
    if (request.window.verb == WindowCommand::Verb::TileShelf)
        QCOMPARE(QStringLiteral("%1 %2").arg(request.window.alignment).arg(request.window.widthFraction),
                 detail);
}

QTEST_GUILESS_MAIN(TestCommandLine)
#include "tst_commandline.moc"
