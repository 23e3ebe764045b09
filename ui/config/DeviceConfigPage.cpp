#include "DeviceConfigPage.h"

#include "AlertOptionsDlg.h"
#include "DeviceCfgEmailDlg.h"
#include "DeviceStore.h"
#include "EmailSubjectDlg.h"
#include "EmailTest.h"
#include "FileChooser.h"
#include "FormWidgets.h"
#include "Prompter.h"
#include "SoundPlayer.h"

#include <QButtonGroup>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include <cmath>
#include <cstdlib>

namespace cz {

namespace {

constexpr const char *kUnitLabels[4] = {"deg. F", "deg. C", "deg. K", "deg. R"};
constexpr const char *kThresholdLabels[4] = {"High Alarm Threshold:", "High Caution Threshold:",
                                              "Low Caution Threshold:", "Low Alarm Threshold:"};
// Whole degrees each unit's lists offer; Rankine shares Kelvin's.
constexpr int kLowerBound[4] = {-139, -95, 178, 178};
constexpr int kUpperBound[4] = {572, 300, 573, 573};
constexpr int kPercentEntries = 101;
constexpr int kConsecutiveEntries = 10;

constexpr double ProbeRecord::*kTemperature[4] = {&ProbeRecord::HighAlarmTemp, &ProbeRecord::HighCautionTemp,
                                                  &ProbeRecord::LowCautionTemp, &ProbeRecord::LowAlarmTemp};
constexpr std::int32_t ProbeRecord::*kHumidity[4] = {&ProbeRecord::HighAlarmHumidity,
                                                     &ProbeRecord::HighCautionHumidity,
                                                     &ProbeRecord::LowCautionHumidity, &ProbeRecord::LowAlarmHumidity};
constexpr std::int32_t ProbeRecord::*kWetness[4] = {&ProbeRecord::HighAlarmWetness, &ProbeRecord::HighCautionWetness,
                                                    &ProbeRecord::LowCautionWetness, &ProbeRecord::LowAlarmWetness};

int typeIndex(const ProbeRecord &p)
{
    const int t = int(p.ProbeType);
    return t >= 0 && t < 4 ? t : 0;
}

int unitsIndex(DisplayUnits u)
{
    const int i = int(u);
    return i >= 0 && i < 4 ? i : 0;
}

std::int32_t ProbeRecord::*percentField(const ProbeRecord &p, int row)
{
    return p.ProbeType == ProbeType::Wetness ? kWetness[row] : kHumidity[row];
}

bool onlyCharacters(const QString &text, QLatin1String allowed)
{
    for (QChar c : text)
        if (!QString(allowed).contains(c))
            return false;
    return true;
}

// "%0.1f", and whether it stands for a whole number.
QString temperatureText(double value, bool *whole)
{
    const QString text = QString::asprintf("%0.1f", value);
    *whole = text.endsWith(QLatin1String(".0"));
    return text;
}

QComboBox *listBox(QWidget *parent, bool editable)
{
    auto *box = new QComboBox(parent);
    box->setEditable(editable);
    if (editable) {
        box->setInsertPolicy(QComboBox::NoInsert);
        // Typed digits stay as typed: completing "-" to "-139" would store it.
        box->setCompleter(nullptr);
        box->setMaxVisibleItems(16);
    }
    return box;
}

} // namespace

CDeviceConfigPage::CDeviceConfigPage(ConfigContext &context, DeviceRecord &device, int probeIndex, QWidget *parent)
    : QWidget(parent), context_(context), device_(device), index_(probeIndex)
{
    auto *columns = new QHBoxLayout;
    auto *left = new QVBoxLayout;
    left->addWidget(buildHeader());
    left->addWidget(buildTypeAndUnits());
    left->addWidget(buildThresholds());
    left->addStretch(1);
    auto *right = new QVBoxLayout;
    right->addWidget(buildEmail());
    right->addWidget(buildSounds());
    right->addStretch(1);
    columns->addLayout(left, 1);
    columns->addLayout(right, 1);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(columns);
    layout->addWidget(buildFiles());

    QList<QWidget *> order{enabled->yesButton(), enabled->noButton(), probeName, groupName};
    for (QRadioButton *b : typeButtons)
        order << b;
    for (QRadioButton *b : unitButtons)
        order << b;
    for (QComboBox *c : thresholds)
        order << c;
    order << switchCondition << consecutive << applyThresholds;
    for (YesNoField *f : {alarmEmail, cautionEmail, clearEmail})
        order << f->yesButton() << f->noButton();
    order << smtpServer << smtpPort << emailFrom << emailTo << browseRecipients << smtpUser << smtpPassword
          << emailTemplate << browseTemplate << testEmail << customizeSubjects << applyEmail;
    order << alarmSound->yesButton() << alarmSound->noButton() << alarmSoundFile << browseAlarmSound
          << testAlarmSound << cautionSound->yesButton() << cautionSound->noButton() << cautionSoundFile
          << browseCautionSound << testCautionSound << applySounds << logFile << browseLog << notes << moreOptions;
    chainTabOrder(order);
    connectFields();
}

ProbeRecord &CDeviceConfigPage::probe() const
{
    return *device_.probe(index_);
}

QWidget *CDeviceConfigPage::buildHeader()
{
    auto *box = new QWidget(this);
    auto *grid = new QGridLayout(box);
    grid->setContentsMargins(0, 0, 0, 0);
    probeNumber = new QLineEdit(box);
    groupNumber = new QLineEdit(box);
    for (QLineEdit *e : {probeNumber, groupNumber}) {
        e->setReadOnly(true);
        e->setFocusPolicy(Qt::NoFocus);
        e->setMaximumWidth(60);
    }
    grid->addWidget(buddyLabel(QStringLiteral("Probe Number:"), probeNumber, box), 0, 0);
    grid->addWidget(probeNumber, 0, 1);
    grid->addWidget(buddyLabel(QStringLiteral("Group Number:"), groupNumber, box), 0, 2);
    grid->addWidget(groupNumber, 0, 3);
    enabled = new YesNoField(QStringLiteral("Probe Enabled:"), box);
    grid->addWidget(buddyLabel(QStringLiteral("Probe Enabled:"), enabled->yesButton(), box), 1, 0);
    grid->addWidget(enabled, 1, 1, 1, 3);
    probeName = textField(261, box);
    groupName = textField(261, box);
    grid->addWidget(buddyLabel(QStringLiteral("Probe Name:"), probeName, box), 2, 0);
    grid->addWidget(probeName, 2, 1, 1, 3);
    grid->addWidget(buddyLabel(QStringLiteral("Group Name:"), groupName, box), 3, 0);
    grid->addWidget(groupName, 3, 1, 1, 3);
    grid->setColumnStretch(3, 1);
    return box;
}

QWidget *CDeviceConfigPage::buildTypeAndUnits()
{
    auto *row = new QWidget(this);
    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    auto radios = [&](const QString &title, auto names, std::array<QRadioButton *, 4> &buttons) {
        auto *box = new QGroupBox(title, row);
        auto *grid = new QGridLayout(box);
        auto *group = new QButtonGroup(box);
        for (int i = 0; i < 4; ++i) {
            buttons[std::size_t(i)] = new QRadioButton(QString::fromLatin1(names(i)), box);
            group->addButton(buttons[std::size_t(i)], i);
            grid->addWidget(buttons[std::size_t(i)], i / 2, i % 2);
        }
        layout->addWidget(box);
        return group;
    };
    QButtonGroup *types = radios(QStringLiteral("Probe Type"),
                                 [](int i) { return probeTypeText(static_cast<ProbeType>(i)); }, typeButtons);
    QButtonGroup *units = radios(QStringLiteral("Display Units"),
                                 [](int i) { return unitName(static_cast<DisplayUnits>(i)); }, unitButtons);
    connect(types, &QButtonGroup::idClicked, this, &CDeviceConfigPage::chooseType);
    connect(units, &QButtonGroup::idClicked, this, &CDeviceConfigPage::chooseUnits);
    return row;
}

QWidget *CDeviceConfigPage::buildThresholds()
{
    auto *box = new QGroupBox(QStringLiteral("Alarm Thresholds"), this);
    auto *grid = new QGridLayout(box);
    for (int row = 0; row < 4; ++row) {
        QComboBox *list = listBox(box, true);
        list->setMinimumContentsLength(8);
        thresholds[std::size_t(row)] = list;
        unitLabels[std::size_t(row)] = new QLabel(box);
        unitLabels[std::size_t(row)]->setMinimumWidth(50);
        QLabel *label = buddyLabel(QString::fromLatin1(kThresholdLabels[row]), list, box);
        grid->addWidget(label, row, 0);
        grid->addWidget(list, row, 1);
        grid->addWidget(unitLabels[std::size_t(row)], row, 2);
        thresholdRows_ << label << list << unitLabels[std::size_t(row)];
    }
    switchCondition = listBox(box, false);
    switchCondition->addItems({QStringLiteral("Never alarm"), QStringLiteral("Alarm on open"),
                               QStringLiteral("Alarm on close")});
    QLabel *switchLabel = buddyLabel(QStringLiteral("Switch alarm condition:"), switchCondition, box);
    grid->addWidget(switchLabel, 4, 0);
    grid->addWidget(switchCondition, 4, 1);
    switchRow_ << switchLabel << switchCondition;
    consecutive = listBox(box, false);
    for (int i = 1; i <= kConsecutiveEntries; ++i)
        consecutive->addItem(QString::number(i));
    grid->addWidget(buddyLabel(QStringLiteral("Consecutive alarm threshold:"), consecutive, box), 5, 0);
    grid->addWidget(consecutive, 5, 1);
    grid->addWidget(new QLabel(QStringLiteral("alarms"), box), 5, 2);
    applyThresholds = plainButton(QStringLiteral("Apply to all probes of this type on this device"), box);
    grid->addWidget(applyThresholds, 6, 0, 1, 3);
    grid->setColumnStretch(2, 1);
    return box;
}

QWidget *CDeviceConfigPage::buildEmail()
{
    auto *box = new QGroupBox(QStringLiteral("Email"), this);
    auto *grid = new QGridLayout(box);
    int row = 0;
    auto question = [&](YesNoField *&field, const char *text) {
        field = new YesNoField(QString::fromLatin1(text), box);
        grid->addWidget(buddyLabel(QString::fromLatin1(text), field->yesButton(), box), row, 0);
        grid->addWidget(field, row++, 1, 1, 2);
    };
    question(alarmEmail, "Send email message on alarm:");
    question(cautionEmail, "Send email message on caution:");
    question(clearEmail, "Send email message on clear:");
    smtpServer = textField(261, box);
    smtpPort = numberField(5, box);
    smtpPort->setMaximumWidth(70);
    auto *serverRow = new QHBoxLayout;
    serverRow->addWidget(smtpServer, 1);
    serverRow->addWidget(buddyLabel(QStringLiteral("Port:"), smtpPort, box));
    serverRow->addWidget(smtpPort);
    grid->addWidget(buddyLabel(QStringLiteral("SMTP Server:"), smtpServer, box), row, 0);
    grid->addLayout(serverRow, row++, 1, 1, 2);
    emailFrom = textField(257, box);
    addRow(grid, row++, QStringLiteral("Email From Address:"), emailFrom);
    emailTo = textField(261, box);
    browseRecipients = plainButton(QStringLiteral("Browse"), box);
    addRow(grid, row++, QStringLiteral("Email To Address (or list):"), emailTo, {browseRecipients});
    smtpUser = textField(257, box);
    addRow(grid, row++, QStringLiteral("SMTP Server User Name:"), smtpUser);
    smtpPassword = textField(257, box, QLineEdit::Password);
    addRow(grid, row++, QStringLiteral("SMTP Server Password:"), smtpPassword);
    emailTemplate = textField(261, box);
    browseTemplate = plainButton(QStringLiteral("Browse"), box);
    addRow(grid, row++, QStringLiteral("Email Body Template:"), emailTemplate, {browseTemplate});
    testEmail = plainButton(QStringLiteral("Send Test Email Message"), box);
    customizeSubjects = plainButton(QStringLiteral("Customize Subject Lines"), box);
    applyEmail = plainButton(QStringLiteral("Apply to all probes on this device"), box);
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(testEmail);
    buttons->addWidget(customizeSubjects);
    grid->addLayout(buttons, row++, 0, 1, 3);
    grid->addWidget(applyEmail, row++, 0, 1, 3);
    grid->setColumnStretch(1, 1);
    return box;
}

QWidget *CDeviceConfigPage::buildSounds()
{
    auto *box = new QGroupBox(QStringLiteral("Sounds"), this);
    auto *grid = new QGridLayout(box);
    alarmSound = new YesNoField(QStringLiteral("Sound on alarm:"), box);
    grid->addWidget(buddyLabel(QStringLiteral("Sound on alarm:"), alarmSound->yesButton(), box), 0, 0);
    grid->addWidget(alarmSound, 0, 1, 1, 3);
    alarmSoundFile = textField(261, box);
    browseAlarmSound = plainButton(QStringLiteral("Browse"), box);
    testAlarmSound = plainButton(QStringLiteral("Test"), box);
    addRow(grid, 1, QStringLiteral("Alarm sound:"), alarmSoundFile, {browseAlarmSound, testAlarmSound});
    cautionSound = new YesNoField(QStringLiteral("Sound on caution:"), box);
    grid->addWidget(buddyLabel(QStringLiteral("Sound on caution:"), cautionSound->yesButton(), box), 2, 0);
    grid->addWidget(cautionSound, 2, 1, 1, 3);
    cautionSoundFile = textField(261, box);
    browseCautionSound = plainButton(QStringLiteral("Browse"), box);
    testCautionSound = plainButton(QStringLiteral("Test"), box);
    addRow(grid, 3, QStringLiteral("Caution sound: "), cautionSoundFile, {browseCautionSound, testCautionSound});
    applySounds = plainButton(QStringLiteral("Apply to all probes on this device"), box);
    grid->addWidget(applySounds, 4, 0, 1, 4);
    grid->setColumnStretch(1, 1);
    return box;
}

QWidget *CDeviceConfigPage::buildFiles()
{
    auto *box = new QWidget(this);
    auto *grid = new QGridLayout(box);
    grid->setContentsMargins(0, 0, 0, 0);
    logFile = textField(261, box);
    browseLog = plainButton(QStringLiteral("Browse"), box);
    addRow(grid, 0, QStringLiteral("Log File:"), logFile, {browseLog});
    notes = textField(1025, box);
    addRow(grid, 1, QStringLiteral("Notes:"), notes);
    moreOptions = plainButton(QStringLiteral("More Options..."), box);
    auto *more = new QHBoxLayout;
    more->addStretch(1);
    more->addWidget(moreOptions);
    grid->addLayout(more, 2, 0, 1, 3);
    grid->setColumnStretch(1, 1);
    return box;
}

void CDeviceConfigPage::connectFields()
{
    // A text field stores what it shows into the probe at every change.
    auto bindText = [this](QLineEdit *edit, auto field) {
        connect(edit, &QLineEdit::textChanged, this, [this, field](const QString &text) {
            if (filling_)
                return;
            probe().*field = text;
            changed();
        });
    };
    bindText(probeName, &ProbeRecord::ProbeName);
    bindText(groupName, &ProbeRecord::GroupName);
    bindText(smtpServer, &ProbeRecord::SMTPServer);
    bindText(emailFrom, &ProbeRecord::EmailFrom);
    bindText(emailTo, &ProbeRecord::EmailTo);
    bindText(smtpUser, &ProbeRecord::EmailSMTPUser);
    bindText(smtpPassword, &ProbeRecord::EmailSMTPPass);
    bindText(emailTemplate, &ProbeRecord::EmailTemplate);
    bindText(alarmSoundFile, &ProbeRecord::AlarmSoundFile);
    bindText(cautionSoundFile, &ProbeRecord::CautionSoundFile);
    bindText(logFile, &ProbeRecord::LogFile);
    bindText(notes, &ProbeRecord::Notes);
    // The data file follows the probe name, as it does when the device is
    // next read.
    connect(probeName, &QLineEdit::textChanged, this, [this] {
        if (filling_)
            return;
        ProbeRecord &p = probe();
        p.DataLogFile = probeFilePath(context_.store.folder().data(), device_.DeviceName.bytes(), p.ProbeNumber,
                                      p.ProbeName.bytes(), "csv");
    });
    connect(smtpPort, &QLineEdit::textChanged, this, [this](const QString &text) {
        if (filling_)
            return;
        probe().SMTPPort = text.toInt();
        changed();
    });
    auto bindFlag = [this](YesNoField *f, std::int32_t ProbeRecord::*field) {
        connect(f, &YesNoField::changed, this, [this, field](bool yes) {
            probe().*field = yes ? 1 : 0;
            updateEmailEnabling();
            changed();
        });
    };
    bindFlag(enabled, &ProbeRecord::ProbeEnabled);
    bindFlag(alarmEmail, &ProbeRecord::SendAlarmEmail);
    bindFlag(cautionEmail, &ProbeRecord::SendCautionEmail);
    bindFlag(clearEmail, &ProbeRecord::SendClearEmail);
    bindFlag(alarmSound, &ProbeRecord::AlarmSound);
    bindFlag(cautionSound, &ProbeRecord::CautionSound);

    for (int row = 0; row < 4; ++row) {
        QComboBox *list = thresholds[std::size_t(row)];
        connect(list, &QComboBox::editTextChanged, this, [this, row](const QString &t) { thresholdTyped(row, t); });
        connect(list->lineEdit(), &QLineEdit::editingFinished, this, [this, row] { thresholdDone(row); });
        connect(list, &QComboBox::activated, this, [this, row] { thresholdDone(row); });
    }
    connect(switchCondition, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (filling_ || index < 0)
            return;
        probe().SwitchAlarmCondition = static_cast<SwitchAlarmCondition>(index);
        changed();
    });
    connect(consecutive, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (filling_ || index < 0)
            return;
        probe().ConsecutiveAlarmThreshold = index + 1;
        changed();
    });

    const QByteArray sounds = context_.store.folder().sounds();
    connect(browseRecipients, &QPushButton::clicked, this, [this] {
        browse(emailTo, QStringLiteral("Email Distribution List Selector"), QStringLiteral("Text Files (*.txt)"), {});
    });
    connect(browseTemplate, &QPushButton::clicked, this, [this] {
        browse(emailTemplate, QStringLiteral("Email Body Text Template Selector"),
               QStringLiteral("Text Files (*.txt)"), {});
    });
    connect(browseAlarmSound, &QPushButton::clicked, this, [this, sounds] {
        browse(alarmSoundFile, QStringLiteral("Alarm Sound File Selector"), QStringLiteral("Wave Files (*.wav)"),
               sounds, sounds + "/Alarm.wav");
    });
    connect(browseCautionSound, &QPushButton::clicked, this, [this, sounds] {
        browse(cautionSoundFile, QStringLiteral("Caution Sound File Selector"), QStringLiteral("Wave Files (*.wav)"),
               sounds);
    });
    connect(browseLog, &QPushButton::clicked, this, [this] {
        browse(logFile, QStringLiteral("Probe Data Log File Selector"), QStringLiteral("Log Files (*.log)"),
               context_.store.folder().logs());
    });
    connect(testAlarmSound, &QPushButton::clicked, this,
            [this] { context_.sound.play(alarmSoundFile->text().toUtf8()); });
    connect(testCautionSound, &QPushButton::clicked, this,
            [this] { context_.sound.play(cautionSoundFile->text().toUtf8()); });
    connect(applyThresholds, &QPushButton::clicked, this, [this] { applyToAll(0); });
    connect(applyEmail, &QPushButton::clicked, this, [this] { applyToAll(1); });
    connect(applySounds, &QPushButton::clicked, this, [this] { applyToAll(2); });
    connect(testEmail, &QPushButton::clicked, this, &CDeviceConfigPage::sendTestEmail);
    connect(customizeSubjects, &QPushButton::clicked, this, &CDeviceConfigPage::customizeSubjectLines);
    connect(moreOptions, &QPushButton::clicked, this, &CDeviceConfigPage::openMoreOptions);
}

