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

} // namespace

bool exists(const QString &bundleID)
{
    return entryFor(bundleID) != nullptr;
}

LaunchOutcome launch(const QString &bundleID, QString *error)
{
    const auto entry = entryFor(bundleID);
    if (!entry)
        return LaunchOutcome::NotFound;
    GError *failure = nullptr;
    // GIO spawns the child detached (a double fork): it outlives Orvella and leaves
    // no zombie behind.
    const gboolean ok = g_app_info_launch(G_APP_INFO(entry.get()), nullptr, nullptr, &failure);
    if (ok)
        return LaunchOutcome::Launched;
    if (error)
        *error = failure ? QString::fromUtf8(failure->message) : QStringLiteral("unknown error");
    g_clear_error(&failure);
    return LaunchOutcome::Failed;
}

} // namespace orvella::platform::applauncher
