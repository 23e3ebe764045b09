#include "ui/widgets/ScriptConsoleWindow.h"

#include "alerts/ScriptConsole.h"
#include "ui/widgets/FormWidgets.h"

#include <QCloseEvent>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QVBoxLayout>

namespace cz {

ScriptConsoleWindow::ScriptConsoleWindow(QWidget *parent) : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Corvanta Zephtra - Email Test"));
    console_ = new ScriptConsole(this);
    output_ = new QPlainTextEdit(this);
    output_->setReadOnly(true);
    output_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    output_->setMinimumSize(640, 360);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(buddyLabel(QStringLiteral("Mailer output:"), output_, this));
    layout->addWidget(output_, 1);
    auto *buttons = new QHBoxLayout;
    continue_ = new QPushButton(QStringLiteral("Continue"), this);
    continue_->setDefault(true);
    auto *close = plainButton(QStringLiteral("Close"), this);
    buttons->addStretch(1);
    buttons->addWidget(continue_);
    buttons->addWidget(close);
    layout->addLayout(buttons);
    continue_->setEnabled(false);

    connect(continue_, &QPushButton::clicked, console_, &ScriptConsole::continueScript);
    connect(close, &QPushButton::clicked, this, &QDialog::close);
    connect(console_, &ScriptConsole::output, this, [this](const QByteArray &text) {
        output_->moveCursor(QTextCursor::End);
        output_->insertPlainText(QString::fromUtf8(text));
        output_->verticalScrollBar()->setValue(output_->verticalScrollBar()->maximum());
    });
    connect(console_, &ScriptConsole::finished, this, [this](int exitCode) {
        continue_->setEnabled(false);
        output_->appendPlainText(QStringLiteral("\n[The test has ended.]"));
        emit scriptEnded(exitCode);
    });
}

int ScriptConsoleWindow::run(const QByteArray &scriptPath, const QByteArray &workingFolder)
{
    output_->clear();
    const int error = console_->start(scriptPath, workingFolder);
    if (error)
        return error;
    continue_->setEnabled(true);
    show();
    raise();
    activateWindow();
    continue_->setFocus();
    return 0;
}

QString ScriptConsoleWindow::text() const
{
    return output_->toPlainText();
}

void ScriptConsoleWindow::closeEvent(QCloseEvent *event)
{
    // Closing the console ends the test, as closing a terminal would.
    console_->stop();
    QDialog::closeEvent(event);
}

} // namespace cz
