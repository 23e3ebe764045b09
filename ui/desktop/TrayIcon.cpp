#include "ui/desktop/TrayIcon.h"

#include "store/DeviceStore.h"
#include "ui/meter/AlarmStatePictures.h"
#include "ui/widgets/ColorSwatch.h"

#include <QPainter>

namespace cz {


// A disc in the state's colour with a mark that tells the state without
// the colour: a tick, "!" for caution and alarm (alarm ringed twice), "?"
// on grey for a device that does not answer.
QPixmap trayPicture(const SiteSummary &summary, const ProgramSettings &settings, int size)
{
    QPixmap picture(size, size);
    picture.fill(Qt::transparent);
    QPainter p(&picture);
    p.setRenderHint(QPainter::Antialiasing);
    const double s = size;
    using Worst = SiteSummary::Worst;
    const QColor fill = summary.worst == Worst::NotAnswering ? QColor(0x80, 0x80, 0x80)
                                                             : colorFromSetting(settings.stateColor(summary.shownState));
    const double luminance = 0.299 * fill.redF() + 0.587 * fill.greenF() + 0.114 * fill.blueF();
    const QColor ink = luminance > 0.6 ? Qt::black : Qt::white;
    p.setPen(QPen(Qt::black, s / 16.0));
    p.setBrush(fill);
    const double ring = summary.worst == Worst::Alarm ? s / 10.0 : 0;
    if (ring > 0) {
        p.drawEllipse(QRectF(1, 1, s - 2, s - 2));
        p.setPen(QPen(ink, s / 20.0));
    }
    p.drawEllipse(QRectF(1 + ring, 1 + ring, s - 2 - 2 * ring, s - 2 - 2 * ring));
    QFont font(QStringLiteral("Liberation Sans"));
    font.setBold(true);
    font.setPixelSize(int(s * 0.62));
    p.setFont(font);
    p.setPen(ink);
    switch (summary.worst) {
    case Worst::Normal: paintTick(p, s, ink); break;
    case Worst::Caution:
    case Worst::Alarm: p.drawText(QRectF(0, 0, s, s), Qt::AlignCenter, QStringLiteral("!")); break;
    case Worst::NotAnswering: p.drawText(QRectF(0, 0, s, s), Qt::AlignCenter, QStringLiteral("?")); break;
    }
    return picture;
}

TrayIcon::TrayIcon(const DeviceStore &store, QObject *parent) : QObject(parent), store_(store)
{
    QAction *show = menu_.addAction(QStringLiteral("Show Corvanta Zephtra"));
    QAction *list = menu_.addAction(QStringLiteral("Device List"));
    menu_.addSeparator();
    QAction *exit = menu_.addAction(QStringLiteral("Exit"));
    connect(show, &QAction::triggered, this, &TrayIcon::showRequested);
    connect(list, &QAction::triggered, this, &TrayIcon::deviceListRequested);
    connect(exit, &QAction::triggered, this, &TrayIcon::exitRequested);
    tray_.setContextMenu(&menu_);
    connect(&tray_, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick)
            emit showRequested();
    });
    refreshTimer_.setSingleShot(true);
    refreshTimer_.setInterval(200);
    connect(&refreshTimer_, &QTimer::timeout, this, &TrayIcon::refresh);
    refresh();
}

void TrayIcon::scheduleRefresh()
{
    if (!refreshTimer_.isActive())
        refreshTimer_.start();
}

void TrayIcon::refresh()
{
    const ProgramSettings &settings = store_.settings;
    if (!settings.ShowTrayIcon) {
        tray_.hide();
        return;
    }
    summary_ = summarizeSite(store_);
    // The picture changes only with the worst state or its colour.
    const qint64 key = qint64(summary_.worst) << 40 | qint64(summary_.shownState) << 32 |
                       quint32(summary_.worst == SiteSummary::Worst::NotAnswering
                                   ? 0
                                   : colorFromSetting(settings.stateColor(summary_.shownState)).rgb());
    if (key != pictureKey_) {
        pictureKey_ = key;
        QIcon icon;
        for (int size : {16, 22, 24, 32, 48, 64})
            icon.addPixmap(trayPicture(summary_, settings, size));
        tray_.setIcon(icon);
    }
    const QString tip = QStringLiteral("Corvanta Zephtra\n") + summary_.text();
    if (tray_.toolTip() != tip)
        tray_.setToolTip(tip);
    tray_.show();
}

bool TrayIcon::inTray() const
{
    return tray_.isVisible() && QSystemTrayIcon::isSystemTrayAvailable();
}

} // namespace cz
