// A monitor named so that the sidebar finds it again after a restart or a re-plug.
#include "shell/screenidentity.h"

#include <QScreen>
#include <QStringList>

namespace orvella::shell {

ScreenIdentity ScreenIdentity::of(const QScreen &screen)
{
    QStringList parts{screen.manufacturer(), screen.model(), screen.serialNumber()};
    parts.removeAll(QString());
    return {screen.name(), parts.join(QLatin1Char('/')), screen.geometry()};
}

QJsonObject ScreenIdentity::toJson() const
{
    return {{QStringLiteral("connector"), connector},    {QStringLiteral("edid"), edid},
            {QStringLiteral("x"), geometry.x()},         {QStringLiteral("y"), geometry.y()},
            {QStringLiteral("width"), geometry.width()}, {QStringLiteral("height"), geometry.height()}};
}

std::optional<ScreenIdentity> ScreenIdentity::fromJson(const QJsonObject &json)
{
    const QString connector = json.value(QStringLiteral("connector")).toString();
    const QRect geometry(json.value(QStringLiteral("x")).toInt(), json.value(QStringLiteral("y")).toInt(),
                         json.value(QStringLiteral("width")).toInt(),
                         json.value(QStringLiteral("height")).toInt());
    if (connector.isEmpty() && geometry.isEmpty())
        return std::nullopt;
    return ScreenIdentity{connector, json.value(QStringLiteral("edid")).toString(), geometry};
}

int ScreenIdentity::bestMatch(const QList<ScreenIdentity> &candidates) const
{
    const auto find = [&candidates](auto &&same) -> int {
        for (int i = 0; i < candidates.size(); ++i) {
            if (same(candidates[i]))
                return i;
        }
        return -1;
    };
    if (!edid.isEmpty()) {
        if (const int i = find([this](const ScreenIdentity &c) { return c.edid == edid; }); i >= 0)
            return i;
    }
    // A connector or a place now taken by a monitor with another EDID is not the one chosen.
    const auto compatible = [this](const ScreenIdentity &c) {
        return edid.isEmpty() || c.edid.isEmpty() || c.edid == edid;
    };
    const int byConnector = find([&](const ScreenIdentity &c) {
        return !connector.isEmpty() && c.connector == connector && compatible(c);
    });
    if (byConnector >= 0)
        return byConnector;
    return find([&](const ScreenIdentity &c) {
        return !geometry.isEmpty() && c.geometry == geometry && compatible(c);
    });
}

} // namespace orvella::shell
