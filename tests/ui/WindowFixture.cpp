#include "WindowFixture.h"

#include "SimDevice.h"

#include <gtest/gtest.h>

#include <QPrinter>

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
    app = std::make_unique<CCorvantaApp>(cl, QStringLiteral(CZ_BIN_DIR), clock, sound);
    app->startUp();
    QList<devsim::SimDevice> devices;
    QString error;
    EXPECT_TRUE(devsim::loadSimConfig(QStringLiteral(CZ_SOURCE_DIR "/tools/devsim/demo.json"), devices, error));
    for (int slot = 0; slot < app->store().deviceCount(); ++slot) {
        devices[slot].port = 0;
        app->store().deviceForUpdate(slot)->DevicePort = sim.port(sim.addDevice(devices[slot]));
    }
    console = std::make_unique<ScriptConsoleWindow>();
    QObject::connect(console.get(), &ScriptConsoleWindow::scriptEnded, &app->alerts().emailQueue(),
                     &EmailQueue::currentScriptEnded);
    const QByteArray root = app->store().folder().root;
    ScriptConsoleWindow *shown = console.get();
    context.reset(new ConfigContext{app->store(), prompter, files, app->alerts().emailQueue(), app->alerts().dialer(),
                                    sound, app->session(), [shown, root](const QByteArray &script) { return shown->run(script, root); }});
    sheet = std::make_unique<MainSheet>(*context, app->queryCycle());
    sheet->shutDown = [this] { app->shutDown(); };
}

void WindowFixture::copyFolder(const QString &from, const QString &to)
{
    QDir().mkpath(to);
    for (const QFileInfo &entry : QDir(from).entryInfoList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot)) {
        if (entry.isDir())
            copyFolder(entry.filePath(), to + '/' + entry.fileName());
        else
            QFile::copy(entry.filePath(), to + '/' + entry.fileName());
    }
}

void WindowFixture::tick()
{
    app->queryCycle().tick();
    EXPECT_TRUE(waitUntil([&] { return app->queryCycle().queriesInFlight() == 0; }));
    QCoreApplication::processEvents();
}

void WindowFixture::picture(QWidget &widget, const QString &name)
{
    const QString folder = QStringLiteral(CZ_BIN_DIR "/../screenshots");
    QDir().mkpath(folder);
    EXPECT_TRUE(widget.grab().save(folder + '/' + name));
}

} // namespace cz::test
