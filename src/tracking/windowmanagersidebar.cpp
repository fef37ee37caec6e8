// WindowManager and the sidebar: where it stands, and keeping other windows clear of it.
#include "logging.h"
#include "tracking/windowmanager.h"

namespace orvella::tracking {

void WindowManager::setSidebarPlacement(QScreen *screen, double width, const QString &position, bool avoid)
{
    m_state.sidebarScreen = screen;
    m_state.sidebarWidth = std::max(0.0, width);
    m_state.sidebarPosition = position;
    setAvoidSidebarEnabled(avoid);
}

void WindowManager::setAvoidSidebarEnabled(bool enabled)
{
    const bool ended = m_state.avoidSidebarEnabled && !enabled;
    m_state.avoidSidebarEnabled = enabled;
    if (ended)
        restoreNudgedWindows();
}

void WindowManager::nudgeFromSidebarIfDue(const QDateTime &now)
{
    if (!m_state.avoidSidebarEnabled || !m_state.sidebarScreen || !m_actionPort)
        return;
    const qint64 sinceMs = m_state.lastPeriodicNudgeAt.msecsTo(now);
    if (double(sinceMs) < m_state.periodicNudgeMinInterval * 1000)
        return;
    if (!m_actionPort->overlapsSidebar(m_windows))
        return;
    m_state.lastPeriodicNudgeAt = now;
    nudgeWindowsFromSidebar();
}

bool WindowManager::nudgeWindowsFromSidebar(Completion done)
{
    if (!m_state.sidebarScreen)
        return false;
    WindowActionRequest nudge;
    nudge.verb = WindowActionRequest::Verb::NudgeFromSidebar;
    nudge.windows = m_windows;
    return request(nudge, std::move(done));
}

bool WindowManager::restoreNudgedWindows(Completion done)
{
    // Nothing was moved (always so without an action layer): nothing to ask for.
    if (m_state.nudgedWindowFrames.isEmpty() && m_state.lastObservedSidebarFrames.isEmpty()) {
        if (done)
            done();
        return true;
    }
    WindowActionRequest restore;
    restore.verb = WindowActionRequest::Verb::RestoreNudged;
    return request(restore, std::move(done));
}

} // namespace orvella::tracking