void CDeviceConfigPage::activate()
{
    ProbeRecord &p = probe();
    if (p.EmailTemplate.empty())
        p.EmailTemplate = context_.store.folder().defaultEmailTemplate();
    if (p.SMTPPort < 1)
        p.SMTPPort = 25;
    activated_ = true;
    filling_ = true;
    probeNumber->setText(QString::number(p.ProbeNumber));
    groupNumber->setText(QString::number(p.GroupNumber));
    enabled->setValue(p.ProbeEnabled != 0);
    probeName->setText(p.ProbeName.str());
    groupName->setText(p.GroupName.str());
    typeButtons[std::size_t(typeIndex(p))]->setChecked(true);
    unitButtons[std::size_t(unitsIndex(p.DisplayUnits))]->setChecked(true);
    alarmEmail->setValue(p.SendAlarmEmail != 0);
    cautionEmail->setValue(p.SendCautionEmail != 0);
    clearEmail->setValue(p.SendClearEmail != 0);
    smtpServer->setText(p.SMTPServer.str());
    smtpPort->setText(QString::number(p.SMTPPort));
    emailFrom->setText(p.EmailFrom.str());
    emailTo->setText(p.EmailTo.str());
    smtpUser->setText(p.EmailSMTPUser.str());
    smtpPassword->setText(p.EmailSMTPPass.str());
    emailTemplate->setText(p.EmailTemplate.str());
    alarmSound->setValue(p.AlarmSound != 0);
    alarmSoundFile->setText(p.AlarmSoundFile.str());
    cautionSound->setValue(p.CautionSound != 0);
    cautionSoundFile->setText(p.CautionSoundFile.str());
    logFile->setText(p.LogFile.str());
    notes->setText(p.Notes.str());
    consecutive->setCurrentIndex(qBound(0, p.ConsecutiveAlarmThreshold - 1, kConsecutiveEntries - 1));
    const int condition = int(p.SwitchAlarmCondition);
    switchCondition->setCurrentIndex(condition >= 0 && condition < 3 ? condition : 0);
    fillThresholdArea();
    filling_ = false;
    updateEmailEnabling();
}

