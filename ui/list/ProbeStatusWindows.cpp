#include "ui/list/ProbeStatusWindows.h"

#include "store/DeviceStore.h"
#include "ui/meter/ProbeStatusWindow.h"
#include "ui/Prompter.h"

#include <QScreen>

namespace cz {

QPoint statusWindowPosition(QSize screen, const QList<QRect> &others, int frameWidth)
{
    constexpr int kStart = 20, kRow = 470;
    int x = kStart, y = kStart;
    const int maxX = screen.width() - 110, maxY = screen.height() - kRow;
    for (const QRect &r : others) {
        const int edge = r.x() + r.width() + frameWidth;
        if (edge < maxX)
            x = edge + 4;
        if (r.y() < maxY)
            y = r.y();
        if (x > maxX) {
            y += kRow;
            if (maxX >= kStart)
                x = kStart;
        }
        if (x > maxX || y > maxY) {
            x = kStart;
            y = kStart;
        }
    }
    return {x, y};
}

ProbeStatusWindows::ProbeStatusWindows(DeviceStore &store, Prompter &prompter, QWidget *owner)
    : QObject(owner), store_(store), prompter_(prompter), owner_(owner)
{
}

int ProbeStatusWindows::openCount() const
{
    int n = 0;
    for (const auto &w : slots_)
        n += w ? 1 : 0;
    return n;
}

void ProbeStatusWindows::open(const ProbeRecord &probe)
{
    const int probeIndex = probe.ProbeNumber - 1;
    for (const auto &w : slots_) {
        if (w && w->device() == probe.DeviceNumber && w->probeIndex() == probeIndex) {
            w->raise();
            w->activateWindow();
            return;
        }
    }
    auto free = std::find_if(slots_.begin(), slots_.end(), [](const auto &w) { return !w; });
    if (free == slots_.end()) {
        prompter_.tell(owner_, MessageIcon::Exclamation, QStringLiteral("Too many probe status windows open."));
        return;
    }
    const DeviceRecord *d = store_.device(probe.DeviceNumber);
    if (!d || !d->probe(probeIndex)) {
        prompter_.tell(owner_, MessageIcon::Error, QStringLiteral("Internal error.\n\nPlease restart the program."));
        return;
    }
    auto *window = new ProbeStatusWindow(store_, probe.DeviceNumber, probeIndex, owner_);
    // Placed on the screen the program's window is on, beside the others.
    const QScreen *screen = owner_->screen();
    const QRect area = screen ? screen->geometry() : QRect(0, 0, 1024, 768);
    QList<QRect> others;
    int frameWidth = 0;
    for (const auto &w : slots_) {
        if (!w)
            continue;
        const QRect frame = w->frameGeometry().translated(-area.topLeft());
        others << frame;
        frameWidth = (w->frameGeometry().width() - w->width()) / 2;
    }
    *free = window;
    window->move(area.topLeft() + statusWindowPosition(area.size(), others, frameWidth));
    window->show();
}

void ProbeStatusWindows::refresh()
{
    for (const auto &w : slots_)
        if (w)
            w->redraw();
}

void ProbeStatusWindows::closeAll()
{
    for (const auto &w : slots_)
        if (w)
            w->close();
}

} // namespace cz
