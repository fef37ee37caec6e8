// Parses Orvella's command line into one request.
#pragma once

#include "shell/windowcommand.h"

#include <QString>
#include <QStringList>

namespace orvella::shell {

struct CommandLineRequest
{
    enum class Action { Run, Version, Help, List, Watch, Sysmon, Window, Invalid };
    Action action = Action::Run;
    bool json = false;
    /// For Window: which action on what.
    WindowCommand window;
    QString error;             ///< for Invalid: what was wrong, for the user
    double sysmonInterval = 3; ///< sysmon: seconds between samples
    int sysmonCount = 1;       ///< sysmon: samples to print
};

/// `arguments` without the program name.
CommandLineRequest parseCommandLine(const QStringList &arguments);
/// The text `--help` prints.
QString usageText();

} // namespace orvella::shell
