// The command line's side of the control interface: hands a command to the running application.
#include "shell/controlclient.h"

#include "shell/controlinterface.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusMessage>

namespace orvella::shell::controlClient {

namespace {

using Verb = WindowCommand::Verb;

// A new window may take half a minute to appear, and the check after it a few seconds more.
constexpr int kCallTimeoutMs = 60000;

std::optional<CommandResult> call(const QString &method, const QVariantList &arguments)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return std::nullopt;
    QDBusMessage message = QDBusMessage::createMethodCall(QString::fromLatin1(control::kServiceName),
                                                          QString::fromLatin1(control::kObjectPath),
                                                          QString::fromLatin1(control::kInterface), method);
    message.setArguments(arguments);
    message.setAutoStartService(false);
    const QDBusMessage reply = bus.call(message, QDBus::Block, kCallTimeoutMs);
    if (reply.type() == QDBusMessage::ReplyMessage) {
        const QVariantList values = reply.arguments();
        CommandResult result;
        if (!values.isEmpty())
            result.output = values.first().toString().toUtf8();
        return result;
    }
    const QDBusError error(reply);
    // Nobody (any more) behind the name: the command runs on its own instead.
    if (error.type() == QDBusError::ServiceUnknown)
        return std::nullopt;
    const bool notFound = error.name() == QLatin1String(control::kErrorNotFound)
                          || error.type() == QDBusError::InvalidArgs
                          || error.type() == QDBusError::UnknownMethod;
    const QString message_ = error.message().isEmpty() ? error.name() : error.message();
    return CommandResult{notFound ? 2 : 1, message_, {}};
}

} // namespace

bool instanceRunning()
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    return bus.isConnected()
           && bus.interface()->isServiceRegistered(QString::fromLatin1(control::kServiceName));
}

std::optional<CommandResult> send(const WindowCommand &c)
{
    if (!instanceRunning())
        return std::nullopt;
    const QString &id = c.target;
    std::optional<CommandResult> result;
    switch (c.verb) {
    case Verb::Focus: return call(QStringLiteral("Focus"), {id});
    case Verb::Close: return call(QStringLiteral("Close"), {id});
    case Verb::Minimize: return call(QStringLiteral("Minimize"), {id});
    case Verb::TileWindow: return call(QStringLiteral("TileWindow"), {id, c.position});
    case Verb::TileShelf: return call(QStringLiteral("TileShelf"), {id, c.alignment, c.widthFraction});
    case Verb::MinimizeAll: return call(QStringLiteral("MinimizeAll"), {});
    case Verb::NewWindow: return call(QStringLiteral("NewWindow"), {id});
    case Verb::ShowDesktop: return call(QStringLiteral("ToggleShowDesktop"), {});
    case Verb::ShowSidebar: return call(QStringLiteral("ShowSidebar"), {});
    case Verb::HideSidebar: return call(QStringLiteral("HideSidebar"), {});
    case Verb::ToggleSidebar: return call(QStringLiteral("ToggleSidebar"), {});
    case Verb::AddShelf:
        result = call(QStringLiteral("AddShelf"), {id});
        if (result && result->status == 0)
            result->output += '\n';
        return result;
    case Verb::MoveToShelf: return call(QStringLiteral("MoveToShelf"), {id, c.shelfID});
    case Verb::RemoveFromShelf: return call(QStringLiteral("RemoveFromShelf"), {id});
    case Verb::OpenSettings: return call(QStringLiteral("OpenSettings"), {});
    case Verb::Quit: return call(QStringLiteral("Quit"), {});
    }
    return std::nullopt;
}

std::optional<CommandResult> list(bool json)
{
    if (!instanceRunning())
        return std::nullopt;
    std::optional<CommandResult> result =
        call(json ? QStringLiteral("List") : QStringLiteral("ListText"), {});
    if (result && result->status == 0 && json)
        result->output += '\n';
    return result;
}

} // namespace orvella::shell::controlClient
