// The program on the desktop: its tray icon and the notifications of its
// alerts, tied to the engine's signals and to the main window.
#pragma once

#include "ui/desktop/DesktopNotifier.h"
#include "ui/desktop/TrayIcon.h"

#include <QDBusConnection>
#include <QObject>

namespace cz {

class AlarmEvaluation;
class DeviceStore;
class MainWindow;
class QueryCycle;

class DesktopPresence final : public QObject {
    Q_OBJECT
public:
    DesktopPresence(MainWindow &window, DeviceStore &store, QueryCycle &cycle, AlarmEvaluation &evaluation,
                    QDBusConnection bus = QDBusConnection::sessionBus(), QObject *parent = nullptr);

    // Shows the window at start: minimised when the settings say so, and
    // then only in the tray when there is one.
    void showWindowAtStart();

    TrayIcon &tray() { return tray_; }
    DesktopNotifier &notifier() { return notifier_; }

private:
    MainWindow &window_;
    const DeviceStore &store_;
    TrayIcon tray_;
    DesktopNotifier notifier_;
};

} // namespace cz
