// Opening a web address in the user's browser.
#pragma once

#include <QUrl>

namespace orvella::platform::urlOpener {

/// Hands `url` to the desktop's default handler; false (and logged) when that fails.
/// Only http and https addresses are opened.
bool open(const QUrl &url);

} // namespace orvella::platform::urlOpener
