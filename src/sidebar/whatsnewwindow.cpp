// The window that shows this version's release notes.
#include "sidebar/whatsnewwindow.h"

#include "logging.h"
#include "settings/localizationmanager.h"

#include <QDialogButtonBox>
#include <QFile>
#include <QPushButton>
#include <QShortcut>
#include <QTextBrowser>
#include <QVBoxLayout>

namespace orvella::sidebar {

WhatsNewWindow::WhatsNewWindow(QWidget *parent)
    : QWidget(parent, Qt::Window)
    , m_browser(new QTextBrowser(this))
{
    auto &texts = settings::LocalizationManager::shared();
    setWindowTitle(texts.string(QStringLiteral("whatsNew.windowTitle")));
    // A helper window: closing the last one visible must not end the program.
    setAttribute(Qt::WA_QuitOnClose, false);
    resize(560, 480);

    // Links would start a browser from here; the notes are read where they are.
    m_browser->setOpenLinks(false);
    m_browser->setMarkdown(notes());
    m_browser->setAccessibleName(windowTitle());

    auto *buttons = new QDialogButtonBox(this);
    QPushButton *close =
        buttons->addButton(texts.string(QStringLiteral("general.close")), QDialogButtonBox::RejectRole);
    close->setDefault(true);
    connect(buttons, &QDialogButtonBox::rejected, this, &QWidget::close);
    // As in any dialog, Escape puts it away.
    auto *escape = new QShortcut(QKeySequence(Qt::Key_Escape), this);
    connect(escape, &QShortcut::activated, this, &QWidget::close);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_browser);
    layout->addWidget(buttons);
}

QString WhatsNewWindow::notes()
{
    QFile file(QString::fromLatin1(kNotesResource));
    if (!file.open(QIODevice::ReadOnly)) {
        qCWarning(lcShell).noquote() << "[OV] The release notes are missing from the program";
        return {};
    }
    return QString::fromUtf8(file.readAll());
}

} // namespace orvella::sidebar