void CDeviceConfigPage::fillThresholdArea()
{
    const ProbeRecord &p = probe();
    const bool isSwitch = p.ProbeType == ProbeType::Switch;
    for (QWidget *w : std::as_const(thresholdRows_))
        w->setVisible(!isSwitch);
    for (QWidget *w : std::as_const(switchRow_))
        w->setVisible(isSwitch);
    const bool temperature = p.ProbeType == ProbeType::Temperature;
    for (QRadioButton *b : unitButtons)
        b->setEnabled(temperature);
    QString unit;
    if (temperature)
        unit = QString::fromLatin1(kUnitLabels[unitsIndex(p.DisplayUnits)]);
    else if (p.ProbeType == ProbeType::Humidity)
        unit = QStringLiteral("% RH");
    else if (p.ProbeType == ProbeType::Wetness)
        unit = QStringLiteral("%");
    for (QLabel *l : unitLabels)
        l->setText(unit);
    if (isSwitch)
        return;
    fillThresholdLists();
    for (int row = 0; row < 4; ++row)
        showThreshold(row);
}

void CDeviceConfigPage::fillThresholdLists()
{
    const ProbeRecord &p = probe();
    const int type = typeIndex(p);
    const int units = type == 0 ? unitsIndex(p.DisplayUnits) : -1;
    // Humidity and wetness share one list of percentages.
    const int listType = type == 0 ? 0 : 1;
    if (listType == listedType_ && units == listedUnits_)
        return;
    listedType_ = listType;
    listedUnits_ = units;
    QStringList entries;
    if (type == 0) {
        for (int v = kLowerBound[units]; v <= kUpperBound[units]; ++v)
            entries << QString::number(v);
    } else {
        for (int v = 0; v < kPercentEntries; ++v)
            entries << QString::number(v);
    }
    for (QComboBox *list : thresholds) {
        const QSignalBlocker block(list);
        list->clear();
        list->addItems(entries);
    }
}

