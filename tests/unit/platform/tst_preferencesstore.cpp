// The JSON preferences store: typed reads, debounced atomic writes, corrupt files,
// linked and special files, and a writer killed in the middle of a burst.
#include "platform/preferencesstore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using orvella::platform::PreferencesStore;

namespace {

void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(bytes);
}

QByteArray readFile(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

// What a path is, without following it: anything put in its place changes this.
QString identity(const QString &path)
{
    struct stat st = {};
    if (::lstat(QFile::encodeName(path).constData(), &st) != 0)
        return QStringLiteral("missing");
    return QStringLiteral("mode %1 inode %2 size %3").arg(st.st_mode, 0, 8).arg(st.st_ino).arg(st.st_size);
}

} // namespace

class TestPreferencesStore : public QObject
{
    Q_OBJECT
private slots:
    void init()
    {
        QVERIFY(m_dir.isValid());
        m_path = m_dir.filePath(QStringLiteral("prefs-%1.json").arg(++m_n));
    }

    void typedReads_data();
    void typedReads();
    void writesReachDiskAfterDebounceAndSurviveAReopen();
    void corruptFileIsSetAsideAndStoreStartsEmpty_data();
    void corruptFileIsSetAsideAndStoreStartsEmpty();
    void nonFiniteNumbersAreRefused();
    void readOnlyStoreNeverWrites();
    void linkedFileIsSavedAtTheLinkEnd_data();
    void linkedFileIsSavedAtTheLinkEnd();
    void unwritableLinkEndKeepsValuesInMemory();
    void unusableFileIsLeftAlone_data();
    void unusableFileIsLeftAlone();
    void defaultPathFollowsXdgConfigHome();
    void killedWriterLeavesOldOrNewValues();

private:
    QTemporaryDir m_dir;
    QString m_path;
    int m_n = 0;
};

// Each stored JSON value read with each typed reader: a value of another type is absent.
void TestPreferencesStore::typedReads_data()
{
    QTest::addColumn<QByteArray>("stored");
    QTest::addColumn<QString>("reader");
    QTest::addColumn<QVariant>("expected"); // invalid = absent

    QTest::newRow("bool") << QByteArray("true") << "bool" << QVariant(true);
    QTest::newRow("bool from number") << QByteArray("1") << "bool" << QVariant();
    QTest::newRow("double") << QByteArray("12.5") << "double" << QVariant(12.5);
    QTest::newRow("double from text") << QByteArray("\"12\"") << "double" << QVariant();
    QTest::newRow("string") << QByteArray("\"left\"") << "string" << QVariant(QStringLiteral("left"));
    QTest::newRow("string from null") << QByteArray("null") << "string" << QVariant();
    QTest::newRow("string list") << QByteArray("[\"cpu\",\"mem\"]") << "list"
                                 << QVariant(QStringList{"cpu", "mem"});
    QTest::newRow("empty list") << QByteArray("[]") << "list" << QVariant(QStringList{});
    QTest::newRow("mixed list") << QByteArray("[\"cpu\",3]") << "list" << QVariant();
    QTest::newRow("list from text") << QByteArray("\"cpu\"") << "list" << QVariant();
    QTest::newRow("dictionary") << QByteArray("{\"a\":1}") << "dict" << QVariant(QJsonObject{{"a", 1}});
    QTest::newRow("dictionary from list") << QByteArray("[1]") << "dict" << QVariant();
    QTest::newRow("data") << QByteArray("\"aGVsbG8=\"") << "data" << QVariant(QByteArray("hello"));
    QTest::newRow("data not base64") << QByteArray("\"not base64!\"") << "data" << QVariant();
    QTest::newRow("data from number") << QByteArray("5") << "data" << QVariant();
}

void TestPreferencesStore::typedReads()
{
    QFETCH(QByteArray, stored);
    QFETCH(QString, reader);
    QFETCH(QVariant, expected);
    writeFile(m_path, "{\"key\": " + stored + "}");
    PreferencesStore store(m_path);
    const QString key = QStringLiteral("key");
    const auto variant = [](const auto &value) { return value ? QVariant::fromValue(*value) : QVariant(); };
    const QHash<QString, QVariant> read{
        {"bool", variant(store.boolValue(key))},       {"double", variant(store.doubleValue(key))},
        {"string", variant(store.stringValue(key))},   {"list", variant(store.stringListValue(key))},
        {"dict", variant(store.dictionaryValue(key))}, {"data", variant(store.dataValue(key))},
    };
    QVERIFY(read.contains(reader));
    QCOMPARE(read.value(reader), expected);
    QVERIFY(store.stringValue(QStringLiteral("missing")) == std::nullopt);
}

