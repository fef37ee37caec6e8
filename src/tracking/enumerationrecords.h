// Small records a refresh passes around while it reads and matches windows.
#pragma once

#include <QHashFunctions>
#include <QImage>
#include <QRectF>
#include <QString>

#include <optional>

namespace orvella::tracking {

/// One candidate window of the window-server list.
struct CGWindowRecord
{
    qint32 pid = 0;
    qint64 windowNumber = 0;
    QRectF bounds;
};

/// A process paired with a window title, to look up a window number by name.
struct CGKey
{
    qint32 pid = 0;
    QString title;
    friend bool operator==(const CGKey &, const CGKey &) = default;
};

inline size_t qHash(const CGKey &key, size_t seed = 0)
{
    return qHashMulti(seed, key.pid, key.title);
}

/// One detected renaming of a window's signature.
struct SigChange
{
    QString oldSig;
    QString newSig;
    friend bool operator==(const SigChange &, const SigChange &) = default;
};

/// One running application as captured at the start of a refresh.
struct AppSnapshot
{
    qint32 pid = 0;
    QString name;
    std::optional<QString> bundleID;
    QImage icon;
    QString iconName;
    quint64 startTime = 0; ///< see platform::RunningApp::startTime
};

} // namespace orvella::tracking
