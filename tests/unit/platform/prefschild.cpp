// A second process for the preferences tests: writes through the real store until the
// test kills it mid-write.
#include "platform/preferencesstore.h"

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

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() == 3 && args[1] == QLatin1String("burst"))
        return burst(args[2]);
    std::fprintf(stderr, "usage: orvella-prefs-child burst PATH\n");
    return 2;
}
