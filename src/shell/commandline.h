// Parses Orvella's command line into one request.
#pragma once

#include "platform/x11/x11session.h"

#include <QString>
#include <QStringList>

namespace orvella::shell {

struct CommandLineRequest
{
    enum class Action { Run, Version, Help, List, Invalid };
    Action action = Action::Run;
    bool json = false;
    QString error; ///< for Invalid: what was wrong, for the user
};

/// `arguments` without the program name.
CommandLineRequest parseCommandLine(const QStringList &arguments);
/// The text `--help` prints.
QString usageText();
/// What `list` prints: one line per window, or one JSON array with `json`.
QByteArray formatClientList(const QList<platform::x11::ClientSummary> &clients, bool json);

} // namespace orvella::shell
