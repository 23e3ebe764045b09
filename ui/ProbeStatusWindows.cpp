#include "ProbeStatusWindows.h"

#include "DeviceStore.h"
#include "ProbeCells.h"
#include "Prompter.h"

#include <QDialog>
#include <QLabel>
#include <QVBoxLayout>

namespace cz {

ProbeStatusWindows::ProbeStatusWindows(DeviceStore &app, Prompter &prompter, QWidget *owner)
    : QObject(owner), app_(app), prompter_(prompter), owner_(owner)
{
}

int ProbeStatusWindows::openCount() const
{
    int n = 0;
    for (const Slot &s : slots_)
        n += s.window ? 1 : 0;
    return n;
}

void ProbeStatusWindows::open(const ProbeRecord &probe)
{
    const int probeIndex = probe.ProbeNumber - 1;
    Slot *free = nullptr;
    for (Slot &s : slots_) {
        if (!s.window && !free)
            free = &s;
    }
    if (!free) {
        prompter_.tell(owner_, MessageIcon::Exclamation, QStringLiteral("Too many probe status windows open."));
        return;
    }
    for (Slot &s : slots_) {
        if (s.window && s.device == probe.DeviceNumber && s.probeIndex == probeIndex) {
            s.window->raise();
            s.window->activateWindow();
            return;
        }
    }
    const DeviceRecord *d = app_.device(probe.DeviceNumber);
    auto *window = new QDialog(owner_);
    window->setAttribute(Qt::WA_DeleteOnClose);
    window->setWindowTitle(QString::fromUtf8(probe.ProbeName.bytes()) + QStringLiteral(" - ") +
                           (d ? QString::fromUtf8(d->DeviceName.bytes()) : QString()));
    auto *layout = new QVBoxLayout(window);
    free->text = new QLabel(window);
    free->text->setTextFormat(Qt::PlainText);
    free->text->setMinimumWidth(260);
    layout->addWidget(free->text);
    auto *note = new QLabel(QStringLiteral("The probe meter is not part of this build yet."), window);
    note->setEnabled(false);
    layout->addWidget(note);
    free->window = window;
    free->device = probe.DeviceNumber;
    free->probeIndex = probeIndex;
    fill(*free);
    window->show();
}

void ProbeStatusWindows::fill(Slot &slot)
{
    const DeviceRecord *d = app_.device(slot.device);
    const ProbeRecord *p = d ? d->probe(slot.probeIndex) : nullptr;
    if (!p || !slot.text)
        return;
    auto cell = [&](int kind) { return probeCellText(kind, *d, *p); };
    slot.text->setText(QStringLiteral("%1\nProbe %2: %3\n\nCurrent value: %4\nAlarm state: %5\nLast contact: %6 %7")
                           .arg(cell(ColumnKind::DeviceName), cell(ColumnKind::ProbeNumber),
                                cell(ColumnKind::ProbeName), cell(ColumnKind::CurrentValue),
                                cell(ColumnKind::AlarmStateKind), cell(ColumnKind::ContactDate),
                                cell(ColumnKind::ContactTime)));
}

void ProbeStatusWindows::refresh()
{
    for (Slot &s : slots_)
        if (s.window)
            fill(s);
}

void ProbeStatusWindows::closeAll()
{
    for (Slot &s : slots_)
        if (s.window)
            s.window->close();
}

} // namespace cz
