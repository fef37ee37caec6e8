// The diagnostic text a user reviews before sending it with feedback.
#include "sidebar/diagnosticsreport.h"

#include "settings/appsettings.h"
#include "settings/colorcodec.h"

#include <QGuiApplication>
#include <QScreen>

#include <algorithm>

namespace orvella::sidebar {

namespace {

const QString kHiddenTitle = QStringLiteral("<window title>");

QString shown(const QVariant &value)
{
    if (value.metaType() == QMetaType::fromType<QColor>())
        return settings::colorCodec::encode(value.value<QColor>()).value_or(QStringLiteral("?"));
    if (value.metaType() == QMetaType::fromType<QStringList>())
        return value.toStringList().join(QLatin1Char(','));
    return value.toString();
}

} // namespace

QString DiagnosticsReport::compose(bool includeWindowTitles) const
{
    QStringList lines{QStringLiteral("Orvella %1").arg(version), QStringLiteral("Qt %1").arg(qtVersion),
                      QStringLiteral("Window manager: %1")
                          .arg(windowManager.isEmpty() ? QStringLiteral("(none announced)") : windowManager)};
    lines << QString() << QStringLiteral("Screens:");
    for (const QString &screen : screens)
        lines << QStringLiteral("  ") + screen;
    lines << QString() << QStringLiteral("Settings changed from their defaults:");
    if (changedSettings.isEmpty())
        lines << QStringLiteral("  (none)");
    for (const QString &setting : changedSettings)
        lines << QStringLiteral("  ") + setting;

    // Longest first, so that a title containing another is blanked whole.
    QStringList titles;
    for (const QString &title : windowTitles) {
        if (!title.trimmed().isEmpty())
            titles.append(title);
    }
    std::sort(titles.begin(), titles.end(),
              [](const QString &a, const QString &b) { return a.size() > b.size(); });
    if (includeWindowTitles) {
        lines << QString() << QStringLiteral("Windows:");
        for (const QString &title : windowTitles)
            lines << QStringLiteral("  ") + title;
    }
    lines << QString() << QStringLiteral("Log (last %1 lines of this run):").arg(logLines.size());
    for (QString line : logLines) {
        if (!includeWindowTitles) {
            for (const QString &title : titles)
                line.replace(title, kHiddenTitle);
        }
        lines << line;
    }
    return lines.join(QLatin1Char('\n')) + QLatin1Char('\n');
}

QStringList DiagnosticsReport::changedSettingsOf(const settings::AppSettings &settings)
{
    QStringList out;
    for (const settings::SettingSpec &spec : settings::schema()) {
        const QVariant value = settings.value(spec.id);
        // The language is detected, not defaulted: always worth knowing.
        if (spec.id == settings::Setting::appLanguage || value != settings::defaultValue(spec))
            out.append(spec.key + QStringLiteral(" = ") + shown(value));
    }
    return out;
}

QStringList DiagnosticsReport::screenLayout()
{
    QList<QScreen *> screens = QGuiApplication::screens();
    QScreen *primary = QGuiApplication::primaryScreen();
    std::stable_partition(screens.begin(), screens.end(), [primary](QScreen *s) { return s == primary; });
    QStringList out;
    for (QScreen *screen : screens) {
        const QRect g = screen->geometry();
        out.append(QStringLiteral("%1 %2x%3+%4+%5 @%6%7")
                       .arg(screen->name())
                       .arg(g.width())
                       .arg(g.height())
                       .arg(g.x())
                       .arg(g.y())
                       .arg(screen->devicePixelRatio())
                       .arg(screen == primary ? QStringLiteral(" (primary)") : QString()));
    }
    return out;
}

} // namespace orvella::sidebar
