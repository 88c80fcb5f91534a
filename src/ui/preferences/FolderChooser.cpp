#include "preferences/FolderChooser.h"

#include <QAbstractItemView>
#include <QDir>
#include <QFileDialog>

void DialogFolderChooser::chooseFolders(QWidget* parent, const QString& prompt,
                                        std::function<void(const QStringList&)> done)
{
    auto* dialog = new QFileDialog(parent, prompt, QDir::homePath());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::Directory);
    // The platform dialogs choose one folder at a time; ours lets the user pick several.
    dialog->setOptions(QFileDialog::ShowDirsOnly | QFileDialog::DontUseNativeDialog |
                       QFileDialog::DontResolveSymlinks);
    dialog->setLabelText(QFileDialog::Accept, prompt);
    for (QAbstractItemView* list : dialog->findChildren<QAbstractItemView*>(QStringLiteral("listView")))
        list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    for (QAbstractItemView* tree : dialog->findChildren<QAbstractItemView*>(QStringLiteral("treeView")))
        tree->setSelectionMode(QAbstractItemView::ExtendedSelection);
    dialog->setWindowModality(Qt::WindowModal);
    QObject::connect(dialog, &QFileDialog::finished, dialog, [dialog, done = std::move(done)](int result) {
        QStringList chosen;
        if (result == QDialog::Accepted) {
            for (const QString& path : dialog->selectedFiles())
                chosen.append(QDir::cleanPath(path));
        }
        if (done)
            done(chosen);
    });
    dialog->open();
}
