// One probe's page of the probe configuration sheet: its name and group,
// type and units, thresholds, e-mail, sounds, log file and notes. Every
// edit goes into the sheet's copy of the probe at once.
#pragma once

#include "store/Records.h"
#include "ui/widgets/FieldBinding.h"

#include <QWidget>

#include <array>

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;

namespace cz {

class ClearMarginEntry;
class ProbeEmailSettings;
class ThresholdEntry;
struct WindowContext;

class ProbeSettingsPage final : public QWidget {
    Q_OBJECT
public:
    ProbeSettingsPage(WindowContext &context, DeviceRecord &device, int probeIndex, QWidget *parent = nullptr);

    // The page becomes active: the record's template and port are repaired
    // and every control is filled from it.
    void activate();
    // OK: a page whose units changed takes the thresholds its lists show.
    void finish();
    bool wasActivated() const { return activated_; }
    // Something on the page (or in a dialog it opened) was changed.
    bool modified() const { return modified_; }
    const ProbeRecord &probe() const;

signals:
    // The operator agreed to have readings converted to other units.
    void unitsConfirmed();

private:
    ProbeRecord &editedProbe();
    // Each area's controls are added to `tabOrder` in the order Tab takes.
    QWidget *buildHeader(QList<QWidget *> &tabOrder);
    QWidget *buildTypeAndUnits(QList<QWidget *> &tabOrder);
    QWidget *buildThresholds(QList<QWidget *> &tabOrder);
    QWidget *buildSounds(QList<QWidget *> &tabOrder);
    QWidget *buildFiles(QList<QWidget *> &tabOrder);

    void edited(const char *key);
    void fillThresholdArea();
    void showUnits(const QString &unit);
    void thresholdEdited(int row, double value);
    void chooseType(int type);
    void chooseUnits(int units);
    QString unitsQuestion(int units) const;
    void browse(QLineEdit *field, const QString &title, const QString &filter, const QByteArray &folder,
                const QByteArray &file = {});
    void applyToAll(int group);
    void openMoreOptions();

    WindowContext &context_;
    DeviceRecord &device_;
    int index_;
    FieldBinding<ProbeRecord> fields_;
    bool activated_ = false;
    bool modified_ = false;
    bool unitsAnswered_ = false;
    bool unitsChanged_ = false;

    QLineEdit *probeNumber_, *groupNumber_;
    std::array<QRadioButton *, 4> typeButtons_{}, unitButtons_{};
    std::array<ThresholdEntry *, 4> thresholds_{};
    std::array<QLabel *, 4> unitLabels_{};
    ClearMarginEntry *clearMargin_ = nullptr;
    QLabel *marginUnit_ = nullptr;
    QList<QWidget *> switchRow_, thresholdRows_;
    ProbeEmailSettings *email_ = nullptr;
};

} // namespace cz
