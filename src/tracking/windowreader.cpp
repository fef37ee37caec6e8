// The reading step of a refresh: from one desktop snapshot to the list of window items.
#include "tracking/windowreader.h"

#include "logging.h"
#include "tracking/appaliases.h"
#include "tracking/identity.h"

#include <cmath>

namespace orvella::tracking {

namespace {

bool isCandidateRecord(const platform::ServerWindow &w)
{
    return w.layer == 0 && w.bounds.width() >= 140 && w.bounds.height() >= 100;
}

// The window-server facts one refresh uses, gathered in one pass over the list.
struct ServerFacts
{
    QSet<qint64> onScreen;
    QSet<qint64> layer0;
    QSet<qint64> transparent;
    QList<CGWindowRecord> records;
    QHash<CGKey, qint64> titleMap;

    ServerFacts(const QList<platform::ServerWindow> &list, qint32 ownPid)
    {
        for (const platform::ServerWindow &w : list) {
            if (w.onScreen)
                onScreen.insert(w.number);
            if (w.layer == 0) {
                layer0.insert(w.number);
                if (w.alpha == 0)
                    transparent.insert(w.number);
            }
            if (w.ownerPid == ownPid)
                continue;
            if (isCandidateRecord(w))
                records.append({w.ownerPid, w.number, w.bounds});
            if (w.name)
                titleMap.insert({w.ownerPid, *w.name}, w.number);
        }
    }
};

bool correctedMinimized(bool reported, std::optional<qint64> number, const QRectF &frame,
                        const ServerFacts &facts)
{
    if (!reported || !number)
        return reported;
    if (facts.onScreen.contains(*number))
        return false;
    if (!facts.layer0.contains(*number) || frame.width() <= 50 || frame.height() <= 50)
        return true;
    // An off-screen, full-size ordinary window is minimized only when it is invisible.
    return facts.transparent.contains(*number);
}

bool isSkipped(const std::optional<QString> &bundleID, const QString &title, bool minimized,
               const QRectF &frame)
{
    if (title.isEmpty() && appAliases::is(bundleID, appAliases::kFinder))
        return true;
    if (title.trimmed() == QLatin1String("Window"))
        return true;
    return title.isEmpty() && !minimized && (frame.width() < 200 || frame.height() < 200);
}

} // namespace

int computeLikelyCGWindowCount(const std::optional<QList<platform::ServerWindow>> &serverWindows,
                               qint32 ownPid)
{
    if (!serverWindows)
        return 0;
    int count = 0;
    for (const platform::ServerWindow &w : *serverWindows) {
        if (w.ownerPid != ownPid && isCandidateRecord(w))
            ++count;
    }
    return count;
}

std::optional<qint64> matchByFrame(qint32 pid, const QRectF &frame, const QList<CGWindowRecord> &records,
                                   QSet<qint64> &used)
{
    if (frame.width() <= 0 || frame.height() <= 0 || records.isEmpty())
        return std::nullopt;
    std::optional<qint64> best;
    qint64 bestScore = 0;
    for (const CGWindowRecord &r : records) {
        if (r.pid != pid || used.contains(r.windowNumber))
            continue;
        const double dx = std::abs(r.bounds.x() - frame.x());
        const double dy = std::abs(r.bounds.y() - frame.y());
        const double dw = std::abs(r.bounds.width() - frame.width());
        const double dh = std::abs(r.bounds.height() - frame.height());
        if (dx > 12 || dy > 12 || dw > 12 || dh > 12)
            continue;
        const auto score = qint64(dx + dy + dw + dh);
        if (!best || score < bestScore) {
            best = r.windowNumber;
            bestScore = score;
        }
    }
    if (best)
        used.insert(*best);
    return best;
}

ReadResult readWindows(const platform::DesktopSnapshot &snapshot, qint32 ownPid,
                       const QSet<QString> &userMinimizedSignatures, const QString &unknownAppName)
{
    ReadResult result;
    const ServerFacts facts(snapshot.serverWindows.value_or(QList<platform::ServerWindow>()), ownPid);
    result.likelyCount = int(facts.records.size());

    QSet<qint64> used;
    identity::IdAllocator ids;
    for (const platform::RunningApp &app : snapshot.apps) {
        if (!app.regular || app.pid == ownPid)
            continue;
        const AppSnapshot appSnapshot{app.pid,      app.name.isEmpty() ? unknownAppName : app.name,
                                      app.bundleID, app.icon,
                                      app.iconName, app.startTime};
        result.apps.append(appSnapshot);
        const auto windows = snapshot.windowsByPid.value(app.pid);
        if (!windows || windows->isEmpty())
            continue;
        const QString owner = app.bundleID.value_or(appSnapshot.name);

        for (int i = 0; i < int(windows->size()); ++i) {
            const platform::AppWindow &w = windows->at(i);
            std::optional<qint64> number = w.windowNumber;
            if (!number) {
                const auto byTitle = facts.titleMap.constFind({app.pid, w.title});
                if (byTitle != facts.titleMap.constEnd())
                    number = *byTitle;
                else if (w.frame.width() > 0 && w.frame.height() > 0)
                    number = matchByFrame(app.pid, w.frame, facts.records, used);
            }
            if (number)
                used.insert(*number);

            bool minimized = correctedMinimized(w.minimized, number, w.frame, facts);
            const bool focused = app.pid == snapshot.frontmostPid && !w.title.isEmpty()
                                 && snapshot.focusedTitle == w.title && !minimized;
            for (const QString &mark :
                 {identity::titleSignature(owner, w.title),
                  number ? identity::windowNumberSignature(owner, *number) : QString()}) {
                if (!userMinimizedSignatures.contains(mark))
                    continue;
                if (focused)
                    result.contradictedMarks.insert(mark);
                else if (minimized)
                    result.confirmedMarks.insert(mark);
                minimized = true;
            }
            const bool active = focused && !minimized;
            if (isSkipped(app.bundleID, w.title, minimized, w.frame))
                continue;

            WindowItem item;
            item.id = ids.next(identity::baseSignature(owner, number, w.title));
            item.pid = app.pid;
            item.axIndex = w.clientIndex >= 0 ? w.clientIndex : i;
            item.appName = appSnapshot.name;
            item.bundleIdentifier = app.bundleID;
            item.windowTitle = w.title;
            item.icon = app.icon;
            item.iconName = app.iconName;
            item.isMinimized = minimized;
            item.isFullScreen = w.fullscreen && !minimized;
            item.windowNumber = number;
            item.bounds = w.frame;
            item.isActive = active;
            item.processStartTime = app.startTime;
            if (identity::isDiagnosticNotesWindow(item)) {
                qCInfo(lcTracking).noquote()
                    << "[OV] notes window title=" + w.title << "axMinimized=" << w.minimized
                    << "minimized=" << minimized << "focused=" << active << "size=" << w.frame.size()
                    << "wn=" << (number ? QString::number(*number) : QStringLiteral("nil"));
            }
            if (active && !result.activeID)
                result.activeID = item.id;
            result.items.append(std::move(item));
        }
    }
    return result;
}

} // namespace orvella::tracking
