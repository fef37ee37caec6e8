// Which addresses Orvella's own services may be reached at: https anywhere, or plain http
// to this machine, which is how tests stand in for the real servers.
#pragma once

#include <QHostAddress>
#include <QUrl>

#include <optional>

namespace orvella::platform {

/// Whether an address names this machine: such servers are reached without a proxy.
inline bool isLoopbackUrl(const QUrl &url)
{
    const QString host = url.host();
    return host == QLatin1String("localhost") || QHostAddress(host).isLoopback();
}

/// `url` when a service may be reached there; absent otherwise.
inline std::optional<QUrl> serviceUrl(const QUrl &url)
{
    if (!url.isValid() || url.host().isEmpty())
        return std::nullopt;
    if (url.scheme() == QLatin1String("https")
        || (url.scheme() == QLatin1String("http") && isLoopbackUrl(url)))
        return url;
    return std::nullopt;
}

} // namespace orvella::platform
