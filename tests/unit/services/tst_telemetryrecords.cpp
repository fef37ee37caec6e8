// Telemetry's pure rules: event JSON, download attribution, internal state, channel, endpoint.
#include "services/installattribution.h"
#include "services/telemetryevent.h"
#include "services/telemetryservice.h"

#include <QJsonDocument>
#include <QTest>

Q_DECLARE_METATYPE(orvella::services::TelemetryEvent)

using namespace orvella;
using services::InstallAttribution;
using services::TelemetryService;

class TestTelemetryRecords : public QObject
{
    Q_OBJECT
private slots:
    void eventJson_data();
    void eventJson();
    void attribution_data();
    void attribution();
    void attributionCache();
    void internalState_data();
    void internalState();
    void installChannel_data();
    void installChannel();
    void endpoint_data();
    void endpoint();
};

void TestTelemetryRecords::eventJson_data()
{
    QTest::addColumn<services::TelemetryEvent>("event");
    QTest::addColumn<QByteArray>("json");

    services::TelemetryEvent first;
    first.installID = QStringLiteral("0f8fad5b-d9cb-469f-a165-70867728950e");
    first.event = QStringLiteral("first_launch");
    first.version = QStringLiteral("1.3");
    first.channel = QStringLiteral("unknown");
    first.platform = QStringLiteral("linux");
    first.timestamp = QStringLiteral("2026-03-01T09:30:00Z");
    QTest::newRow("first launch, nothing optional")
        << first
        << QByteArray(
               R"({"channel":"unknown","event":"first_launch","install_id":"0f8fad5b-d9cb-469f-a165-)"
               R"(70867728950e","is_internal":false,"platform":"linux","timestamp":"2026-03-01T09:30:00Z",)"
               R"("version":"1.3"})");

    services::TelemetryEvent update = first;
    update.event = QStringLiteral("app_update");
    update.previousVersion = QStringLiteral("1.2");
    update.channel = QStringLiteral("direct");
    update.attribution = InstallAttribution{QStringLiteral("download_url"),
                                            QStringLiteral("orvella.app"),
                                            QStringLiteral("/get/Orvella.AppImage"),
                                            QStringLiteral("orvella"),
                                            QStringLiteral("news"),
                                            std::nullopt,
                                            QStringLiteral("spring \"26\"")};
    update.isInternal = true;
    update.internalReason = QStringLiteral("marker_file");
    QTest::newRow("update with attribution and internal reason")
        << update
        << QByteArray(
               R"({"channel":"direct","event":"app_update","install_id":"0f8fad5b-d9cb-469f-a165-)"
               R"(70867728950e","internal_reason":"marker_file","is_internal":true,"platform":"linux",)"
               R"("previous_version":"1.2","source_host":"orvella.app","source_path":"/get/Orvella.AppImage",)"
               R"("source_slug":"orvella","source_type":"download_url","timestamp":"2026-03-01T09:30:00Z",)"
               R"("utm_campaign":"spring \"26\"","utm_source":"news","version":"1.3"})");
}

void TestTelemetryRecords::eventJson()
{
    QFETCH(services::TelemetryEvent, event);
    QFETCH(QByteArray, json);
    QCOMPARE(event.toJson(), json);
}

namespace {

// A syntactically valid host of exactly `length` characters, in labels of at most 60.
QString hostOfLength(int length)
{
    QString host = QStringLiteral("example.com");
    while (host.size() < length) {
        const int label = std::min(60, int(length - host.size() - 1));
        host.prepend(QString(std::max(label, 1), QLatin1Char('a')) + QLatin1Char('.'));
    }
    return host;
}

QByteArray attributionJson(const std::optional<InstallAttribution> &a)
{
    return a ? QJsonDocument(a->toJson()).toJson(QJsonDocument::Compact) : QByteArray("none");
}

} // namespace