// Shows the stored threshold: a whole number as its list entry, anything
// else as "%0.1f", added to the list when it is not there.
void CDeviceConfigPage::showThreshold(int row)
{
    const ProbeRecord &p = probe();
    QComboBox *list = thresholds[std::size_t(row)];
    const QSignalBlocker block(list);
    QString text;
    if (p.ProbeType == ProbeType::Temperature) {
        bool whole = false;
        text = temperatureText(p.*kTemperature[row], &whole);
        if (whole)
            text.chop(2);
    } else {
        const int value = p.*percentField(p, row);
        text = QString::number(value);
        if (value >= 0 && value < list->count()) {
            list->setCurrentIndex(value);
            accepted_[std::size_t(row)] = list->currentText();
            return;
        }
    }
    int at = list->findText(text, Qt::MatchExactly);
    if (at < 0) {
        list->addItem(text);
        at = list->count() - 1;
    }
    list->setCurrentIndex(at);
    accepted_[std::size_t(row)] = text;
}

void CDeviceConfigPage::thresholdTyped(int row, const QString &typed)
{
    if (filling_)
        return;
    ProbeRecord &p = probe();
    if (p.ProbeType == ProbeType::Switch)
        return;
    QComboBox *list = thresholds[std::size_t(row)];
    QString text = typed;
    const bool temperature = p.ProbeType == ProbeType::Temperature;
    const auto revert = [&] {
        const QSignalBlocker block(list);
        const int cursor = list->lineEdit()->cursorPosition();
        list->setEditText(accepted_[std::size_t(row)]);
        list->lineEdit()->setCursorPosition(qMin(cursor, int(accepted_[std::size_t(row)].size())));
    };
    if (!onlyCharacters(text, temperature ? QLatin1String("-0123456789.") : QLatin1String("0123456789"))) {
        revert();
        return;
    }
    // One digit after the point; three digits for a percentage.
    const qsizetype point = text.indexOf(QLatin1Char('.'));
    const qsizetype keep = temperature ? (point >= 0 ? point + 2 : text.size()) : 3;
    if (text.size() > keep) {
        text.truncate(keep);
        const QSignalBlocker block(list);
        list->setEditText(text);
    }
    accepted_[std::size_t(row)] = text;
    if (text.isEmpty() || (text.contains(QLatin1Char('-')) && text.size() < 2))
        return;
    if (temperature)
        p.*kTemperature[row] = std::strtod(text.toLatin1().constData(), nullptr);
    else
        p.*percentField(p, row) = text.toInt();
    changed();
}

