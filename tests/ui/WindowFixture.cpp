#include "tests/ui/WindowFixture.h"

#include "tools/devsim/SimDevice.h"
#include "ui/list/DeviceListPage.h"
#include "ui/list/ProbeListView.h"

#include <QPrinter>
#include <QTabWidget>

#include <gtest/gtest.h>

namespace cz::test {

bool ScriptedFileChooser::choosePrinter(QWidget *, QPrinter &printer)
{
    if (printerFiles.isEmpty())
        return false;
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(printerFiles.takeFirst());
    return true;
}

WindowFixture::WindowFixture(Start start)
{
    if (start == Start::Demo)
        copyFolder(QStringLiteral(CZ_SOURCE_DIR "/demo"), dir.path());
    CommandLine cl;
    cl.dataDir = dir.path();
    engine = std::make_unique<Engine>(cl, QStringLiteral(CZ_BIN_DIR), clock, sound);
    engine->startUp();
    QList<devsim::SimDevice> devices;
    QString error;
    EXPECT_TRUE(devsim::loadSimConfig(QStringLiteral(CZ_SOURCE_DIR "/tools/devsim/demo.json"), devices, error));
    for (int slot = 0; slot < engine->store().deviceCount(); ++slot) {
        devices[slot].port = 0;
        engine->store().deviceForUpdate(slot)->DevicePort = sim.port(sim.addDevice(devices[slot]));
    }
    console = std::make_unique<ScriptConsoleWindow>();
    QObject::connect(console.get(), &ScriptConsoleWindow::scriptEnded, &engine->alerts().emailQueue(),
                     &EmailQueue::currentScriptEnded);
    const QByteArray root = engine->store().folder().root;
    ScriptConsoleWindow *shown = console.get();
    context.reset(new WindowContext{engine->store(), prompter, files, engine->alerts().emailQueue(), engine->alerts().dialer(),
                                    sound, engine->session(), [shown, root](const QByteArray &script) { return shown->run(script, root); }});
    sheet = std::make_unique<MainWindow>(*context, engine->queryCycle());
    QObject::connect(sheet.get(), &MainWindow::shutDownRequested, engine.get(), [this] { engine->shutDown(); });
}

void WindowFixture::tick()
{
    engine->queryCycle().tick();
    EXPECT_TRUE(waitUntil([&] { return engine->queryCycle().queriesInFlight() == 0; }));
    QCoreApplication::processEvents();
}

DeviceListPage &deviceListPage(MainWindow &window)
{
    return *window.findChild<DeviceListPage *>();
}

ProbeListView &probeList(DeviceListPage &page)
{
    return *page.findChild<ProbeListView *>();
}

QTabWidget &pageTabs(QWidget &window)
{
    return *window.findChild<QTabWidget *>();
}

void WindowFixture::picture(QWidget &widget, const QString &name)
{
    const QString folder = QStringLiteral(CZ_BIN_DIR "/../screenshots");
    QDir().mkpath(folder);
    EXPECT_TRUE(widget.grab().save(folder + '/' + name));
}

} // namespace cz::test
