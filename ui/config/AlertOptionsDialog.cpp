#include "ui/config/AlertOptionsDialog.h"

#include "ui/widgets/FieldBinding.h"
#include "ui/widgets/FileChooser.h"
#include "ui/widgets/FormWidgets.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace cz {

namespace {

// A program to run, as the command line holds it: quoted, so that a path
// with blanks stays one word.
QByteArray quotedProgram(const QByteArray &command)
{
    if (command.isEmpty() || command.startsWith('"'))
        return command;
    return '"' + command + '"';
}

// What one alert kind runs.
struct Condition {
    const char *name;  // names its "Browse..." button apart from the others
    const char *title;
    const char *runText;
    const char *dialerText;
    std::int32_t ProbeRecord::*run;
    FixedText<1025> ProbeRecord::*program;
    std::int32_t ProbeRecord::*dialer;
};

constexpr Condition kConditions[] = {
    {"browseAlarm", "Alarm Condition Options", "Run this Windows program when an alarm occurs on this probe:",
     "Trigger voice dialer when an alarm occurs on this probe.", &ProbeRecord::RunProgramAlarm,
     &ProbeRecord::ProgramAlarm, &ProbeRecord::TriggerDialerAlarm},
    {"browseCaution", "Caution Condition Options", "Run this Windows program when a caution occurs on this probe:",
     "Trigger voice dialer when a caution occurs on this probe.", &ProbeRecord::RunProgramCaution,
     &ProbeRecord::ProgramCaution, &ProbeRecord::TriggerDialerCaution},
    {"browseCleared", "Alarm Cleared Condition Options", "Run this Windows program when an alarm or caution is cleared on this probe:",
     "Trigger voice dialer when an alarm or caution is cleared on this probe.", &ProbeRecord::RunProgramClear,
     &ProbeRecord::ProgramClear, &ProbeRecord::TriggerDialerClear},
};

} // namespace

AlertOptionsDialog::AlertOptionsDialog(ProbeRecord &probe, bool deviceDialerEnabled, FileChooser &files,
                                       QWidget *parent)
    : QDialog(parent), probe_(probe), files_(files)
{
    setWindowTitle(QStringLiteral("Additional Alert Options"));
    for (const Condition &c : kConditions) {
        if (probe.*c.run)
            probe.*c.program = quotedProgram((probe.*c.program).bytes());
        if (!deviceDialerEnabled)
            probe.*c.dialer = 0;
    }
    edited_ = probe;
    // A program that does not run is not shown, and OK stores it empty.
    for (const Condition &c : kConditions)
        if (!(edited_.*c.run))
            edited_.*c.program = "";

    auto *layout = new QVBoxLayout(this);
    FieldBinding<ProbeRecord> fields(this, [this]() -> ProbeRecord & { return edited_; }, [](const char *) {});
    QList<QWidget *> order;
    for (const Condition &c : kConditions) {
        auto *box = new QGroupBox(QString::fromLatin1(c.title), this);
        auto *grid = new QGridLayout(box);
        auto *run = new QCheckBox(QString::fromLatin1(c.runText), box);
        QLineEdit *program = textField(1025, box);
        program->setMinimumWidth(480);
        program->setAccessibleName(run->text());
        QPushButton *browse = fieldButton(QStringLiteral("Browse..."), run->text(), QLatin1String(c.name), box);
        auto *dialer = new QCheckBox(QString::fromLatin1(c.dialerText), box);
        grid->addWidget(run, 0, 0, 1, 2);
        grid->addWidget(program, 1, 0);
        grid->addWidget(browse, 1, 1);
        grid->addWidget(dialer, 2, 0, 1, 2);
        grid->setColumnStretch(0, 1);
        layout->addWidget(box);
        order << run << program << browse << dialer;

        fields.flag(run, c.run);
        fields.text(program, c.program);
        fields.flag(dialer, c.dialer);
        dialer->setEnabled(deviceDialerEnabled);
        program->setEnabled(probe.*c.run);
        browse->setEnabled(probe.*c.run);
        connect(run, &QCheckBox::toggled, program, &QWidget::setEnabled);
        connect(run, &QCheckBox::toggled, browse, &QWidget::setEnabled);
        connect(browse, &QPushButton::clicked, this, [this, program] {
            const FileQuestion question{QStringLiteral("Select an executable program"),
                                        {QStringLiteral("Executable Files (*)"), QStringLiteral("All Files (*)")},
                                        {},
                                        {},
                                        true,
                                        {}};
            const QString file = files_.openFile(this, question);
            if (!file.isEmpty())
                setTextAsTyped(program, QLatin1Char('"') + file + QLatin1Char('"'));
        });
    }
    fields.fill();
    QDialogButtonBox *buttons = okCancelButtons(this);
    layout->addWidget(buttons);
    order << buttons;
    chainTabOrder(order);
}

void AlertOptionsDialog::accept()
{
    copyProbeRecord(&probe_, edited_);
    QDialog::accept();
}

} // namespace cz
