// The command line: what each argument list asks for.
#include "shell/commandline.h"
#include "shell/commandverbs.h"

#include <QTest>

using namespace orvella::shell;
using Action = CommandLineRequest::Action;
using Verb = WindowCommand::Verb;

namespace {

// The request in a few words, so that each row states everything the parse decided.
QString summary(const CommandLineRequest &r)
{
    static const char *const actions[] = {"run",   "version", "help",   "list",
                                          "watch", "sysmon",  "window", "invalid"};
    static const char *const verbs[] = {
        "focus",          "close",      "minimize",      "tile-window",       "tile-shelf",
        "minimize-all",   "new-window", "show-desktop",  "show-sidebar",      "hide-sidebar",
        "toggle-sidebar", "add-shelf",  "move-to-shelf", "remove-from-shelf", "quit"};
    QStringList out{QString::fromLatin1(actions[int(r.action)])};
    if (r.action == Action::Sysmon)
        out << QString::number(r.sysmonInterval) << QString::number(r.sysmonCount);
    if (r.action == Action::Window) {
        out << QString::fromLatin1(verbs[int(r.window.verb)]);
        if (!r.window.target.isEmpty())
            out << r.window.target;
        if (r.window.verb == Verb::MoveToShelf)
            out << r.window.shelfID;
        if (r.window.verb == Verb::TileWindow)
            out << r.window.position;
        if (r.window.verb == Verb::TileShelf)
            out << r.window.alignment << QString::number(r.window.widthFraction);
    }
    if (r.json)
        out << QStringLiteral("json");
    if (r.action == Action::Invalid)
        out.last() += u':', out << r.error;
    return out.join(u' ');
}

} // namespace

class TestCommandLine : public QObject
{
    Q_OBJECT
private slots:
    void parse_data();
    void parse();
    void everyTabledFormParses();
};

void TestCommandLine::parse_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("expected");
    const auto row = [](const QStringList &arguments, const char *expected) {
        QTest::addRow("%s", arguments.isEmpty() ? "(nothing)" : qPrintable(arguments.join(u' ')))
            << arguments << QString::fromLatin1(expected);
    };
    row({}, "run");
    row({"--version"}, "version");
    row({"-h"}, "help");
    row({"list"}, "list");
    row({"list", "--json"}, "list json");
    row({"watch", "--json"}, "watch json");
    row({"--json"}, "invalid");
    row({"frobnicate"}, "invalid");
    row({"list", "--yaml"}, "invalid");
    row({"tile-shelf", "--help"}, "help");

    row({"sysmon"}, "sysmon 3 1");
    row({"sysmon", "--count", "5", "--json", "--interval", "0.5"}, "sysmon 0.5 5 json");
    row({"sysmon", "--help"}, "help");
    row({"sysmon", "--interval"}, "invalid");
    row({"sysmon", "--interval", "soon"}, "invalid");
    row({"sysmon", "--interval", "0.01"}, "invalid");
    row({"sysmon", "--count", "0"}, "invalid");
    row({"sysmon", "--yaml"}, "invalid");

    row({"focus", "app::wn:12"}, "window focus app::wn:12");
    row({"close", "a::wn:1"}, "window close a::wn:1");
    row({"minimize", "a::b"}, "window minimize a::b");
    row({"minimize-all"}, "window minimize-all");
    row({"new-window", "org.gnome.TextEditor"}, "window new-window org.gnome.TextEditor");
    row({"tile-window", "a::wn:1", "topRight"}, "window tile-window a::wn:1 topRight");
    row({"tile-shelf", "shelf-1"}, "window tile-shelf shelf-1 left 0.5");
    row({"tile-shelf", "shelf-2", "--width", "0.3", "--align", "right"},
        "window tile-shelf shelf-2 right 0.3");
    row({"tile-window", "a::wn:1", "middle"}, "invalid");
    row({"tile-window", "a::wn:1"}, "invalid");
    row({"close", "--json"}, "invalid");
    row({"focus", "a", "b"}, "invalid");
    row({"tile-shelf", "shelf-1", "--align", "top"}, "invalid");
    row({"tile-shelf", "shelf-1", "--width", "half"}, "invalid");
    row({"tile-shelf", "shelf-1", "--width", "nan"}, "invalid");
    row({"tile-shelf", "shelf-1", "--width"}, "invalid: --width needs a value");
    row({"tile-shelf", "shelf-1", "--height", "2"}, "invalid");
    row({"tile-shelf", "shelf-1", "--bogus"}, "invalid: unknown option \"--bogus\"");
    row({"tile-shelf", "shelf-1", "--width", "5"},
        "invalid: --width takes a fraction of the screen width from 0.1 to 1.0, not \"5\"");
    row({"tile-shelf", "shelf-1", "--width", "0.05"}, "invalid");
    row({"tile-shelf", "shelf-1", "--width", "1.0"}, "window tile-shelf shelf-1 left 1");
    row({"focus", "-5"}, "invalid: \"-5\" is not a window id");
    row({"tile-window", "a::wn:1", "-left"}, "invalid: \"-left\" is not a position");
    row({"focus"}, "invalid: focus needs a window id");
    row({"add-shelf", "-- Later --"}, "window add-shelf -- Later --");
    row({"move-to-shelf", "a::wn:1", "shelf-2"}, "window move-to-shelf a::wn:1 shelf-2");
    row({"move-to-shelf", "a::wn:1"}, "invalid: move-to-shelf needs a window id and a shelf id");
    row({"quit", "now"}, "invalid: unexpected argument \"now\"");
}

void TestCommandLine::parse()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, expected);
    const CommandLineRequest request = parseCommandLine(arguments);
    // A bare "invalid" row leaves the wording open; others state the message too.
    if (expected == QLatin1String("invalid"))
        QCOMPARE(request.action, Action::Invalid);
    else
        QCOMPARE(summary(request), expected);
    // Refused lists say why; accepted ones carry no error.
    QCOMPARE(request.error.isEmpty(), request.action != Action::Invalid);
}

// The help, the completions and the manual page are written from the verb table: each verb
// with its operands and every option it lists must be what the parser takes.
void TestCommandLine::everyTabledFormParses()
{
    const auto sample = [](OperandKind kind) {
        const QStringList choices = commandVerbs::choices(kind);
        if (!choices.isEmpty())
            return choices.last();
        return kind == OperandKind::Number ? QStringLiteral("1") : QStringLiteral("x::wn:1");
    };
    for (const CommandVerb &verb : commandVerbs::all()) {
        QStringList arguments{verb.name};
        arguments.removeAll(QString());
        for (const CommandOperand &operand : verb.operands)
            arguments << sample(operand.kind);
        for (const CommandOption &option : verb.options) {
            arguments << option.name;
            if (!option.placeholder.isEmpty())
                arguments << sample(option.kind);
        }
        const CommandLineRequest request = parseCommandLine(arguments);
        const char *kinds[] = {"run", "help", "list", "watch", "sysmon", "window"};
        const Action expected[] = {Action::Run,   Action::Help,   Action::List,
                                   Action::Watch, Action::Sysmon, Action::Window};
        QVERIFY2(request.action == expected[int(verb.kind)],
                 qPrintable(arguments.join(u' ') + QStringLiteral(" is not ")
                            + QLatin1String(kinds[int(verb.kind)]) + QStringLiteral(": ") + request.error));
        if (verb.kind == CommandVerb::Kind::Window)
            QCOMPARE(commandVerbs::forWindowVerb(request.window.verb).name, verb.name);
    }
}

QTEST_GUILESS_MAIN(TestCommandLine)
#include "tst_commandline.moc"
