#include "ui/list/ProbeTableModel.h"

#include "store/DeviceFile.h"
#include "store/DeviceStore.h"
#include "ui/list/ProbeCells.h"

namespace cz {

ProbeTableModel::ProbeTableModel(DeviceStore &store, QObject *parent) : QAbstractTableModel(parent), store_(store) {}

void ProbeTableModel::rebuild()
{
    beginResetModel();
    entries_.clear();
    kinds_.clear();
    titles_.clear();
    for (int e = 0; e < kListColumns; ++e) {
        const ListColumn &c = store_.settings.Columns[std::size_t(e)];
        if (c.Enabled != 1)
            continue;
        entries_.append(e);
        titles_.append(QString::fromUtf8(c.Title.bytes()));
        kinds_.append(columnKind(titles_.last()));
    }
    rows_.clear();
    shown_.clear();
    const bool showDisabled = store_.settings.ShowDisabledProbes != 0;
    for (int slot = 0; slot < store_.deviceCount(); ++slot) {
        const DeviceRecord *d = store_.device(slot);
        for (int i = 0; d && i < d->ProbeCount && i < d->probeSlots(); ++i)
            if (const ProbeRecord *p = d->probe(i); p && (p->ProbeEnabled || showDisabled))
                appendRow(p);
    }
    endResetModel();
}

void ProbeTableModel::appendRow(const ProbeRecord *probe)
{
    rows_.append(probe);
    shown_.append(shownRow(*probe));
}

QStringList ProbeTableModel::shownRow(const ProbeRecord &p) const
{
    QStringList cells;
    cells.reserve(kinds_.size() + 1);
    const DeviceRecord *d = store_.device(p.DeviceNumber);
    for (const int kind : kinds_)
        cells.append(d ? probeCellText(kind, *d, p) : QString());
    cells.append(rowColour(store_.settings, p).name(QColor::HexArgb));
    return cells;
}

void ProbeTableModel::showDisabledProbes(bool show)
{
    if (show) {
        for (int slot = 0; slot < store_.deviceCount(); ++slot) {
            const DeviceRecord *d = store_.device(slot);
            for (int i = 0; d && i < d->ProbeCount && i < d->probeSlots(); ++i) {
                const ProbeRecord *p = d->probe(i);
                if (p && !p->ProbeEnabled && !rows_.contains(p)) {
                    beginInsertRows({}, int(rows_.size()), int(rows_.size()));
                    appendRow(p);
                    endInsertRows();
                }
            }
        }
        return;
    }
    removeRowsWhere([](const ProbeRecord &p) { return !p.ProbeEnabled; });
}

void ProbeTableModel::removeDeviceRows(int slot)
{
    removeRowsWhere([slot](const ProbeRecord &p) { return p.DeviceNumber == slot; });
}

void ProbeTableModel::removeRowsWhere(const std::function<bool(const ProbeRecord &)> &remove)
{
    for (int row = int(rows_.size()) - 1; row >= 0; --row) {
        if (remove(*rows_[row])) {
            beginRemoveRows({}, row, row);
            rows_.removeAt(row);
            shown_.removeAt(row);
            endRemoveRows();
        }
    }
}

void ProbeTableModel::coloursChanged()
{
    for (int row = 0; row < rows_.size(); ++row)
        shown_[row].last() = rowColour(store_.settings, *rows_[row]).name(QColor::HexArgb);
    if (rowCount() > 0 && columnCount() > 0)
        emit dataChanged(index(0, 0), index(rowCount() - 1, columnCount() - 1), {Qt::BackgroundRole});
}

void ProbeTableModel::refresh()
{
    const int columns = int(kinds_.size());
    for (int row = 0; row < rows_.size(); ++row) {
        QStringList now = shownRow(*rows_[row]);
        QStringList &before = shown_[row];
        if (now == before)
            continue;
        if (now.last() != before.last()) {
            before = std::move(now);
            emit dataChanged(index(row, 0), index(row, columns - 1), {Qt::DisplayRole, Qt::BackgroundRole});
            continue;
        }
        // One announcement per run of neighbouring changed cells.
        for (int c = 0; c < columns; ++c) {
            if (now[c] == before[c])
                continue;
            int last = c;
            while (last + 1 < columns && now[last + 1] != before[last + 1])
                ++last;
            emit dataChanged(index(row, c), index(row, last), {Qt::DisplayRole});
            c = last;
        }
        before = std::move(now);
    }
}

int ProbeTableModel::columnOfKind(int kind) const
{
    return int(kinds_.indexOf(kind));
}

int ProbeTableModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(rows_.size());
}

int ProbeTableModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(kinds_.size());
}

QVariant ProbeTableModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= rows_.size() || index.column() >= kinds_.size())
        return {};
    const ProbeRecord &p = *rows_[index.row()];
    if (role == Qt::DisplayRole) {
        const DeviceRecord *d = store_.device(p.DeviceNumber);
        return d ? probeCellText(kinds_[index.column()], *d, p) : QString();
    }
    if (role == Qt::BackgroundRole) {
        const QColor colour = rowColour(store_.settings, p);
        return colour.isValid() ? QVariant(colour) : QVariant();
    }
    if (role == Qt::ForegroundRole && p.ProbeEnabled)
        return QColor(Qt::black); // readable on every alarm colour
    return {};
}

QVariant ProbeTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole)
        return titles_.value(section);
    return {};
}

} // namespace cz
