// The operator's questions and messages as message boxes.
#pragma once

#include "ui/Prompter.h"

namespace cz {

class MessageBoxPrompter final : public Prompter {
public:
    bool ask(QWidget *parent, const QString &text) override;
    void tell(QWidget *parent, MessageIcon icon, const QString &text) override;
};

} // namespace cz
