// File and printer dialogs. The window shows the standard dialogs; tests
// answer from a script.
#pragma once

#include <QString>
#include <QStringList>

class QPrinter;
class QWidget;

namespace cz {

struct FileQuestion {
    QString title;
    QStringList filters;      // "Text Files (*.txt)", ...
    QString folder;           // where the dialog starts; empty: the current folder
    QString file;             // the file proposed
    bool executablesOnly = false;  // the first filter lists programs only
    QString defaultSuffix;         // added to a name typed without one (save only)
};

class FileChooser {
public:
    virtual ~FileChooser() = default;
    // The chosen existing file, or empty when cancelled.
    virtual QString openFile(QWidget *parent, const FileQuestion &question) = 0;
    // The file to write (an existing one only after the overwrite question),
    // or empty when cancelled.
    virtual QString saveFile(QWidget *parent, const FileQuestion &question) = 0;
    // Sets up `printer` from the print dialog; false when cancelled.
    virtual bool choosePrinter(QWidget *parent, QPrinter &printer) = 0;
};

} // namespace cz
