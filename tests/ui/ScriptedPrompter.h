// Answers the window's questions from a script and keeps what it was told.
#pragma once

#include "ui/Prompter.h"

#include <QStringList>

namespace cz::test {

class ScriptedPrompter final : public Prompter {
public:
    bool ask(QWidget *, const QString &text) override
    {
        questions << text;
        return answers.isEmpty() ? false : answers.takeFirst();
    }
    void tell(QWidget *, MessageIcon, const QString &text) override { told << text; }
    QList<bool> answers;
    QStringList questions, told;
};

} // namespace cz::test
