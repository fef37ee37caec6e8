// Show desktop, minimising and restoring everything or one shelf, raising a shelf.
#include "actions/showdesktop.h"

#include "actions/axwindowmatch.h"
#include "logging.h"
#include "platform/desktop.h"
#include "platform/scheduler.h"
#include "platform/windowcontrol.h"
#include "tracking/identity.h"
#include "tracking/windowmanager.h"

#include <QSet>

namespace orvella::actions {

namespace {

constexpr int kSettleMs = 500;
constexpr int kCategorySettleMs = 300;
constexpr std::chrono::milliseconds kBetweenActivations{50};

// What restoring needs to know of a saved window once the model is out of reach.
struct SavedWindow
{
    qint32 pid = 0;
    std::optional<qint64> number;
    QString title;
};

bool matchesSaved(qint32 pid, const platform::AppWindow &element, const QList<SavedWindow> &saved)
{
    for (const SavedWindow &s : saved) {
        if (s.pid != pid)
            continue;
        if (s.number && element.windowNumber ? *s.number == *element.windowNumber : s.title == element.title)
            return true;
    }
    return false;
}

QString resultCode(bool ok)
{
    return ok ? QStringLiteral("0") : QStringLiteral("-1");
}

} // namespace

ShowDesktop::ShowDesktop(ActionContext context, QObject *parent)
    : QObject(parent)
    , m_context(std::move(context))
{}

void ShowDesktop::toggleShowDesktop(Completion completion)
{
    QSet<QString> &saved = m_context.manager->state().showDesktopSavedSignatures;
    bool allMinimized = true;
    for (const tracking::WindowItem &w : m_context.manager->windows())
        allMinimized = allMinimized && (w.isMinimized || w.isClosed);
    if (!saved.isEmpty() && allMinimized) {
        showDesktopRestore(std::move(completion));
        return;
    }
    // The user has brought windows back meanwhile: this is a new show desktop.
    saved.clear();
    showDesktopSaveAndMinimize(std::move(completion));
}

void ShowDesktop::showDesktopSaveAndMinimize(Completion completion)
{
    QSet<QString> &saved = m_context.manager->state().showDesktopSavedSignatures;
    for (const tracking::WindowItem &w : m_context.manager->windows()) {
        if (!w.isMinimized && !w.isClosed)
            saved.insert(w.id);
    }
    if (saved.isEmpty()) {
        if (completion)
            completion();
        return;
    }
    minimizeAllWindows(std::move(completion));
}

void ShowDesktop::minimizeAllWindows(Completion completion)
{
    QList<qint32> pids;
    for (const tracking::WindowItem &w : m_context.manager->windows()) {
        if (!w.isMinimized && !w.isClosed && !pids.contains(w.pid))
            pids.append(w.pid);
    }
    m_context.manager->setWindowsMinimizedLocally([](const tracking::WindowItem &) { return true; }, true);

    const auto desktop = m_context.desktop;
    const auto control = m_context.control;
    runInBackground(
        m_context, this,
        [desktop, control, pids] {
            const platform::DesktopSnapshot snapshot = desktop->readSnapshot();
            for (qint32 pid : pids) {
                const auto elements = snapshot.windowsByPid.value(pid);
                for (const platform::AppWindow &e : elements.value_or(QList<platform::AppWindow>())) {
                    if (!e.minimized && e.windowNumber)
                        control->setMinimized(*e.windowNumber, true);
                }
            }
        },
        [this, completion] { settleThen(m_context, this, kSettleMs, completion); });
}

void ShowDesktop::showDesktopRestore(Completion completion)
{
    const QSet<QString> ids = m_context.manager->state().showDesktopSavedSignatures;
    QList<SavedWindow> saved;
    QList<qint32> pids;
    for (const tracking::WindowItem &w : m_context.manager->windows()) {
        if (!ids.contains(w.id))
            continue;
        saved.append({w.pid, w.windowNumber, w.windowTitle});
        if (!pids.contains(w.pid))
            pids.append(w.pid);
    }
    m_context.manager->setWindowsMinimizedLocally(
        [&ids](const tracking::WindowItem &w) { return ids.contains(w.id); }, false);

    const auto desktop = m_context.desktop;
    const auto control = m_context.control;
    runInBackground(
        m_context, this,
        [desktop, control, pids, saved] {
            const platform::DesktopSnapshot snapshot = desktop->readSnapshot();
            for (qint32 pid : pids) {
                const auto elements = snapshot.windowsByPid.value(pid);
                for (const platform::AppWindow &e : elements.value_or(QList<platform::AppWindow>())) {
                    // Windows minimised before show desktop were never saved: they stay.
                    if (e.minimized && e.windowNumber && matchesSaved(pid, e, saved))
                        control->setMinimized(*e.windowNumber, false);
                }
            }
        },
        [this, completion] {
            settleThen(m_context, this, kSettleMs, [this, completion] {
                m_context.manager->state().showDesktopSavedSignatures.clear();
                if (completion)
                    completion();
            });
        });
}

QList<tracking::WindowItem> ShowDesktop::categoryWindows(const QString &categoryID) const
{
    for (const tracking::WindowCategory &c : m_context.manager->categories()) {
        if (c.id == categoryID)
            return c.windows;
    }
    return {};
}

void ShowDesktop::refreshLater(Completion completion)
{
    const QPointer<tracking::WindowManager> manager(m_context.manager);
    settleThen(m_context, this, kCategorySettleMs, [manager, completion] {
        if (manager)
            manager->refresh(true);
        if (completion)
            completion();
    });
}

void ShowDesktop::minimizeCategoryWindows(const QString &categoryID, Completion completion)
{
    setCategoryMinimized(categoryID, true, std::move(completion));
}

void ShowDesktop::restoreCategoryWindows(const QString &categoryID, Completion completion)
{
    setCategoryMinimized(categoryID, false, std::move(completion));
}

void ShowDesktop::setCategoryMinimized(const QString &categoryID, bool minimized, Completion completion)
{
    QList<tracking::WindowItem> windows;
    QSet<QString> ids;
    for (const tracking::WindowItem &w : categoryWindows(categoryID)) {
        // Restoring leaves ghost rows out: their window is restored where it is listed.
        if (w.isClosed || (!minimized && w.id.endsWith(QLatin1String("-ghost"))))
            continue;
        windows.append(w);
        ids.insert(tracking::identity::withoutGhostSuffix(w.id));
    }
    qCInfo(lcActions).noquote() << QStringLiteral("%1 category=%2 count=%3")
                                       .arg(minimized ? QStringLiteral("minimizeCategoryWindows")
                                                      : QStringLiteral("restoreCategoryWindows"),
                                            categoryID, QString::number(windows.size()));
    m_context.manager->setWindowsMinimizedLocally(
        [&ids](const tracking::WindowItem &w) { return ids.contains(w.id); }, minimized);
    const auto desktop = m_context.desktop;
    const auto control = m_context.control;
    runInBackground(
        m_context, this,
        [desktop, control, windows, minimized] {
            const platform::DesktopSnapshot snapshot = desktop->readSnapshot();
            for (const tracking::WindowItem &w : windows) {
                const auto element = findAXWindow(w, snapshot);
                if (element && element->windowNumber && element->minimized != minimized)
                    control->setMinimized(*element->windowNumber, minimized);
            }
        },
        [this, completion] { refreshLater(completion); });
}

void ShowDesktop::restoreAndRaiseCategoryWindows(const QString &categoryID, Completion completion)
{
    QList<tracking::WindowItem> windows;
    QHash<qint32, QString> bundles;
    for (const tracking::WindowItem &w : categoryWindows(categoryID)) {
        if (!w.isClosed)
            windows.append(w);
    }
    for (const tracking::AppSnapshot &app : m_context.manager->runningApps())
        bundles.insert(app.pid, app.bundleID.value_or(app.name));
    if (windows.isEmpty()) {
        if (completion)
            completion();
        return;
    }
    const auto desktop = m_context.desktop;
    const auto control = m_context.control;
    platform::Scheduler *scheduler = m_context.scheduler;
    runInBackground(
        m_context, this,
        [desktop, control, scheduler, windows, bundles] {
            qCInfo(lcActions).noquote()
                << QStringLiteral("restoreAndRaise START: %1 windows").arg(windows.size());
            const platform::DesktopSnapshot snapshot = desktop->readSnapshot();
            QHash<qint32, qint64> raisedByPid;
            // Un-minimises and raises one window; the window raised last per process
            // is the one activating that process brings forward.
            const auto bringUp = [&](const tracking::WindowItem &w, const QString &tag) {
                const auto element = findAXWindow(w, snapshot);
                if (!element || !element->windowNumber) {
                    qCInfo(lcActions).noquote()
                        << (tag.isEmpty() ? QStringLiteral("restoreAndRaise SKIP (no AX match) for '")
                                          : QStringLiteral("restoreAndRaise SKIP (no AX match for first) '"))
                               + w.windowTitle + u'\'';
                    return;
                }
                const qint64 number = *element->windowNumber;
                if (w.isMinimized || element->minimized) {
                    const bool ok = control->setMinimized(number, false);
                    qCInfo(lcActions).noquote()
                        << QStringLiteral("restoreAndRaise UNMINIMIZE %1'%2' result=%3")
                               .arg(tag, w.windowTitle, resultCode(ok));
                }
                const bool ok = control->raise(number);
                qCInfo(lcActions).noquote() << QStringLiteral("restoreAndRaise RAISE %1'%2' result=%3")
                                                   .arg(tag, w.windowTitle, resultCode(ok));
                raisedByPid.insert(w.pid, number);
            };
            const auto activate = [&](qint32 pid, const QString &prefix) {
                const auto found = bundles.constFind(pid);
                qCInfo(lcActions).noquote()
                    << prefix + QString::number(pid)
                           + (found == bundles.constEnd() ? QStringLiteral(" NOT-FOUND")
                                                          : QStringLiteral(" bundle=") + *found);
                if (found == bundles.constEnd())
                    return;
                if (const auto raised = raisedByPid.constFind(pid); raised != raisedByPid.constEnd())
                    control->activate(*raised);
            };

            QList<qint32> otherPids;
            for (qsizetype i = 1; i < windows.size(); ++i) {
                bringUp(windows[i], QString());
                if (!otherPids.contains(windows[i].pid))
                    otherPids.append(windows[i].pid);
            }
            QStringList pidTexts;
            for (qint32 pid : otherPids)
                pidTexts.append(QString::number(pid));
            qCInfo(lcActions).noquote() << QStringLiteral("restoreAndRaise ACTIVATE other apps: pids=[%1]")
                                               .arg(pidTexts.join(QStringLiteral(", ")));
            for (qint32 pid : otherPids) {
                activate(pid, QStringLiteral("restoreAndRaise ACTIVATE pid="));
                scheduler->pause(kBetweenActivations);
            }
            // The first window's application last: that is what leaves it in front.
            raisedByPid.remove(windows.first().pid);
            bringUp(windows.first(), QStringLiteral("(first) "));
            activate(windows.first().pid, QStringLiteral("restoreAndRaise ACTIVATE (first) pid="));
        },
        [this, completion] { settleThen(m_context, this, kSettleMs, completion); });
}

} // namespace orvella::actions
