// "Email Subject Lines": a probe's three alert subjects.
#pragma once

#include <QDialog>

class QLineEdit;

namespace cz {

class CEmailSubjectDlg final : public QDialog {
    Q_OBJECT
public:
    CEmailSubjectDlg(const QString &alarm, const QString &caution, const QString &cleared, QWidget *parent = nullptr);
    QLineEdit *alarmSubject, *cautionSubject, *clearedSubject;
};

} // namespace cz