void TestPreferencesStore::writesReachDiskAfterDebounceAndSurviveAReopen()
{
    {
        PreferencesStore store(m_path);
        store.setFlushDelay(std::chrono::milliseconds(50));
        store.setDouble(QStringLiteral("sidebarWidth"), 300);
        QCOMPARE(store.doubleValue(QStringLiteral("sidebarWidth")), std::optional(300.0));
        QVERIFY(store.hasUnsavedChanges());
        QVERIFY(!QFile::exists(m_path));

        QTRY_VERIFY(!store.hasUnsavedChanges());
        const QJsonObject onDisk = QJsonDocument::fromJson(readFile(m_path)).object();
        QCOMPARE(onDisk.value(QStringLiteral("sidebarWidth")).toDouble(), 300.0);
        // Only the final file is left behind, no temporaries.
        QCOMPARE(QDir(m_dir.path()).entryList({QStringLiteral("prefs-*.tmp-*")}, QDir::Files), QStringList());

        store.setBool(QStringLiteral("b"), false);
        store.setStringList(QStringLiteral("l"), {QStringLiteral("x")});
        store.setData(QStringLiteral("d"), QByteArray("\0\1\2", 3));
        store.setString(QStringLiteral("gone"), QStringLiteral("soon"));
        store.remove(QStringLiteral("gone"));
    } // destruction writes, as at exit
    PreferencesStore reopened(m_path);
    QCOMPARE(reopened.boolValue(QStringLiteral("b")), std::optional(false));
    QCOMPARE(reopened.stringListValue(QStringLiteral("l")), std::optional(QStringList{"x"}));
    QCOMPARE(reopened.dataValue(QStringLiteral("d")), std::optional(QByteArray("\0\1\2", 3)));
    QVERIFY(!reopened.contains(QStringLiteral("gone")));
}

void TestPreferencesStore::corruptFileIsSetAsideAndStoreStartsEmpty_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("garbage") << QByteArray("\x89PNG\r\n not json");
    QTest::newRow("truncated") << QByteArray("{\"sidebarWidth\": 300, \"position\": \"ri");
    QTest::newRow("array at top") << QByteArray("[1, 2, 3]");
    QTest::newRow("empty file") << QByteArray("");
}

void TestPreferencesStore::corruptFileIsSetAsideAndStoreStartsEmpty()
{
    QFETCH(QByteArray, content);
    writeFile(m_path, content);

    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("moved aside to .*corrupt-")));
    PreferencesStore store(m_path);
    QCOMPARE(store.snapshot(), QJsonObject());
    // Nothing is lost: the bad file is kept, byte for byte, where the user can find it.
    QVERIFY(store.setAsidePath().startsWith(m_path + QStringLiteral(".corrupt-")));
    QCOMPARE(readFile(store.setAsidePath()), content);

    store.setString(QStringLiteral("position"), QStringLiteral("right"));
    QVERIFY(store.flush());
    QCOMPARE(PreferencesStore(m_path).stringValue(QStringLiteral("position")),
             std::optional(QStringLiteral("right")));
}

void TestPreferencesStore::nonFiniteNumbersAreRefused()
{
    PreferencesStore store(m_path);
    store.setDouble(QStringLiteral("n"), 1);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("non-finite")));
    store.setDouble(QStringLiteral("n"), std::numeric_limits<double>::quiet_NaN());
    QCOMPARE(store.doubleValue(QStringLiteral("n")), std::optional(1.0));
}

void TestPreferencesStore::readOnlyStoreNeverWrites()
{
    writeFile(m_path, "{\"position\": \"right\"}");
    {
        PreferencesStore store(m_path, PreferencesStore::Access::ReadOnly);
        QCOMPARE(store.stringValue(QStringLiteral("position")), std::optional(QStringLiteral("right")));
        store.setString(QStringLiteral("position"), QStringLiteral("left"));
        QVERIFY(!store.flush());
    }
    QCOMPARE(readFile(m_path), QByteArray("{\"position\": \"right\"}"));

    writeFile(m_path, "{ not json");
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("leaving the file untouched")));
    PreferencesStore corrupt(m_path, PreferencesStore::Access::ReadOnly);
    QCOMPARE(corrupt.snapshot(), QJsonObject());
    QCOMPARE(corrupt.setAsidePath(), QString());
    QCOMPARE(readFile(m_path), QByteArray("{ not json"));
}

