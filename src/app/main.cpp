#include "app/DesktopApplication.h"
#include "app/Settings.h"

#include <QApplication>

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Quillon"));
    QCoreApplication::setApplicationName(QStringLiteral("Quillon"));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Quillon"));
    QCoreApplication::setApplicationVersion(QStringLiteral("0.1.0"));

    DesktopApplication quillon(Settings::standard());
    quillon.show();
    return app.exec();
}