void CDeviceConfigPage::thresholdDone(int row)
{
    if (filling_ || probe().ProbeType == ProbeType::Switch)
        return;
    showThreshold(row);
    thresholds[std::size_t(row)]->lineEdit()->selectAll();
}

void CDeviceConfigPage::finish()
{
    if (!unitsChanged_)
        return;
    for (int row = 0; row < 4; ++row)
        thresholdTyped(row, thresholds[std::size_t(row)]->currentText());
}

void CDeviceConfigPage::chooseType(int type)
{
    ProbeRecord &p = probe();
    if (type == typeIndex(p))
        return;
    p.ProbeType = static_cast<ProbeType>(type);
    filling_ = true;
    fillThresholdArea();
    filling_ = false;
    changed();
}

QString CDeviceConfigPage::unitsQuestion(int units) const
{
    const int reported = unitsIndex(device_.DisplayUnits);
    if (reported != int(DisplayUnits::F)) {
        return QStringLiteral("This device is configured to report its display units\nas type \"%1\" (%2 scale). "
                              "Corvanta Zephtra can convert\nfrom that scale to Fahrenheit, but the display will\n"
                              "differ from the default web page values that are\ndisplayed when the device is "
                              "queried with a web browser.\n\nPress \"Yes\" If you want Corvanta Zephtra to convert "
                              "the values.")
            .arg(QString(QLatin1Char(unitLetter(device_.DisplayUnits))), QString::fromLatin1(unitName(device_.DisplayUnits)));
    }
    if (units == int(DisplayUnits::F))
        return {};
    return QStringLiteral("This device reports its display units as type \"F\" (Fahrenheit scale).\nCorvanta can "
                          "convert from that scale to Kelvin, but the display will\ndiffer from the default web page "
                          "values that are displayed when the\ndevice is queried with a web browser.\n\nIf you want "
                          "Corvanta Zephtra to convert the values, press the \"Yes\" button.");
}

