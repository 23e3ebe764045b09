// The program's icon in the desktop's tray: its picture shows the worst
// state of all enabled probes in the program's state colours (a distinct
// picture when a device does not answer), its tooltip counts them, a click
// shows the window, and its menu shows the window, the device list, or
// exits through the usual close question.
#pragma once

#include "monitor/SiteSummary.h"

#include <QIcon>
#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>
#include <QTimer>

namespace cz {

class DeviceStore;
struct ProgramSettings;

// The tray picture of `summary` at `size` pixels, in the settings' colours.
QPixmap trayPicture(const SiteSummary &summary, const ProgramSettings &settings, int size);

class TrayIcon final : public QObject {
    Q_OBJECT
public:
    explicit TrayIcon(const DeviceStore &store, QObject *parent = nullptr);

    // Shows or hides the icon as the settings say and brings its picture
    // and tooltip up to date.
    void refresh();
    // A refresh soon, once for everything that changed together.
    void scheduleRefresh();
    // The icon is shown and the desktop has a tray to show it in.
    bool inTray() const;
    const SiteSummary &summary() const { return summary_; }
    QString toolTip() const { return tray_.toolTip(); }
    QMenu &menu() { return menu_; }

signals:
    void showRequested();
    void deviceListRequested();
    void exitRequested();

private:
    const DeviceStore &store_;
    QSystemTrayIcon tray_;
    QMenu menu_;
    QTimer refreshTimer_;
    SiteSummary summary_;
    qint64 pictureKey_ = -1;  // what the picture shows now
};

} // namespace cz
