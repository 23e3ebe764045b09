// The program with its window: splash, the main sheet, message boxes for
// the engine's messages, and the saving close.
#include "AppMain.h"

#include "ConfigContext.h"
#include "CorvantaApp.h"
#include "FileChooser.h"
#include "ScriptConsoleWindow.h"
#include "DeviceListPage.h"
#include "DeviceDetails.h"
#include "HistoryLoader.h"
#include "MainSheet.h"
#include "Prompter.h"
#include "SoundEffectPlayer.h"
#include "SplashWindow.h"
#include "TerminationSignals.h"

#include <QApplication>
#include <QMessageBox>
#include <QPointer>
#include <QTimer>

int runWindow(const cz::CommandLine &cl)
{
    cz::SoundEffectPlayer sound;
    cz::CCorvantaApp app(cl, QCoreApplication::applicationDirPath(), cz::SystemClock::instance(), sound);
    QString lockError;
    if (!app.takeInstanceLock(&lockError)) {
        QMessageBox::critical(nullptr, QStringLiteral("Corvanta Zephtra"), lockError);
        return 1;
    }
    QPointer<cz::SplashWindow> splash;
    if (!cl.noSplash) {
        splash = new cz::SplashWindow;
        splash->setAttribute(Qt::WA_DeleteOnClose);
        splash->show();
        splash->repaint();
        QApplication::processEvents();
    }
    QApplication::setOverrideCursor(Qt::WaitCursor);
    app.startUp();
    cz::MessageBoxPrompter prompter;
    cz::DialogFileChooser files;
    cz::ScriptConsoleWindow console;
    QObject::connect(&console, &cz::ScriptConsoleWindow::scriptEnded, &app.alerts().emailQueue(),
                     &cz::EmailQueue::currentScriptEnded);
    const QByteArray dataFolder = app.store().folder().root;
    cz::ConfigContext context{app.store(),
                              prompter,
                              files,
                              app.alerts().emailQueue(),
                              app.alerts().dialer(),
                              sound,
                              app.session(),
                              [&console, dataFolder](const QByteArray &script) { return console.run(script, dataFolder); }};
    cz::MainSheet sheet(context, app.queryCycle());
    QObject::connect(&app.status(), &cz::ProgramStatus::message, &sheet,
                     [&](cz::MessageIcon icon, const QString &text) { prompter.tell(&sheet, icon, text); });
    sheet.shutDown = [&app] { app.shutDown(); };
    cz::TerminationSignals termination;
    QObject::connect(&termination, &cz::TerminationSignals::received, &sheet, [&] {
        app.status().ShuttingDown = 1; // a signal asks no question
        sheet.close();
    });
    sheet.placeCentred();
    QApplication::restoreOverrideCursor();
    if (app.store().settings.StartMinimized)
        sheet.showMinimized();
    else
        sheet.show();
    QTimer::singleShot(4000, [splash] {
        if (splash)
            splash->close();
    });
    app.startMonitoring();
    // The charts get back what the data files kept of earlier runs.
    cz::HistoryLoader history(app.store());
    QObject::connect(&history, &cz::HistoryLoader::deviceLoaded, &sheet, [&sheet](int slot) {
        if (cz::CDeviceDetails *page = sheet.devicePage(slot))
            page->appendSample();
    });
    history.start(double(app.store().clock().nowMs()) / 1000.0);
    QApplication::setQuitOnLastWindowClosed(true);
    return QApplication::exec();
}
