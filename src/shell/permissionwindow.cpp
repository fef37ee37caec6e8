// Laying out the session requirements, the steps and the two buttons.
#include "shell/permissionwindow.h"

#include "settings/localizationmanager.h"
#include "shell/appicon.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>

namespace orvella::shell {

namespace {

constexpr int kWidth = 500;

QString text(const char *key)
{
    return settings::LocalizationManager::shared().string(QString::fromLatin1(key));
}

QLabel *paragraph(const QString &content, QWidget *parent)
{
    auto *label = new QLabel(content, parent);
    label->setWordWrap(true);
    label->setTextFormat(Qt::PlainText);
    label->setAccessibleName(content);
    return label;
}

} // namespace

PermissionWindow::PermissionWindow(Reason reason, std::function<void()> relaunch, QWidget *parent)
    : QWidget(parent, Qt::Window)
    , m_reason(reason)
    , m_relaunch(std::move(relaunch))
{
    // The application lives on in the tray; this window is never the reason to quit.
    setAttribute(Qt::WA_QuitOnClose, false);
    const QString title = text("banner.x11Required.title");
    setWindowTitle(title);
    setWindowIcon(appIcon());
    setAccessibleName(title);
    setAccessibleDescription(text("banner.x11Required"));

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(28, 24, 28, 20);
    layout->setSpacing(14);

    auto *header = new QHBoxLayout;
    header->setSpacing(14);
    auto *icon = new QLabel(this);
    icon->setPixmap(appIcon().pixmap(48, 48));
    icon->setAccessibleName(QStringLiteral("Orvella"));
    header->addWidget(icon, 0, Qt::AlignTop);
    auto *heading = paragraph(title, this);
    QFont headingFont = heading->font();
    headingFont.setPointSizeF(headingFont.pointSizeF() * 1.35);
    headingFont.setBold(true);
    heading->setFont(headingFont);
    header->addWidget(heading, 1, Qt::AlignVCenter);
    layout->addLayout(header);

    layout->addWidget(paragraph(text("permission.x11.desc"), this));
    if (reason == Reason::WaylandOnly)
        layout->addWidget(paragraph(text("permission.x11.waylandOnly"), this));
    else if (reason == Reason::NoWindowManager)
        layout->addWidget(paragraph(text("permission.x11.hint"), this));

    auto *steps = new QGridLayout;
    steps->setContentsMargins(6, 4, 0, 4);
    steps->setHorizontalSpacing(10);
    steps->setVerticalSpacing(8);
    steps->setColumnStretch(1, 1);
    const char *stepKeys[] = {"banner.x11Required.step1", "banner.x11Required.step2",
                              "banner.x11Required.step3"};
    for (int i = 0; i < 3; ++i) {
        auto *number = new QLabel(QString::number(i + 1) + QLatin1Char('.'), this);
        QFont bold = number->font();
        bold.setBold(true);
        number->setFont(bold);
        number->setAlignment(Qt::AlignRight | Qt::AlignTop);
        auto *step = paragraph(text(stepKeys[i]), this);
        step->setAccessibleName(number->text() + QLatin1Char(' ') + step->text());
        number->setAccessibleName(step->accessibleName());
        steps->addWidget(number, i, 0);
        steps->addWidget(step, i, 1);
    }
    layout->addLayout(steps);

    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    m_closeButton = new QPushButton(text("general.close"), this);
    m_closeButton->setAccessibleName(m_closeButton->text());
    m_relaunchButton = new QPushButton(text("permission.relaunch"), this);
    m_relaunchButton->setAccessibleName(m_relaunchButton->text());
    m_relaunchButton->setDefault(true);
    buttons->addWidget(m_closeButton);
    buttons->addWidget(m_relaunchButton);
    layout->addSpacing(4);
    layout->addLayout(buttons);

    connect(m_closeButton, &QPushButton::clicked, this, &QWidget::close);
    connect(m_relaunchButton, &QPushButton::clicked, this, [this] {
        if (m_relaunch)
            m_relaunch();
    });
    // A plain window has no dialog keys: Escape closes, Return presses the focused
    // button (Relaunch until the user tabs away).
    connect(new QShortcut(QKeySequence(Qt::Key_Escape), this), &QShortcut::activated, this, &QWidget::close);
    for (auto key : {Qt::Key_Return, Qt::Key_Enter}) {
        connect(new QShortcut(QKeySequence(key), this), &QShortcut::activated, this, [this] {
            if (auto *button = qobject_cast<QPushButton *>(focusWidget()))
                button->click();
            else
                m_relaunchButton->click();
        });
    }
    setTabOrder(m_relaunchButton, m_closeButton);
    m_relaunchButton->setFocus();

    // A window does not ask its layout for the height wrapped text needs at its width;
    // without this, long translations lose their last lines.
    setFixedWidth(kWidth);
    setMinimumHeight(layout->totalHeightForWidth(kWidth));
    resize(kWidth, minimumHeight());
}

} // namespace orvella::shell
