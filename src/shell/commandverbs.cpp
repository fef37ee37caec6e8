// The command line's verbs in one table.
#include "shell/commandverbs.h"

#include "actions/tilegeometry.h"

namespace orvella::shell {

namespace {

using Kind = CommandVerb::Kind;
using Verb = WindowCommand::Verb;

CommandOperand windowID()
{
    return {QStringLiteral("ID"), QStringLiteral("a window id"), OperandKind::WindowID};
}

CommandOperand shelfID()
{
    return {QStringLiteral("SHELF_ID"), QStringLiteral("a shelf id"), OperandKind::ShelfID};
}

CommandOption option(const char *name, const char *placeholder, OperandKind kind, const char *summary,
                     const char *shortName = "")
{
    return {QString::fromLatin1(name), QString::fromLatin1(placeholder), kind, QString::fromUtf8(summary),
            QString::fromLatin1(shortName)};
}

CommandOption jsonOption()
{
    return option("--json", "", OperandKind::Number, "JSON documents instead of text");
}

CommandVerb window(const char *name, Verb verb, QList<CommandOperand> operands, const QString &summary)
{
    return {QString::fromLatin1(name), Kind::Window, verb, std::move(operands), {}, summary};
}

QList<CommandVerb> makeTable()
{
    const QStringList positions = commandVerbs::choices(OperandKind::Position);
    QList<CommandVerb> table{
        {{},
         Kind::Run,
         Verb::Focus,
         {},
         {},
         QStringLiteral(
             "start Orvella in the current X session (or, when it runs already, show its sidebar)")},
        {QStringLiteral("list"),
         Kind::List,
         Verb::Focus,
         {},
         {jsonOption()},
         QStringLiteral("print the windows, grouped into shelves and sections, and exit")},
        {QStringLiteral("watch"),
         Kind::Watch,
         Verb::Focus,
         {},
         {jsonOption()},
         QStringLiteral("print a line each time the windows, the active window or the sections change, "
                        "until interrupted")},
        {QStringLiteral("sysmon"),
         Kind::Sysmon,
         Verb::Focus,
         {},
         {jsonOption(),
          option("--interval", "SECONDS", OperandKind::Number, "seconds between samples (default 3)"),
          option("--count", "N", OperandKind::Number, "samples to print (default 1)")},
         QStringLiteral("print the system monitor's readings (CPU, memory, disk, network, battery, "
                        "temperature) and exit")},
        window("focus", Verb::Focus, {windowID()},
               QStringLiteral("raise and focus a window (ID as list --json prints it)")),
        window("close", Verb::Close, {windowID()}, QStringLiteral("ask a window's application to close it")),
        window("minimize", Verb::Minimize, {windowID()}, QStringLiteral("minimise a window")),
        window(
            "tile-window", Verb::TileWindow,
            {windowID(), {QStringLiteral("POSITION"), QStringLiteral("a position"), OperandKind::Position}},
            QStringLiteral("snap a window to %1 or %2")
                .arg(positions.mid(0, positions.size() - 1).join(QStringLiteral(", ")), positions.last())),
        window("tile-shelf", Verb::TileShelf, {shelfID()},
               QStringLiteral(
                   "stack a shelf's windows in one column, FRACTION of the screen wide from 0.1 to 1.0 "
                   "(default left, 0.5)")),
        window("minimize-all", Verb::MinimizeAll, {}, QStringLiteral("minimise every window")),
        window(
            "new-window", Verb::NewWindow,
            {{QStringLiteral("BUNDLE_ID"), QStringLiteral("an application id"), OperandKind::ApplicationID}},
            QStringLiteral("open a new window of an application (its desktop-file id)")),
        window("show-desktop", Verb::ShowDesktop, {},
               QStringLiteral("minimise every window, or bring back exactly those it hid")),
        window("show-sidebar", Verb::ShowSidebar, {}, QStringLiteral("show the sidebar")),
        window("hide-sidebar", Verb::HideSidebar, {}, QStringLiteral("hide the sidebar")),
        window("toggle-sidebar", Verb::ToggleSidebar, {},
               QStringLiteral("show the sidebar, or hide it when it is shown")),
        window("add-shelf", Verb::AddShelf,
               {{QStringLiteral("NAME"), QStringLiteral("a shelf name"), OperandKind::ShelfName}},
               QStringLiteral("make a shelf and print its id")),
        window("move-to-shelf", Verb::MoveToShelf, {windowID(), shelfID()},
               QStringLiteral("put a window on a shelf")),
        window("remove-from-shelf", Verb::RemoveFromShelf, {windowID()},
               QStringLiteral("take a window off its shelf, back to its application's section")),
        window("settings", Verb::OpenSettings, {}, QStringLiteral("open the settings window")),
        window("quit", Verb::Quit, {}, QStringLiteral("save and end Orvella")),
        {QStringLiteral("help"), Kind::Help, Verb::Focus, {}, {}, QStringLiteral("show this help and exit")},
    };
    for (CommandVerb &verb : table) {
        if (verb.kind == Kind::Window && verb.windowVerb == Verb::TileShelf)
            verb.options = {option("--align", "left|center|right", OperandKind::Alignment,
                                   "where the column stands (default left)"),
                            option("--width", "FRACTION", OperandKind::Number,
                                   "the column's share of the screen width, 0.1 to 1.0 (default 0.5)")};
    }
    return table;
}

} // namespace

bool CommandVerb::needsRunningInstance() const
{
    return kind == Kind::Window && shell::needsRunningInstance(windowVerb);
}

QString CommandVerb::synopsis() const
{
    QStringList words{name};
    for (const CommandOperand &operand : operands)
        words.append(operand.placeholder);
    for (const CommandOption &option : options)
        words.append(u'[' + option.name
                     + (option.placeholder.isEmpty() ? QString() : u' ' + option.placeholder) + u']');
    return words.join(u' ').trimmed();
}

namespace commandVerbs {

const QList<CommandVerb> &all()
{
    static const QList<CommandVerb> table = makeTable();
    return table;
}

std::optional<CommandVerb> find(const QString &name)
{
    if (name.isEmpty())
        return std::nullopt;
    for (const CommandVerb &verb : all()) {
        if (verb.name == name)
            return verb;
    }
    return std::nullopt;
}

const CommandVerb &forWindowVerb(WindowCommand::Verb windowVerb)
{
    for (const CommandVerb &verb : all()) {
        if (verb.kind == Kind::Window && verb.windowVerb == windowVerb)
            return verb;
    }
    // Every window verb has a row; a new one without is a programming error caught by the tests.
    Q_UNREACHABLE();
}

const QList<CommandOption> &globalOptions()
{
    static const QList<CommandOption> options{
        option("--help", "", OperandKind::Number, "show this help and exit", "-h"),
        option("--version", "", OperandKind::Number, "show the version and exit", "-v")};
    return options;
}

QStringList choices(OperandKind kind)
{
    QStringList values;
    switch (kind) {
    case OperandKind::Position:
        for (actions::TilePosition p : actions::kAllTilePositions)
            values.append(actions::tilePosition::rawValue(p));
        break;
    case OperandKind::Alignment:
        values = {QStringLiteral("left"), QStringLiteral("center"), QStringLiteral("right")};
        break;
    default: break;
    }
    return values;
}

} // namespace commandVerbs

} // namespace orvella::shell
