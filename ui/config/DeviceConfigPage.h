// One probe's page of the probe configuration sheet: its name and group,
// type and units, thresholds, e-mail, sounds, log file and notes. Every
// change goes into the sheet's working copy of the probe at once.
#pragma once

#include "ConfigContext.h"

#include <QWidget>

#include <array>

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;

namespace cz {

class YesNoField;
struct DeviceRecord;
struct ProbeRecord;

class CDeviceConfigPage final : public QWidget {
    Q_OBJECT
public:
    CDeviceConfigPage(ConfigContext &context, DeviceRecord &device, int probeIndex, QWidget *parent = nullptr);

    // The page becomes active: the record's template and port are repaired
    // and every control is filled from it.
    void activate();
    // OK: a page whose units changed takes the thresholds its lists show.
    void finish();
    bool wasActivated() const { return activated_; }
    bool modified() const { return modified_; }
    ProbeRecord &probe() const;

    QLineEdit *probeNumber, *groupNumber, *probeName, *groupName;
    YesNoField *enabled;
    std::array<QRadioButton *, 4> typeButtons, unitButtons;
    std::array<QComboBox *, 4> thresholds;
    std::array<QLabel *, 4> unitLabels;
    QComboBox *switchCondition, *consecutive;
    QPushButton *applyThresholds;
    YesNoField *alarmEmail, *cautionEmail, *clearEmail;
    QLineEdit *smtpServer, *smtpPort, *emailFrom, *emailTo, *smtpUser, *smtpPassword, *emailTemplate;
    QPushButton *browseRecipients, *browseTemplate, *testEmail, *customizeSubjects, *applyEmail;
    YesNoField *alarmSound, *cautionSound;
    QLineEdit *alarmSoundFile, *cautionSoundFile;
    QPushButton *browseAlarmSound, *testAlarmSound, *browseCautionSound, *testCautionSound, *applySounds;
    QLineEdit *logFile, *notes;
    QPushButton *browseLog, *moreOptions;

signals:
    // The operator agreed to have readings converted to other units.
    void unitsConfirmed();

private:
    QWidget *buildHeader();
    QWidget *buildTypeAndUnits();
    QWidget *buildThresholds();
    QWidget *buildEmail();
    QWidget *buildSounds();
    QWidget *buildFiles();
    void connectFields();

    void fillThresholdArea();
    void fillThresholdLists();
    void showThreshold(int row);
    void thresholdTyped(int row, const QString &text);
    void thresholdDone(int row);
    void chooseType(int type);
    void chooseUnits(int units);
    QString unitsQuestion(int units) const;
    void updateEmailEnabling();
    void changed();
    void browse(QLineEdit *field, const QString &title, const QString &filter, const QByteArray &folder,
                const QByteArray &file = {});
    void applyToAll(int box);
    void sendTestEmail();
    void customizeSubjectLines();
    void openMoreOptions();

    ConfigContext &context_;
    DeviceRecord &device_;
    int index_;
    bool filling_ = false;
    bool activated_ = false;
    bool modified_ = false;
    bool unitsAnswered_ = false;
    bool unitsChanged_ = false;
    // What the threshold lists hold now: type and units.
    int listedType_ = -1, listedUnits_ = -1;
    std::array<QString, 4> accepted_;
    QList<QWidget *> switchRow_, thresholdRows_;
};

} // namespace cz
