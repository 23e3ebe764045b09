// The probe list: cell texts and colours from records, sorting, hiding
// columns across a restart, enabling probes, deleting a device, and the
// status windows.
#include "store/DeviceFile.h"
#include "tests/support/NetTestSupport.h"
#include "tests/ui/ScriptedPrompter.h"
#include "tests/ui/WindowFixture.h"
#include "ui/list/DeviceListPage.h"
#include "ui/list/ProbeCells.h"
#include "ui/list/ProbeListView.h"
#include "ui/list/ProbeStatusWindows.h"
#include "ui/list/ProbeTableModel.h"

#include <QHeaderView>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

using namespace cz;
using namespace cz::test;

namespace {

constexpr auto T = ProbeType::Temperature;

struct ListFixture : DataFolderFixture {
    ListFixture()
    {
        store().readProgramSettings();
        lab = &addDevice(store(), "Lab", "Model R16", 1, {T, ProbeType::Humidity, ProbeType::Wetness, ProbeType::Switch});
        addDevice(store(), "Attic", "Model R4", 2, {T, T});
        for (int slot = 0; slot < 2; ++slot)
            for (int i = 0; i < store().device(slot)->ProbeCount; ++i)
                store().device(slot)->probe(i)->ProbeNumber = i + 1;
    }
    // The text of the cell in (view) row `row` under the column titled `title`.
    QString cell(DeviceListPage &page, int row, const QString &title)
    {
        const int column = page.model().columnOfKind(columnKind(title));
        return probeList(page).model()->index(row, column).data().toString();
    }
    QStringList column(DeviceListPage &page, const QString &title)
    {
        QStringList texts;
        for (int row = 0; row < probeList(page).model()->rowCount(); ++row)
            texts << cell(page, row, title);
        return texts;
    }
    DeviceRecord *lab;
    ScriptedPrompter prompter;
};

} // namespace

TEST(ProbeList, CellTextsFollowTheRecords)
{
    ListFixture f;
    DeviceRecord &d = *f.lab;
    ProbeRecord &t = *d.probe(0), &h = *d.probe(1), &w = *d.probe(2), &s = *d.probe(3);
    t.CurrentValueText = "71.5";
    t.CurrentTemp = 71.5;
    t.DisplayUnits = DisplayUnits::C;
    t.AlarmState = AlarmState::HighAlarm;
    t.LastAlarmSetTimeVal = 1794661509; // Sat Nov 14 2026 13:05:09 UTC
    t.HighestTemp = 80.25;
    t.HighestTempTimeVal = 1794661509;
    t.LowestTemp = kNoValue;
    h.CurrentValueText = "45.7";
    h.CurrentHumidity = 45;
    h.HighestHumidity = kNoReading;
    w.LowestWetnessTimeVal = 1794661509; // shown only once a highest wetness time exists
    s.SwitchState = kSwitchOpen;
    s.CurrentValueText = "Open";
    s.LastAlarmSetTimeVal = 1794661509;
    d.LastContactTimeVal = 1794661509;

    auto text = [&](int kind, const ProbeRecord &p) { return probeCellText(kind, d, p).toStdString(); };
    EXPECT_EQ(text(columnKind("probe number"), t), "01");
    EXPECT_EQ(text(columnKind("Current Value"), t), "71.5   deg. C");
    EXPECT_EQ(text(columnKind("Current Value"), h), "45.7   % RH");
    EXPECT_EQ(text(columnKind("Current Value"), s), "Open");
    EXPECT_EQ(text(columnKind("Alarm State"), t), "Alarm High");
    EXPECT_EQ(text(columnKind("Alarm Date"), t), "Sat, Nov 14, 2026");
    EXPECT_EQ(text(columnKind("Alarm Time"), t), "13:05:09 PM");
    EXPECT_EQ(text(columnKind("Alarm Cleared Date"), t), "Never");
    EXPECT_EQ(text(columnKind("Current Temp"), t), "71.50 C");
    EXPECT_EQ(text(columnKind("Highest Temp"), t), "80.25 C");
    EXPECT_EQ(text(columnKind("Lowest Temp"), t), "n/a"); // no reading yet
    EXPECT_EQ(text(columnKind("Current Temp"), s), "n/a");
    EXPECT_EQ(text(columnKind("Current Humidity"), h), "45 %");
    EXPECT_EQ(text(columnKind("Current Humidity"), t), "n/a");
    EXPECT_EQ(text(columnKind("Current Wetness"), w), "n/a");
    EXPECT_EQ(text(columnKind("Highest Humidity"), h), "-2147483648 %"); // printed as stored
    EXPECT_EQ(text(columnKind("Lowest Wetness Date"), w), "Sat, Nov 14, 2026");
    EXPECT_EQ(text(columnKind("Lowest Wetness Time"), w), "Never");
    EXPECT_EQ(text(columnKind("Switch State"), s), "Open");
    EXPECT_EQ(text(columnKind("Switch State"), t), "n/a");
    EXPECT_EQ(text(columnKind("Alarm Date"), s), "Sat, Nov 14, 2026");
    EXPECT_EQ(text(columnKind("Switch Open Date"), s), "Never");
    EXPECT_EQ(text(columnKind("Switch Open Date"), t), "n/a");
    EXPECT_EQ(text(columnKind("Last Contact Time"), t), "13:05:09 PM");
    EXPECT_EQ(text(columnKind("Probe Enabled"), t), "Yes");
}