void TestTelemetryRecords::attribution_data()
{
    QTest::addColumn<QStringList>("urls");
    QTest::addColumn<QString>("channel");
    QTest::addColumn<QByteArray>("expected");

    QTest::newRow("disk image download with campaign values")
        << QStringList{QStringLiteral("https://Downloads.Example.net/files/"
                                      "Orvella-1.3.dmg?utm_source=news&utm_medium=email&utm_campaign=launch")}
        << QStringLiteral("unknown")
        << QByteArray(R"({"source_host":"downloads.example.net","source_path":"/files/Orvella-1.3.dmg",)"
                      R"("source_slug":"orvella-1-3","source_type":"download_url","utm_campaign":"launch",)"
                      R"("utm_medium":"email","utm_source":"news"})");
    QTest::newRow("AppImage download, first of repeated query items")
        << QStringList{QStringLiteral(
               "https://orvella.app/get/Orvella-x86_64.AppImage?utm_source=a&utm_source=b")}
        << QStringLiteral("direct")
        << QByteArray(R"({"source_host":"orvella.app","source_path":"/get/Orvella-x86_64.AppImage",)"
                      R"("source_slug":"orvella-x86_64","source_type":"download_url","utm_source":"a"})");
    QTest::newRow("over-long host dropped, the rest kept")
        << QStringList{QStringLiteral("https://%1/blog/tips.html?utm_campaign=c").arg(hostOfLength(121))}
        << QStringLiteral("unknown")
        << QByteArray(
               R"({"source_path":"/blog/tips.html","source_slug":"tips","source_type":"referrer_page",)"
               R"("utm_campaign":"c"})");
    QTest::newRow("host of 120 characters kept")
        << QStringList{QStringLiteral("https://%1").arg(hostOfLength(120))} << QStringLiteral("unknown")
        << QByteArray(R"({"source_host":")" + hostOfLength(120).toLatin1()
                      + R"(","source_type":"referrer_page"})");
    QTest::newRow("a URL that tells nothing gives way to the next")
        << QStringList{QStringLiteral("https://%1").arg(hostOfLength(130)),
                       QStringLiteral("https://forum.example.org/")}
        << QStringLiteral("unknown")
        << QByteArray(
               R"({"source_host":"forum.example.org","source_path":"/","source_type":"referrer_page"})");
    QTest::newRow("non-https origins ignored")
        << QStringList{QStringLiteral("http://example.org/Orvella.dmg?utm_source=x"),
                       QStringLiteral("ftp://example.org/Orvella.dmg"), QStringLiteral("not a url")}
        << QStringLiteral("unknown") << QByteArray("none");
    QTest::newRow("nothing usable on a direct install")
        << QStringList{QStringLiteral("http://example.org/x")} << QStringLiteral("direct")
        << QByteArray(R"({"source_type":"direct_channel"})");
    QTest::newRow("nothing at all from homebrew")
        << QStringList{} << QStringLiteral("homebrew") << QByteArray(R"({"source_type":"homebrew_channel"})");
    QTest::newRow("a page before our disk image before another site's")
        << QStringList{QStringLiteral("https://mirror.example/Orvella.dmg"),
                       QStringLiteral("https://orvella.app/Orvella.dmg"),
                       QStringLiteral("https://news.example/reviews/orvella/")}
        << QStringLiteral("unknown")
        << QByteArray(R"({"source_host":"news.example","source_path":"/reviews/orvella/",)"
                      R"("source_slug":"orvella","source_type":"referrer_page"})");
    QTest::newRow("our disk image before another site's")
        << QStringList{QStringLiteral("https://mirror.example/Orvella.dmg"),
                       QStringLiteral("https://www.orvella.app/Orvella.dmg")}
        << QStringLiteral("unknown")
        << QByteArray(
               R"({"source_host":"www.orvella.app","source_path":"/Orvella.dmg","source_slug":"orvella",)"
               R"("source_type":"download_url"})");
    QTest::newRow("equal priority keeps the stored order")
        << QStringList{QStringLiteral("https://b.example/first"), QStringLiteral("https://a.example/second")}
        << QStringLiteral("unknown")
        << QByteArray(R"({"source_host":"b.example","source_path":"/first","source_slug":"first",)"
                      R"("source_type":"referrer_page"})");
    QTest::newRow("an index page is its folder")
        << QStringList{QStringLiteral("https://orvella.app/guides/Shelves/index.html")}
        << QStringLiteral("unknown")
        << QByteArray(R"({"source_host":"orvella.app","source_path":"/guides/Shelves/index.html",)"
                      R"("source_slug":"shelves","source_type":"referrer_page"})");
    QTest::newRow("site root and /index have no slug")
        << QStringList{QStringLiteral("https://orvella.app/index")} << QStringLiteral("unknown")
        << QByteArray(
               R"({"source_host":"orvella.app","source_path":"/index","source_type":"referrer_page"})");
    QTest::newRow("query values trimmed, empty and over-long dropped")
        << QStringList{QStringLiteral(
                           "https://e.example/?utm_source=%20%20spaced%20&utm_medium=&utm_campaign=")
                       + QString(121, QLatin1Char('c'))}
        << QStringLiteral("unknown")
        << QByteArray(R"({"source_host":"e.example","source_path":"/","source_type":"referrer_page",)"
                      R"("utm_source":"spaced"})");
    const QString longPath = QLatin1Char('/') + QString(160, QLatin1Char('p'));
    QTest::newRow("over-long path dropped, its slug kept")
        << QStringList{QStringLiteral("https://e.example") + longPath} << QStringLiteral("unknown")
        << QByteArray(R"({"source_host":"e.example","source_slug":")" + QByteArray(80, 'p')
                      + R"(","source_type":"referrer_page"})");
}

