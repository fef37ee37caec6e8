// The manual page orvella(1), written from the verb table and the README's text.
#pragma once

#include <QString>

#include <optional>

namespace orvella::shell::manPage {

/// What the page's header says about this build.
struct PageInfo
{
    QString version; ///< "0.1.0"
    QString date;    ///< the release's date, "2026-11-25"
};

/**
 * The page in roff. The synopsis of each command and its options come from the verb table;
 * the words from the README: its command block (marked `<!-- man: COMMANDS -->`, entries
 * `orvella VERB ...` with their description) and each part marked
 * `<!-- man: SECTION NAME -->` ... `<!-- /man -->`, which becomes a section of that name.
 * Absent, with `error` saying why, when the README and the table disagree on the verbs or
 * a marked part is not closed: the page must not quietly lose a command.
 */
std::optional<QString> render(const QString &readme, const PageInfo &info, QString *error);

/// Markdown text (paragraphs, "- " lists, fenced blocks, `code`, **bold**, [links](url),
/// "## " headings) as roff.
QString roffFromMarkdown(const QString &markdown);

} // namespace orvella::shell::manPage