TEST(ProbeList, RowsAreColouredByStateWhileTheProbeIsEnabled)
{
    ListFixture f;
    ProbeRecord &p = *f.lab->probe(0);
    EXPECT_EQ(rowColour(f.store().settings, p), QColor(0, 255, 0));
    p.AlarmState = AlarmState::HighAlarm;
    EXPECT_EQ(rowColour(f.store().settings, p), QColor(255, 0, 0));
    p.AlarmState = AlarmState::LowCaution;
    EXPECT_EQ(rowColour(f.store().settings, p), QColor(255, 255, 0));
    f.store().settings.LowCautionColor = 0x00804020; // 0x00BBGGRR
    EXPECT_EQ(rowColour(f.store().settings, p), QColor(0x20, 0x40, 0x80));
    p.ProbeEnabled = 0;
    EXPECT_FALSE(rowColour(f.store().settings, p).isValid());
}

TEST(ProbeList, SortsByDeviceThenProbeAndByAnyColumnAsText)
{
    ListFixture f;
    DeviceRecord &big = addDevice(f.store(), "Basement", "Model R16", 3, {T, T, T, T, T, T, T, T, T, T, T});
    for (int i = 0; i < big.ProbeCount; ++i)
        big.probe(i)->ProbeNumber = i + 1;
    DeviceListPage page(f.store(), f.prompter);
    const QStringList devices = f.column(page, "Device Name");
    EXPECT_EQ(devices.first(), "Attic");
    EXPECT_EQ(devices.last(), "Lab");
    EXPECT_EQ(f.column(page, "Probe Number").mid(2, 3), QStringList({"01", "02", "03"})); // Basement

    // A header click sorts any column as text: "10" before "9".
    big.probe(0)->ConsecutiveAlarmCount = 9;
    big.probe(1)->ConsecutiveAlarmCount = 10;
    const int count = page.model().columnOfKind(columnKind("Consecutive Alarms"));
    emit probeList(page).horizontalHeader()->sectionClicked(count);
    const QStringList sorted = f.column(page, "Consecutive Alarms");
    EXPECT_EQ(sorted.first(), "0");
    EXPECT_LT(sorted.indexOf("10"), sorted.indexOf("9"));
    probeList(page).proxy().sort(count, Qt::DescendingOrder); // what Shift+click does
    EXPECT_EQ(f.column(page, "Consecutive Alarms").first(), "9");
}

