// The installed desktop entries, indexed for telling which application a window belongs to.
#include "platform/linux/desktopentries.h"

#include "logging.h"

// glib uses "signals" as an identifier; Qt defines it as a keyword.
#pragma push_macro("signals")
#undef signals
#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>
#pragma pop_macro("signals")

namespace orvella::platform {

namespace {

constexpr QLatin1StringView kSuffix(".desktop");

QString withoutSuffix(QString id)
{
    if (id.endsWith(kSuffix, Qt::CaseInsensitive))
        id.chop(kSuffix.size());
    return id;
}

QString fromUtf8(const char *text)
{
    return text ? QString::fromUtf8(text) : QString();
}

} // namespace

void DesktopEntries::load() const
{
    GList *all = g_app_info_get_all();
    for (GList *item = all; item; item = item->next) {
        auto *info = static_cast<GAppInfo *>(item->data);
        if (!G_IS_DESKTOP_APP_INFO(info))
            continue;
        DesktopEntry entry;
        entry.id = withoutSuffix(fromUtf8(g_app_info_get_id(info)));
        if (entry.id.isEmpty())
            continue;
        entry.name = fromUtf8(g_app_info_get_name(info));
        if (GIcon *icon = g_app_info_get_icon(info)) {
            gchar *text = g_icon_to_string(icon);
            entry.iconName = fromUtf8(text);
            g_free(text);
        }
        const QString wmClass =
            fromUtf8(g_desktop_app_info_get_startup_wm_class(G_DESKTOP_APP_INFO(info))).toLower();
        const qsizetype index = m_entries.size();
        // GIO lists the user's entries before the system's: the first one of an id wins.
        if (m_byId.contains(entry.id.toLower()))
            continue;
        m_byId.insert(entry.id.toLower(), index);
        if (!wmClass.isEmpty() && !m_byWmClass.contains(wmClass))
            m_byWmClass.insert(wmClass, index);
        m_entries.append(std::move(entry));
    }
    g_list_free_full(all, g_object_unref);
    qCDebug(lcPlatform) << "[OV] indexed" << m_entries.size() << "desktop entries";
}

std::optional<DesktopEntry> DesktopEntries::find(const QHash<QString, qsizetype> &index,
                                                 const QString &key) const
{
    std::call_once(m_loaded, [this] { load(); });
    const auto it = index.constFind(key.toLower());
    if (it == index.constEnd())
        return std::nullopt;
    return m_entries.at(*it);
}

std::optional<DesktopEntry> DesktopEntries::byId(const QString &id) const
{
    const QString key = withoutSuffix(id.section(QLatin1Char('/'), -1));
    if (key.isEmpty())
        return std::nullopt;
    return find(m_byId, key);
}

std::optional<DesktopEntry> DesktopEntries::byWmClass(const QString &wmClass) const
{
    if (wmClass.isEmpty())
        return std::nullopt;
    if (auto entry = find(m_byWmClass, wmClass))
        return entry;
    return find(m_byId, wmClass);
}

qsizetype DesktopEntries::size() const
{
    std::call_once(m_loaded, [this] { load(); });
    return m_entries.size();
}

} // namespace orvella::platform
