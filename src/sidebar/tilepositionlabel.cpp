// How the tile menu names and draws each tile position.
#include "sidebar/tilepositionlabel.h"

#include "settings/localizationmanager.h"

namespace orvella::sidebar::tilePositionLabel {

using actions::TilePosition;

QString key(TilePosition position)
{
    return QStringLiteral("tile.") + actions::tilePosition::rawValue(position);
}

QString text(TilePosition position)
{
    return settings::LocalizationManager::shared().string(key(position));
}

QString iconName(TilePosition position)
{
    switch (position) {
    case TilePosition::leftHalf: return QStringLiteral("rectangle.lefthalf.filled");
    case TilePosition::rightHalf: return QStringLiteral("rectangle.righthalf.filled");
    case TilePosition::topHalf: return QStringLiteral("rectangle.tophalf.filled");
    case TilePosition::bottomHalf: return QStringLiteral("rectangle.bottomhalf.filled");
    case TilePosition::topLeft: return QStringLiteral("rectangle.inset.topleft.filled");
    case TilePosition::topRight: return QStringLiteral("rectangle.inset.topright.filled");
    case TilePosition::bottomLeft: return QStringLiteral("rectangle.inset.bottomleft.filled");
    case TilePosition::bottomRight: return QStringLiteral("rectangle.inset.bottomright.filled");
    case TilePosition::maximize: return QStringLiteral("rectangle.fill");
    case TilePosition::center: return QStringLiteral("rectangle.center.inset.filled");
    }
    return {};
}

} // namespace orvella::sidebar::tilePositionLabel
