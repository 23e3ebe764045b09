#include "ui/config/ProbeSettingsPage.h"

#include "alerts/SoundPlayer.h"
#include "store/ApplyToAllProbes.h"
#include "store/DeviceFile.h"
#include "store/DeviceStore.h"
#include "ui/config/AlertOptionsDialog.h"
#include "ui/config/ClearMarginEntry.h"
#include "ui/config/ProbeEmailSettings.h"
#include "ui/config/ThresholdEntry.h"
#include "ui/Prompter.h"
#include "ui/widgets/FileChooser.h"
#include "ui/widgets/FormWidgets.h"
#include "ui/WindowContext.h"

#include <QButtonGroup>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace cz {

namespace {

constexpr const char *kUnitLabels[4] = {"deg. F", "deg. C", "deg. K", "deg. R"};
constexpr const char *kThresholdLabels[4] = {"High Alarm Threshold:", "High Caution Threshold:",
                                              "Low Caution Threshold:", "Low Alarm Threshold:"};
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

} // namespace

ProbeSettingsPage::ProbeSettingsPage(WindowContext &context, DeviceRecord &device, int probeIndex, QWidget *parent)
    : QWidget(parent), context_(context), device_(device), index_(probeIndex),
      fields_(this, [this]() -> ProbeRecord & { return editedProbe(); }, [this](const char *key) { edited(key); })
{
    QList<QWidget *> order;
    auto *left = new QVBoxLayout;
    left->addWidget(buildHeader(order));
    left->addWidget(buildTypeAndUnits(order));
    left->addWidget(buildThresholds(order));
    left->addStretch(1);
    auto *right = new QVBoxLayout;
    email_ = new ProbeEmailSettings(context_, device_, index_, fields_, order, this);
    connect(email_, &ProbeEmailSettings::applyToAllRequested, this,
            [this] { applyToAll(int(ProbeSettingsGroup::Email)); });
    connect(email_, &ProbeEmailSettings::subjectsChanged, this, [this] { modified_ = true; });
    right->addWidget(email_);
    right->addWidget(buildSounds(order));
    right->addStretch(1);
    auto *columns = new QHBoxLayout;
    columns->addLayout(left, 1);
    columns->addLayout(right, 1);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(columns);
    layout->addWidget(buildFiles(order));
    chainTabOrder(order);
}

const ProbeRecord &ProbeSettingsPage::probe() const
{
    return *device_.probe(index_);
}

ProbeRecord &ProbeSettingsPage::editedProbe()
{
    return *device_.probe(index_);
}

QWidget *ProbeSettingsPage::buildHeader(QList<QWidget *> &order)
{
    auto *box = new QWidget(this);
    auto *grid = new QGridLayout(box);
    grid->setContentsMargins(0, 0, 0, 0);
    probeNumber_ = new QLineEdit(box);
    groupNumber_ = new QLineEdit(box);
    for (QLineEdit *e : {probeNumber_, groupNumber_}) {
        e->setReadOnly(true);
        e->setFocusPolicy(Qt::NoFocus);
        e->setMaximumWidth(60);
    }
    grid->addWidget(buddyLabel(QStringLiteral("Probe Number:"), probeNumber_, box), 0, 0);
    grid->addWidget(probeNumber_, 0, 1);
    grid->addWidget(buddyLabel(QStringLiteral("Group Number:"), groupNumber_, box), 0, 2);
    grid->addWidget(groupNumber_, 0, 3);
    YesNoField *enabled = addQuestion(grid, 1, QStringLiteral("Probe Enabled:"), box);
    QLineEdit *probeName = textField(261, box);
    QLineEdit *groupName = textField(261, box);
    grid->addWidget(buddyLabel(QStringLiteral("Probe Name:"), probeName, box), 2, 0);
    grid->addWidget(probeName, 2, 1, 1, 3);
    grid->addWidget(buddyLabel(QStringLiteral("Group Name:"), groupName, box), 3, 0);
    grid->addWidget(groupName, 3, 1, 1, 3);
    grid->setColumnStretch(3, 1);
    fields_.flag(enabled, &ProbeRecord::ProbeEnabled, "ProbeEnabled");
    fields_.text(probeName, &ProbeRecord::ProbeName, "ProbeName");
    fields_.text(groupName, &ProbeRecord::GroupName, "GroupName");
    order << enabled->yesButton() << enabled->noButton() << probeName << groupName;
    return box;
}

