#include "AlertOptionsDlg.h"

#include "FileChooser.h"
#include "FormWidgets.h"
#include "Records.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
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

} // namespace

CAlertOptionsDlg::CAlertOptionsDlg(ProbeRecord &probe, bool deviceDialerEnabled, FileChooser &files, QWidget *parent)
    : QDialog(parent), probe_(probe), dialerEnabled_(deviceDialerEnabled), files_(files)
{
    setWindowTitle(QStringLiteral("Additional Alert Options"));
    auto *layout = new QVBoxLayout(this);
    QList<QWidget *> order;
    auto build = [&](Condition &c, const char *title, const char *runText, const char *dialerText,
                     std::int32_t &runFlag, FixedText<1025> &program, std::int32_t dialerFlag) {
        auto *box = new QGroupBox(QString::fromLatin1(title), this);
        auto *grid = new QGridLayout(box);
        c.run = new QCheckBox(QString::fromLatin1(runText), box);
        c.program = textField(1025, box);
        c.program->setMinimumWidth(480);
        c.program->setAccessibleName(QString::fromLatin1(runText));
        c.browse = plainButton(QStringLiteral("Browse..."), box);
        c.dialer = new QCheckBox(QString::fromLatin1(dialerText), box);
        grid->addWidget(c.run, 0, 0, 1, 2);
        grid->addWidget(c.program, 1, 0);
        grid->addWidget(c.browse, 1, 1);
        grid->addWidget(c.dialer, 2, 0, 1, 2);
        grid->setColumnStretch(0, 1);
        layout->addWidget(box);
        order << c.run << c.program << c.browse << c.dialer;

        const bool run = runFlag != 0;
        if (run) {
            program = quotedProgram(program.bytes());
            c.program->setText(program.str());
        }
        c.run->setChecked(run);
        c.program->setEnabled(run);
        c.browse->setEnabled(run);
        c.dialer->setEnabled(dialerEnabled_);
        c.dialer->setChecked(dialerEnabled_ && dialerFlag != 0);
        connect(c.run, &QCheckBox::toggled, this, [c](bool on) {
            c.program->setEnabled(on);
            c.browse->setEnabled(on);
        });
        QLineEdit *edit = c.program;
        connect(c.browse, &QPushButton::clicked, this, [this, edit] {
            FileQuestion q{QStringLiteral("Select an executable program"),
                           {QStringLiteral("Executable Files (*)"), QStringLiteral("All Files (*)")},
                           {},
                           {},
                           true,
                           {}};
            const QString file = files_.openFile(this, q);
            if (!file.isEmpty())
                edit->setText(QLatin1Char('"') + file + QLatin1Char('"'));
        });
    };
    build(alarm, "Alarm Condition Options", "Run this Windows program when an alarm occurs on this probe:",
          "Trigger voice dialer when an alarm occurs on this probe.", probe.RunProgramAlarm, probe.ProgramAlarm,
          probe.TriggerDialerAlarm);
    build(caution, "Caution Condition Options", "Run this Windows program when a caution occurs on this probe:",
          "Trigger voice dialer when a caution occurs on this probe.", probe.RunProgramCaution,
          probe.ProgramCaution, probe.TriggerDialerCaution);
    build(cleared, "Alarm Cleared Condition Options",
          "Run this Windows program when an alarm or caution is cleared on this probe:",
          "Trigger voice dialer when an alarm or caution is cleared on this probe.", probe.RunProgramClear,
          probe.ProgramClear, probe.TriggerDialerClear);

    layout->addLayout(okCancelRow(this, &okButton, &cancelButton));
    order << okButton << cancelButton;
    chainTabOrder(order);
    connect(okButton, &QPushButton::clicked, this, [this] {
        store();
        accept();
    });
    connect(cancelButton, &QPushButton::clicked, this, &QDialog::reject);
}

void CAlertOptionsDlg::store()
{
    auto take = [this](const Condition &c, std::int32_t &runFlag, FixedText<1025> &program, std::int32_t &dialerFlag) {
        program = c.program->text();
        runFlag = c.run->isChecked() ? 1 : 0;
        dialerFlag = dialerEnabled_ && c.dialer->isChecked() ? 1 : 0;
    };
    take(alarm, probe_.RunProgramAlarm, probe_.ProgramAlarm, probe_.TriggerDialerAlarm);
    take(caution, probe_.RunProgramCaution, probe_.ProgramCaution, probe_.TriggerDialerCaution);
    take(cleared, probe_.RunProgramClear, probe_.ProgramClear, probe_.TriggerDialerClear);
}

} // namespace cz
