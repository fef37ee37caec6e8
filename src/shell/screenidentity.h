// A monitor named so that the sidebar finds it again after a restart or a re-plug.
#pragma once

#include <QJsonObject>
#include <QList>
#include <QRect>
#include <QString>

#include <optional>

class QScreen;

namespace orvella::shell {

/**
 * What tells one monitor from another. The output's connector name ("DP-1") survives a
 * restart but follows the cable; the EDID's maker, model and serial follow the monitor but
 * are empty on many virtual and cheap displays; the geometry is the last resort.
 */
struct ScreenIdentity
{
    QString connector;
    QString edid; ///< maker, model and serial joined; empty when the monitor reports none
    QRect geometry;

    static ScreenIdentity of(const QScreen &screen);
    QJsonObject toJson() const;
    static std::optional<ScreenIdentity> fromJson(const QJsonObject &json);

    /// The candidate that is this monitor, best evidence first: the same EDID, else the same
    /// connector (when that connector's EDID does not name another monitor), else the same
    /// geometry. -1 when none is.
    int bestMatch(const QList<ScreenIdentity> &candidates) const;
};

} // namespace orvella::shell