QWidget *ProbeSettingsPage::buildTypeAndUnits(QList<QWidget *> &order)
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
            order << buttons[std::size_t(i)];
        }
        layout->addWidget(box);
        return group;
    };
    QButtonGroup *types = radios(QStringLiteral("Probe Type"),
                                 [](int i) { return probeTypeText(static_cast<ProbeType>(i)); }, typeButtons_);
    QButtonGroup *units = radios(QStringLiteral("Display Units"),
                                 [](int i) { return unitName(static_cast<DisplayUnits>(i)); }, unitButtons_);
    // Toggled, not clicked: a choice made through the accessibility
    // interface counts too. Showing the record's own choice changes nothing.
    connect(types, &QButtonGroup::idToggled, this, [this](int id, bool on) {
        if (on)
            chooseType(id);
    });
    connect(units, &QButtonGroup::idToggled, this, [this](int id, bool on) {
        if (on)
            chooseUnits(id);
    });
    return row;
}

QWidget *ProbeSettingsPage::buildThresholds(QList<QWidget *> &order)
{
    auto *box = new QGroupBox(QStringLiteral("Alarm Thresholds"), this);
    auto *grid = new QGridLayout(box);
    for (int row = 0; row < 4; ++row) {
        auto *entry = new ThresholdEntry(box);
        thresholds_[std::size_t(row)] = entry;
        unitLabels_[std::size_t(row)] = new QLabel(box);
        unitLabels_[std::size_t(row)]->setMinimumWidth(50);
        QLabel *label = buddyLabel(QString::fromLatin1(kThresholdLabels[row]), entry, box);
        grid->addWidget(label, row, 0);
        grid->addWidget(entry, row, 1);
        grid->addWidget(unitLabels_[std::size_t(row)], row, 2);
        thresholdRows_ << label << entry << unitLabels_[std::size_t(row)];
        order << entry;
        connect(entry, &ThresholdEntry::valueEdited, this, [this, row](double v) { thresholdEdited(row, v); });
        connect(entry, &ThresholdEntry::editingDone, this, [this, row, entry] {
            entry->showValue(probeThreshold(probe(), AlarmState(row + 1)));
            entry->lineEdit()->selectAll();
        });
    }
    // How far back inside a threshold a reading must come before the probe
    // leaves alarm or caution; 0 leaves it at the threshold.
    clearMargin_ = new ClearMarginEntry(box);
    marginUnit_ = new QLabel(box);
    QLabel *marginLabel = buddyLabel(QStringLiteral("Clear margin:"), clearMargin_, box);
    grid->addWidget(marginLabel, 4, 0);
    grid->addWidget(clearMargin_, 4, 1);
    grid->addWidget(marginUnit_, 4, 2);
    thresholdRows_ << marginLabel << clearMargin_ << marginUnit_;
    order << clearMargin_;
    connect(clearMargin_, &ClearMarginEntry::marginEdited, this, [this](double v) {
        editedProbe().ClearMargin = v;
        modified_ = true;
    });

    auto *switchCondition = new QComboBox(box);
    switchCondition->addItems({QStringLiteral("Never alarm"), QStringLiteral("Alarm on open"),
                               QStringLiteral("Alarm on close")});
    QLabel *switchLabel = buddyLabel(QStringLiteral("Switch alarm condition:"), switchCondition, box);
    grid->addWidget(switchLabel, 5, 0);
    grid->addWidget(switchCondition, 5, 1);
    switchRow_ << switchLabel << switchCondition;
    auto *consecutive = new QComboBox(box);
    for (int i = 1; i <= kConsecutiveEntries; ++i)
        consecutive->addItem(QString::number(i));
    grid->addWidget(buddyLabel(QStringLiteral("Consecutive alarm threshold:"), consecutive, box), 6, 0);
    grid->addWidget(consecutive, 6, 1);
    grid->addWidget(new QLabel(QStringLiteral("alarms"), box), 6, 2);
    QPushButton *apply = plainButton(QStringLiteral("Apply to all probes of this type on this device"), box);
    grid->addWidget(apply, 7, 0, 1, 3);
    grid->setColumnStretch(2, 1);
    order << switchCondition << consecutive << apply;

    fields_.choice(
        switchCondition,
        [](const ProbeRecord &p) {
            const int condition = int(p.SwitchAlarmCondition);
            return condition >= 0 && condition < 3 ? condition : 0;
        },
        [](ProbeRecord &p, int k) { p.SwitchAlarmCondition = static_cast<SwitchAlarmCondition>(k); },
        "SwitchAlarmCondition");
    fields_.choice(
        consecutive,
        [](const ProbeRecord &p) { return qBound(0, p.ConsecutiveAlarmThreshold - 1, kConsecutiveEntries - 1); },
        [](ProbeRecord &p, int k) { p.ConsecutiveAlarmThreshold = k + 1; }, "ConsecutiveAlarmThreshold");
    connect(apply, &QPushButton::clicked, this, [this] { applyToAll(int(ProbeSettingsGroup::Thresholds)); });
    return box;
}

