// Telemetry: its pure rules (download attribution, internal state, channel,
// endpoint), and against a real HTTP server on loopback: delivery, failed answers, the
// backlog, attribution from real extended attributes, and a process killed mid-way.
#include "loopbackserver.h"
#include "platform/preferencesstore.h"
#include "services/installattribution.h"
#include "services/telemetryservice.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <sys/xattr.h>

using namespace orvella;
using services::InstallAttribution;
using services::TelemetryService;

namespace {

const QString kPending = QStringLiteral("ov_telemetry_pendingEvents");

QJsonObject readJsonFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QJsonDocument::fromJson(file.readAll()).object();
}

void writeJsonFile(const QString &path, const QJsonObject &json)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(QJsonDocument(json).toJson());
}

QStringList texts(const QJsonValue &list)
{
    QStringList result;
    for (const QJsonValue &v : list.toArray())
        result.append(v.toString());
    return result;
}

QJsonObject bodyOf(const ReceivedRequest &request)
{
    return QJsonDocument::fromJson(request.body).object();
}

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

class TestTelemetryService : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void attribution_data();
    void attribution();
    void attributionCache();
    void internalState_data();
    void internalState();
    void installChannel_data();
    void installChannel();
    void endpoint_data();
    void endpoint();
    void firstLaunchDelivered();
    void failedSendKeepsQueue_data();
    void failedSendKeepsQueue();
    void doNotTrackRecordsNothing();
    void attributionFromDownloadAttributes();
    void killedBetweenEnqueueAndSendLosesNothing();

private:
    TelemetryService::Options options(const QString &endpoint,
                                      const QString &version = QStringLiteral("1.3"));
    // One start: records, and waits until the send chain (if one starts) stops. `flushed` is
    // left empty when nothing was sent, else says whether the queue ended empty.
    void start(const TelemetryService::Options &options, std::optional<bool> *flushed = nullptr);

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_prefs;
};

void TestTelemetryService::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_prefs = m_dir->filePath(QStringLiteral("preferences.json"));
    qunsetenv("ORVELLA_INTERNAL_TELEMETRY");
}

TelemetryService::Options TestTelemetryService::options(const QString &endpoint, const QString &version)
{
    TelemetryService::Options o;
    o.endpoint = endpoint;
    o.version = version;
    o.doNotTrack = false;
    o.host = platform::TelemetryHost(m_dir->filePath(QStringLiteral("orvella")), false,
                                     m_dir->filePath(QStringLiteral("data/Orvella/telemetry-internal.flag")));
    o.sendTimeout = std::chrono::milliseconds(300);
    return o;
}

void TestTelemetryService::start(const TelemetryService::Options &options, std::optional<bool> *flushed)
{
    platform::PreferencesStore store(m_prefs);
    TelemetryService service(store, options);
    QSignalSpy recorded(&service, &TelemetryService::recorded);
    QSignalSpy finished(&service, &TelemetryService::flushFinished);
    QVERIFY(service.recordLifecycleEvents());
    QTRY_COMPARE(recorded.size(), 1);
    QVERIFY(recorded.first().first().toBool());
    if (service.isFlushing())
        QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 1, 20000);
    if (flushed && !finished.isEmpty())
        *flushed = finished.first().first().toBool();
}

