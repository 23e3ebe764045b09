#include "ui/widgets/DialogFileChooser.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QFileSystemModel>
#include <QPrintDialog>
#include <QPrinter>
#include <QSortFilterProxyModel>

namespace cz {

namespace {

// Shows folders and the files the operator may run.
class ExecutableFilter final : public QSortFilterProxyModel {
public:
    using QSortFilterProxyModel::QSortFilterProxyModel;
    bool filterOnlyExecutables = true;

protected:
    bool filterAcceptsRow(int row, const QModelIndex &parent) const override
    {
        if (!filterOnlyExecutables)
            return true;
        const auto *files = qobject_cast<QFileSystemModel *>(sourceModel());
        if (!files)
            return true;
        const QFileInfo info = files->fileInfo(files->index(row, 0, parent));
        return info.isDir() || info.isExecutable();
    }
};

} // namespace

QString DialogFileChooser::openFile(QWidget *parent, const FileQuestion &q)
{
    QFileDialog dialog(parent, q.title, q.folder);
    dialog.setOption(QFileDialog::DontUseNativeDialog, q.executablesOnly);
    dialog.setFileMode(QFileDialog::ExistingFile);
    dialog.setAcceptMode(QFileDialog::AcceptOpen);
    dialog.setNameFilters(q.filters);
    if (!q.file.isEmpty())
        dialog.selectFile(q.file);
    ExecutableFilter *filter = nullptr;
    if (q.executablesOnly) {
        filter = new ExecutableFilter(&dialog);
        dialog.setProxyModel(filter);
        QObject::connect(&dialog, &QFileDialog::filterSelected, &dialog, [&dialog, filter, q](const QString &f) {
            filter->filterOnlyExecutables = !q.filters.isEmpty() && f == q.filters.first();
            filter->invalidate();
        });
    }
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return {};
    return dialog.selectedFiles().first();
}

QString DialogFileChooser::saveFile(QWidget *parent, const FileQuestion &q)
{
    QFileDialog dialog(parent, q.title, q.folder);
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setNameFilters(q.filters);
    dialog.setDefaultSuffix(q.defaultSuffix);
    // The suffix follows the filter the operator picks.
    QObject::connect(&dialog, &QFileDialog::filterSelected, &dialog, [&dialog](const QString &filter) {
        const int star = filter.indexOf(QLatin1String("*."));
        if (star >= 0)
            dialog.setDefaultSuffix(filter.mid(star + 2).section(QLatin1Char(')'), 0, 0));
    });
    if (!q.file.isEmpty())
        dialog.selectFile(q.file);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return {};
    return dialog.selectedFiles().first();
}

bool DialogFileChooser::choosePrinter(QWidget *parent, QPrinter &printer)
{
    QPrintDialog dialog(&printer, parent);
    dialog.setOption(QAbstractPrintDialog::PrintCollateCopies);
    dialog.setMinMax(1, 1000);
    return dialog.exec() == QDialog::Accepted;
}

} // namespace cz
