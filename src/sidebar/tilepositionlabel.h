// How the tile menu names and draws each tile position.
#pragma once

#include "actions/tilegeometry.h"

#include <QString>

namespace orvella::sidebar::tilePositionLabel {

/// The interface text key of the position's label ("tile.leftHalf").
QString key(actions::TilePosition position);
/// The label in the current interface language.
QString text(actions::TilePosition position);
/// The symbol name the tile menu draws.
QString iconName(actions::TilePosition position);

} // namespace orvella::sidebar::tilePositionLabel
