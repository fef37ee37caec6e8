// Maps the Linux identities of applications onto the identifiers per-app rules are keyed by.
#include "tracking/appaliases.h"

#include <QHash>

namespace orvella::tracking::appAliases {

namespace {

// Desktop-file ids (lower-cased) of the same applications on Linux. File managers
// stand in for the Finder and note-taking apps for Notes, so their rules (skipping
// the titleless desktop window, generic titles) apply to them too.
const QHash<QString, QString> &aliases()
{
    static const QHash<QString, QString> table{
        {QStringLiteral("code"), kVSCode},
        {QStringLiteral("code-oss"), kVSCode},
        {QStringLiteral("code-insiders"), kVSCode},
        {QStringLiteral("com.visualstudio.code"), kVSCode},
        {QStringLiteral("com.visualstudio.code.oss"), kVSCode},
        {QStringLiteral("codium"), QStringLiteral("com.vscodium")},
        {QStringLiteral("com.vscodium.codium"), QStringLiteral("com.vscodium")},
        {QStringLiteral("sublime_text"), QStringLiteral("com.sublimetext.4")},
        {QStringLiteral("google-chrome"), kChrome},
        {QStringLiteral("google-chrome-stable"), kChrome},
        {QStringLiteral("com.google.chrome"), kChrome},
        {QStringLiteral("chromium"), QStringLiteral("org.chromium.Chromium")},
        {QStringLiteral("chromium-browser"), QStringLiteral("org.chromium.Chromium")},
        {QStringLiteral("org.gnome.nautilus"), kFinder},
        {QStringLiteral("nautilus"), kFinder},
        {QStringLiteral("org.kde.dolphin"), kFinder},
        {QStringLiteral("thunar"), kFinder},
        {QStringLiteral("org.xfce.thunar"), kFinder},
        {QStringLiteral("nemo"), kFinder},
        {QStringLiteral("caja"), kFinder},
        {QStringLiteral("pcmanfm"), kFinder},
        {QStringLiteral("pcmanfm-qt"), kFinder},
        {QStringLiteral("org.gnome.notes"), kNotes},
        {QStringLiteral("bijiben"), kNotes},
        {QStringLiteral("org.kde.knotes"), kNotes},
        {QStringLiteral("libreoffice-calc"), kNumbers},
    };
    return table;
}

} // namespace

std::optional<QString> ruleIdentity(const std::optional<QString> &bundleID)
{
    if (!bundleID)
        return std::nullopt;
    // Asked for every window of every regrouping; remember the answers per thread
    // instead of lower-casing the same few identifiers again and again.
    thread_local QHash<QString, QString> memo;
    if (auto hit = memo.constFind(*bundleID); hit != memo.constEnd())
        return *hit;
    const auto it = aliases().constFind(bundleID->toLower());
    const QString identity = it != aliases().constEnd() ? *it : *bundleID;
    if (memo.size() > 4096)
        memo.clear();
    memo.insert(*bundleID, identity);
    return identity;
}

bool is(const std::optional<QString> &bundleID, const char *rule)
{
    const auto identity = ruleIdentity(bundleID);
    return identity && *identity == QLatin1String(rule);
}

} // namespace orvella::tracking::appAliases
