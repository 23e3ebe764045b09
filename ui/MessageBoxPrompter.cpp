#include "ui/MessageBoxPrompter.h"

#include <QMessageBox>

namespace cz {

bool MessageBoxPrompter::ask(QWidget *parent, const QString &text)
{
    return QMessageBox::question(parent, QStringLiteral("Corvanta Zephtra"), text,
                                 QMessageBox::Yes | QMessageBox::No) == QMessageBox::Yes;
}

void MessageBoxPrompter::tell(QWidget *parent, MessageIcon icon, const QString &text)
{
    QMessageBox::Icon shown = QMessageBox::Information;
    switch (icon) {
    case MessageIcon::Error:
    case MessageIcon::Stop: shown = QMessageBox::Critical; break;
    case MessageIcon::Warning:
    case MessageIcon::Exclamation: shown = QMessageBox::Warning; break;
    case MessageIcon::Question: shown = QMessageBox::Question; break;
    case MessageIcon::Information: break;
    }
    // Modal for the window, but the event loop, and so monitoring, goes on.
    auto *box = new QMessageBox(shown, QStringLiteral("Corvanta Zephtra"), text, QMessageBox::Ok, parent);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(parent ? Qt::WindowModal : Qt::ApplicationModal);
    box->show();
}

} // namespace cz
