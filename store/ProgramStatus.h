// What the program tells the operator and how far along it is: the status
// line, messages for a message box, and the run flags.
#pragma once

#include <QObject>
#include <QString>

namespace cz {

// The kind of a message the engine has for the operator; the window shows
// it in a message box with the matching icon, headless mode prints it.
enum class MessageIcon { Error, Warning, Exclamation, Information, Question, Stop };

class ProgramStatus : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    // The status line: always begins "Status:" or "ERROR", at most 255 characters.
    QString text() const { return text_; }
    void set(const QString &text);
    bool showsError() const { return text_.contains(QLatin1String("ERROR")); }
    void report(MessageIcon icon, const QString &text) { emit message(icon, text); }
    // Something worth a line in the program's own log (standard error, the
    // journal of a service), not worth interrupting the operator for.
    void note(const QString &text) { emit noted(text); }

    // Set once closing is confirmed: no query starts after it.
    int ShuttingDown = 0;
    // The folder of the executable, where the mailer lives.
    QString programFolder;

signals:
    void changed(const QString &status);
    void message(cz::MessageIcon icon, const QString &text);
    void noted(const QString &text);

private:
    QString text_;
};

} // namespace cz