void CDeviceConfigPage::chooseUnits(int units)
{
    ProbeRecord &p = probe();
    const int current = unitsIndex(p.DisplayUnits);
    if (units == current)
        return;
    if (!unitsAnswered_) {
        const QString question = unitsQuestion(units);
        if (!question.isEmpty()) {
            if (!context_.prompter.ask(this, question)) {
                unitButtons[std::size_t(current)]->setChecked(true);
                return;
            }
            unitsAnswered_ = true;
            emit unitsConfirmed();
        }
    }
    p.DisplayUnits = static_cast<DisplayUnits>(units);
    for (QLabel *l : unitLabels)
        l->setText(QString::fromLatin1(kUnitLabels[units]));
    // The lists start over at the unit's zero entry; the thresholds are
    // taken from them when the sheet is closed with OK.
    fillThresholdLists();
    const int zero = std::abs(kLowerBound[units]);
    for (int row = 0; row < 4; ++row) {
        QComboBox *list = thresholds[std::size_t(row)];
        const QSignalBlocker block(list);
        list->setCurrentIndex(zero);
        accepted_[std::size_t(row)] = list->currentText();
    }
    unitsChanged_ = true;
    changed();
}

void CDeviceConfigPage::updateEmailEnabling()
{
    const bool on = alarmEmail->value() || cautionEmail->value() || clearEmail->value();
    for (QWidget *w : std::initializer_list<QWidget *>{emailTo, emailFrom, smtpServer, smtpPort, smtpUser,
                                                       smtpPassword, emailTemplate, browseRecipients, browseTemplate,
                                                       testEmail, customizeSubjects})
        w->setEnabled(on);
}

