#include "app/MainWindow.h"

#include "app/HeaderView.h"

#include <QCloseEvent>
#include <QVBoxLayout>

MainWindow::MainWindow(QWidget* parent) : QMainWindow(parent)
{
    setObjectName(QStringLiteral("mainWindow"));
    setWindowTitle(QStringLiteral("Quillon"));

    auto* central = new QWidget(this);
    auto* column = new QVBoxLayout(central);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);

    m_header = new HeaderView(central);
    column->addWidget(m_header);

    m_contentArea = new QWidget(central);
    m_contentArea->setObjectName(QStringLiteral("contentArea"));
    m_contentArea->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    m_contentLayout = new QVBoxLayout(m_contentArea);
    m_contentLayout->setContentsMargins(0, 0, 0, 0);
    m_contentLayout->setSpacing(0);
    column->addWidget(m_contentArea, 1);

    setCentralWidget(central);
}

void MainWindow::setContentView(QWidget* view)
{
    if (view == m_contentView)
        return;
    if (QWidget* previous = takeContentView()) {
        previous->hide();
        previous->deleteLater();
    }
    if (!view)
        return;
    m_contentView = view;
    view->setParent(m_contentArea);
    m_contentLayout->addWidget(view);
    view->show();
}

QWidget* MainWindow::takeContentView()
{
    QWidget* view = m_contentView;
    m_contentView = nullptr;
    if (view) {
        m_contentLayout->removeWidget(view);
        view->hide();
        view->setParent(nullptr);
    }
    return view;
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    QMainWindow::closeEvent(event);
    if (event->isAccepted())
        Q_EMIT windowWillClose(this);
}
