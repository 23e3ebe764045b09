// Questions and messages for the operator. The window shows message boxes
// (MessageBoxPrompter); tests answer from a script.
#pragma once

#include "store/ProgramStatus.h"

#include <QString>

class QWidget;

namespace cz {

class Prompter {
public:
    virtual ~Prompter() = default;
    // Yes/No question with the question icon; true for Yes.
    virtual bool ask(QWidget *parent, const QString &text) = 0;
    // A message with OK: shown, the program goes on at once.
    virtual void tell(QWidget *parent, MessageIcon icon, const QString &text) = 0;
};

} // namespace cz
