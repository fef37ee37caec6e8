// Opening a web address in the user's browser.
#pragma once

#include <QUrl>

namespace orvella::platform::urlOpener {

/// Hands `url` to the desktop's default handler; false (and logged) when that fails.
/// Only http and https addresses are opened.
bool open(const QUrl &url);

/// Opens a new message in the user's mail program through `xdg-open` (a `mailto:`
/// address only); false (and logged) when it could not be started.
bool openMail(const QUrl &mailto);

} // namespace orvella::platform::urlOpener
