// The window that shows this version's release notes.
#pragma once

#include <QWidget>

class QTextBrowser;

namespace orvella::sidebar {

/**
 * The notes bundled with the program (kNotesResource) in a scrollable text view, and a
 * Close button. Closing it only hides it: the application keeps running.
 */
class WhatsNewWindow : public QWidget
{
    Q_OBJECT
public:
    static constexpr const char *kNotesResource = ":/whatsnew/whatsnew.md";

    explicit WhatsNewWindow(QWidget *parent = nullptr);

    /// The notes as Markdown; empty (and logged) when the resource is missing.
    static QString notes();
    /// The text view, for whoever needs to read what is shown.
    QTextBrowser *browser() const { return m_browser; }

private:
    QTextBrowser *m_browser = nullptr;
};

} // namespace orvella::sidebar
