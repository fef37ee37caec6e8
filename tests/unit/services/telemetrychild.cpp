// A second process for the telemetry crash test: records its start against an endpoint and
// stays until it is killed.
#include "platform/preferencesstore.h"
#include "services/telemetryservice.h"

#include <QCoreApplication>

#include <cstdio>

using namespace orvella;

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() != 4) {
        std::fprintf(stderr, "usage: orvella-telemetry-child PREFERENCES ENDPOINT VERSION\n");
        return 2;
    }
    platform::PreferencesStore store(args[1]);
    services::TelemetryService::Options options;
    options.endpoint = args[2];
    options.version = args[3];
    options.doNotTrack = false;
    options.host = platform::TelemetryHost(QCoreApplication::applicationFilePath(), false, QString());
    services::TelemetryService service(store, options);
    service.recordLifecycleEvents();
    return app.exec();
}