void TestTelemetryRecords::attribution()
{
    QFETCH(QStringList, urls);
    QFETCH(QString, channel);
    QFETCH(QByteArray, expected);
    const auto found = InstallAttribution::discovered(InstallAttribution::whereFromURLs(urls), channel);
    QCOMPARE(attributionJson(found), expected);
}

// The cache is read back as written, and a damaged entry is not taken for an attribution.
void TestTelemetryRecords::attributionCache()
{
    const InstallAttribution a{QStringLiteral("referrer_page"),
                               QStringLiteral("e.example"),
                               std::nullopt,
                               QStringLiteral("tips"),
                               std::nullopt,
                               QStringLiteral("social"),
                               std::nullopt};
    QCOMPARE(InstallAttribution::fromJson(a.toJson()), a);
    QVERIFY(!InstallAttribution::fromJson(QJsonObject{{QStringLiteral("source_host"), QStringLiteral("x")}}));
    QVERIFY(!InstallAttribution::fromJson(QJsonObject{{QStringLiteral("source_type"), 3}}));
}

void TestTelemetryRecords::internalState_data()
{
    QTest::addColumn<bool>("defaultsSwitch");
    QTest::addColumn<QVariant>("environment"); // invalid: unset
    QTest::addColumn<bool>("marker");
    QTest::addColumn<bool>("isInternal");
    QTest::addColumn<QString>("reason");

    QTest::newRow("nothing") << false << QVariant() << false << false << QString();
    QTest::newRow("switch wins over everything")
        << true << QVariant(QStringLiteral("1")) << true << true << QStringLiteral("defaults_override");
    QTest::newRow("TRUE in upper case") << false << QVariant(QStringLiteral("TRUE")) << true << true
                                        << QStringLiteral("environment_override");
    QTest::newRow("1") << false << QVariant(QStringLiteral("1")) << false << true
                       << QStringLiteral("environment_override");
    QTest::newRow("Yes") << false << QVariant(QStringLiteral("Yes")) << false << true
                         << QStringLiteral("environment_override");
    QTest::newRow("false falls through to the marker")
        << false << QVariant(QStringLiteral("false")) << true << true << QStringLiteral("marker_file");
    QTest::newRow("set but empty") << false << QVariant(QString()) << false << false << QString();
    QTest::newRow("' 1' is not 1") << false << QVariant(QStringLiteral(" 1")) << false << false << QString();
    QTest::newRow("marker only") << false << QVariant() << true << true << QStringLiteral("marker_file");
}

