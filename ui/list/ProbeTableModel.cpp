#include "ui/list/ProbeTableModel.h"

#include "store/DeviceFile.h"
#include "store/DeviceStore.h"
#include "ui/list/ProbeCells.h"

namespace cz {

namespace {

constexpr std::uint64_t kRowColourBits = ProbeBit::StateOrCount | ProbeBit::AlarmSetOrCleared | ProbeBit::ProbeEnabled;

} // namespace

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
    const bool showDisabled = store_.settings.ShowDisabledProbes != 0;
    for (int slot = 0; slot < store_.deviceCount(); ++slot) {
        const DeviceRecord *d = store_.device(slot);
        for (int i = 0; d && i < d->ProbeCount && i < d->probeSlots(); ++i)
            if (const ProbeRecord *p = d->probe(i); p && (p->ProbeEnabled || showDisabled))
                rows_.append(p);
    }
    endResetModel();
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
                    rows_.append(p);
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
            endRemoveRows();
        }
    }
}

void ProbeTableModel::coloursChanged()
{
    if (rowCount() > 0 && columnCount() > 0)
        emit dataChanged(index(0, 0), index(rowCount() - 1, columnCount() - 1), {Qt::BackgroundRole});
}

void ProbeTableModel::refresh()
{
    const int columns = int(kinds_.size());
    QList<std::uint64_t> bits(columns);
    QList<bool> deviceColumn(columns);
    for (int c = 0; c < columns; ++c) {
        bits[c] = columnChangeBits(kinds_[c]);
        deviceColumn[c] = isDeviceColumn(kinds_[c]);
    }
    for (int row = 0; row < rows_.size(); ++row) {
        const ProbeRecord &p = *rows_[row];
        const DeviceRecord *d = store_.device(p.DeviceNumber);
        const std::uint64_t changed = p.ShownChanges;
        const bool deviceChanged = d && d->ShownChanges;
        if (!changed && !deviceChanged)
            continue;
        if (changed & kRowColourBits) {
            emit dataChanged(index(row, 0), index(row, columns - 1), {Qt::DisplayRole, Qt::BackgroundRole});
            continue;
        }
        // One announcement per run of neighbouring changed columns.
        for (int c = 0; c < columns; ++c) {
            if (!(bits[c] & changed) && !(deviceChanged && deviceColumn[c]))
                continue;
            int last = c;
            while (last + 1 < columns && ((bits[last + 1] & changed) || (deviceChanged && deviceColumn[last + 1])))
                ++last;
            emit dataChanged(index(row, c), index(row, last), {Qt::DisplayRole});
            c = last;
        }
    }
    store_.clearShownChanges();
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
