// Parses Orvella's command line into one request.
#pragma once

#include <QString>
#include <QStringList>

namespace orvella::shell {

struct CommandLineRequest
{
    enum class Action { Run, Version, Help, List, Watch, Invalid };
    Action action = Action::Run;
    bool json = false;
    QString error; ///< for Invalid: what was wrong, for the user
};

/// `arguments` without the program name.
CommandLineRequest parseCommandLine(const QStringList &arguments);
/// The text `--help` prints.
QString usageText();

} // namespace orvella::shell