QWidget *ProbeSettingsPage::buildSounds(QList<QWidget *> &order)
{
    auto *box = new QGroupBox(QStringLiteral("Sounds"), this);
    auto *grid = new QGridLayout(box);
    const QByteArray sounds = context_.store.folder().sounds();
    struct Sound {
        const char *question, *label, *name;
        std::int32_t ProbeRecord::*flag;
        const char *flagKey;
        FixedText<261> ProbeRecord::*file;
        const char *fileKey;
        const char *selector;
        QByteArray start;
    };
    const Sound kinds[] = {
        {"Sound on alarm:", "Alarm sound:", "Alarm", &ProbeRecord::AlarmSound, "AlarmSound",
         &ProbeRecord::AlarmSoundFile, "AlarmSoundFile", "Alarm Sound File Selector", sounds + "/Alarm.wav"},
        {"Sound on caution:", "Caution sound: ", "Caution", &ProbeRecord::CautionSound, "CautionSound",
         &ProbeRecord::CautionSoundFile, "CautionSoundFile", "Caution Sound File Selector", {}},
    };
    int row = 0;
    for (const Sound &k : kinds) {
        YesNoField *play = addQuestion(grid, row++, QString::fromLatin1(k.question), box);
        QLineEdit *file = textField(261, box);
        const QString label = QString::fromLatin1(k.label).trimmed();
        const QString kind = QString::fromLatin1(k.name);
        QPushButton *browseFile = fieldButton(QStringLiteral("Browse"), label, "browse" + kind + "Sound", box);
        QPushButton *test = fieldButton(QStringLiteral("Test"), label, "test" + kind + "Sound", box);
        addRow(grid, row++, QString::fromLatin1(k.label), file, {browseFile, test});
        order << play->yesButton() << play->noButton() << file << browseFile << test;
        fields_.flag(play, k.flag, k.flagKey);
        fields_.text(file, k.file, k.fileKey);
        const QString title = QString::fromLatin1(k.selector);
        const QByteArray start = k.start;
        connect(browseFile, &QPushButton::clicked, this, [this, file, title, sounds, start] {
            browse(file, title, QStringLiteral("Wave Files (*.wav)"), sounds, start);
        });
        const auto soundFile = k.file;
        connect(test, &QPushButton::clicked, this, [this, soundFile] { context_.sound.play((probe().*soundFile).bytes()); });
    }
    QPushButton *apply = fieldButton(QStringLiteral("Apply to all probes on this device"), QStringLiteral("Sounds"),
                                     QStringLiteral("applySounds"), box);
    grid->addWidget(apply, row, 0, 1, 4);
    grid->setColumnStretch(1, 1);
    order << apply;
    connect(apply, &QPushButton::clicked, this, [this] { applyToAll(int(ProbeSettingsGroup::Sounds)); });
    return box;
}

