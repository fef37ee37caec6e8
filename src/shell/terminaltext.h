// Text that reaches a terminal: window titles, shelf names and readings come from other
// programs and from files, and must not be able to move the cursor, retitle the terminal
// or split one line of output into two.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace orvella::shell::terminalText {

/// `text` with its control characters written as visible escapes (`\n`, `\r`, `\t`,
/// `\x1b`, `\u009b`), the bidirectional overrides that reorder what follows as `\u202e`,
/// and unpaired surrogates as U+FFFD. Printable text, any script, is left as it is.
QString escaped(const QString &text);

/// The lines as UTF-8, each escaped and ended by a newline: what every text printer writes.
QByteArray lines(const QStringList &lines);

} // namespace orvella::shell::terminalText
