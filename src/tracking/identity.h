// The identity strings that name windows across refreshes, restarts and title changes.
// They are stored in the preferences, so their formats never change.
#pragma once

#include "tracking/windowitem.h"

#include <QHash>
#include <QString>

#include <optional>

namespace orvella::tracking::identity {

/// owner + "::wn:" + window number.
QString windowNumberSignature(const QString &owner, qint64 windowNumber);
/// owner + "::" + title.
QString titleSignature(const QString &owner, const QString &title);
/// The window number in an id of the window-number form; absent for the title form.
std::optional<qint64> windowNumberOf(const QString &id);
/// The owner part of an id, descriptor or fingerprint (the text before the first "::").
QString ownerOf(const QString &key);
/// The base of a window id: the window-number form when the number is known.
QString baseSignature(const QString &owner, std::optional<qint64> windowNumber, const QString &title);
/// pid + ":" + axIndex.
QString pidIdx(qint32 pid, int axIndex);
/// owner + "::" + (title, or the app name when the title is empty).
QString fingerprint(const WindowItem &window);
/// owner + "::" + trimmed title (normalized when asked); absent for a blank title.
std::optional<QString> manualShelfDescriptor(const WindowItem &window, bool normalized);
/// id + "__" + pidIdx + "__" + fingerprint.
QString encodeOrderEntry(const WindowItem &window);

struct OrderEntry
{
    QString sig;
    std::optional<QString> pidIdx;
    std::optional<QString> fingerprint;
    friend bool operator==(const OrderEntry &, const OrderEntry &) = default;
};
/// Reads all three stored forms: three-part, the older two-part, and a bare signature.
OrderEntry decodeOrderEntry(const QString &entry);

/// The id of a display-only copy of a shelved window in its app section.
QString ghostID(const QString &id);
/// The id of a placeholder for a shelved window whose application is not running.
QString closedID(const QString &memoryKey);
/// An id with any "-ghost" suffix removed: the id of the real window.
QString withoutGhostSuffix(const QString &id);

/// One-line description of a window for diagnostic log lines.
QString diagnosticWindowLabel(const WindowItem &window);

/// Removes per-application noise from a title (VS Code's problem counts and state
/// suffixes); every other application's titles are returned unchanged.
QString normalizedTitleForMatching(const QString &title, const std::optional<QString> &bundleID);
/// Whether a title is too generic to recognise a window by.
bool isGenericRecoveryTitle(const std::optional<QString> &bundleID, const QString &appName,
                            const QString &title);
/// Windows whose handling is written to the log in detail (note-taking apps).
bool isDiagnosticNotesWindow(const WindowItem &window);

/// Hands out ids within one refresh: the first use of a base is the base itself, the
/// k-th further use is base + "#" + k.
class IdAllocator
{
public:
    QString next(const QString &base);

private:
    QHash<QString, int> m_counts;
};

} // namespace orvella::tracking::identity
