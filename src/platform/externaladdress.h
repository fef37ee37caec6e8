// The machine's address as a public service sees it, fetched with one plain GET.
#pragma once

#include <QObject>
#include <QString>
#include <QUrl>

#include <functional>

namespace orvella::platform {

/// The service asked when nothing else is configured.
QUrl defaultExternalAddressUrl();

/**
 * Calls `done` on `context`'s thread with the trimmed response body once it arrives
 * as UTF-8 text; on any error `done` is never called. Nothing happens once `context`
 * is gone. No timeout or retry of its own: the request lives as long as the network
 * stack keeps it.
 */
void fetchExternalAddress(const QUrl &url, QObject *context, std::function<void(const QString &)> done);

} // namespace orvella::platform
