// "Automatic Configuration Details": what a device told about itself,
// shown for the operator to accept before the device is built. Laid out
// for the model's family: 4 probes, 16 probes, or the combined sensor model
// with its firmware, four groups and probe types.
#pragma once

#include "net/AutoConfiguration.h"

#include <QDialog>

namespace cz {

class AutoConfigDetailsDialog final : public QDialog {
    Q_OBJECT
public:
    AutoConfigDetailsDialog(const QByteArray &address, const FetchedConfiguration &configuration,
                            QWidget *parent = nullptr);
};

} // namespace cz
