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
    double sidebarWidth = 250;
    QString sidebarPosition = QStringLiteral("left");
    bool avoidSidebarEnabled = true;

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
    QHash<QString, int> sigAbsenceCount;
    QHash<QString, int> pidIdxAbsenceCount;
    int sigAbsenceCleanupCycle = 0;
    QHash<QString, int> wnAbsenceCount;
    int wnAbsenceCleanupCycle = 0;
    QHash<QString, QStringList> previousShelfRowOrder;
    bool dragJustHappened = false;
    QHash<QString, int> axMinimizedDisagreementCount;
    bool showAllWindowsInAppSection = true;
    QHash<QString, QRectF> nudgedWindowFrames;
    QHash<QString, QRectF> lastObservedSidebarFrames;
    QHash<QString, QRectF> sidebarZoomRestoreFrames;
    QHash<QString, QRectF> nativeZoomRestoredFrames;
    QStringList categoryOrder; ///< persisted "ov.categoryOrder"

    /// The plain descriptor each window number had at the last regrouping, so that a
    /// retitled window carries the user's choice to its new title (this run only).
    QHash<qint64, QString> lastDescriptorByWindowNumber;
    /// The process each window number belonged to. The X server hands the ids of a
    /// client that quit to the next one, so a number seen under another process is
    /// another window, and what was remembered under it is forgotten (this run only).
    QHash<qint64, qint32> pidByWindowNumber;
};

} // namespace orvella::tracking
