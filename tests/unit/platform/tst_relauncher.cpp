// Relaunch commands: shell quoting, and a real detached run through /bin/sh.
#include "platform/linux/relauncher.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace orvella::platform;

class TestRelauncher : public QObject
{
    Q_OBJECT
private slots:
    void quoting_data();
    void quoting();
    void appImageWins();
    void detachedRunPassesArgumentsIntact();
};

void TestRelauncher::quoting_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("quoted");
    QTest::newRow("plain") << "/usr/bin/orvella"
                           << "'/usr/bin/orvella'";
    QTest::newRow("empty") << ""
                           << "''";
    QTest::newRow("quote and spaces") << "/home/o'brien/My Apps/orvella"
                                      << "'/home/o'\\''brien/My Apps/orvella'";
    QTest::newRow("only quotes") << "''"
                                 << "''\\'''\\'''";
    QTest::newRow("shell syntax stays literal") << "$(rm -rf ~); `x` \"y\""
                                                << "'$(rm -rf ~); `x` \"y\"'";
}

void TestRelauncher::quoting()
{
    QFETCH(QString, text);
    QFETCH(QString, quoted);
    QCOMPARE(relauncher::quotedForShell(text), quoted);
}

void TestRelauncher::appImageWins()
{
    qputenv("APPIMAGE", "/opt/Orvella.AppImage");
    QCOMPARE(relauncher::executablePath(), QStringLiteral("/opt/Orvella.AppImage"));
    qputenv("APPIMAGE", "");
    QCOMPARE(relauncher::executablePath(), QCoreApplication::applicationFilePath());
    qunsetenv("APPIMAGE");
}

void TestRelauncher::detachedRunPassesArgumentsIntact()
{
    QTemporaryDir dir(QDir::tempPath() + QStringLiteral("/it's a dir-XXXXXX"));
    QVERIFY(dir.isValid());
    const QString script = dir.filePath(QStringLiteral("fake orvella"));
    const QString out = dir.filePath(QStringLiteral("args"));
    QFile file(script);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(
        "#!/bin/sh\nprintf '%s\\n' \"$#\" \"$@\" > \"$0.tmp\" && mv \"$0.tmp\" \"$(dirname \"$0\")/args\"\n");
    file.close();
    QVERIFY(file.setPermissions(file.permissions() | QFileDevice::ExeOwner));

    QVERIFY(relauncher::startDetached(relauncher::relaunchCommand(script, {"--flag", "it's"})));
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(out), 5000);
    QFile result(out);
    QVERIFY(result.open(QIODevice::ReadOnly));
    QCOMPARE(result.readAll(), QByteArray("2\n--flag\nit's\n"));
}

QTEST_GUILESS_MAIN(TestRelauncher)
#include "tst_relauncher.moc"
