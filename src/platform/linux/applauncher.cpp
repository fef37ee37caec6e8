// Starting applications from their desktop entries through GIO.
#include "platform/linux/applauncher.h"

#include "logging.h"

// glib uses "signals" as an identifier; Qt defines it as a keyword.
#pragma push_macro("signals")
#undef signals
#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>
#pragma pop_macro("signals")

#include <memory>

namespace orvella::platform::applauncher {

namespace {

struct ObjectUnref
{
    void operator()(void *object) const { g_object_unref(object); }
};

std::unique_ptr<GDesktopAppInfo, ObjectUnref> entryFor(const QString &bundleID)
{
    if (bundleID.isEmpty() || bundleID.contains(u'/'))
        return nullptr;
    const QByteArray id = (bundleID + QStringLiteral(".desktop")).toUtf8();
    return std::unique_ptr<GDesktopAppInfo, ObjectUnref>(g_desktop_app_info_new(id.constData()));
}

// Action names compared without case and separators: "new-window", "NewWindow" and
// "new_window" are one name.
QString folded(const QString &name)
{
    QString out;
    for (const QChar c : name) {
        if (c.isLetterOrNumber())
            out.append(c.toLower());
    }
    return out;
}

// What GIO reports about the process it started.
struct Started
{
    qint32 pid = 0;
    bool failed = false;
};

void onLaunched(GAppLaunchContext *, GAppInfo *, GVariant *platformData, gpointer data)
{
    gint32 pid = 0;
    if (platformData && g_variant_lookup(platformData, "pid", "i", &pid))
        static_cast<Started *>(data)->pid = pid;
}

void onLaunchFailed(GAppLaunchContext *, gchar *, gpointer data)
{
    static_cast<Started *>(data)->failed = true;
}

QStringList declaredActions(GDesktopAppInfo *entry)
{
    QStringList actions;
    for (const gchar *const *a = g_desktop_app_info_list_actions(entry); a && *a; ++a)
        actions.append(QString::fromUtf8(*a));
    return actions;
}

} // namespace

bool exists(const QString &bundleID)
{
    return entryFor(bundleID) != nullptr;
}

std::optional<QString> pickNewWindowAction(const QStringList &actions)
{
    // In order of preference: an empty window is what the user asked for.
    static const QStringList kNames{QStringLiteral("newwindow"), QStringLiteral("newemptywindow"),
                                    QStringLiteral("windownew")};
    for (const QString &name : kNames) {
        for (const QString &action : actions) {
            if (folded(action) == name)
                return action;
        }
    }
    return std::nullopt;
}

std::optional<QString> newWindowAction(const QString &bundleID)
{
    const auto entry = entryFor(bundleID);
    if (!entry)
        return std::nullopt;
    return pickNewWindowAction(declaredActions(entry.get()));
}

LaunchOutcome launch(const QString &bundleID, const QString &action, QString *error, qint32 *pid)
{
    if (pid)
        *pid = 0;
    const auto entry = entryFor(bundleID);
    if (!entry)
        return LaunchOutcome::NotFound;
    const QByteArray actionName = action.toUtf8();
    if (!action.isEmpty() && !declaredActions(entry.get()).contains(action)) {
        if (error)
            *error = QStringLiteral("the desktop entry has no action \"%1\"").arg(action);
        return LaunchOutcome::Failed;
    }
    Started started;
    const std::unique_ptr<GAppLaunchContext, ObjectUnref> context(g_app_launch_context_new());
    g_signal_connect(context.get(), "launched", G_CALLBACK(onLaunched), &started);
    g_signal_connect(context.get(), "launch-failed", G_CALLBACK(onLaunchFailed), &started);
    GError *failure = nullptr;
    // GIO spawns the child detached (a double fork): it outlives Orvella and leaves
    // no zombie behind.
    gboolean ok = TRUE;
    if (action.isEmpty())
        ok = g_app_info_launch(G_APP_INFO(entry.get()), nullptr, context.get(), &failure);
    else
        g_desktop_app_info_launch_action(entry.get(), actionName.constData(), context.get());
    g_signal_handlers_disconnect_by_data(context.get(), &started);
    if (ok && !started.failed) {
        if (pid)
            *pid = started.pid;
        return LaunchOutcome::Launched;
    }
    if (error)
        *error = failure ? QString::fromUtf8(failure->message)
                         : QStringLiteral("the program could not be started");
    g_clear_error(&failure);
    return LaunchOutcome::Failed;
}

} // namespace orvella::platform::applauncher