TEST(ProbeList, AHiddenColumnIsGoneAfterARestart)
{
    ListFixture f;
    {
        DeviceListPage page(f.store(), f.prompter);
        const int column = page.model().columnOfKind(columnKind("Alarm State"));
        probeList(page).hideColumn(column);
        EXPECT_TRUE(probeList(page).columnHidden(column));
        EXPECT_EQ(probeList(page).horizontalHeader()->visualIndex(column), 0); // moved to the front
        f.store().writeProgramSettings();
    }
    const QByteArray ini = readFile(f.store().folder().settingsFile());
    EXPECT_TRUE(ini.contains("ListColumn07Enabled=0\r\n")) << ini.constData();

    DeviceStore &restarted = f.restart();
    restarted.readProgramSettings();
    DeviceListPage page(restarted, f.prompter);
    EXPECT_EQ(page.model().columnCount(), kListColumns - 1);
    EXPECT_LT(page.model().columnOfKind(columnKind("Alarm State")), 0);
}

TEST(ProbeList, ARefreshAnnouncesOnlyTheCellsThatChanged)
{
    ListFixture f;
    DeviceListPage page(f.store(), f.prompter);
    page.refresh(); // nothing pending
    QSignalSpy spy(&page.model(), &QAbstractItemModel::dataChanged);
    ProbeRecord &p = *f.lab->probe(0);
    p.CurrentTemp = 72.0;
    p.CurrentValueText = "72.0";
    page.refresh();
    ASSERT_EQ(spy.size(), 2); // "Current Value", then "Current Temp"
    const int row = page.model().rowOf(&p);
    for (const QList<QVariant> &signal : spy) {
        const auto from = signal[0].value<QModelIndex>(), to = signal[1].value<QModelIndex>();
        EXPECT_EQ(from.row(), row);
        EXPECT_EQ(to.row(), row);
        EXPECT_EQ(from.column(), to.column());
    }
    EXPECT_EQ(f.cell(page, probeList(page).proxy().mapFromSource(page.model().index(row, 0)).row(), "Current Temp"),
              "72.00 F");
    spy.clear();
    page.refresh();
    EXPECT_TRUE(spy.isEmpty()); // nothing changed since
}

TEST(ProbeList, DisablingProbesHidesThemAndTheNextSaveWritesIt)
{
    ListFixture f;
    f.store().writeAllDeviceFiles();
    DeviceListPage page(f.store(), f.prompter);
    const int rows = page.model().rowCount();
    probeList(page).selectRow(0);
    const ProbeRecord *probe = probeList(page).selectedProbes().first();
    page.enableSelected(false);
    EXPECT_EQ(probe->ProbeEnabled, 0);
    f.store().writeAllDeviceFiles();
    const QByteArray file = readFile(f.store().folder().deviceFile(f.store().device(probe->DeviceNumber)->DeviceName.bytes()));
    const QByteArray section = probeSection(probe->ProbeNumber);
    const qsizetype at = file.indexOf('[' + section + ']');
    ASSERT_GE(at, 0) << file.constData();
    EXPECT_TRUE(file.mid(at).contains("ProbeEnabled=0\r\n")) << file.constData();
    EXPECT_EQ(page.model().rowCount(), rows - 1);
    EXPECT_TRUE(button(page, "showHideProbes").isEnabled());
    EXPECT_EQ(button(page, "showHideProbes").text(), "Show Disabled Probes");
    page.toggleDisabledProbes();
    EXPECT_EQ(page.model().rowCount(), rows);
    EXPECT_EQ(button(page, "showHideProbes").text(), "Hide Disabled Probes");
    EXPECT_EQ(f.store().settings.ShowDisabledProbes, 1);
}

