// `orvella watch`: one line each time the windows, the active window or the sections change.
#include "shell/watchcommand.h"

#include "shell/terminaltext.h"
#include "shell/windowlisting.h"
#include "tracking/windowmanager.h"

#include <QJsonDocument>
#include <QTimer>

namespace orvella::shell {

WatchCommand::WatchCommand(tracking::WindowManager &manager, bool json, Output output, Problem problem,
                           QObject *parent)
    : QObject(parent)
    , m_manager(manager)
    , m_json(json)
    , m_output(std::move(output))
    , m_problem(std::move(problem))
{
    using tracking::WindowManager;
    connect(&manager, &WindowManager::windowsChanged, this, &WatchCommand::changed);
    connect(&manager, &WindowManager::activeWindowIDChanged, this, &WatchCommand::changed);
    connect(&manager, &WindowManager::categoriesChanged, this, &WatchCommand::changed);
    // The first refresh prints the starting state, even an empty desktop.
    connect(&manager, &WindowManager::refreshApplied, this, &WatchCommand::changed);
    connect(&manager, &WindowManager::showsTrustBannerChanged, this, &WatchCommand::trustChanged);
}

QByteArray WatchCommand::currentLine() const
{
    if (m_json)
        return QJsonDocument(windowListing::toJson(m_manager)).toJson(QJsonDocument::Compact);
    QStringList sections;
    for (const tracking::WindowCategory &c : m_manager.categories())
        sections.append(QStringLiteral("%1 (%2)").arg(c.displayName, QString::number(c.windows.size())));
    const auto active = m_manager.canonicalWindow(m_manager.activeWindowID());
    return terminalText::escaped(QStringLiteral("%1 windows; active: %2; sections: %3")
                                     .arg(QString::number(m_manager.windows().size()),
                                          active ? active->windowTitle : QStringLiteral("-"),
                                          sections.join(QStringLiteral(", "))))
        .toUtf8();
}

void WatchCommand::changed()
{
    // One refresh emits up to three signals; wait until it has finished applying.
    if (m_printPending)
        return;
    m_printPending = true;
    QTimer::singleShot(0, this, &WatchCommand::print);
}

void WatchCommand::trustChanged()
{
    if (!m_manager.showsTrustBanner()) {
        changed();
        return;
    }
    // Printed again once a window manager is back, even if nothing changed meanwhile.
    m_lastLine.clear();
    if (m_problem)
        m_problem(windowListing::noWindowManagerText());
}

void WatchCommand::print()
{
    m_printPending = false;
    if (m_manager.showsTrustBanner())
        return;
    const QByteArray line = currentLine();
    if (line == m_lastLine)
        return;
    m_lastLine = line;
    m_output(line + '\n');
}

} // namespace orvella::shell
