// Driving the configuration windows from the window's device list: the
// configure-device dialog of a device, its probe sheet, and the pages and
// files they change.
#pragma once

#include "tests/ui/Controls.h"
#include "tests/ui/DialogDriver.h"
#include "tests/ui/WindowFixture.h"
#include "ui/config/DeviceSettingsDialog.h"
#include "ui/config/ProbeSettingsPage.h"
#include "ui/config/ProbeSettingsSheet.h"
#include "ui/config/ThresholdEntry.h"
#include "ui/MainWindow.h"

#include <QLineEdit>
#include <QScrollArea>
#include <QTabWidget>
#include <QTest>

#include <functional>

namespace cz::test {

// Replaces a field's text from the keyboard.
inline void retype(QLineEdit &edit, const QString &text)
{
    edit.setFocus();
    edit.selectAll();
    QTest::keyClick(&edit, Qt::Key_Delete);
    QTest::keyClicks(&edit, text);
}

// Configure A Device on device `slot`, with `act` run in the dialog.
inline void configure(WindowFixture &f, int slot, std::function<void(DeviceSettingsDialog &)> act)
{
    whenShown<DeviceSettingsDialog>(act);
    f.sheet->configureDevice(slot);
}

// The probe sheet opened from "Configure Probes", with `act` run in it.
inline void inProbeSheet(DeviceSettingsDialog &dialog, std::function<void(ProbeSettingsSheet &)> act)
{
    whenShown<ProbeSettingsSheet>(act);
    click(dialog, QStringLiteral("Configure Probes"));
}

// Page `index` of the probe sheet (each tab scrolls its page), or the
// number of pages.
inline ProbeSettingsPage &probePage(ProbeSettingsSheet &sheet, int index)
{
    return *qobject_cast<QScrollArea *>(pageTabs(sheet).widget(index))->findChild<ProbeSettingsPage *>();
}
inline int probePageCount(ProbeSettingsSheet &sheet)
{
    return pageTabs(sheet).count();
}

// Threshold `row` (0 high alarm .. 3 low alarm) of a probe page.
inline ThresholdEntry &threshold(ProbeSettingsPage &page, int row)
{
    static const char *const names[4] = {"High Alarm Threshold:", "High Caution Threshold:", "Low Caution Threshold:",
                                         "Low Alarm Threshold:"};
    return control<ThresholdEntry>(page, QString::fromLatin1(names[row]));
}

inline QByteArray deviceFile(WindowFixture &f, const char *name)
{
    return readFile(f.store().folder().deviceFile(name));
}

} // namespace cz::test
