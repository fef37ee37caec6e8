// `orvella watch`: one line each time the windows, the active window or the sections change.
#pragma once

#include <QByteArray>
#include <QObject>

#include <functional>

namespace orvella::tracking {
class WindowManager;
}

namespace orvella::shell {

/**
 * Prints the state of a window manager whenever what it publishes changes. The
 * changes of one refresh (windows, active window, sections) are printed as one line:
 * a summary, or with `json` the same document as `orvella list --json`. While no
 * window manager runs there is nothing true to print: `problem` hears it once, and
 * the lines resume with the current state when one starts.
 */
class WatchCommand : public QObject
{
    Q_OBJECT
public:
    using Output = std::function<void(const QByteArray &line)>;
    using Problem = std::function<void(const QString &message)>;
    WatchCommand(tracking::WindowManager &manager, bool json, Output output, Problem problem = {},
                 QObject *parent = nullptr);

    /// The line for the current state (without the newline).
    QByteArray currentLine() const;

private:
    void changed();
    void trustChanged();
    void print();

    tracking::WindowManager &m_manager;
    bool m_json;
    Output m_output;
    Problem m_problem;
    bool m_printPending = false;
    QByteArray m_lastLine;
};

} // namespace orvella::shell
