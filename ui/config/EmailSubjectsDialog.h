// "Email Subject Lines": a probe's three alert subjects. OK stores what was
// typed in the probe; Cancel leaves it as it was.
#pragma once

#include "store/Records.h"

#include <QDialog>

namespace cz {

class EmailSubjectsDialog final : public QDialog {
    Q_OBJECT
public:
    EmailSubjectsDialog(ProbeRecord &probe, QWidget *parent = nullptr);
    void accept() override;

private:
    ProbeRecord &probe_;
    ProbeRecord edited_;
};

} // namespace cz