QWidget *ProbeSettingsPage::buildFiles(QList<QWidget *> &order)
{
    auto *box = new QWidget(this);
    auto *grid = new QGridLayout(box);
    grid->setContentsMargins(0, 0, 0, 0);
    QLineEdit *logFile = textField(261, box);
    QPushButton *browseLog =
        fieldButton(QStringLiteral("Browse"), QStringLiteral("Log File:"), QStringLiteral("browseLog"), box);
    addRow(grid, 0, QStringLiteral("Log File:"), logFile, {browseLog});
    QLineEdit *notes = textField(1025, box);
    addRow(grid, 1, QStringLiteral("Notes:"), notes);
    QPushButton *more = plainButton(QStringLiteral("More Options..."), box);
    auto *moreRow = new QHBoxLayout;
    moreRow->addStretch(1);
    moreRow->addWidget(more);
    grid->addLayout(moreRow, 2, 0, 1, 3);
    grid->setColumnStretch(1, 1);
    order << logFile << browseLog << notes << more;
    fields_.text(logFile, &ProbeRecord::LogFile, "LogFile");
    fields_.text(notes, &ProbeRecord::Notes, "Notes");
    connect(browseLog, &QPushButton::clicked, this, [this, logFile] {
        browse(logFile, QStringLiteral("Probe Data Log File Selector"), QStringLiteral("Log Files (*.log)"),
               context_.store.folder().logs());
    });
    connect(more, &QPushButton::clicked, this, &ProbeSettingsPage::openMoreOptions);
    return box;
}

void ProbeSettingsPage::activate()
{
    ProbeRecord &p = editedProbe();
    if (p.EmailTemplate.empty())
        p.EmailTemplate = context_.store.folder().defaultEmailTemplate();
    if (p.SMTPPort < 1)
        p.SMTPPort = 25;
    activated_ = true;
    probeNumber_->setText(QString::number(p.ProbeNumber));
    groupNumber_->setText(QString::number(p.GroupNumber));
    typeButtons_[std::size_t(typeIndex(p))]->setChecked(true);
    unitButtons_[std::size_t(unitsIndex(p.DisplayUnits))]->setChecked(true);
    fields_.fill();
    fillThresholdArea();
    email_->updateEnabling();
}

void ProbeSettingsPage::edited(const char *key)
{
    // The changed keys are found by comparison when the device is committed.
    modified_ = true;
    ProbeRecord &p = editedProbe();
    // The data file follows the probe name, as it does when the device is
    // next read.
    if (qstrcmp(key, "ProbeName") == 0)
        p.DataLogFile = probeFilePath(context_.store.folder().data(), device_.DeviceName.bytes(), p.ProbeNumber,
                                      p.ProbeName.bytes(), "csv");
    email_->updateEnabling();
}

void ProbeSettingsPage::fillThresholdArea()
{
    const ProbeRecord &p = probe();
    const bool isSwitch = p.ProbeType == ProbeType::Switch;
    for (QWidget *w : std::as_const(thresholdRows_))
        w->setVisible(!isSwitch);
    for (QWidget *w : std::as_const(switchRow_))
        w->setVisible(isSwitch);
    const bool temperature = p.ProbeType == ProbeType::Temperature;
    for (QRadioButton *b : unitButtons_)
        b->setEnabled(temperature);
    QString unit;
    if (temperature)
        unit = QString::fromLatin1(kUnitLabels[unitsIndex(p.DisplayUnits)]);
    else if (p.ProbeType == ProbeType::Humidity)
        unit = QStringLiteral("% RH");
    else if (p.ProbeType == ProbeType::Wetness)
        unit = QStringLiteral("%");
    showUnits(unit);
    if (isSwitch)
        return;
    for (int row = 0; row < 4; ++row) {
        thresholds_[std::size_t(row)]->setScale(p.ProbeType, p.DisplayUnits);
        thresholds_[std::size_t(row)]->showValue(probeThreshold(p, AlarmState(row + 1)));
    }
    clearMargin_->showMargin(p.ProbeType, p.ClearMargin);
}

