// The program with its window: splash, the main sheet, message boxes for
// the engine's messages, and the saving close.
#include "app/AppMain.h"
#include "app/Engine.h"
#include "app/TerminationSignals.h"
#include "monitor/HistoryLoader.h"
#include "store/SystemClock.h"
#include "ui/chart/ChartPage.h"
#include "ui/desktop/DesktopPresence.h"
#include "ui/list/DeviceListPage.h"
#include "ui/MainWindow.h"
#include "ui/MessageBoxPrompter.h"
#include "ui/SoundEffectPlayer.h"
#include "ui/SplashWindow.h"
#include "ui/widgets/DialogFileChooser.h"
#include "ui/widgets/ScriptConsoleWindow.h"
#include "ui/WindowContext.h"

#include <QApplication>
#include <QMessageBox>
#include <QPointer>
#include <QTimer>

int runWindow(const cz::CommandLine &cl)
{
    cz::SoundEffectPlayer sound;
    cz::Engine engine(cl, QCoreApplication::applicationDirPath(), cz::SystemClock::instance(), sound);
    QString lockError;
    if (!engine.takeInstanceLock(&lockError)) {
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
    engine.startUp();
    cz::MessageBoxPrompter prompter;
    cz::DialogFileChooser files;
    cz::ScriptConsoleWindow console;
    QObject::connect(&console, &cz::ScriptConsoleWindow::scriptEnded, &engine.alerts().emailQueue(),
                     &cz::EmailQueue::currentScriptEnded);
    const QByteArray dataFolder = engine.store().folder().root;
    cz::WindowContext context{engine.store(),
                              prompter,
                              files,
                              engine.alerts().emailQueue(),
                              engine.alerts().dialer(),
                              sound,
                              engine.session(),
                              [&console, dataFolder](const QByteArray &script) { return console.run(script, dataFolder); }};
    cz::MainWindow sheet(context, engine.queryCycle());
    QObject::connect(&engine.status(), &cz::ProgramStatus::message, &sheet,
                     [&](cz::MessageIcon icon, const QString &text) { prompter.tell(&sheet, icon, text); });
    QObject::connect(&sheet, &cz::MainWindow::shutDownRequested, &engine, [&engine] { engine.shutDown(); });
    cz::TerminationSignals termination;
    QObject::connect(&termination, &cz::TerminationSignals::received, &sheet, [&] {
        engine.status().ShuttingDown = 1; // a signal asks no question
        sheet.close();
    });
    // The desktop learns of alerts: the tray icon and notifications.
    cz::DesktopPresence desktop(sheet, engine.store(), engine.queryCycle(), engine.evaluation());

    sheet.placeCentred();
    QApplication::restoreOverrideCursor();
    // Hidden in the tray, a closed status window or dialog is the last
    // window closed: only the confirmed close ends the program.
    QApplication::setQuitOnLastWindowClosed(false);
    QObject::connect(&sheet, &cz::MainWindow::shutDownRequested, qApp, [] {
        QTimer::singleShot(0, qApp, &QCoreApplication::quit);
    });
    desktop.showWindowAtStart();
    QTimer::singleShot(4000, [splash] {
        if (splash)
            splash->close();
    });
    engine.startMonitoring();
    // The charts get back what the data files kept of earlier runs.
    cz::HistoryLoader history(engine.store());
    QObject::connect(&history, &cz::HistoryLoader::deviceLoaded, &sheet, [&sheet](int slot) {
        if (cz::ChartPage *page = sheet.devicePage(slot))
            page->appendSample();
    });
    history.start(double(engine.store().clock().nowMs()) / 1000.0);
    return QApplication::exec();
}
