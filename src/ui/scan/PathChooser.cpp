#include "scan/PathChooser.h"

#include <QAbstractItemView>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QStandardPaths>

QList<QByteArray> FileDialogPathChooser::choosePaths(QWidget* parent, Kind kind)
{
    QFileDialog dialog(parent);
    dialog.setOption(QFileDialog::DontUseNativeDialog, true);
    dialog.setWindowModality(Qt::WindowModal);
    dialog.setAcceptMode(QFileDialog::AcceptOpen);
    dialog.setLabelText(QFileDialog::Accept, QObject::tr("Add"));
    dialog.setDirectory(QDir::home());
    if (kind == Kind::Folders) {
        dialog.setWindowTitle(QObject::tr("Add Folders"));
        dialog.setFileMode(QFileDialog::Directory);
        dialog.setOption(QFileDialog::ShowDirsOnly, true);
        // The directory mode picks one folder; let its lists take several.
        for (QAbstractItemView* view : dialog.findChildren<QAbstractItemView*>(QStringLiteral("listView")))
            view->setSelectionMode(QAbstractItemView::ExtendedSelection);
        for (QAbstractItemView* view : dialog.findChildren<QAbstractItemView*>(QStringLiteral("treeView")))
            view->setSelectionMode(QAbstractItemView::ExtendedSelection);
    } else {
        dialog.setWindowTitle(QObject::tr("Add Files"));
        dialog.setFileMode(QFileDialog::ExistingFiles);
    }
    if (dialog.exec() != QDialog::Accepted)
        return {};
    QList<QByteArray> paths;
    for (const QString& file : dialog.selectedFiles())
        paths.append(QFile::encodeName(QDir::cleanPath(file)));
    return paths;
}
