#include "ui/list/TextSortProxy.h"

namespace cz {

// Compares cell texts without regard to case, numbers and dates included.
bool TextSortProxy::lessThan(const QModelIndex &left, const QModelIndex &right) const
{
    return left.data().toString().compare(right.data().toString(), Qt::CaseInsensitive) < 0;
}

} // namespace cz
