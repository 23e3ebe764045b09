// The probe list's rows over the engine's records: one row per probe, the
// columns of the column table that are enabled, every cell worked out from
// the records when it is shown. A refresh compares each cell with what was
// last announced and announces only the cells that changed.
#pragma once

#include <QAbstractTableModel>
#include <QList>
#include <QStringList>

#include <functional>

namespace cz {

class DeviceStore;
struct ProbeRecord;

class ProbeTableModel : public QAbstractTableModel {
    Q_OBJECT
public:
    explicit ProbeTableModel(DeviceStore &store, QObject *parent = nullptr);

    // Columns from the column table, one row per probe of every device
    // (disabled probes only while they are shown).
    void rebuild();
    // Announces the cells whose text or colour changed since the last
    // refresh.
    void refresh();
    // The rows of the device in `slot`, removed before its records go.
    void removeDeviceRows(int slot);
    // The alarm-state colours changed: every row's colour is announced.
    void coloursChanged();
    // Disabled probes: appended at the end, or every such row removed.
    void showDisabledProbes(bool show);

    const ProbeRecord *probeAt(int row) const { return rows_.value(row); }
    int rowOf(const ProbeRecord *probe) const { return int(rows_.indexOf(probe)); }
    // The column table entry behind a column, and the column of an entry.
    int entryOf(int column) const { return entries_.value(column, -1); }
    int columnOfKind(int kind) const;

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    void removeRowsWhere(const std::function<bool(const ProbeRecord &)> &remove);
    // What a row shows now: its cell texts and, last, its colour's name.
    QStringList shownRow(const ProbeRecord &probe) const;
    void appendRow(const ProbeRecord *probe);

    DeviceStore &store_;
    QList<const ProbeRecord *> rows_;
    QList<QStringList> shown_;   // row -> what was last announced
    QList<int> entries_;   // column -> column table entry
    QList<int> kinds_;     // column -> cell kind (by title)
    QList<QString> titles_;
};

} // namespace cz