void TestTelemetryRecords::internalState()
{
    QFETCH(bool, defaultsSwitch);
    QFETCH(QVariant, environment);
    QFETCH(bool, marker);
    QFETCH(bool, isInternal);
    QFETCH(QString, reason);
    const std::optional<QString> env =
        !environment.isValid() ? std::nullopt : std::optional(environment.toString());
    const auto state = TelemetryService::internalTelemetryState(defaultsSwitch, env, marker);
    QCOMPARE(state.isInternal, isInternal);
    QCOMPARE(state.reason.value_or(QString()), reason);
    QCOMPARE(state.reason.has_value(), isInternal);
}

void TestTelemetryRecords::installChannel_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("appImage");
    QTest::addColumn<QString>("channel");

    QTest::newRow("linuxbrew") << QStringLiteral("/home/linuxbrew/.linuxbrew/bin/orvella") << false
                               << QStringLiteral("homebrew");
    QTest::newRow("Caskroom, any case")
        << QStringLiteral("/usr/local/Caskroom/orvella/orvella") << false << QStringLiteral("homebrew");
    QTest::newRow("homebrew beats AppImage")
        << QStringLiteral("/opt/homebrew/Orvella.AppImage") << true << QStringLiteral("homebrew");
    QTest::newRow("AppImage") << QStringLiteral("/home/u/Downloads/Orvella.AppImage") << true
                              << QStringLiteral("direct");
    QTest::newRow("/opt") << QStringLiteral("/opt/orvella/bin/orvella") << false << QStringLiteral("direct");
    QTest::newRow("/opt only at the start")
        << QStringLiteral("/home/u/opt/orvella") << false << QStringLiteral("unknown");
    QTest::newRow("Applications folder")
        << QStringLiteral("/home/u/Applications/orvella") << false << QStringLiteral("direct");
    QTest::newRow("distribution package")
        << QStringLiteral("/usr/bin/orvella") << false << QStringLiteral("unknown");
}

void TestTelemetryRecords::installChannel()
{
    QFETCH(QString, path);
    QFETCH(bool, appImage);
    QFETCH(QString, channel);
    QCOMPARE(TelemetryService::installChannel(path, appImage), channel);
}

void TestTelemetryRecords::endpoint_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("usable");

    QTest::newRow("https") << QStringLiteral("https://orvella.app/telemetry.php") << true;
    QTest::newRow("http to 127.0.0.1") << QStringLiteral("http://127.0.0.1:8080/telemetry.php") << true;
    QTest::newRow("http to 127.1.2.3") << QStringLiteral("http://127.1.2.3/t") << true;
    QTest::newRow("http to ::1") << QStringLiteral("http://[::1]:9/t") << true;
    QTest::newRow("http to localhost") << QStringLiteral("http://localhost/t") << true;
    QTest::newRow("http elsewhere") << QStringLiteral("http://orvella.app/telemetry.php") << false;
    QTest::newRow("http to a look-alike") << QStringLiteral("http://127.0.0.1.example.com/t") << false;
    QTest::newRow("other scheme") << QStringLiteral("ftp://127.0.0.1/t") << false;
    QTest::newRow("empty") << QString() << false;
    QTest::newRow("no host") << QStringLiteral("https:///telemetry.php") << false;
}

void TestTelemetryRecords::endpoint()
{
    QFETCH(QString, text);
    QFETCH(bool, usable);
    QCOMPARE(TelemetryService::endpointURL(text).has_value(), usable);
}

QTEST_GUILESS_MAIN(TestTelemetryRecords)
#include "tst_telemetryrecords.moc"
