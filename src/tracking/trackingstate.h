// Everything WindowManager remembers about windows and shelves between refreshes.
#pragma once

#include "tracking/shelfwindowinfo.h"

#include <QDateTime>
#include <QHash>
#include <QPointer>
#include <QRectF>
#include <QScreen>
#include <QSet>
#include <QStringList>

#include <optional>

namespace orvella::tracking {

/// The process a window number belonged to. The X server hands the ids of a client
/// that quit to the next one, so a number names the same window only while its owner
/// is the same: the same application, pid and process start time.
struct WindowOwner
{
    QString owner; ///< the window's owner string (desktop-file id, else app name)
    qint32 pid = 0;
    quint64 startTime = 0; ///< 0: unknown, matches any
    bool sameAs(const WindowOwner &other) const
    {
        return owner == other.owner && pid == other.pid
               && (startTime == 0 || other.startTime == 0 || startTime == other.startTime);
    }
};

/**
 * The stored state of the window manager, in one value so that persistence, routing
 * and tests can see all of it. Keys are the identity strings of identity.h. The fields
 * marked "persisted" are written to the preferences under the named key.
 */
struct TrackingState
{
    /// Signatures minimized by show desktop, to be restored.
    QSet<QString> showDesktopSavedSignatures;
    QPointer<QScreen> sidebarScreen;
    /// In Qt's logical pixels of `sidebarScreen`.
    double sidebarWidth = 250;
    QString sidebarPosition = QStringLiteral("left");
    bool avoidSidebarEnabled = true;
    /// Windows the last tiling could not place (the window manager or the window refused),
    /// or -1 when there was no screen to tile on; the command line reports it.
    int lastTilingFailures = 0;

    QStringList shelfIDs;                        ///< persisted "ov.shelfIDs"
    QHash<QString, QString> defaultShelfNames;   ///< persisted "ov.defaultShelfNames"
    QHash<QString, bool> categoryCollapsed;      ///< persisted "ov.categoryCollapsed"
    QSet<QString> categoryHidden;                ///< persisted "ov.categoryHidden"
    QHash<QString, QString> categoryCustomNames; ///< persisted "ov.categoryCustomNames"
    std::optional<QString> onlyCategory;
    QHash<QString, QStringList> categoryWindowOrder;  ///< persisted "ov.categoryWindowOrder"
    QHash<QString, QString> windowCategoryAssignment; ///< persisted "ov.windowCategoryAssignment"
    QHash<qint64, QString> liveWindowCategoryAssignmentByWindowNumber;
    QHash<QString, QString> manualShelfAssignmentByDescriptor; ///< "ov.manualShelfAssignmentByDescriptor"
    QSet<QString> manualShelfMissCache;
    QSet<QString> explicitlyRemovedSigs;        ///< persisted "ov.explicitlyRemovedSigs"
    QSet<QString> explicitlyRemovedDescriptors; ///< persisted "ov.explicitlyRemovedDescriptors"
    /// What is remembered of shelved windows, keyed by fingerprint so that one closed
    /// window yields one placeholder whatever ids it had.
    QHash<QString, ShelfWindowInfo> shelfWindowMemory;

    double fastRefreshInterval = 1.5;
    double hiddenRefreshInterval = 10.0;
    double currentRefreshInterval = 1.5;
    double idleRefreshInterval = 30.0;
    int idleTickCounter = 0;

    bool isRefreshing = false;
    quint64 refreshGeneration = 0;
    int lastWindowCount = -1;
    std::optional<QDateTime> lastRelaunchRequestAt;
    bool hasLoggedShelfDiagnosticBootstrap = false;
    QDateTime lastPeriodicNudgeAt = QDateTime::fromMSecsSinceEpoch(0, Qt::UTC);
    double periodicNudgeMinInterval = 5.0;
    QSet<qint32> axObservedPIDs;
    bool axRefreshPending = false;

    QHash<qint64, QString> lastSignatureByWindowNumber; ///< persisted "ov.lastSigByWindowNum"
    QHash<QString, QString> lastShelfByPidAndIndex;
    QHash<QString, qint64> lastWindowNumberByPidIdx;
    QSet<QString> lastSeenPidIdx;
    QHash<QString, int> consecutiveGenericRefreshCount;
    QSet<QString> userMinimizedSignatures;
    /// Those of `userMinimizedSignatures` a refresh has seen minimized since they were set.
    QSet<QString> confirmedMinimizedSignatures;
    QHash<QString, int> sigAbsenceCount;
    QHash<QString, int> pidIdxAbsenceCount;
    int sigAbsenceCleanupCycle = 0;
    QHash<QString, QStringList> previousShelfRowOrder;
    bool dragJustHappened = false;
    QHash<QString, int> axMinimizedDisagreementCount;
    bool showAllWindowsInAppSection = true;
    /// Per window id, the frame a window had before it was first moved out from under
    /// the sidebar: where it goes back when avoidance ends.
    QHash<QString, QRectF> nudgedWindowFrames;
    /// Per window id, where the last nudge left the window; one found elsewhere later was
    /// moved by the user, and stays where the user put it.
    QHash<QString, QRectF> lastObservedSidebarFrames;
    QHash<QString, QRectF> sidebarZoomRestoreFrames;
    QHash<QString, QRectF> nativeZoomRestoredFrames;
    QStringList categoryOrder; ///< persisted "ov.categoryOrder"
    /// The day each app section was last listed, so that sections of applications no
    /// longer used leave the order; persisted "ov.categoryLastSeen".
    QHash<QString, QDate> categoryLastSeen;

    /// The plain descriptor each window number had at the last regrouping, so that a
    /// retitled window carries the user's choice to its new title (this run only).
    QHash<qint64, QString> lastDescriptorByWindowNumber;
    /// The owner of each remembered window number; a number seen under another owner
    /// is another window, and what was remembered under it is forgotten. Persisted
    /// "ov.windowNumberOwners".
    QHash<qint64, WindowOwner> ownerByWindowNumber;
    /// Regroupings in a row each remembered window number was not listed.
    QHash<qint64, int> numberAbsenceCount;
    /// The `shelfWindowMemory` key each shelved window number wrote last: a retitled
    /// window replaces its memory instead of adding a second placeholder.
    QHash<qint64, QString> memoryKeyByWindowNumber;
    /// Regroupings in a row a remembered window (memory key or order entry) was missing
    /// while its application ran: after a while it was closed, not merely not yet back.
    QHash<QString, int> closedAbsenceCount;
};

} // namespace orvella::tracking
