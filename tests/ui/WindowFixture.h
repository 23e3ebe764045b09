// The program on a copy of the demo data folder, its devices served by
// simulated devices in this process, with the main window and what its
// dialogs work with: scripted questions and file choices, recorded sounds
// and the e-mail test console.
#pragma once

#include "alerts/SoundPlayer.h"
#include "app/Engine.h"
#include "tests/support/ManualClock.h"
#include "tests/support/NetTestSupport.h"
#include "tests/support/QuietActions.h"
#include "tests/ui/Controls.h"
#include "tests/ui/ScriptedPrompter.h"
#include "ui/MainWindow.h"
#include "ui/widgets/FileChooser.h"
#include "ui/widgets/ScriptConsoleWindow.h"
#include "ui/WindowContext.h"

#include <QCoreApplication>
#include <QDir>

#include <memory>

namespace cz {
class DeviceListPage;
class ProbeListView;
}
class QTabWidget;

namespace cz::test {

// Answers file dialogs from a script and keeps what they asked.
class ScriptedFileChooser final : public FileChooser {
public:
    QString openFile(QWidget *, const FileQuestion &question) override { return answer(question); }
    QString saveFile(QWidget *, const FileQuestion &question) override { return answer(question); }
    // Prints to the PDF file named next in `printerFiles`; cancels when
    // there is none.
    bool choosePrinter(QWidget *, QPrinter &printer) override;
    QStringList answers;
    QStringList printerFiles;
    QList<FileQuestion> asked;

private:
    QString answer(const FileQuestion &question)
    {
        asked << question;
        return answers.isEmpty() ? QString() : answers.takeFirst();
    }
};

struct WindowFixture {
    enum class Start { Demo, EmptyFolder };
    explicit WindowFixture(Start start = Start::Demo);
    // One round of queries, waited for.
    void tick();
    // Writes a picture of `widget` into build/screenshots.
    void picture(QWidget &widget, const QString &name);
    DeviceStore &store() { return engine->store(); }

    QTemporaryDir dir;
    ManualClock clock{1794661509};
    RecordingSound sound;
    devsim::DeviceSimulator sim;
    std::unique_ptr<Engine> engine;
    ScriptedPrompter prompter;
    ScriptedFileChooser files;
    std::unique_ptr<ScriptConsoleWindow> console;
    std::unique_ptr<WindowContext> context;
    std::unique_ptr<MainWindow> sheet;
};

// The window's "Device List" page and its probe list.
DeviceListPage &deviceListPage(MainWindow &window);
ProbeListView &probeList(DeviceListPage &page);
// The tabs of a window (its device pages, or a sheet's probe pages).
QTabWidget &pageTabs(QWidget &window);

} // namespace cz::test