void CDeviceConfigPage::changed()
{
    if (!filling_)
        modified_ = true;
}

void CDeviceConfigPage::browse(QLineEdit *field, const QString &title, const QString &filter,
                               const QByteArray &folder, const QByteArray &file)
{
    const QString chosen =
        context_.files.openFile(this, {title, {filter}, QString::fromUtf8(folder), QString::fromUtf8(file), false, {}});
    if (!chosen.isEmpty())
        field->setText(chosen);
}

void CDeviceConfigPage::applyToAll(int box)
{
    const ProbeRecord &from = probe();
    const QString question =
        box == 0 ? QStringLiteral("This will change all of the parameters enclosed in the\n\"%1\" box for all %2 "
                                  "probes\n(on this device) to the values displayed on this page.\n\nAre you sure?")
                       .arg(QStringLiteral("Alarm Thresholds"), QString::fromLatin1(probeTypeText(from.ProbeType)))
                 : QStringLiteral("This will change all of the parameters enclosed in the\n\"%1\" box for all "
                                  "probes\n(on this device) to the values displayed on this page.\n\nAre you sure?")
                       .arg(box == 1 ? QStringLiteral("Email") : QStringLiteral("Sounds"));
    if (!context_.prompter.ask(this, question))
        return;
    for (int i = 0; i < device_.probeSlots(); ++i) {
        ProbeRecord *to = device_.probe(i);
        if (!to || i == index_)
            continue;
        if (box == 0) {
            if (to->ProbeType != from.ProbeType)
                continue;
            for (int row = 0; row < 4; ++row) {
                to->*kTemperature[row] = from.*kTemperature[row];
                to->*kHumidity[row] = from.*kHumidity[row];
                to->*kWetness[row] = from.*kWetness[row];
            }
            to->SwitchAlarmCondition = from.SwitchAlarmCondition;
            to->ConsecutiveAlarmThreshold = from.ConsecutiveAlarmThreshold;
        } else if (box == 1) {
            to->SendAlarmEmail = from.SendAlarmEmail;
            to->SendCautionEmail = from.SendCautionEmail;
            to->SendClearEmail = from.SendClearEmail;
            to->SMTPServer = from.SMTPServer;
            to->SMTPPort = from.SMTPPort;
            to->EmailFrom = from.EmailFrom;
            to->EmailTo = from.EmailTo;
            to->EmailSMTPUser = from.EmailSMTPUser;
            to->EmailSMTPPass = from.EmailSMTPPass;
            to->EmailTemplate = from.EmailTemplate;
            to->EmailAlarmSubject = from.EmailAlarmSubject;
            to->EmailCautionSubject = from.EmailCautionSubject;
            to->EmailClearedSubject = from.EmailClearedSubject;
        } else {
            to->AlarmSound = from.AlarmSound;
            to->AlarmSoundFile = from.AlarmSoundFile;
            to->CautionSound = from.CautionSound;
            to->CautionSoundFile = from.CautionSoundFile;
        }
    }
    modified_ = true;
}

