// A probe's clear margin: how far back inside a threshold a reading must
// come before the probe leaves alarm or caution. Hundredths of a degree,
// as the device file keeps it; whole points for humidity and wetness,
// whose readings are whole.
#pragma once

#include "store/Records.h"

#include <QDoubleSpinBox>

namespace cz {

class ClearMarginEntry final : public QDoubleSpinBox {
    Q_OBJECT
public:
    explicit ClearMarginEntry(QWidget *parent = nullptr);
    // Shows a stored margin for a probe of `type` (no signal).
    void showMargin(ProbeType type, double margin);

signals:
    // The operator changed the margin.
    void marginEdited(double margin);

private:
    bool showing_ = false;
};

} // namespace cz
