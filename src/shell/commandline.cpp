// Parses Orvella's command line into one request.
#include "shell/commandline.h"

namespace orvella::shell {

namespace {

// sysmon's options, which take values; false with `request` made Invalid on a mistake.
bool parseSysmonOptions(const QStringList &arguments, CommandLineRequest &request)
{
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString &arg = arguments[i];
        if (arg == QLatin1String("--json")) {
            request.json = true;
            continue;
        }
        if (arg == QLatin1String("--help") || arg == QLatin1String("-h")) {
            request.action = CommandLineRequest::Action::Help;
            return true;
        }
        if (arg != QLatin1String("--interval") && arg != QLatin1String("--count")) {
            request.action = CommandLineRequest::Action::Invalid;
            request.error = QStringLiteral("unknown option \"%1\"").arg(arg);
            return false;
        }
        bool ok = false;
        const QString value = i + 1 < arguments.size() ? arguments[++i] : QString();
        if (arg == QLatin1String("--interval")) {
            request.sysmonInterval = value.toDouble(&ok);
            ok = ok && request.sysmonInterval >= 0.1 && request.sysmonInterval <= 3600;
        } else {
            request.sysmonCount = value.toInt(&ok);
            ok = ok && request.sysmonCount >= 1;
        }
        if (!ok) {
            request.action = CommandLineRequest::Action::Invalid;
            request.error = arg == QLatin1String("--interval")
                                ? QStringLiteral("--interval needs a number of seconds from 0.1 to 3600")
                                : QStringLiteral("--count needs a whole number of at least 1");
            return false;
        }
    }
    return true;
}

} // namespace

CommandLineRequest parseCommandLine(const QStringList &arguments)
{
    using Action = CommandLineRequest::Action;
    CommandLineRequest request;
    QStringList rest = arguments;
    if (!rest.isEmpty() && !rest.constFirst().startsWith(u'-')) {
        const QString command = rest.takeFirst();
        if (command == QLatin1String("list")) {
            request.action = Action::List;
        } else if (command == QLatin1String("watch")) {
            request.action = Action::Watch;
        } else if (command == QLatin1String("sysmon")) {
            request.action = Action::Sysmon;
            parseSysmonOptions(rest, request);
            return request;
        } else if (command == QLatin1String("help")) {
            request.action = Action::Help;
        } else if (isWindowCommand(command) && !rest.contains(QLatin1String("--help"))
                   && !rest.contains(QLatin1String("-h"))) {
            auto parsed = parseWindowCommand(command, rest);
            if (auto *error = std::get_if<QString>(&parsed)) {
                request.action = Action::Invalid;
                request.error = *error;
            } else {
                request.action = Action::Window;
                request.window = std::get<WindowCommand>(parsed);
            }
            return request;
        } else if (isWindowCommand(command)) {
            request.action = Action::Help;
            return request;
        } else {
            request.action = Action::Invalid;
            request.error = QStringLiteral("unknown command \"%1\"").arg(command);
            return request;
        }
    }
    for (const QString &arg : rest) {
        if (arg == QLatin1String("--version") || arg == QLatin1String("-v")) {
            request.action = Action::Version;
        } else if (arg == QLatin1String("--help") || arg == QLatin1String("-h")) {
            request.action = Action::Help;
        } else if (arg == QLatin1String("--json")
                   && (request.action == Action::List || request.action == Action::Watch)) {
            request.json = true;
        } else {
            request.action = Action::Invalid;
            request.error = QStringLiteral("unknown option \"%1\"").arg(arg);
            return request;
        }
    }
    return request;
}

QString usageText()
{
    return QStringLiteral("Usage: orvella [COMMAND] [OPTIONS]\n"
                          "\n"
                          "Orvella keeps a sidebar at the screen edge that lists every open window,\n"
                          "grouped into shelves and per-application sections.\n"
                          "\n"
                          "Commands:\n"
                          "  (none)        start Orvella in the current X session (or, when it runs\n"
                          "                already, show its sidebar)\n"
                          "  list          print the windows, grouped into shelves and sections, and exit\n"
                          "  watch         print a line each time the windows, the active window or the\n"
                          "                sections change, until interrupted\n"
                          "  sysmon        print the system monitor's readings (CPU, memory, disk,\n"
                          "                network, battery, temperature) and exit:\n"
                          "                sysmon [--json] [--interval SECONDS (3)] [--count N (1)]\n"
                          "  focus ID      raise and focus a window (ID as list --json prints it)\n"
                          "  close ID      ask a window's application to close it\n"
                          "  minimize ID   minimise a window\n"
                          "  tile-window ID POSITION\n"
                          "                snap a window to leftHalf, rightHalf, topHalf, bottomHalf,\n"
                          "                topLeft, topRight, bottomLeft, bottomRight, maximize or center\n"
                          "  tile-shelf SHELF_ID [--align left|center|right] [--width FRACTION]\n"
                          "                stack a shelf's windows in one column, FRACTION of the screen\n"
                          "                wide from 0.1 to 1.0 (default left, 0.5)\n"
                          "  minimize-all  minimise every window\n"
                          "  new-window BUNDLE_ID\n"
                          "                open a new window of an application (its desktop-file id)\n"
                          "\n"
                          "With Orvella running, the commands above act through it (its shelves, its\n"
                          "sidebar's room). These need it running:\n"
                          "  show-desktop  minimise every window, or bring back exactly those it hid\n"
                          "  show-sidebar, hide-sidebar, toggle-sidebar\n"
                          "  add-shelf NAME\n"
                          "                make a shelf and print its id\n"
                          "  move-to-shelf ID SHELF_ID\n"
                          "  remove-from-shelf ID\n"
                          "  quit          save and end Orvella\n"
                          "\n"
                          "Options:\n"
                          "  --json        with list and watch: JSON documents instead of text\n"
                          "  -h, --help    show this help and exit\n"
                          "  -v, --version show the version and exit\n"
                          "\n"
                          "Preferences: $XDG_CONFIG_HOME/orvella/preferences.json\n");
}

} // namespace orvella::shell
