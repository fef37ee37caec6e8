// The reading step of a refresh: from one desktop snapshot to the list of window items.
#pragma once

#include "platform/desktop.h"
#include "tracking/enumerationrecords.h"
#include "tracking/windowitem.h"

#include <QSet>

namespace orvella::tracking {

struct ReadResult
{
    QList<AppSnapshot> apps;
    QList<WindowItem> items;
    std::optional<QString> activeID;
    int likelyCount = 0;
    /// Marks of `userMinimizedSignatures` whose window the system shows minimized, and
    /// those whose window it shows focused (restored some other way, or not minimized yet).
    QSet<QString> confirmedMarks;
    QSet<QString> contradictedMarks;
};

/**
 * Pure and thread-safe: runs on the refresh pool with everything it needs passed in.
 * `userMinimizedSignatures` settles the minimized state of windows the user minimized
 * through Orvella; `unknownAppName` names applications without a name.
 */
ReadResult readWindows(const platform::DesktopSnapshot &snapshot, qint32 ownPid,
                       const QSet<QString> &userMinimizedSignatures, const QString &unknownAppName);

/// Layer-0 entries of other processes at least 140 wide and 100 high; 0 without a list.
int computeLikelyCGWindowCount(const std::optional<QList<platform::ServerWindow>> &serverWindows,
                               qint32 ownPid);

/**
 * The unused record of the same pid within 12 points on each of x, y, width and
 * height, with the smallest (truncated) sum of differences; the earlier record wins
 * ties. The winner's number is added to `used`.
 */
std::optional<qint64> matchByFrame(qint32 pid, const QRectF &frame, const QList<CGWindowRecord> &records,
                                   QSet<qint64> &used);

} // namespace orvella::tracking
