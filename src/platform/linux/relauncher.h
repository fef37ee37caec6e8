// Starting a fresh copy of Orvella once this one has gone.
#pragma once

#include <QString>
#include <QStringList>

namespace orvella::platform::relauncher {

/// `text` as one single-quoted shell word: every ' becomes '\'' inside the quotes.
QString quotedForShell(const QString &text);

/// What to start again: the AppImage when running from one (the mounted binary vanishes
/// with this process), else the binary behind /proc/self/exe.
QString executablePath();

/// A shell command that waits a moment, so the single-instance lock is released,
/// and then replaces itself with `executable arguments…`.
QString relaunchCommand(const QString &executable, const QStringList &arguments);

/// Runs `command` with /bin/sh -c in a detached process whose output goes nowhere;
/// false (and a log line) when it could not be started.
bool startDetached(const QString &command);

} // namespace orvella::platform::relauncher
