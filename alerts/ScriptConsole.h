// Runs the e-mail test script step by step: its output streams out as it
// comes, and it waits at each pause until told to continue.
#pragma once

#include <QByteArray>
#include <QObject>
#include <QProcess>

namespace cz {

class ScriptConsole : public QObject {
    Q_OBJECT
public:
    explicit ScriptConsole(QObject *parent = nullptr);
    ~ScriptConsole() override;

    // Starts `/bin/sh scriptPath` in `workingFolder`; 0, or the errno that
    // kept it from starting.
    int start(const QByteArray &scriptPath, const QByteArray &workingFolder);
    // Goes on past the pause the script is waiting at.
    void continueScript();
    // Ends the script (the console was closed).
    void stop();
    bool running() const { return process_.state() != QProcess::NotRunning; }

signals:
    // Output and error text, as it comes.
    void output(const QByteArray &text);
    void finished(int exitCode);

private:
    QProcess process_;
};

} // namespace cz