TEST(ProbeList, DeletingNeedsOneDeviceAndAYes)
{
    ListFixture f;
    f.store().writeDeviceFile(0, true);
    f.store().writeDeviceFile(1, true);
    f.store().writeDevicesSection();
    DeviceListPage page(f.store(), f.prompter);
    page.deleteSelectedDevice();
    EXPECT_EQ(f.prompter.told.last(), "No device selected.");

    probeList(page).selectAll();
    page.deleteSelectedDevice();
    EXPECT_EQ(f.prompter.told.last(), "Multiple devices selected.\nPlease select a single device to delete.");
    EXPECT_EQ(f.store().deviceCount(), 2);

    probeList(page).clearSelection();
    probeList(page).selectRow(0); // Attic sorts first
    f.prompter.answers = {false};
    page.deleteSelectedDevice();
    EXPECT_EQ(f.prompter.questions.last(),
              "This will permanently delete the device named\n\"Attic\" and all of its probe data.\n\nAre you sure?");
    EXPECT_EQ(f.store().deviceCount(), 2);
    f.prompter.answers = {true};
    page.show();
    page.deleteSelectedDevice();
    EXPECT_EQ(f.store().deviceCount(), 1);
    EXPECT_FALSE(exists(f.store().folder().deviceFile("Attic")));
    // The rows went with the records, before anything could paint them.
    EXPECT_EQ(page.model().rowCount(), 4);
    page.repaint();
    QCoreApplication::processEvents(); // the list is rebuilt once the slots have moved
    EXPECT_EQ(f.column(page, "Device Name"), QStringList(4, "Lab"));
}

TEST(ProbeList, StatusWindowsAreRaisedWhenOpenAndLimitedTo128)
{
    ListFixture f;
    for (int d = 0; d < 8; ++d) {
        DeviceRecord &dev = addDevice(f.store(), "Rack " + QByteArray::number(d), "Model R16", 10 + d,
                                      {T, T, T, T, T, T, T, T, T, T, T, T, T, T, T, T});
        for (int i = 0; i < 16; ++i)
            dev.probe(i)->ProbeNumber = i + 1;
    }
    DeviceListPage page(f.store(), f.prompter);
    ProbeStatusWindows &windows = page.statusWindows();
    windows.open(*f.lab->probe(0));
    windows.open(*f.lab->probe(0));
    EXPECT_EQ(windows.openCount(), 1);
    for (int slot = 2; slot < 10; ++slot)
        for (int i = 0; i < 16 && windows.openCount() < 128; ++i)
            windows.open(*f.store().device(slot)->probe(i));
    EXPECT_EQ(windows.openCount(), 128);
    EXPECT_TRUE(f.prompter.told.isEmpty());
    windows.open(*f.lab->probe(1));
    EXPECT_EQ(f.prompter.told, QStringList{"Too many probe status windows open."});
    windows.closeAll();
    QCoreApplication::processEvents();

    // A probe the device does not have.
    ProbeRecord stray;
    stray.DeviceNumber = 0;
    stray.ProbeNumber = 17;
    windows.open(stray);
    EXPECT_EQ(f.prompter.told.last(), QStringLiteral("Internal error.\n\nPlease restart the program."));
    EXPECT_EQ(windows.openCount(), 0);
}

// Operators who use the keyboard or a screen reader: the buttons follow the
// selection however it is made, and Enter opens a probe's status window.
TEST(ProbeList, TheKeyboardSelectsRowsEnablesTheButtonsAndOpensStatusWindows)
{
    ListFixture f;
    DeviceListPage page(f.store(), f.prompter);
    page.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&page));
    EXPECT_FALSE(button(page, "Delete Selected Device").isEnabled());
    probeList(page).setFocus();
    probeList(page).setCurrentIndex(probeList(page).model()->index(0, 0));
    QTest::keyClick(&probeList(page), Qt::Key_Down);
    EXPECT_FALSE(probeList(page).selectedProbes().isEmpty());
    EXPECT_TRUE(button(page, "Delete Selected Device").isEnabled());
    EXPECT_TRUE(button(page, "Configure Selected Device").isEnabled());
    EXPECT_TRUE(button(page, "Disable Selected Probes").isEnabled());
    EXPECT_FALSE(button(page, "Enable Selected Probes").isEnabled());

    QTest::keyClick(&probeList(page), Qt::Key_Return);
    EXPECT_EQ(page.statusWindows().openCount(), 1);
    page.statusWindows().closeAll();

    probeList(page).clearSelection();
    EXPECT_FALSE(button(page, "Delete Selected Device").isEnabled());
}
