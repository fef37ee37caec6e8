// Telemetry's pure rules: event JSON, download attribution, internal state, channel, endpoint.
#include "services/installattribution.h"
#include "services/telemetryevent.h"
#include "services/telemetryservice.h"

#include <QJsonDocument>
#include <QTest>

using namespace orvella;
using services::InstallAttribution;
using services::TelemetryService;

class TestTelemetryRecords : public QObject
{
    Q_OBJECT
private slots:
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

// Every optional field set, a quote to escape; the service's test covers the event without them.
void TestTelemetryRecords::eventJson()
{
    services::TelemetryEvent update;
    update.installID = QStringLiteral("0f8fad5b-d9cb-469f-a165-70867728950e");
    update.event = QStringLiteral("app_update");
    update.version = QStringLiteral("1.3");
    update.previousVersion = QStringLiteral("1.2");
    update.channel = QStringLiteral("direct");
    update.platform = QStringLiteral("linux");
    update.timestamp = QStringLiteral("2026-03-01T09:30:00Z");
    update.attribution = InstallAttribution{"download_url", "orvella.app", "/get/Orvella.AppImage", "orvella",
                                            "news",         std::nullopt,  "spring \"26\""};
    update.isInternal = true;
    update.internalReason = QStringLiteral("marker_file");
    QCOMPARE(
        update.toJson(),
        QByteArray(
            R"({"channel":"direct","event":"app_update","install_id":"0f8fad5b-d9cb-469f-a165-)"
            R"(70867728950e","internal_reason":"marker_file","is_internal":true,"platform":"linux",)"
            R"("previous_version":"1.2","source_host":"orvella.app","source_path":"/get/Orvella.AppImage",)"
            R"("source_slug":"orvella","source_type":"download_url","timestamp":"2026-03-01T09:30:00Z",)"
            R"("utm_campaign":"spring \"26\"","utm_source":"news","version":"1.3"})"));
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
    const auto row = [](const char *name, const QStringList &urls, const char *channel,
                        const QByteArray &json) {
        QTest::newRow(name) << urls << QString::fromLatin1(channel) << json;
    };
    row("disk image download with campaign values",
        {"https://Downloads.Example.net/files/"
         "Orvella-1.3.dmg?utm_source=news&utm_medium=email&utm_campaign=launch"},
        "unknown",
        R"({"source_host":"downloads.example.net","source_path":"/files/Orvella-1.3.dmg",)"
        R"("source_slug":"orvella-1-3","source_type":"download_url","utm_campaign":"launch",)"
        R"("utm_medium":"email","utm_source":"news"})");
    row("AppImage download, first of repeated query items",
        {"https://orvella.app/get/Orvella-x86_64.AppImage?utm_source=a&utm_source=b"}, "direct",
        R"({"source_host":"orvella.app","source_path":"/get/Orvella-x86_64.AppImage",)"
        R"("source_slug":"orvella-x86_64","source_type":"download_url","utm_source":"a"})");
    row("over-long host dropped, the rest kept",
        {QStringLiteral("https://%1/blog/tips.html?utm_campaign=c").arg(hostOfLength(121))}, "unknown",
        R"({"source_path":"/blog/tips.html","source_slug":"tips","source_type":"referrer_page",)"
        R"("utm_campaign":"c"})");
    row("host of 120 characters kept", {"https://" + hostOfLength(120)}, "unknown",
        R"({"source_host":")" + hostOfLength(120).toLatin1() + R"(","source_type":"referrer_page"})");
    row("a URL that tells nothing gives way to the next",
        {"https://" + hostOfLength(130), "https://forum.example.org/"}, "unknown",
        R"({"source_host":"forum.example.org","source_path":"/","source_type":"referrer_page"})");
    row("non-https origins ignored",
        {"http://example.org/Orvella.dmg?utm_source=x", "ftp://example.org/Orvella.dmg", "not a url"},
        "unknown", "none");
    row("nothing usable on a direct install", {"http://example.org/x"}, "direct",
        R"({"source_type":"direct_channel"})");
    row("nothing at all from homebrew", {}, "homebrew", R"({"source_type":"homebrew_channel"})");
    row("a page before our disk image before another site's",
        {"https://mirror.example/Orvella.dmg", "https://orvella.app/Orvella.dmg",
         "https://news.example/reviews/orvella/"},
        "unknown",
        R"({"source_host":"news.example","source_path":"/reviews/orvella/","source_slug":"orvella",)"
        R"("source_type":"referrer_page"})");
    row("our disk image before another site's",
        {"https://mirror.example/Orvella.dmg", "https://www.orvella.app/Orvella.dmg"}, "unknown",
        R"({"source_host":"www.orvella.app","source_path":"/Orvella.dmg","source_slug":"orvella",)"
        R"("source_type":"download_url"})");
    row("equal priority keeps the stored order", {"https://b.example/first", "https://a.example/second"},
        "unknown",
        R"({"source_host":"b.example","source_path":"/first","source_slug":"first","source_type":"referrer_page"})");
    row("an index page is its folder", {"https://orvella.app/guides/Shelves/index.html"}, "unknown",
        R"({"source_host":"orvella.app","source_path":"/guides/Shelves/index.html","source_slug":"shelves",)"
        R"("source_type":"referrer_page"})");
    row("site root and /index have no slug", {"https://orvella.app/index"}, "unknown",
        R"({"source_host":"orvella.app","source_path":"/index","source_type":"referrer_page"})");
    row("query values trimmed, empty and over-long dropped",
        {"https://e.example/?utm_source=%20%20spaced%20&utm_medium=&utm_campaign=" + QString(121, u'c')},
        "unknown",
        R"({"source_host":"e.example","source_path":"/","source_type":"referrer_page","utm_source":"spaced"})");
    row("over-long path dropped, its slug kept", {"https://e.example/" + QString(160, u'p')}, "unknown",
        R"({"source_host":"e.example","source_slug":")" + QByteArray(80, 'p')
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
    const InstallAttribution a{"referrer_page", "e.example", std::nullopt, "tips",
                               std::nullopt,    "social",    std::nullopt};
    QCOMPARE(InstallAttribution::fromJson(a.toJson()), a);
    QVERIFY(!InstallAttribution::fromJson(QJsonObject{{QStringLiteral("source_host"), QStringLiteral("x")}}));
    QVERIFY(!InstallAttribution::fromJson(QJsonObject{{QStringLiteral("source_type"), 3}}));
}

