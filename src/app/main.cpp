#include "app/AppDelegate.h"
#include "app/MainWindow.h"

#include <QApplication>

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Quillon"));
    QCoreApplication::setApplicationName(QStringLiteral("Quillon"));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Quillon"));
    QCoreApplication::setApplicationVersion(QStringLiteral("0.1.0"));

    AppDelegate::initialize();
    AppDelegate delegate;
    delegate.awakeFromNib();
    delegate.mainWindow()->show();
    return app.exec();
}
