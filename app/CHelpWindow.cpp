#include "CHelpWindow.h"

#include "CAppIcon.h"

#include <QDesktopServices>
#include <QHBoxLayout>
#include <QPointer>
#include <QPushButton>
#include <QScreen>
#include <QShortcut>
#include <QGuiApplication>
#include <QStyle>
#include <QTextBrowser>
#include <QVBoxLayout>

namespace {

const QUrl kContents(QStringLiteral("qrc:/manual/index.html"));

} // namespace

CHelpWindow::CHelpWindow(QWidget* parent)
    : QWidget(parent, Qt::Window)
    , m_pBrowser(new QTextBrowser)
{
    setObjectName(QStringLiteral("CHelpWindow"));
    setWindowTitle(QStringLiteral("Orvalis Help"));
    setWindowIcon(CAppIcon::Icon());
    setAttribute(Qt::WA_DeleteOnClose);
    m_pBrowser->setOpenLinks(true);
    // Links out of the manual go to the desktop's browser.
    m_pBrowser->setOpenExternalLinks(true);
    m_pBrowser->setSource(kContents);

    auto* back = new QPushButton(style()->standardIcon(QStyle::SP_ArrowBack), QStringLiteral("&Back"));
    auto* forward = new QPushButton(style()->standardIcon(QStyle::SP_ArrowForward), QStringLiteral("&Forward"));
    auto* contents = new QPushButton(QStringLiteral("&Contents"));
    back->setEnabled(false);
    forward->setEnabled(false);
    connect(back, &QPushButton::clicked, m_pBrowser, &QTextBrowser::backward);
    connect(forward, &QPushButton::clicked, m_pBrowser, &QTextBrowser::forward);
    connect(contents, &QPushButton::clicked, m_pBrowser, [this] { m_pBrowser->setSource(kContents); });
    connect(m_pBrowser, &QTextBrowser::backwardAvailable, back, &QPushButton::setEnabled);
    connect(m_pBrowser, &QTextBrowser::forwardAvailable, forward, &QPushButton::setEnabled);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(back);
    buttons->addWidget(forward);
    buttons->addWidget(contents);
    buttons->addStretch(1);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(buttons);
    layout->addWidget(m_pBrowser, 1);

    auto* close = new QShortcut(QKeySequence(Qt::Key_Escape), this);
    connect(close, &QShortcut::activated, this, &QWidget::close);
    resize(760, 640);
}

void CHelpWindow::FitInto(const QRect& available)
{
    // The frame around the window (title bar, borders) needs room too; before
    // the window is shown its size is not known yet.
    QSize frame = frameGeometry().size() - geometry().size();
    if (frame.isNull())
        frame = QSize(16, 48);
    const QSize room = available.size() - frame;
    resize(qMin(width(), room.width()), qMin(height(), room.height()));
    QRect placed = frameGeometry();
    placed.moveCenter(available.center());
    move(placed.topLeft());
}

CHelpWindow* CHelpWindow::ShowManual(QWidget* owner)
{
    static QPointer<CHelpWindow> s_window;
    if (!s_window) {
        s_window = new CHelpWindow(owner);
        // Never taller or wider than the screen the program is on.
        if (const QScreen* screen = owner ? owner->screen() : QGuiApplication::primaryScreen())
            s_window->FitInto(screen->availableGeometry());
    }
    s_window->show();
    s_window->raise();
    s_window->activateWindow();
    return s_window;
}