void TestTelemetryRecords::internalState_data()
{
    QTest::addColumn<bool>("defaultsSwitch");
    QTest::addColumn<QVariant>("environment"); // invalid: unset
    QTest::addColumn<bool>("marker");
    QTest::addColumn<QString>("reason"); // empty: not internal
    const auto row = [](const char *name, bool defaultsSwitch, const QVariant &environment, bool marker,
                        const char *reason) {
        QTest::newRow(name) << defaultsSwitch << environment << marker << QString::fromLatin1(reason);
    };
    row("nothing", false, QVariant(), false, "");
    row("switch wins over everything", true, QStringLiteral("1"), true, "defaults_override");
    row("TRUE in upper case", false, QStringLiteral("TRUE"), true, "environment_override");
    row("1", false, QStringLiteral("1"), false, "environment_override");
    row("Yes", false, QStringLiteral("Yes"), false, "environment_override");
    row("false falls through to the marker", false, QStringLiteral("false"), true, "marker_file");
    row("set but empty", false, QString(), false, "");
    row("' 1' is not 1", false, QStringLiteral(" 1"), false, "");
    row("marker only", false, QVariant(), true, "marker_file");
}

void TestTelemetryRecords::internalState()
{
    QFETCH(bool, defaultsSwitch);
    QFETCH(QVariant, environment);
    QFETCH(bool, marker);
    QFETCH(QString, reason);
    const std::optional<QString> env =
        !environment.isValid() ? std::nullopt : std::optional(environment.toString());
    const auto state = TelemetryService::internalTelemetryState(defaultsSwitch, env, marker);
    QCOMPARE(state.isInternal, !reason.isEmpty());
    QCOMPARE(state.reason, reason.isEmpty() ? std::nullopt : std::optional(reason));
}

void TestTelemetryRecords::installChannel_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("appImage");
    QTest::addColumn<QString>("channel");
    const auto row = [](const char *name, const char *path, bool appImage, const char *channel) {
        QTest::newRow(name) << QString::fromLatin1(path) << appImage << QString::fromLatin1(channel);
    };
    row("linuxbrew", "/home/linuxbrew/.linuxbrew/bin/orvella", false, "homebrew");
    row("Caskroom, any case", "/usr/local/Caskroom/orvella/orvella", false, "homebrew");
    row("homebrew beats AppImage", "/opt/homebrew/Orvella.AppImage", true, "homebrew");
    row("AppImage", "/home/u/Downloads/Orvella.AppImage", true, "direct");
    row("/opt", "/opt/orvella/bin/orvella", false, "direct");
    row("/opt only at the start", "/home/u/opt/orvella", false, "unknown");
    row("Applications folder", "/home/u/Applications/orvella", false, "direct");
    row("distribution package", "/usr/bin/orvella", false, "unknown");
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
    const auto row = [](const char *text, bool usable) {
        QTest::newRow(text) << QString::fromLatin1(text) << usable;
    };
    row("https://orvella.app/telemetry.php", true);
    row("http://127.0.0.1:8080/telemetry.php", true);
    row("http://127.1.2.3/t", true);
    row("http://[::1]:9/t", true);
    row("http://localhost/t", true);
    row("http://orvella.app/telemetry.php", false);
    row("http://127.0.0.1.example.com/t", false);
    row("ftp://127.0.0.1/t", false);
    row("", false);
    row("https:///telemetry.php", false);
}

void TestTelemetryRecords::endpoint()
{
    QFETCH(QString, text);
    QFETCH(bool, usable);
    QCOMPARE(TelemetryService::endpointURL(text).has_value(), usable);
}

QTEST_GUILESS_MAIN(TestTelemetryRecords)
#include "tst_telemetryrecords.moc"
