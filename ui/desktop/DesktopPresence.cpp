#include "ui/desktop/DesktopPresence.h"

#include "monitor/AlarmEvaluation.h"
#include "monitor/QueryCycle.h"
#include "store/DeviceStore.h"
#include "ui/MainWindow.h"

namespace cz {

DesktopPresence::DesktopPresence(MainWindow &window, DeviceStore &store, QueryCycle &cycle,
                                 AlarmEvaluation &evaluation, QDBusConnection bus, QObject *parent)
    : QObject(parent), window_(window), store_(store), tray_(store), notifier_(store, store.clock(), std::move(bus))
{
    connect(&tray_, &TrayIcon::showRequested, &window, &MainWindow::showFromTray);
    connect(&tray_, &TrayIcon::deviceListRequested, &window, &MainWindow::showDeviceList);
    // Exit closes the window the usual way: with its question.
    connect(&tray_, &TrayIcon::exitRequested, &window, [&window] {
        window.showFromTray();
        window.close();
    });
    connect(&window, &MainWindow::programConfigured, &tray_, &TrayIcon::refresh);
    // Every query ends here, its readings and failure count already taken.
    connect(&cycle, &QueryCycle::queryFinished, &tray_, &TrayIcon::scheduleRefresh);
    connect(&store, &DeviceStore::deviceRemoved, &tray_, &TrayIcon::scheduleRefresh);
    connect(&store, &DeviceStore::deviceChanged, &tray_, &TrayIcon::scheduleRefresh);

    connect(&evaluation, &AlarmEvaluation::alertRaised, &notifier_, &DesktopNotifier::probeAlert);
    connect(&cycle, &QueryCycle::queryFailureAlert, &notifier_, &DesktopNotifier::deviceStoppedAnswering);
    connect(&cycle, &QueryCycle::deviceAnswersAgain, &notifier_, &DesktopNotifier::deviceAnswersAgain);
    connect(&notifier_, &DesktopNotifier::probeActivated, &window, &MainWindow::showProbeStatus);
    connect(&notifier_, &DesktopNotifier::deviceActivated, &window, &MainWindow::showDevicePage);
    connect(&notifier_, &DesktopNotifier::summaryActivated, &window, &MainWindow::showDeviceList);
}

void DesktopPresence::showWindowAtStart()
{
    if (!store_.settings.StartMinimized)
        window_.show();
    else if (!tray_.inTray())
        window_.showMinimized();
    // else the program starts in the tray, and is shown from there
}

} // namespace cz
