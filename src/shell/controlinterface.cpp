// The running application's control interface on the session bus, org.orvella.Orvella1.
#include "shell/controlinterface.h"

#include "logging.h"
#include "platform/desktop.h"
#include "services/notificationservice.h"
#include "shell/appdelegate.h"
#include "shell/windowlisting.h"
#include "tracking/windowmanager.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusError>
#include <QJsonDocument>
#include <QJsonObject>

namespace orvella::shell {

namespace {

// Window verbs take up to half a minute each; more at once than this is a runaway script.
constexpr int kMaxInFlight = 64;
constexpr int kChangedCoalesceMs = 100;
constexpr int kListTimeoutMs = 15000;

QString errorName(int status)
{
    return QString::fromLatin1(status == 2 ? control::kErrorNotFound : control::kErrorFailed);
}

} // namespace

ControlInterface::ControlInterface(AppDelegate &app, QObject *parent)
    : QObject(parent)
    , m_app(app)
{
    m_changed.setSingleShot(true);
    m_changed.setInterval(kChangedCoalesceMs);
    connect(&m_changed, &QTimer::timeout, this, &ControlInterface::Changed);
    tracking::WindowManager &manager = app.windowManager();
    for (auto signal : {&tracking::WindowManager::windowsChanged, &tracking::WindowManager::categoriesChanged,
                        &tracking::WindowManager::activeWindowIDChanged})
        connect(&manager, signal, &m_changed, qOverload<>(&QTimer::start));
    connect(&manager, &tracking::WindowManager::refreshApplied, this, [this] { answerLists(true); });
    m_listDeadline.setSingleShot(true);
    connect(&m_listDeadline, &QTimer::timeout, this, [this] { answerLists(false); });
}

void ControlInterface::runWindowCommand(WindowCommand command)
{
    platform::WindowControl *control = m_app.windowControl();
    if (!control) {
        sendErrorReply(QString::fromLatin1(control::kErrorFailed),
                       QStringLiteral("this session offers no way to act on windows"));
        return;
    }
    if (m_inFlight >= kMaxInFlight) {
        sendErrorReply(QString::fromLatin1(control::kErrorFailed),
                       QStringLiteral("too many window actions at once; try again when they have finished"));
        return;
    }
    ++m_inFlight;
    setDelayedReply(true);
    const QDBusMessage call = message();
    const QDBusConnection bus = connection();
    const QPointer<ControlInterface> guard(this);
    startWindowCommand(
        command, m_app.windowManager(), *control, [guard, call, bus](const CommandResult &result) {
            if (guard)
                --guard->m_inFlight;
            QDBusConnection(bus).send(result.status == 0
                                          ? call.createReply()
                                          : call.createErrorReply(errorName(result.status), result.message));
        });
}

void ControlInterface::run(const QString &verb, const QStringList &operands)
{
    // The command line's own checks, so that both ways in refuse the same requests alike.
    auto parsed = parseWindowCommand(verb, operands);
    if (const auto *error = std::get_if<QString>(&parsed))
        sendErrorReply(QDBusError::InvalidArgs, *error);
    else
        runWindowCommand(std::get<WindowCommand>(parsed));
}

void ControlInterface::Focus(const QString &windowID)
{
    run(QStringLiteral("focus"), {windowID});
}

void ControlInterface::Close(const QString &windowID)
{
    run(QStringLiteral("close"), {windowID});
}

void ControlInterface::Minimize(const QString &windowID)
{
    run(QStringLiteral("minimize"), {windowID});
}

void ControlInterface::TileWindow(const QString &windowID, const QString &position)
{
    run(QStringLiteral("tile-window"), {windowID, position});
}

void ControlInterface::TileShelf(const QString &shelfID, const QString &alignment, double widthFraction)
{
    run(QStringLiteral("tile-shelf"), {shelfID, QStringLiteral("--align"), alignment,
                                       QStringLiteral("--width"), QString::number(widthFraction)});
}

void ControlInterface::MinimizeAll()
{
    run(QStringLiteral("minimize-all"), {});
}

void ControlInterface::NewWindow(const QString &bundleID)
{
    run(QStringLiteral("new-window"), {bundleID});
}

void ControlInterface::ToggleShowDesktop()
{
    run(QStringLiteral("show-desktop"), {});
}

void ControlInterface::ShowSidebar()
{
    m_app.showSidebar();
}

void ControlInterface::HideSidebar()
{
    m_app.hideSidebar();
}

void ControlInterface::ToggleSidebar()
{
    m_app.toggleSidebar();
}

void ControlInterface::OpenSettings()
{
    m_app.openSettings();
}

QString ControlInterface::AddShelf(const QString &name)
{
    tracking::WindowManager &manager = m_app.windowManager();
    const QString id = manager.addShelf();
    if (!name.trimmed().isEmpty())
        manager.renameCategory(id, name);
    return id;
}

void ControlInterface::MoveToShelf(const QString &windowID, const QString &shelfID)
{
    tracking::WindowManager &manager = m_app.windowManager();
    const auto &categories = manager.categories();
    if (std::none_of(categories.begin(), categories.end(),
                     [&](const tracking::WindowCategory &c) { return c.isShelf() && c.id == shelfID; })) {
        sendErrorReply(QString::fromLatin1(control::kErrorNotFound),
                       QStringLiteral("no shelf with id \"%1\" (see orvella list)").arg(shelfID));
        return;
    }
    if (!manager.dragMoveWindow(windowID, shelfID))
        sendErrorReply(QString::fromLatin1(control::kErrorNotFound),
                       QStringLiteral("no window with id \"%1\" (see orvella list --json)").arg(windowID));
}

void ControlInterface::RemoveFromShelf(const QString &windowID)
{
    if (!m_app.windowManager().removeWindowFromShelf(windowID))
        sendErrorReply(
            QString::fromLatin1(control::kErrorNotFound),
            QStringLiteral("window \"%1\" is on no shelf (see orvella list --json)").arg(windowID));
}

void ControlInterface::Relaunch()
{
    // Answered first: the caller should hear back before this process goes.
    QMetaObject::invokeMethod(
        &m_app, [app = &m_app] { app->relaunchApp(false); }, Qt::QueuedConnection);
}

void ControlInterface::Quit()
{
    QMetaObject::invokeMethod(
        &m_app, [app = &m_app] { app->quit(0); }, Qt::QueuedConnection);
}

QString ControlInterface::List()
{
    return queueList(true);
}

QString ControlInterface::ListText()
{
    return queueList(false);
}

QString ControlInterface::queueList(bool json)
{
    tracking::WindowManager &manager = m_app.windowManager();
    if (!manager.desktop()->isTrusted()) {
        sendErrorReply(QString::fromLatin1(control::kErrorFailed), windowListing::noWindowManagerText());
        return {};
    }
    // Every list asked for while a read runs is answered by that read.
    setDelayedReply(true);
    m_pendingLists.append({connection(), message(), json});
    if (!m_listDeadline.isActive())
        m_listDeadline.start(kListTimeoutMs);
    manager.refresh();
    return {};
}

void ControlInterface::answerLists(bool read)
{
    if (m_pendingLists.isEmpty())
        return;
    m_listDeadline.stop();
    const tracking::WindowManager &manager = m_app.windowManager();
    const QByteArray json = QJsonDocument(windowListing::toJson(manager)).toJson(QJsonDocument::Compact);
    const QString text = QString::fromUtf8(windowListing::toText(manager));
    for (PendingList &pending : std::exchange(m_pendingLists, {})) {
        pending.bus.send(read ? pending.call.createReply(pending.json ? QString::fromUtf8(json) : text)
                              : pending.call.createErrorReply(
                                  QString::fromLatin1(control::kErrorFailed),
                                  QStringLiteral("the window list could not be read in time")));
    }
}

QString ControlInterface::State()
{
    const services::NotificationService &notifications = m_app.notificationService();
    const QJsonValue banner =
        notifications.hasBanner()
            ? QJsonValue(QJsonObject{{QStringLiteral("message"), notifications.bannerMessage()},
                                     {QStringLiteral("type"), notifications.bannerType()}})
            : QJsonValue(QJsonValue::Null);
    const QJsonObject state{
        {QStringLiteral("trusted"), m_app.windowManager().desktop()->isTrusted()},
        {QStringLiteral("sidebarVisible"), m_app.isSidebarVisible()},
        {QStringLiteral("banner"), banner},
        {QStringLiteral("pid"), qint64(QCoreApplication::applicationPid())},
    };
    return QString::fromUtf8(QJsonDocument(state).toJson(QJsonDocument::Compact));
}

} // namespace orvella::shell