// Preferences kept elsewhere (a dotfiles repository) through links: a save lands in the
// file at the end of the links, keeping its permissions, and every link stays a link.
void TestPreferencesStore::linkedFileIsSavedAtTheLinkEnd_data()
{
    QTest::addColumn<QString>("link");       // "@" stands for the case's directory
    QTest::addColumn<QString>("hop");        // an intermediate link, hop/prefs.json, when set
    QTest::addColumn<QByteArray>("content"); // at the end of the links; empty: no file
    QTest::addColumn<bool>("kept");          // the content was read, and its file rewritten in place

    const QByteArray valid("{\"kept\": true}");
    QTest::newRow("absolute") << "@/dotfiles/prefs.json" << QString() << valid << true;
    QTest::newRow("relative") << "dotfiles/prefs.json" << QString() << valid << true;
    // Resolved against the first link's directory, "../dotfiles" would miss.
    QTest::newRow("relative chain") << "hop/prefs.json"
                                    << "../dotfiles/prefs.json" << valid << true;
    QTest::newRow("dangling") << "dotfiles/prefs.json" << QString() << QByteArray() << false;
    QTest::newRow("corrupt end") << "dotfiles/prefs.json" << QString() << QByteArray("{\"kept\": tr")
                                 << false;
}

void TestPreferencesStore::linkedFileIsSavedAtTheLinkEnd()
{
    QFETCH(QString, link);
    QFETCH(QString, hop);
    QFETCH(QByteArray, content);
    QFETCH(bool, kept);
    const QString dir = m_dir.filePath(QStringLiteral("linked-%1").arg(m_n));
    const QString end = dir + QStringLiteral("/dotfiles/prefs.json");
    QVERIFY(QDir().mkpath(dir + QStringLiteral("/dotfiles")) && QDir().mkpath(dir + QStringLiteral("/hop")));
    if (!content.isEmpty()) {
        writeFile(end, content);
        QVERIFY(QFile::setPermissions(end, QFileDevice::ReadOwner | QFileDevice::WriteOwner
                                               | QFileDevice::ReadGroup));
    }
    const QString path = dir + QStringLiteral("/prefs.json");
    QVERIFY(QFile::link(link.replace('@', dir), path));
    if (!hop.isEmpty())
        QVERIFY(QFile::link(hop, dir + QStringLiteral("/hop/prefs.json")));

    const bool setsAside = !content.isEmpty() && !kept;
    if (setsAside)
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("moved aside")));
    {
        PreferencesStore store(path);
        QCOMPARE(store.contains(QStringLiteral("kept")), kept);
        QCOMPARE(store.setAsidePath().isEmpty(), !setsAside);
        if (setsAside)
            QCOMPARE(readFile(store.setAsidePath()), content);
        store.setString(QStringLiteral("position"), QStringLiteral("right"));
        QVERIFY(store.flush());
    }
    QVERIFY(QFileInfo(path).isSymLink());
    QVERIFY(hop.isEmpty() || QFileInfo(dir + QStringLiteral("/hop/prefs.json")).isSymLink());
    QVERIFY(!QFileInfo(end).isSymLink());
    const QJsonObject saved = QJsonDocument::fromJson(readFile(end)).object();
    QCOMPARE(saved.value(QStringLiteral("position")).toString(), QStringLiteral("right"));
    QCOMPARE(saved.contains(QStringLiteral("kept")), kept);
    struct stat st = {};
    QCOMPARE(::stat(QFile::encodeName(end).constData(), &st), 0);
    QCOMPARE(st.st_mode & 07777, kept ? 0640u : 0600u);
    QCOMPARE(QDir(dir + QStringLiteral("/dotfiles")).entryList({QStringLiteral("*.tmp-*")}), QStringList());
}

// A link into a directory that is not there (a dotfiles checkout not mounted): one log
// line however often saving is retried, the values wait in memory, and no directory is
// made on the link's behalf.
void TestPreferencesStore::unwritableLinkEndKeepsValuesInMemory()
{
    const QString dir = m_dir.filePath(QStringLiteral("unmounted"));
    QVERIFY(QFile::link(dir + QStringLiteral("/prefs.json"), m_path));

    PreferencesStore store(m_path);
    store.setString(QStringLiteral("position"), QStringLiteral("right"));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("not saved to .*kept in memory")));
    QVERIFY(!store.flush());
    QTest::failOnWarning(QRegularExpression(QStringLiteral("not saved")));
    store.setString(QStringLiteral("position"), QStringLiteral("left"));
    QVERIFY(!store.flush());
    QCOMPARE(store.stringValue(QStringLiteral("position")), std::optional(QStringLiteral("left")));
    QVERIFY(QFileInfo(m_path).isSymLink());
    QVERIFY(!QFileInfo::exists(dir));
}

