// Build-time generator of the files a desktop installs beside the binary: the desktop entry,
// the AppStream metadata, the manual page, the shell completions and the package changelog,
// all written from the same verb table and interface texts the program itself uses.
#include "shell/desktopmetadata.h"
#include "shell/manpage.h"
#include "shell/shellcompletions.h"

#include <QCoreApplication>
#include <QDate>
#include <QFile>
#include <QLocale>
#include <QRegularExpression>
#include <QSaveFile>

#include <cstdio>

using namespace orvella;

namespace {

int fail(const QString &message)
{
    std::fprintf(stderr, "orvella-datagen: %s\n", qPrintable(message));
    return 1;
}

std::optional<QString> readText(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return std::nullopt;
    return QString::fromUtf8(file.readAll());
}

bool writeText(const QString &path, const QString &text)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.write(text.toUtf8());
    return file.commit();
}

// The bold lead of each "- **...**" item of the release notes: one line per change.
QStringList releaseHighlights(const QString &notes)
{
    static const QRegularExpression lead(QStringLiteral(R"(^- \*\*(.+?)\*\*)"),
                                         QRegularExpression::MultilineOption);
    QStringList items;
    for (auto it = lead.globalMatch(notes); it.hasNext();)
        items.append(it.next().captured(1).trimmed());
    return items;
}

QString metainfo(QString text, const QString &notes, const QString &version, const QString &date)
{
    QString items;
    for (const QString &item : releaseHighlights(notes))
        items += QStringLiteral("          <li>%1</li>\n").arg(item.toHtmlEscaped());
    text.replace(QLatin1String("@SUMMARIES@\n"), shell::desktopMetadata::appStreamSummaries());
    text.replace(QLatin1String("@RELEASE_HIGHLIGHTS@\n"), items);
    text.replace(QLatin1String("@VERSION@"), version);
    text.replace(QLatin1String("@DATE@"), date);
    return text;
}

// A native package's changelog in Debian's format, from the release notes.
QString changelog(const QString &notes, const QString &version, const QString &date,
                  const QString &maintainer)
{
    QString out = QStringLiteral("orvella (%1) unstable; urgency=medium\n\n").arg(version);
    for (const QString &item : releaseHighlights(notes))
        out += QStringLiteral("  * %1\n").arg(item);
    const QDate day = QDate::fromString(date, Qt::ISODate);
    return out
           + QStringLiteral("\n -- %1  %2 00:00:00 +0000\n")
                 .arg(maintainer, QLocale::c().toString(day, QStringLiteral("ddd, dd MMM yyyy")));
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments().mid(1);
    const QString what = args.value(0);
    const QString out = args.value(args.size() - 1);
    QString text;
    if (what == QLatin1String("desktop") && args.size() == 3) {
        text = shell::desktopMetadata::desktopEntry(args[1]);
    } else if (what == QLatin1String("bash") && args.size() == 2) {
        text = shell::shellCompletions::bash();
    } else if (what == QLatin1String("zsh") && args.size() == 2) {
        text = shell::shellCompletions::zsh();
    } else if (what == QLatin1String("fish") && args.size() == 2) {
        text = shell::shellCompletions::fish();
    } else if (what == QLatin1String("man") && args.size() == 5) {
        const auto readme = readText(args[1]);
        if (!readme)
            return fail(QStringLiteral("cannot read %1").arg(args[1]));
        QString error;
        const auto page = shell::manPage::render(*readme, {args[2], args[3]}, &error);
        if (!page)
            return fail(QStringLiteral("%1: %2").arg(args[1], error));
        text = *page;
    } else if ((what == QLatin1String("metainfo") && args.size() == 6)
               || (what == QLatin1String("changelog") && args.size() == 6)) {
        const auto notes = readText(args[1]);
        if (!notes)
            return fail(QStringLiteral("cannot read %1").arg(args[1]));
        if (!QDate::fromString(args[3], Qt::ISODate).isValid())
            return fail(QStringLiteral("\"%1\" is not a date (YYYY-MM-DD)").arg(args[3]));
        if (what == QLatin1String("changelog")) {
            text = changelog(*notes, args[2], args[3], args[4]);
        } else {
            const auto templ = readText(args[4]);
            if (!templ)
                return fail(QStringLiteral("cannot read %1").arg(args[4]));
            text = metainfo(*templ, *notes, args[2], args[3]);
        }
    } else {
        return fail(
            QStringLiteral("usage: orvella-datagen desktop EXEC OUT | bash OUT | zsh OUT | fish OUT\n"
                           "       | man README VERSION DATE OUT | metainfo NOTES VERSION DATE TEMPLATE OUT\n"
                           "       | changelog NOTES VERSION DATE MAINTAINER OUT"));
    }
    if (!writeText(out, text))
        return fail(QStringLiteral("cannot write %1").arg(out));
    return 0;
}
