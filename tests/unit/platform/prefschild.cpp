// A second process for the preferences tests: writes through the real store until the
// test kills it mid-write, or opens a store on a hostile file the test can give up on.
#include "platform/preferencesstore.h"

#include <QCoreApplication>
#include <QJsonDocument>

#include <cstdio>
#include <sys/resource.h>

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

// Prints what the store read and whether a change could be saved. Address space is
// capped so that a store reading an endless file fails here in moments instead of
// taking the machine's memory.
int loadAndSave(const QString &path)
{
#ifndef __SANITIZE_ADDRESS__ // which reserves terabytes of address space for itself
    const rlim_t cap = rlim_t(1) << 30;
    const rlimit limit{cap, cap};
    ::setrlimit(RLIMIT_AS, &limit);
#endif
    platform::PreferencesStore store(path);
    std::printf("%s\n", QJsonDocument(store.snapshot()).toJson(QJsonDocument::Compact).constData());
    store.setString(QStringLiteral("position"), QStringLiteral("left"));
    std::printf("saved=%d\n", int(store.flush()));
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() == 3 && args[1] == QLatin1String("burst"))
        return burst(args[2]);
    if (args.size() == 3 && args[1] == QLatin1String("load"))
        return loadAndSave(args[2]);
    std::fprintf(stderr, "usage: orvella-prefs-child burst|load PATH\n");
    return 2;
}
