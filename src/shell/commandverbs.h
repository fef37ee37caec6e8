// The command line's verbs in one table: the parser, --help, the shell completions and the
// manual page all read it.
#pragma once

#include "shell/windowcommand.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace orvella::shell {

/// What an operand or an option's value is, so that a shell knows what to offer for it.
enum class OperandKind { WindowID, ShelfID, ShelfName, ApplicationID, Position, Alignment, Number };

struct CommandOperand
{
    QString placeholder; ///< as a synopsis writes it: "ID", "POSITION"
    QString noun;        ///< as an error message names it: "a window id"
    OperandKind kind = OperandKind::WindowID;
};

struct CommandOption
{
    QString name;        ///< "--align"
    QString placeholder; ///< its value's placeholder; empty for a flag
    OperandKind kind = OperandKind::Number;
    QString summary;
    QString shortName; ///< "-h", or empty
};

struct CommandVerb
{
    /// What the verb starts; Run is `orvella` itself (its name is empty).
    enum class Kind { Run, Help, List, Watch, Sysmon, Window };
    QString name;
    Kind kind = Kind::Run;
    /// For Window: the window command it carries out.
    WindowCommand::Verb windowVerb = WindowCommand::Verb::Focus;
    QList<CommandOperand> operands;
    QList<CommandOption> options;
    /// One sentence, lower case, as `--help` prints it.
    QString summary;

    /// Only the running application can carry it out.
    bool needsRunningInstance() const;
    /// "tile-shelf SHELF_ID [--align left|center|right] [--width FRACTION]"
    QString synopsis() const;
};

namespace commandVerbs {

/// Every verb, in the order `--help` lists them.
const QList<CommandVerb> &all();
/// The verb called `name`; absent for anything else (and for the empty name).
std::optional<CommandVerb> find(const QString &name);
/// The verb that carries out `verb`.
const CommandVerb &forWindowVerb(WindowCommand::Verb verb);
/// The options every verb takes: --help and --version.
const QList<CommandOption> &globalOptions();
/// The values a shell offers for `kind`; empty when they cannot be listed ahead of time.
QStringList choices(OperandKind kind);

} // namespace commandVerbs

} // namespace orvella::shell
