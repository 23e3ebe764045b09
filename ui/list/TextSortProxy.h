// Sorts the probe list's rows by the text of their cells.
#pragma once

#include <QSortFilterProxyModel>

namespace cz {

class TextSortProxy final : public QSortFilterProxyModel {
    Q_OBJECT
public:
    using QSortFilterProxyModel::QSortFilterProxyModel;

protected:
    bool lessThan(const QModelIndex &left, const QModelIndex &right) const override;
};

} // namespace cz
