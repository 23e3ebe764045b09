// The operator's file choices and printer, from Qt's file and print
// dialogs; a program to run is chosen among the files that can be run.
#pragma once

#include "ui/widgets/FileChooser.h"

namespace cz {

class DialogFileChooser final : public FileChooser {
public:
    QString openFile(QWidget *parent, const FileQuestion &question) override;
    QString saveFile(QWidget *parent, const FileQuestion &question) override;
    bool choosePrinter(QWidget *parent, QPrinter &printer) override;
};

} // namespace cz