// Beside each threshold, and read out with it.
void ProbeSettingsPage::showUnits(const QString &unit)
{
    for (int row = 0; row < 4; ++row) {
        unitLabels_[std::size_t(row)]->setText(unit);
        thresholds_[std::size_t(row)]->setAccessibleDescription(unit);
    }
    marginUnit_->setText(unit);
    clearMargin_->setAccessibleDescription(unit);
}

void ProbeSettingsPage::thresholdEdited(int row, double value)
{
    ProbeRecord &p = editedProbe();
    if (p.ProbeType == ProbeType::Switch)
        return;
    if (p.ProbeType == ProbeType::Temperature)
        p.*kTemperature[row] = value;
    else
        p.*percentField(p, row) = int(value);
    modified_ = true;
}

void ProbeSettingsPage::finish()
{
    if (!unitsChanged_ || probe().ProbeType == ProbeType::Switch)
        return;
    for (ThresholdEntry *entry : thresholds_)
        entry->takeShownText();
}

void ProbeSettingsPage::chooseType(int type)
{
    ProbeRecord &p = editedProbe();
    if (type == typeIndex(p))
        return;
    p.ProbeType = static_cast<ProbeType>(type);
    fillThresholdArea();
    modified_ = true;
}

QString ProbeSettingsPage::unitsQuestion(int units) const
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

void ProbeSettingsPage::chooseUnits(int units)
{
    ProbeRecord &p = editedProbe();
    const int current = unitsIndex(p.DisplayUnits);
    if (units == current)
        return;
    if (!unitsAnswered_) {
        const QString question = unitsQuestion(units);
        if (!question.isEmpty()) {
            if (!context_.prompter.ask(this, question)) {
                unitButtons_[std::size_t(current)]->setChecked(true);
                return;
            }
            unitsAnswered_ = true;
            emit unitsConfirmed();
        }
    }
    // The margin is a difference of degrees: it keeps its size.
    p.ClearMargin = convertTemperatureDifference(p.ClearMargin, p.DisplayUnits, static_cast<DisplayUnits>(units));
    p.DisplayUnits = static_cast<DisplayUnits>(units);
    showUnits(QString::fromLatin1(kUnitLabels[units]));
    clearMargin_->showMargin(p.ProbeType, p.ClearMargin);
    // The lists start over at the unit's zero entry; the thresholds are
    // taken from them when the sheet is closed with OK.
    for (ThresholdEntry *entry : thresholds_) {
        entry->setScale(p.ProbeType, p.DisplayUnits);
        entry->showZero();
    }
    unitsChanged_ = true;
    modified_ = true;
}

void ProbeSettingsPage::browse(QLineEdit *field, const QString &title, const QString &filter,
                               const QByteArray &folder, const QByteArray &file)
{
    const QString chosen =
        context_.files.openFile(this, {title, {filter}, QString::fromUtf8(folder), QString::fromUtf8(file), false, {}});
    if (!chosen.isEmpty())
        setTextAsTyped(field, chosen);
}

void ProbeSettingsPage::applyToAll(int group)
{
    const ProbeRecord &from = probe();
    const auto which = static_cast<ProbeSettingsGroup>(group);
    const QString question =
        which == ProbeSettingsGroup::Thresholds
            ? QStringLiteral("This will change all of the parameters enclosed in the\n\"%1\" box for all %2 probes\n(on "
                             "this device) to the values displayed on this page.\n\nAre you sure?")
                  .arg(QStringLiteral("Alarm Thresholds"), QString::fromLatin1(probeTypeText(from.ProbeType)))
            : QStringLiteral("This will change all of the parameters enclosed in the\n\"%1\" box for all probes\n(on "
                             "this device) to the values displayed on this page.\n\nAre you sure?")
                  .arg(which == ProbeSettingsGroup::Email ? QStringLiteral("Email") : QStringLiteral("Sounds"));
    if (!context_.prompter.ask(this, question))
        return;
    applyToAllProbes(device_, index_, which);
    modified_ = true;
}

void ProbeSettingsPage::openMoreOptions()
{
    AlertOptionsDialog dialog(editedProbe(), device_.EnableDialer != 0, context_.files, this);
    if (dialog.exec() == QDialog::Accepted)
        modified_ = true;
}

} // namespace cz
