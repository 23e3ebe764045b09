// The probe list: sorted as text through a proxy, columns hidden and shown
// from the header's menu (remembered in the column table), Ctrl with the
// keypad plus fitting every column to its contents.
#pragma once

#include "ui/list/TextSortProxy.h"

#include <QTableView>

namespace cz {

class DeviceStore;
class ProbeTableModel;


class ProbeListView final : public QTableView {
    Q_OBJECT
public:
    ProbeListView(DeviceStore &store, ProbeTableModel &model, QWidget *parent = nullptr);

    // Columns sized to their titles (plus 16), stored in the column table.
    void setUpColumns();
    // By probe number, then by device name.
    void sortInitially();
    void hideColumn(int column);
    void showColumn(int column);
    bool columnHidden(int column) const;
    // The probes of the selected rows, and the last row clicked.
    QList<const struct ProbeRecord *> selectedProbes() const;
    TextSortProxy &proxy() { return proxy_; }

signals:
    // A row was activated (double-click or Enter): its probe.
    void probeActivated(const struct ProbeRecord *probe);

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void headerMenu(const QPoint &at);
    void sortByColumn(int column);
    int entryForColumn(int column) const;

    DeviceStore &store_;
    ProbeTableModel &model_;
    TextSortProxy proxy_;
    QList<int> homePosition_; // visual position a hidden column came from
};

} // namespace cz