// Anything but a regular file of sane size in the file's place: the store starts with
// defaults at once, says so once, and what is there stays as it was, saves included.
// The store runs in a child so that a hang or an endless read fails instead of stalling.
void TestPreferencesStore::unusableFileIsLeftAlone_data()
{
    QTest::addColumn<QString>("kind");
    QTest::newRow("FIFO") << "fifo";
    QTest::newRow("link to /dev/zero") << "zero";
    QTest::newRow("over the size limit") << "large";
}

void TestPreferencesStore::unusableFileIsLeftAlone()
{
    QFETCH(QString, kind);
    if (kind == QLatin1String("fifo"))
        QCOMPARE(::mkfifo(QFile::encodeName(m_path).constData(), 0600), 0);
    else if (kind == QLatin1String("zero"))
        QVERIFY(QFile::link(QStringLiteral("/dev/zero"), m_path));
    else
        writeFile(m_path, "{\"k\": \"" + QByteArray(PreferencesStore::kMaxFileBytes, 'x') + "\"}");
    const QString before = identity(m_path);

    QProcess child;
    child.start(QStringLiteral(ORVELLA_PREFS_CHILD), {QStringLiteral("load"), m_path});
    QVERIFY(child.waitForFinished(5000));
    QCOMPARE(child.exitCode(), 0);
    QCOMPARE(child.readAllStandardOutput(), QByteArray("{}\nsaved=0\n"));
    const QByteArray log = child.readAllStandardError();
    QVERIFY2(log.count("[OV] preferences: cannot use") == 1 && log.count("[OV]") == 1, log.constData());
    QCOMPARE(identity(m_path), before);
    QCOMPARE(QDir(m_dir.path()).entryList({QFileInfo(m_path).fileName() + QStringLiteral(".*")}),
             QStringList());
}

void TestPreferencesStore::defaultPathFollowsXdgConfigHome()
{
    const QByteArray saved = qgetenv("XDG_CONFIG_HOME");
    qputenv("XDG_CONFIG_HOME", "/tmp/xdg-test-home");
    QCOMPARE(PreferencesStore::defaultFilePath(),
             QStringLiteral("/tmp/xdg-test-home/orvella/preferences.json"));
    qunsetenv("XDG_CONFIG_HOME");
    QCOMPARE(PreferencesStore::defaultFilePath(),
             QDir::homePath() + QStringLiteral("/.config/orvella/preferences.json"));
    qputenv("XDG_CONFIG_HOME", saved);
}

// A crash at any moment of a write leaves a file that parses, each key holding either
// its old value or one of the values written.
void TestPreferencesStore::killedWriterLeavesOldOrNewValues()
{
    QJsonObject initial;
    for (int k = 0; k < 50; ++k)
        initial.insert(QStringLiteral("k%1").arg(k), QStringLiteral("old"));

    for (int attempt = 0; attempt < 8; ++attempt) {
        writeFile(m_path, QJsonDocument(initial).toJson());
        QProcess child;
        child.start(QStringLiteral(ORVELLA_PREFS_CHILD), {QStringLiteral("burst"), m_path});
        QVERIFY(child.waitForStarted());
        // Once the burst runs, kill it at a varying moment, usually in the middle of a write.
        QByteArray output;
        QTRY_VERIFY_WITH_TIMEOUT((output += child.readAllStandardOutput()).contains("round"), 20000);
        QTest::qWait(int(QRandomGenerator::global()->bounded(40)));
        child.kill();
        QVERIFY(child.waitForFinished());

        QJsonParseError error{};
        const QJsonDocument doc = QJsonDocument::fromJson(readFile(m_path), &error);
        QVERIFY2(error.error == QJsonParseError::NoError, qPrintable(error.errorString()));
        const QJsonObject values = doc.object();
        static const QRegularExpression written(QStringLiteral("^(old|new-\\d+)$"));
        for (int k = 0; k < 50; ++k) {
            const QString v = values.value(QStringLiteral("k%1").arg(k)).toString();
            QVERIFY2(written.match(v).hasMatch(), qPrintable(QStringLiteral("k%1 = '%2'").arg(k).arg(v)));
        }
    }
}

QTEST_GUILESS_MAIN(TestPreferencesStore)
#include "tst_preferencesstore.moc"
