// Starting applications from their desktop entries through GIO.
#include "platform/linux/applauncher.h"

#include "logging.h"

// glib uses "signals" as an identifier; Qt defines it as a keyword.
#pragma push_macro("signals")
#undef signals
#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>
#pragma pop_macro("signals")

#include <atomic>
#include <memory>
#include <unistd.h>

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

// A launch context with a startup-notification id to give: the plain one has none, and
// GIO asks for it only for entries that declare StartupNotify=true, so whether it was
// asked tells whether the application got it.
struct OrvellaStartupContext
{
    GAppLaunchContext parent;
    gchar *startupID;
    gboolean handed;
};

struct OrvellaStartupContextClass
{
    GAppLaunchContextClass parent;
};

G_DEFINE_TYPE(OrvellaStartupContext, orvella_startup_context, G_TYPE_APP_LAUNCH_CONTEXT)

char *startupNotifyID(GAppLaunchContext *context, GAppInfo *, GList *)
{
    auto *self = reinterpret_cast<OrvellaStartupContext *>(context);
    if (!self->startupID)
        return nullptr;
    self->handed = TRUE;
    return g_strdup(self->startupID);
}

void finalizeStartupContext(GObject *object)
{
    g_free(reinterpret_cast<OrvellaStartupContext *>(object)->startupID);
    G_OBJECT_CLASS(orvella_startup_context_parent_class)->finalize(object);
}

void orvella_startup_context_class_init(OrvellaStartupContextClass *klass)
{
    G_APP_LAUNCH_CONTEXT_CLASS(klass)->get_startup_notify_id = startupNotifyID;
    G_OBJECT_CLASS(klass)->finalize = finalizeStartupContext;
}

void orvella_startup_context_init(OrvellaStartupContext *self)
{
    self->startupID = nullptr;
    self->handed = FALSE;
}

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

QString makeStartupID(const QString &bundleID, std::uint32_t timestamp)
{
    static std::atomic<quint32> sequence{0};
    QString id = QStringLiteral("%1+%2-%3-%4")
                     .arg(QString::fromUtf8(g_get_host_name()), QString::number(::getpid()),
                          QString::number(++sequence), bundleID);
    // The id travels in environment variables and in the quoted fields of startup
    // messages: nothing in it may need quoting.
    for (QChar &c : id) {
        if (!(c.isLetterOrNumber() && c.unicode() < 0x80) && c != u'.' && c != u'-' && c != u'+')
            c = u'_';
    }
    return id + QStringLiteral("_TIME") + QString::number(timestamp);
}

LaunchOutcome launch(const QString &bundleID, const QString &action, const QString &startupID, QString *error,
                     LaunchedProcess *launched)
{
    if (launched)
        *launched = {};
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
    auto *startup =
        static_cast<OrvellaStartupContext *>(g_object_new(orvella_startup_context_get_type(), nullptr));
    const std::unique_ptr<GAppLaunchContext, ObjectUnref> context(G_APP_LAUNCH_CONTEXT(startup));
    if (!startupID.isEmpty())
        startup->startupID = g_strdup(startupID.toUtf8().constData());
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
        if (launched) {
            launched->pid = started.pid;
            if (startup->handed)
                launched->startupID = startupID;
        }
        return LaunchOutcome::Launched;
    }
    if (error)
        *error = failure ? QString::fromUtf8(failure->message)
                         : QStringLiteral("the program could not be started");
    g_clear_error(&failure);
    return LaunchOutcome::Failed;
}

} // namespace orvella::platform::applauncher
