// Whether an address names this machine: such servers are reached without a proxy and may
// be plain http, which is how tests stand in for the real services.
#pragma once

#include <QHostAddress>
#include <QUrl>

namespace orvella::platform {

inline bool isLoopbackUrl(const QUrl &url)
{
    const QString host = url.host();
    return host == QLatin1String("localhost") || QHostAddress(host).isLoopback();
}

} // namespace orvella::platform