void TestTelemetryService::attribution_data()
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
    row("our disk image before another site's",
        {"https://mirror.example/Orvella.dmg", "https://www.orvella.app/Orvella.dmg"}, "unknown",
        R"({"source_host":"www.orvella.app","source_path":"/Orvella.dmg","source_slug":"orvella",)"
        R"("source_type":"download_url"})");
    // A page ranks first, then our own download, then another site's.
    row("a page before our package before another site's package",
        {"https://mirror.example/orvella_1.3_amd64.deb", "https://orvella.app/Orvella-1.3.x86_64.rpm",
         "https://news.example/reviews/orvella/"},
        "unknown",
        R"({"source_host":"news.example","source_path":"/reviews/orvella/","source_slug":"orvella",)"
        R"("source_type":"referrer_page"})");
    row("another site's tarball, any compression",
        {"https://mirror.example/pub/orvella-1.3.tar.bz2",
         "https://flathub.example/app.orvella.Orvella.flatpakref"},
        "unknown",
        R"({"source_host":"mirror.example","source_path":"/pub/orvella-1.3.tar.bz2","source_slug":"orvella-1-3",)"
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

void TestTelemetryService::attribution()
{
    QFETCH(QStringList, urls);
    QFETCH(QString, channel);
    QFETCH(QByteArray, expected);
    const auto found = InstallAttribution::discovered(InstallAttribution::whereFromURLs(urls), channel);
    QCOMPARE(attributionJson(found), expected);
}

// The cache is read back as written, and a damaged entry is not taken for an attribution.
void TestTelemetryService::attributionCache()
{
    const InstallAttribution a{"referrer_page", "e.example", std::nullopt, "tips",
                               std::nullopt,    "social",    std::nullopt};
    QCOMPARE(InstallAttribution::fromJson(a.toJson()), a);
    QVERIFY(!InstallAttribution::fromJson(QJsonObject{{QStringLiteral("source_host"), QStringLiteral("x")}}));
    QVERIFY(!InstallAttribution::fromJson(QJsonObject{{QStringLiteral("source_type"), 3}}));
}

void TestTelemetryService::internalState_data()
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

void TestTelemetryService::internalState()
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

void TestTelemetryService::installChannel_data()
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

void TestTelemetryService::installChannel()
{
    QFETCH(QString, path);
    QFETCH(bool, appImage);
    QFETCH(QString, channel);
    QCOMPARE(TelemetryService::installChannel(path, appImage), channel);
}

void TestTelemetryService::endpoint_data()
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

void TestTelemetryService::endpoint()
{
    QFETCH(QString, text);
    QFETCH(bool, usable);
    QCOMPARE(TelemetryService::endpointURL(text).has_value(), usable);
}

void TestTelemetryService::firstLaunchDelivered()
{
    // Without a usable endpoint the event is only queued (which endpoints are usable is the
    // endpoint table's); the next start with one sends it.
    std::optional<bool> flushed;
    start(options(QStringLiteral("http://192.0.2.1/telemetry.php")), &flushed);
    QCOMPARE(flushed, std::nullopt);
    QCOMPARE(texts(readJsonFile(m_prefs).value(kPending)).size(), 1);
    LoopbackServer server;
    QVERIFY(server.listen());
    start(options(server.url()), &flushed);
    QCOMPARE(flushed, std::optional(true));

    QCOMPARE(server.requests.size(), 1);
    const ReceivedRequest &request = server.requests.first();
    QCOMPARE(request.method, QByteArray("POST"));
    QCOMPARE(request.path, QByteArray("/telemetry.php"));
    QCOMPARE(request.contentType, QByteArray("application/json"));
    QJsonObject event = bodyOf(request);
    const QJsonObject stored = readJsonFile(m_prefs);
    static const QRegularExpression isoTime(QStringLiteral("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ$"));
    QVERIFY(isoTime.match(event.take(QStringLiteral("timestamp")).toString()).hasMatch());
    static const QRegularExpression uuid(QStringLiteral("^[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}$"));
    const QString id = stored.value(QStringLiteral("ov_telemetry_installID")).toString();
    QVERIFY2(uuid.match(id).hasMatch(), qPrintable(id));
    QCOMPARE(event.take(QStringLiteral("install_id")).toString(), id);
    // Nothing optional: no previous version, no attribution, no internal reason.
    QCOMPARE(event, (QJsonObject{{QStringLiteral("event"), QStringLiteral("first_launch")},
                                 {QStringLiteral("version"), QStringLiteral("1.3")},
                                 {QStringLiteral("platform"), QStringLiteral("linux")},
                                 {QStringLiteral("channel"), QStringLiteral("unknown")},
                                 {QStringLiteral("is_internal"), false}}));

    QCOMPARE(stored.value(QStringLiteral("ov_telemetry_lastTrackedVersion")).toString(),
             QStringLiteral("1.3"));
    QCOMPARE(stored.value(QStringLiteral("ov_telemetry_firstLaunchQueued")), QJsonValue(true));
    QCOMPARE(texts(stored.value(kPending)), QStringList());

    // The same version again: nothing new, nothing sent, the same install id.
    start(options(server.url()));
    QCOMPARE(server.requests.size(), 1);
    QCOMPARE(readJsonFile(m_prefs).value(QStringLiteral("ov_telemetry_installID")).toString(), id);

    // A newer one: an update from the version last tracked, under the same install id.
    start(options(server.url(), QStringLiteral("1.4")));
    QCOMPARE(server.requests.size(), 2);
    const QJsonObject update = bodyOf(server.requests.last());
    QCOMPARE(update.value(QStringLiteral("event")).toString(), QStringLiteral("app_update"));
    QCOMPARE(update.value(QStringLiteral("previous_version")).toString(), QStringLiteral("1.3"));
    QCOMPARE(update.value(QStringLiteral("version")).toString(), QStringLiteral("1.4"));
    QCOMPARE(update.value(QStringLiteral("install_id")).toString(), id);
    QCOMPARE(readJsonFile(m_prefs).value(QStringLiteral("ov_telemetry_lastTrackedVersion")).toString(),
             QStringLiteral("1.4"));
}

void TestTelemetryService::failedSendKeepsQueue_data()
{
    QTest::addColumn<QString>("kind"); // "answer", "refused" or "silent"
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("failure"); // what the log line must say
    const auto row = [](const char *name, const char *kind, int status, const char *body,
                        const char *failure) {
        QTest::newRow(name) << QString::fromLatin1(kind) << status << QByteArray(body)
                            << QString::fromLatin1(failure);
    };
    row("200 ok false", "answer", 200, R"({"ok": false})", R"(HTTP 200 without "ok": true)");
    row("ok as text", "answer", 200, R"({"ok": "true"})", R"(HTTP 200 without "ok": true)");
    row("500", "answer", 500, R"({"ok": true})", "HTTP status 500");
    row("not JSON", "answer", 200, "<html>ok</html>", "HTTP 200 with an answer that is not a JSON object");
    row("connection refused", "refused", 0, "", "Connection refused");
    row("no answer in time", "silent", 0, "", "no answer in time");
}

// A failed send stops the chain with the whole queue kept; the next start sends it in order.
void TestTelemetryService::failedSendKeepsQueue()
{
    QFETCH(QString, kind);
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(QString, failure);

    const QStringList backlog = {QStringLiteral(R"({"event":"first_launch","n":1})"),
                                 QStringLiteral(R"({"event":"app_update","n":2})")};
    writeJsonFile(m_prefs, {{QStringLiteral("ov_telemetry_firstLaunchQueued"), true},
                            {QStringLiteral("ov_telemetry_lastTrackedVersion"), QStringLiteral("1.3")},
                            {kPending, QJsonArray::fromStringList(backlog)}});

    LoopbackServer failing;
    QVERIFY(failing.listen());
    failing.status = status;
    failing.answer = body;
    failing.silent = kind == QLatin1String("silent");
    const QString url = kind == QLatin1String("refused") ? LoopbackServer::refusingUrl() : failing.url();

    QTest::ignoreMessage(QtInfoMsg, QRegularExpression(QStringLiteral("^\\[OV\\] Telemetry send failed: .*")
                                                       + QRegularExpression::escape(failure)));
    std::optional<bool> flushed;
    start(options(url), &flushed);
    QCOMPARE(flushed, std::optional(false));
    QCOMPARE(failing.requests.size(), kind == QLatin1String("refused") ? 0 : 1);
    QCOMPARE(texts(readJsonFile(m_prefs).value(kPending)), backlog);

    LoopbackServer good;
    QVERIFY(good.listen());
    start(options(good.url()), &flushed);
    QCOMPARE(flushed, std::optional(true));
    QCOMPARE(good.requests.size(), 2);
    QCOMPARE(good.requests[0].body, backlog[0].toUtf8());
    QCOMPARE(good.requests[1].body, backlog[1].toUtf8());
    QCOMPARE(texts(readJsonFile(m_prefs).value(kPending)), QStringList());
}

void TestTelemetryService::doNotTrackRecordsNothing()
{
    LoopbackServer server;
    QVERIFY(server.listen());
    auto o = options(server.url());
    o.doNotTrack = true;
    {
        platform::PreferencesStore store(m_prefs);
        TelemetryService service(store, o);
        QSignalSpy recorded(&service, &TelemetryService::recorded);
        QVERIFY(!service.recordLifecycleEvents());
        QCoreApplication::processEvents();
        QVERIFY(recorded.isEmpty());
        QVERIFY(store.snapshot().isEmpty());
    }
    QVERIFY(!QFile::exists(m_prefs));
    QVERIFY(server.requests.isEmpty());
}

// Origin and referrer as a browser stores them on the downloaded file, the marker file of an
// internal install, and the attribution cached for later starts.
void TestTelemetryService::attributionFromDownloadAttributes()
{
    const QString appImage = m_dir->filePath(QStringLiteral("Orvella-x86_64.AppImage"));
    QVERIFY(QFile(appImage).open(QIODevice::WriteOnly));
    auto setAttribute = [&](const char *name, const QByteArray &value) {
        return ::setxattr(QFile::encodeName(appImage).constData(), name, value.constData(),
                          size_t(value.size()), 0)
               == 0;
    };
    if (!setAttribute("user.xdg.referrer.url", "https://blog.example/posts/orvella-review/")) {
        if (errno == ENOTSUP)
            QSKIP("this file system keeps no user extended attributes");
        QFAIL("setxattr failed");
    }
    QVERIFY(
        setAttribute("user.xdg.origin.url",
                     "https://orvella.app/get/Orvella-x86_64.AppImage?utm_source=news&utm_campaign=spring"));
    const QString marker = m_dir->filePath(QStringLiteral("data/Orvella/telemetry-internal.flag"));
    QVERIFY(QDir().mkpath(QFileInfo(marker).absolutePath()));
    QVERIFY(QFile(marker).open(QIODevice::WriteOnly));

    LoopbackServer server;
    QVERIFY(server.listen());
    auto o = options(server.url());
    o.host = platform::TelemetryHost(appImage, true, marker);
    // What the service decides from the file: attribution, channel and internal state.
    const auto decided = [&server] {
        static const QStringList keys{"source_type", "source_host", "utm_campaign",   "utm_medium",
                                      "channel",     "is_internal", "internal_reason"};
        const QJsonObject event = bodyOf(server.requests.last());
        QStringList out;
        for (const QString &key : event.keys()) {
            if (keys.contains(key))
                out.append(key + u'=' + event.value(key).toVariant().toString());
        }
        return out.join(u' ');
    };
    start(o);
    QCOMPARE(server.requests.size(), 1);
    QCOMPARE(decided(),
             QStringLiteral("channel=direct internal_reason=marker_file is_internal=true "
                            "source_host=orvella.app source_type=download_url utm_campaign=spring"));

    // A later start keeps the first attribution even if the file's origin changed.
    QVERIFY(setAttribute("user.xdg.origin.url", "https://elsewhere.example/other"));
    QVERIFY(QFile::remove(marker));
    o.version = QStringLiteral("1.4");
    start(o);
    QCOMPARE(server.requests.size(), 2);
    QCOMPARE(decided(), QStringLiteral("channel=direct is_internal=false source_host=orvella.app "
                                       "source_type=download_url utm_campaign=spring"));
}

// SIGKILL at any moment: whatever reached the server is in the stored queue, the first
// launch is either fully recorded or not at all, and a later start delivers it exactly once.
void TestTelemetryService::killedBetweenEnqueueAndSendLosesNothing()
{
    for (int attempt = 0; attempt < 8; ++attempt) {
        init();
        LoopbackServer server;
        QVERIFY(server.listen());
        server.silent = true;

        QProcess child;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.remove(QStringLiteral("DO_NOT_TRACK"));
        env.remove(QStringLiteral("ORVELLA_INTERNAL_TELEMETRY"));
        child.setProcessEnvironment(env);
        child.start(QStringLiteral(ORVELLA_TELEMETRY_CHILD), {m_prefs, server.url(), QStringLiteral("1.3")});
        QVERIFY(child.waitForStarted());
        // Even attempts die while the send is under way; odd ones at a random early moment.
        if (attempt % 2 == 0)
            QTRY_COMPARE_WITH_TIMEOUT(server.requests.size(), 1, 20000);
        else
            QTest::qWait(int(QRandomGenerator::global()->bounded(60)));
        child.kill();
        QVERIFY(child.waitForFinished());

        const QJsonObject stored = readJsonFile(m_prefs);
        const QStringList pending = texts(stored.value(kPending));
        const bool firstLaunchQueued =
            stored.value(QStringLiteral("ov_telemetry_firstLaunchQueued")).toBool();
        QCOMPARE(pending.size(), firstLaunchQueued ? 1 : 0);
        for (const ReceivedRequest &request : std::as_const(server.requests))
            QVERIFY2(pending.contains(QString::fromUtf8(request.body)), request.body.constData());

        LoopbackServer good;
        QVERIFY(good.listen());
        std::optional<bool> flushed;
        start(options(good.url()), &flushed);
        QCOMPARE(flushed, std::optional(true));
        QCOMPARE(good.requests.size(), 1);
        QCOMPARE(bodyOf(good.requests.first()).value(QStringLiteral("event")).toString(),
                 QStringLiteral("first_launch"));
    }
}

QTEST_GUILESS_MAIN(TestTelemetryService)
#include "tst_telemetryservice.moc"
