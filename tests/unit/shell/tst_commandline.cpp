// The command line: what each argument list asks for, and what `list` prints.
#include "shell/commandline.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace orvella::shell;
using Action = CommandLineRequest::Action;

class TestCommandLine : public QObject
{
    Q_OBJECT
private slots:
    void parse_data();
    void parse();
    void listOutput();
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

void TestCommandLine::listOutput()
{
    using orvella::platform::x11::ClientSummary;
    const QList<ClientSummary> clients{
        {0x1a00003, 4242, QStringLiteral("Notes — ü"), QStringLiteral("Gedit")},
        {0x2c00001, std::nullopt, QString(), QString()}};
    const QList<QByteArray> lines = formatClientList(clients, false).split('\n');
    QCOMPARE(lines.size(), 3);
    QVERIFY(lines[0].startsWith("0x01a00003"));
    QVERIFY(lines[0].contains("4242"));
    QVERIFY(lines[0].endsWith("Notes — ü"));

    const QJsonArray array = QJsonDocument::fromJson(formatClientList(clients, true)).array();
    QCOMPARE(array.size(), 2);
    QCOMPARE(array[0].toObject().value(QStringLiteral("title")).toString(), QStringLiteral("Notes — ü"));
    QCOMPARE(array[0].toObject().value(QStringLiteral("pid")).toInt(), 4242);
    QVERIFY(!array[1].toObject().contains(QStringLiteral("pid")));
}

QTEST_GUILESS_MAIN(TestCommandLine)
#include "tst_commandline.moc"
