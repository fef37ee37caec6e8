// The identity strings that name windows across refreshes, restarts and title changes.
#include "tracking/identity.h"

#include "tracking/appaliases.h"

#include <QRegularExpression>

#include <charconv>

namespace orvella::tracking::identity {

namespace {

const QString kSep = QStringLiteral("::");
const QString kOrderSep = QStringLiteral("__");

void dropSuffix(QString &text, QStringView suffix)
{
    if (text.endsWith(suffix))
        text.chop(suffix.size());
}

} // namespace

QString windowNumberSignature(const QString &owner, qint64 windowNumber)
{
    return owner + QStringLiteral("::wn:") + QString::number(windowNumber);
}

std::optional<qint64> windowNumberOf(const QString &id)
{
    const qsizetype at = id.indexOf(QStringLiteral("::wn:"));
    bool ok = false;
    const qint64 number = at < 0 ? 0 : id.mid(at + 5).toLongLong(&ok);
    return ok ? std::optional(number) : std::nullopt;
}

QString ownerOf(const QString &key)
{
    return key.section(kSep, 0, 0);
}

QString titleSignature(const QString &owner, const QString &title)
{
    return owner + kSep + title;
}

QString baseSignature(const QString &owner, std::optional<qint64> windowNumber, const QString &title)
{
    return windowNumber ? windowNumberSignature(owner, *windowNumber) : titleSignature(owner, title);
}

QString pidIdx(qint32 pid, int axIndex)
{
    // Built for every window several times per regrouping: no locale, one allocation.
    char text[32];
    char *end = std::to_chars(text, text + 15, pid).ptr;
    *end++ = ':';
    end = std::to_chars(end, text + sizeof text, axIndex).ptr;
    return QString::fromLatin1(text, end - text);
}

QString fingerprint(const WindowItem &window)
{
    return window.owner() + kSep + (window.windowTitle.isEmpty() ? window.appName : window.windowTitle);
}

std::optional<QString> manualShelfDescriptor(const WindowItem &window, bool normalized)
{
    const QString title = window.windowTitle.trimmed();
    if (title.isEmpty())
        return std::nullopt;
    return window.owner() + kSep
           + (normalized ? normalizedTitleForMatching(title, window.bundleIdentifier) : title);
}

QString encodeOrderEntry(const WindowItem &window)
{
    return window.id + kOrderSep + pidIdx(window.pid, window.axIndex) + kOrderSep + fingerprint(window);
}

OrderEntry decodeOrderEntry(const QString &entry)
{
    const qsizetype last = entry.lastIndexOf(kOrderSep);
    if (last < 0)
        return {entry, std::nullopt, std::nullopt};
    const QString tail = entry.mid(last + kOrderSep.size());
    if (tail.contains(kSep)) {
        const qsizetype first = entry.indexOf(kOrderSep);
        const QString rest = entry.mid(first + kOrderSep.size());
        const qsizetype second = rest.indexOf(kOrderSep);
        if (second >= 0) {
            const QString pid = rest.left(second);
            const QString fp = rest.mid(second + kOrderSep.size());
            if (pid.contains(u':') && fp.contains(kSep))
                return {entry.left(first), pid, fp};
        }
    }
    if (tail.contains(u':'))
        return {entry.left(last), tail, std::nullopt};
    return {entry, std::nullopt, std::nullopt};
}

QString ghostID(const QString &id)
{
    return id + QStringLiteral("-ghost");
}

QString closedID(const QString &memoryKey)
{
    return QStringLiteral("closed-") + memoryKey;
}

QString withoutGhostSuffix(const QString &id)
{
    static const QLatin1String suffix("-ghost");
    return id.endsWith(suffix) ? id.chopped(suffix.size()) : id;
}

QString diagnosticWindowLabel(const WindowItem &window)
{
    QString label = QStringLiteral("sig=") + window.id + QStringLiteral(" wn=")
                    + (window.windowNumber ? QString::number(*window.windowNumber) : QStringLiteral("nil"))
                    + QStringLiteral(" bundle=") + window.owner() + QStringLiteral(" title=")
                    + (window.windowTitle.isEmpty() ? QStringLiteral("<empty>") : window.windowTitle);
    if (window.isMinimized)
        label += QStringLiteral(" MIN");
    if (window.isClosed)
        label += QStringLiteral(" CLOSED");
    if (window.isActive)
        label += QStringLiteral(" ACTIVE");
    return label;
}

QString normalizedTitleForMatching(const QString &title, const std::optional<QString> &bundleID)
{
    if (!appAliases::is(bundleID, appAliases::kVSCode))
        return title;
    static const QRegularExpression problems(QStringLiteral(" • \\d+ problems? in this file"));
    QString t = title;
    if (const auto match = problems.match(t); match.hasMatch())
        t.truncate(match.capturedStart());
    dropSuffix(t, u" — Modified");
    dropSuffix(t, u" — Untracked");
    for (QStringView chat : {u" — Pending changes from chat • Modified",
                             u" — Pending changes from chat • Untracked", u" — Pending changes from chat"}) {
        if (t.endsWith(chat)) {
            t.chop(chat.size());
            break;
        }
    }
    return t.trimmed();
}

bool isGenericRecoveryTitle(const std::optional<QString> &bundleID, const QString &appName,
                            const QString &title)
{
    const QString t = title.trimmed();
    if (t.isEmpty() || t == appName || t == QLatin1String("Window"))
        return true;
    const auto identity = appAliases::ruleIdentity(bundleID);
    if (!identity)
        return false;
    static const QHash<QString, QStringList> generic{
        {QString::fromLatin1(appAliases::kNotes), {QStringLiteral("Notes")}},
        {QString::fromLatin1(appAliases::kVSCode),
         {QStringLiteral("Code"), QStringLiteral("Visual Studio Code")}},
        {QString::fromLatin1(appAliases::kChrome), {QStringLiteral("Chrome")}},
        {QString::fromLatin1(appAliases::kNumbers), {QStringLiteral("Numbers")}},
        {QString::fromLatin1(appAliases::kFinder), {QStringLiteral("Finder")}},
    };
    return generic.value(*identity).contains(t);
}

bool isDiagnosticNotesWindow(const WindowItem &window)
{
    return appAliases::is(window.bundleIdentifier, appAliases::kNotes)
           || window.appName.contains(QLatin1String("notes"), Qt::CaseInsensitive);
}

QString IdAllocator::next(const QString &base)
{
    const int k = m_counts.value(base, 0);
    m_counts.insert(base, k + 1);
    return k == 0 ? base : base + u'#' + QString::number(k);
}

} // namespace orvella::tracking::identity
