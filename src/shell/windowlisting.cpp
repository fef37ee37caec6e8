// What `orvella list` prints: the tracked windows and the sections they are grouped into.
#include "shell/windowlisting.h"

#include "shell/terminaltext.h"
#include "tracking/windowmanager.h"

#include <QJsonArray>

namespace orvella::shell::windowListing {

namespace {

QJsonValue optionalText(const std::optional<QString> &text)
{
    return text ? QJsonValue(*text) : QJsonValue(QJsonValue::Null);
}

QJsonObject windowJson(const tracking::WindowItem &w)
{
    return {
        {QStringLiteral("id"), w.id},
        {QStringLiteral("pid"), w.pid},
        {QStringLiteral("axIndex"), w.axIndex},
        {QStringLiteral("appName"), w.appName},
        {QStringLiteral("bundleIdentifier"), optionalText(w.bundleIdentifier)},
        {QStringLiteral("title"), w.windowTitle},
        {QStringLiteral("isMinimized"), w.isMinimized},
        {QStringLiteral("isActive"), w.isActive},
        {QStringLiteral("windowNumber"),
         w.windowNumber ? QJsonValue(*w.windowNumber) : QJsonValue(QJsonValue::Null)},
        {QStringLiteral("bounds"), QJsonObject{{QStringLiteral("x"), w.bounds.x()},
                                               {QStringLiteral("y"), w.bounds.y()},
                                               {QStringLiteral("width"), w.bounds.width()},
                                               {QStringLiteral("height"), w.bounds.height()}}},
        {QStringLiteral("assignedShelfName"), optionalText(w.assignedShelfName)},
        {QStringLiteral("isClosed"), w.isClosed},
    };
}

} // namespace

QJsonObject toJson(const tracking::WindowManager &manager)
{
    QJsonArray windows;
    for (const tracking::WindowItem &w : manager.windows())
        windows.append(windowJson(w));
    QJsonArray sections;
    for (const tracking::WindowCategory &c : manager.categories()) {
        QJsonArray ids;
        for (const tracking::WindowItem &w : c.windows)
            ids.append(w.id);
        sections.append(QJsonObject{{QStringLiteral("id"), c.id},
                                    {QStringLiteral("displayName"), c.displayName},
                                    {QStringLiteral("isShelf"), c.isShelf()},
                                    {QStringLiteral("isCollapsed"), c.isCollapsed},
                                    {QStringLiteral("isHidden"), c.isHidden},
                                    {QStringLiteral("windows"), ids}});
    }
    const QString active = manager.activeWindowID();
    return {{QStringLiteral("windows"), windows},
            {QStringLiteral("activeWindowID"),
             active.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(active)},
            {QStringLiteral("sections"), sections}};
}

QByteArray toText(const tracking::WindowManager &manager)
{
    QStringList lines;
    for (const tracking::WindowCategory &c : manager.categories()) {
        lines.append(c.displayName == c.id ? c.displayName
                                           : QStringLiteral("%1 (%2)").arg(c.displayName, c.id));
        for (const tracking::WindowItem &w : c.windows) {
            QString flags;
            if (w.isActive)
                flags += QStringLiteral(" [active]");
            if (w.isMinimized)
                flags += QStringLiteral(" [minimized]");
            const QString number = w.windowNumber
                                       ? QStringLiteral("0x%1").arg(*w.windowNumber, 8, 16, QLatin1Char('0'))
                                       : QStringLiteral("-");
            lines.append(QStringLiteral("  %1  pid %2  %3%4")
                             .arg(number, QString::number(w.pid),
                                  w.windowTitle.isEmpty() ? QStringLiteral("(untitled)") : w.windowTitle,
                                  flags));
        }
    }
    return terminalText::lines(lines);
}

QString noWindowManagerText()
{
    return QStringLiteral(
        "no EWMH window manager on this display (it must advertise _NET_CLIENT_LIST and _NET_ACTIVE_WINDOW)");
}

} // namespace orvella::shell::windowListing
