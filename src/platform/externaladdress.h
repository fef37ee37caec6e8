// The machine's address as a public service sees it, fetched with one plain GET.
#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QUrl>

#include <chrono>
#include <functional>
#include <optional>

namespace orvella::platform {

/// The most of an answer that is read. An address is under 64 bytes; what a service adds
/// around it (a newline, some padding) fits easily, a page or a stream does not.
inline constexpr qsizetype kExternalAddressMaxBytes = 256;
/// How long one request may take from start to end, stalls and trickles included.
inline constexpr std::chrono::seconds kExternalAddressTimeout{5};

/// The service asked when nothing else is configured.
QUrl defaultExternalAddressUrl();

/**
 * One IPv4 or IPv6 address in its usual text form, alone apart from surrounding
 * whitespace; the address as Qt writes it, or nothing for any other answer (scope ids,
 * ports, brackets, control bytes, words, more than kExternalAddressMaxBytes).
 */
std::optional<QString> parseExternalAddress(const QByteArray &answer);

/**
 * Asks `url` (http, https or file) for the address and calls `done` once on `context`'s
 * thread: with the address, or with nothing when there is none to be had (one log line
 * says why). At most kExternalAddressMaxBytes of the answer are read and the request
 * ends after kExternalAddressTimeout. Returns the request, a child of `context`:
 * deleting it cancels the request, and `done` is then never called. Null, with `done`
 * never called, when `url` is empty (fetching is off) or of another scheme (logged).
 */
QObject *fetchExternalAddress(const QUrl &url, QObject *context,
                              std::function<void(const std::optional<QString> &)> done);

} // namespace orvella::platform