void CDeviceConfigPage::sendTestEmail()
{
    const ProbeRecord &p = probe();
    EmailTestFields f = mailConnectionFields(smtpServer, smtpPort, smtpUser, smtpPassword, emailTo, emailFrom);
    f.templatePath = emailTemplate->text().toUtf8();
    f.probeName = probeName->text().toUtf8();
    f.groupName = groupName->text().toUtf8();
    f.probeNumber = p.ProbeNumber;
    f.consecutiveIndex = consecutive->currentIndex();
    RunProbeEmailTest(emailTestContext(context_, this), f, device_.DeviceName.bytes(), subjectTemplate(p),
                      context_.mail);
}

void CDeviceConfigPage::customizeSubjectLines()
{
    ProbeRecord &p = probe();
    CEmailSubjectDlg dialog(p.EmailAlarmSubject.str(), p.EmailCautionSubject.str(), p.EmailClearedSubject.str(),
                            this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    p.EmailAlarmSubject = dialog.alarmSubject->text();
    p.EmailCautionSubject = dialog.cautionSubject->text();
    p.EmailClearedSubject = dialog.clearedSubject->text();
    modified_ = true;
}

void CDeviceConfigPage::openMoreOptions()
{
    CAlertOptionsDlg dialog(probe(), device_.EnableDialer != 0, context_.files, this);
    if (dialog.exec() == QDialog::Accepted)
        modified_ = true;
}

} // namespace cz
