// The installed Orvella started the ways a desktop starts it: by bus activation through its
// service file, and through its desktop entry, on a real X session and a private bus whose
// only services are the ones installed into the test prefix.
#include "xsession.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace orvella;

namespace {

const QString kPrefix = QStringLiteral(ORVELLA_PREFIX);
const QString kService = QStringLiteral("org.orvella.Orvella");
constexpr int kWaitMs = 30000;

} // namespace

class TestInstalledX11 : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanupTestCase();
    void cleanup();
    void busActivationStartsTheInstalledBinary();
    void desktopEntryStartsTheInstalledBinary();

private:
    QDBusMessage callApp(const QString &method);
    QString ownerExecutable();

    QTemporaryDir m_dir;
    QProcess m_bus;
    QString m_address;
    std::optional<QDBusConnection> m_connection;
};

void TestInstalledX11::initTestCase()
{
    QVERIFY(m_dir.isValid());
    QVERIFY2(QFile::exists(kPrefix + QStringLiteral("/share/dbus-1/services/org.orvella.Orvella.service")),
             "the install_prefix test installs the prefix first");
    // A bus that finds services only in the prefix, so the installed file is what starts it.
    m_address = QStringLiteral("unix:path=") + m_dir.filePath(QStringLiteral("bus"));
    QFile config(m_dir.filePath(QStringLiteral("bus.conf")));
    QVERIFY(config.open(QIODevice::WriteOnly));
    config.write(
        QStringLiteral("<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-BUS Bus Configuration 1.0//EN\"\n"
                       " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
                       "<busconfig>\n"
                       "  <type>session</type>\n"
                       "  <listen>%1</listen>\n"
                       "  <servicedir>%2/share/dbus-1/services</servicedir>\n"
                       "  <policy context=\"default\">\n"
                       "    <allow send_destination=\"*\" eavesdrop=\"true\"/>\n"
                       "    <allow eavesdrop=\"true\"/>\n"
                       "    <allow own=\"*\"/>\n"
                       "  </policy>\n"
                       "</busconfig>\n")
            .arg(m_address, kPrefix)
            .toUtf8());
    config.close();

    // Whatever the bus starts inherits this: the test's X session, and nothing of the user's.
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), m_address);
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), m_dir.filePath(QStringLiteral("config")));
    env.insert(QStringLiteral("XDG_DATA_HOME"), m_dir.filePath(QStringLiteral("data")));
    env.insert(QStringLiteral("ORVELLA_EXTERNAL_ADDRESS_URL"), QString());
    env.insert(QStringLiteral("DO_NOT_TRACK"), QStringLiteral("1"));
    m_bus.setProcessEnvironment(env);
    m_bus.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    testsupport::XSession::bindToParent(&m_bus);
    m_bus.start(QStringLiteral("dbus-daemon"),
                {QStringLiteral("--nofork"), QStringLiteral("--config-file=") + config.fileName()});
    QVERIFY2(m_bus.waitForStarted(), "dbus-daemon did not start");
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(m_dir.filePath(QStringLiteral("bus"))), kWaitMs);
    m_connection = QDBusConnection::connectToBus(m_address, QStringLiteral("installed"));
    QTRY_VERIFY_WITH_TIMEOUT(m_connection->isConnected(), kWaitMs);
}

void TestInstalledX11::cleanupTestCase()
{
    m_bus.terminate();
    m_bus.waitForFinished();
}

void TestInstalledX11::cleanup()
{
    if (m_connection && m_connection->interface()->isServiceRegistered(kService))
        callApp(QStringLiteral("Quit"));
    QTRY_VERIFY_WITH_TIMEOUT(!m_connection->interface()->isServiceRegistered(kService).value(), kWaitMs);
}

QDBusMessage TestInstalledX11::callApp(const QString &method)
{
    return m_connection->call(QDBusMessage::createMethodCall(kService, QStringLiteral("/org/orvella/Orvella"),
                                                             QStringLiteral("org.orvella.Orvella1"), method),
                              QDBus::Block, kWaitMs);
}

// The program behind the bus name, as the kernel knows it.
QString TestInstalledX11::ownerExecutable()
{
    const auto pid = m_connection->interface()->servicePid(kService);
    return pid.isValid() ? QFile::symLinkTarget(QStringLiteral("/proc/%1/exe").arg(pid.value())) : QString();
}

void TestInstalledX11::busActivationStartsTheInstalledBinary()
{
    QVERIFY(!m_connection->interface()->isServiceRegistered(kService).value());
    const auto started = m_connection->interface()->startService(kService);
    QVERIFY2(started.isValid(), qPrintable(started.error().message()));
    QCOMPARE(ownerExecutable(), kPrefix + QStringLiteral("/bin/orvella"));
    // The name comes before the interface; the application answers once it is up.
    QTRY_COMPARE_WITH_TIMEOUT(callApp(QStringLiteral("State")).type(), QDBusMessage::ReplyMessage, kWaitMs);
}

void TestInstalledX11::desktopEntryStartsTheInstalledBinary()
{
    QProcess launcher;
    QProcessEnvironment env = m_bus.processEnvironment();
    launcher.setProcessEnvironment(env);
    launcher.setProcessChannelMode(QProcess::ForwardedChannels);
    launcher.start(QStringLiteral("gio"),
                   {QStringLiteral("launch"),
                    kPrefix + QStringLiteral("/share/applications/org.orvella.Orvella.desktop")});
    if (!launcher.waitForStarted())
        QSKIP("gio is not installed (scripts/install-deps installs libglib2.0-bin)");
    QVERIFY(launcher.waitForFinished(kWaitMs));
    QCOMPARE(launcher.exitCode(), 0);
    QTRY_VERIFY_WITH_TIMEOUT(m_connection->interface()->isServiceRegistered(kService).value(), kWaitMs);
    QCOMPARE(ownerExecutable(), kPrefix + QStringLiteral("/bin/orvella"));
    QTRY_COMPARE_WITH_TIMEOUT(callApp(QStringLiteral("State")).type(), QDBusMessage::ReplyMessage, kWaitMs);
}

QTEST_GUILESS_MAIN(TestInstalledX11)
#include "tst_installedx11.moc"
