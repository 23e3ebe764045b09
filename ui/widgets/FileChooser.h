// File-open dialogs. The window shows the standard dialog; tests answer
// from a script.
#pragma once

#include <QString>
#include <QStringList>

class QWidget;

namespace cz {

struct FileQuestion {
    QString title;
    QStringList filters;      // "Text Files (*.txt)", ...
    QString folder;           // where the dialog starts; empty: the current folder
    QString file;             // the file proposed
    bool executablesOnly = false;  // the first filter lists programs only
};

class FileChooser {
public:
    virtual ~FileChooser() = default;
    // The chosen existing file, or empty when cancelled.
    virtual QString openFile(QWidget *parent, const FileQuestion &question) = 0;
};

class DialogFileChooser final : public FileChooser {
public:
    QString openFile(QWidget *parent, const FileQuestion &question) override;
};

} // namespace cz
