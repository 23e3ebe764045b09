#include "ui/list/ProbeListView.h"

#include "store/DeviceStore.h"
#include "ui/list/ProbeCells.h"
#include "ui/list/ProbeTableModel.h"

#include <QGuiApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>

namespace cz {


ProbeListView::ProbeListView(DeviceStore &store, ProbeTableModel &model, QWidget *parent)
    : QTableView(parent), store_(store), model_(model)
{
    proxy_.setDynamicSortFilter(false);
    proxy_.setSourceModel(&model_);
    setModel(&proxy_);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setShowGrid(true);
    setWordWrap(false);
    setAlternatingRowColors(false);
    verticalHeader()->hide();
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 6);
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    QHeaderView *header = horizontalHeader();
    header->setSectionsMovable(true);
    header->setSectionsClickable(true);
    header->setHighlightSections(false);
    header->setStretchLastSection(false);
    header->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    header->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(header, &QHeaderView::customContextMenuRequested, this, &ProbeListView::headerMenu);
    connect(header, &QHeaderView::sectionClicked, this, &ProbeListView::sortByColumn);
    // A column dragged in the header stays behind the hidden ones.
    connect(header, &QHeaderView::sectionMoved, this, [this](int logical, int, int to) {
        int hiddenInFront = 0;
        while (hiddenInFront < horizontalHeader()->count() &&
               horizontalHeader()->isSectionHidden(horizontalHeader()->logicalIndex(hiddenInFront)))
            ++hiddenInFront;
        if (!horizontalHeader()->isSectionHidden(logical) && to < hiddenInFront)
            QMetaObject::invokeMethod(this, [this, logical, hiddenInFront] {
                horizontalHeader()->moveSection(horizontalHeader()->visualIndex(logical), hiddenInFront);
            }, Qt::QueuedConnection);
    });
    connect(this, &QAbstractItemView::activated, this, [this](const QModelIndex &index) {
        if (const ProbeRecord *p = model_.probeAt(proxy_.mapToSource(index).row()))
            emit probeActivated(p);
    });
}

void ProbeListView::setUpColumns()
{
    homePosition_ = QList<int>(model_.columnCount(), -1);
    for (int c = 0; c < model_.columnCount(); ++c) {
        const QString title = model_.headerData(c, Qt::Horizontal, Qt::DisplayRole).toString();
        const int width = horizontalHeader()->fontMetrics().horizontalAdvance(title) + 16;
        setColumnWidth(c, width);
        store_.settings.Columns[std::size_t(model_.entryOf(c))].Width = width;
    }
}

void ProbeListView::sortInitially()
{
    const int number = model_.columnOfKind(ColumnKind::ProbeNumber), name = model_.columnOfKind(ColumnKind::DeviceName);
    if (number >= 0)
        proxy_.sort(number, Qt::AscendingOrder);
    if (name >= 0)
        proxy_.sort(name, Qt::AscendingOrder);
}

void ProbeListView::sortByColumn(int column)
{
    const bool descending = QGuiApplication::keyboardModifiers() & Qt::ShiftModifier;
    proxy_.sort(column, descending ? Qt::DescendingOrder : Qt::AscendingOrder);
}

int ProbeListView::entryForColumn(int column) const
{
    // The entry whose Index names this column.
    for (int e = 0; e < kListColumns; ++e)
        if (store_.settings.Columns[std::size_t(e)].Index == column)
            return e;
    return -1;
}

bool ProbeListView::columnHidden(int column) const
{
    return horizontalHeader()->isSectionHidden(column);
}

void ProbeListView::hideColumn(int column)
{
    QHeaderView *header = horizontalHeader();
    if (column < 0 || column >= header->count() || columnHidden(column))
        return;
    setUpdatesEnabled(false);
    if (homePosition_.size() != header->count())
        homePosition_ = QList<int>(header->count(), -1);
    homePosition_[column] = header->visualIndex(column);
    const int width = header->sectionSize(column);
    header->moveSection(header->visualIndex(column), 0);
    header->hideSection(column);
    if (const int e = entryForColumn(column); e >= 0) {
        store_.settings.Columns[std::size_t(e)].Enabled = 0;
        store_.settings.Columns[std::size_t(e)].Width = width;
    }
    setUpdatesEnabled(true);
}

void ProbeListView::showColumn(int column)
{
    QHeaderView *header = horizontalHeader();
    if (column < 0 || column >= header->count() || !columnHidden(column))
        return;
    setUpdatesEnabled(false);
    header->showSection(column);
    int home = homePosition_.value(column, -1);
    if (home >= 0) {
        // Hidden columns in front do not count.
        int hiddenInFront = 0;
        for (int v = 0; v < header->count(); ++v)
            if (header->isSectionHidden(header->logicalIndex(v)))
                ++hiddenInFront;
        header->moveSection(header->visualIndex(column), qMin(qMax(home, hiddenInFront), header->count() - 1));
    }
    if (const int e = entryForColumn(column); e >= 0) {
        ListColumn &entry = store_.settings.Columns[std::size_t(e)];
        entry.Enabled = 1;
        if (entry.Width > 0)
            header->resizeSection(column, entry.Width);
    }
    setUpdatesEnabled(true);
}

QList<const ProbeRecord *> ProbeListView::selectedProbes() const
{
    QList<const ProbeRecord *> probes;
    for (const QModelIndex &row : selectionModel()->selectedRows())
        if (const ProbeRecord *p = model_.probeAt(proxy_.mapToSource(row).row()))
            probes.append(p);
    return probes;
}

void ProbeListView::headerMenu(const QPoint &at)
{
    QMenu menu(this);
    for (int c = 0; c < model_.columnCount(); ++c) {
        QAction *a = menu.addAction(model_.headerData(c, Qt::Horizontal, Qt::DisplayRole).toString());
        a->setCheckable(true);
        a->setChecked(!columnHidden(c));
        connect(a, &QAction::triggered, this, [this, c](bool visible) { visible ? showColumn(c) : hideColumn(c); });
    }
    menu.exec(horizontalHeader()->mapToGlobal(at));
}

void ProbeListView::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Plus && (event->modifiers() & Qt::ControlModifier) &&
        (event->modifiers() & Qt::KeypadModifier)) {
        resizeColumnsToContents();
        return;
    }
    QTableView::keyPressEvent(event);
}

} // namespace cz
