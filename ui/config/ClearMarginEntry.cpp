#include "ui/config/ClearMarginEntry.h"

namespace cz {

ClearMarginEntry::ClearMarginEntry(QWidget *parent) : QDoubleSpinBox(parent)
{
    setObjectName(QStringLiteral("clearMargin"));
    setRange(0, 100);
    connect(this, &QDoubleSpinBox::valueChanged, this, [this](double v) {
        if (!showing_)
            emit marginEdited(v);
    });
}

void ClearMarginEntry::showMargin(ProbeType type, double margin)
{
    showing_ = true;
    const bool temperature = type == ProbeType::Temperature;
    setDecimals(temperature ? 2 : 0);
    setSingleStep(temperature ? 0.5 : 1);
    setValue(margin > 0 ? margin : 0);
    showing_ = false;
}

} // namespace cz
