// One alarm threshold of a probe: an editable list of the whole degrees of
// the probe's scale (or of percentages) that also takes a value typed with
// one decimal. What is typed is checked as it comes: a character that a
// threshold cannot hold is refused, and a temperature keeps one digit after
// the point.
#pragma once

#include "store/Records.h"

#include <QComboBox>

namespace cz {

class ThresholdEntry final : public QComboBox {
    Q_OBJECT
public:
    explicit ThresholdEntry(QWidget *parent = nullptr);

    // The entries of `type`: whole degrees of `units` for a temperature,
    // 0 to 100 for humidity and wetness. Unchanged when already listed.
    void setScale(ProbeType type, DisplayUnits units);
    // Shows a stored threshold: a whole number as its entry, anything else
    // as "%0.1f", added to the list when it is not there.
    void showValue(double value);
    // Starts over at the scale's zero entry (the units changed).
    void showZero();
    // Takes what the field holds now as if it had just been typed.
    void takeShownText();

signals:
    // The operator typed or chose a value the threshold can hold.
    void valueEdited(double value);
    // The operator is done with the field (it lost the focus, or an entry
    // was chosen): it shows the stored value again.
    void editingDone();

private:
    void typed(const QString &text);
    bool temperature() const { return type_ == ProbeType::Temperature; }

    ProbeType type_ = ProbeType::Temperature;
    int listedUnits_ = -2;  // the units listed; -1 for percentages
    QString accepted_;      // the last text that could be taken
};

} // namespace cz
