// Show desktop, minimising and restoring everything or one shelf, raising a shelf.
#pragma once

#include "actions/actioncontext.h"
#include "tracking/windowitem.h"

#include <QObject>

namespace orvella::actions {

/**
 * The bookkeeping is done at once on the main thread, so the sidebar shows the new
 * state immediately; the window manager is asked on the action lane; completions come on the
 * main thread after the settling delay. Which windows show desktop minimised is kept
 * in the window manager's `showDesktopSavedSignatures`, so that the next toggle
 * restores exactly those.
 */
class ShowDesktop : public QObject
{
    Q_OBJECT
public:
    ShowDesktop(ActionContext context, QObject *parent);

    void toggleShowDesktop(Completion completion);
    /// The two halves of the toggle, for callers that know which one they want.
    void showDesktopSaveAndMinimize(Completion completion);
    void showDesktopRestore(Completion completion);
    void minimizeAllWindows(Completion completion);
    void minimizeCategoryWindows(const QString &categoryID, Completion completion);
    void restoreCategoryWindows(const QString &categoryID, Completion completion);
    /// Un-minimises and raises a shelf's windows, leaving its first window in front.
    void restoreAndRaiseCategoryWindows(const QString &categoryID, Completion completion);

private:
    QList<tracking::WindowItem> categoryWindows(const QString &categoryID) const;
    /// Minimises or restores one shelf's windows, shown at once, written on a worker.
    void setCategoryMinimized(const QString &categoryID, bool minimized, Completion completion);
    void refreshLater(Completion completion);

    ActionContext m_context;
};

} // namespace orvella::actions
