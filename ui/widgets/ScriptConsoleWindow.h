// The console the e-mail settings test runs in: the script's output as it
// comes, "Continue" past each pause, and "Close" to stop it.
#pragma once

#include <QDialog>

class QPlainTextEdit;
class QPushButton;

namespace cz {

class ScriptConsole;

class ScriptConsoleWindow final : public QDialog {
    Q_OBJECT
public:
    explicit ScriptConsoleWindow(QWidget *parent = nullptr);
    // Shows the window and starts the script; 0 or an errno.
    int run(const QByteArray &scriptPath, const QByteArray &workingFolder);
    QString text() const;
    ScriptConsole &console() { return *console_; }

signals:
    // The script has ended (or was stopped).
    void scriptEnded(int exitCode);

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    ScriptConsole *console_;
    QPlainTextEdit *output_;
    QPushButton *continue_;
};

} // namespace cz
