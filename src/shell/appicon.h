// Orvella's own icon, drawn rather than shipped so that every size is crisp.
#pragma once

#include <QIcon>

namespace orvella::shell {

/// A rounded blue tile holding a window with a sidebar down its left side, rendered at
/// the sizes trays, task bars and window decorations ask for.
QIcon appIcon();

} // namespace orvella::shell
