// A second process for the preferences tests: writes through the real store and exits
// (or is killed mid-write by the test).
#include "platform/preferencesstore.h"
#include "settings/appsettings.h"

#include <QCoreApplication>

#include <cstdio>

using namespace orvella;

namespace {

// Rewrites every key again and again, flushing often, until killed. A large value
// makes each file write long enough for a kill to land in the middle of one.
int burst(const QString &path)
{
    platform::PreferencesStore store(path);
    const QString padding(256 * 1024, QLatin1Char('x'));
    store.setString(QStringLiteral("padding"), padding);
    for (int round = 1;; ++round) {
        for (int k = 0; k < 50; ++k) {
            store.setString(QStringLiteral("k%1").arg(k), QStringLiteral("new-%1").arg(round));
            if (k % 5 == 0)
                store.flush();
        }
        store.flush();
        std::printf("round %d\n", round);
        std::fflush(stdout);
    }
}

int writeSettings(const QString &path)
{
    platform::PreferencesStore store(path);
    settings::AppSettings s(store);
    s.setSidebarWidth(321);
    s.setPosition(QStringLiteral("right"));
    s.setShowIcons(false);
    s.setActiveRowColorDark(QColor(0x11, 0x22, 0x33, 0x44));
    s.setSystemMonitorMetrics({QStringLiteral("net"), QStringLiteral("cpu")});
    s.setAppLanguage(QStringLiteral("de"));
    return 0; // the store writes on destruction
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() == 3 && args[1] == QLatin1String("burst"))
        return burst(args[2]);
    if (args.size() == 3 && args[1] == QLatin1String("settings"))
        return writeSettings(args[2]);
    std::fprintf(stderr, "usage: orvella-prefs-child burst|settings PATH\n");
    return 2;
}
