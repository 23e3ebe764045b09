// Probe status meters and the program configuration dialog: zones,
// pointer and texts read off the drawn meter, window placement, and colours
// and margins changed through the dialog.
#include "tests/ui/ChartFixture.h"
#include "tests/ui/DialogDriver.h"
#include "ui/config/ProgramSettingsDialog.h"
#include "ui/list/DeviceListPage.h"
#include "ui/list/ProbeStatusWindows.h"
#include "ui/list/ProbeTableModel.h"
#include "ui/meter/AlarmStatePictures.h"
#include "ui/meter/ProbeMeter.h"
#include "ui/widgets/ColorSwatch.h"

#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QScreen>
#include <QTest>

#include <gtest/gtest.h>

namespace cz::test {

namespace {

ProbeMeter &meterOf(ProbeStatusWindow &window)
{
    return *window.findChild<ProbeMeter *>();
}

// Colour row `row` of "Configure Corvanta Zephtra" and its button.
ColorSwatch &swatchAt(QWidget &dialog, int row)
{
    return *dialog.findChildren<ColorSwatch *>().at(row);
}
QPushButton &chooseColorButton(QWidget &dialog, int row)
{
    QList<QPushButton *> buttons;
    for (QPushButton *b : dialog.findChildren<QPushButton *>())
        if (b->text() == QLatin1String("Choose color..."))
            buttons << b;
    return *buttons.at(row);
}


constexpr int kZoneX = ProbeMeter::kScaleX + ProbeMeter::kScaleWidth / 2;
constexpr int kPointerX = ProbeMeter::kScaleX + ProbeMeter::kScaleWidth + 10;

struct MeterFixture : ChartFixture {
    MeterFixture()
    {
        // Five colours that tell the zones apart (0x00BBGGRR).
        ProgramSettings &s = store().settings;
        s.LowAlarmColor = 0x0000FF;      // red
        s.LowCautionColor = 0x00FFFF;    // yellow
        s.NormalColor = 0x00FF00;        // green
        s.HighCautionColor = 0xFF8000;   // a blue
        s.HighAlarmColor = 0xFF00FF;     // magenta
        s.PointerColor = 0xFFFFFF;       // white
        s.TemperatureLowMargin = 10;
        s.TemperatureHighMargin = 10;
        slot = addDevice("Server Room", "Model R4", 4, 30, {"Temperature", "Humidity", "Switch", "Wetness"});
    }
    ProbeRecord &probe(int i) { return *store().deviceForUpdate(slot)->probe(i); }
    ProbeStatusWindow &open(int i)
    {
        ProbeStatusWindows &windows = deviceListPage(*sheet).statusWindows();
        windows.open(probe(i));
        for (int s = 0; s < ProbeStatusWindows::kSlots; ++s)
            if (ProbeStatusWindow *w = windows.window(s); w && w->probeIndex() == i)
                return *w;
        ADD_FAILURE() << "no window for probe " << i;
        return *windows.window(0);
    }
    QRgb pixel(ProbeStatusWindow &w, int x, int y) { return meterOf(w).grab().toImage().pixel(x, y) & 0xFFFFFF; }
    int slot = 0;
};

} // namespace

TEST(ProbeMeter, ATemperatureMeterShowsItsFiveZonesAndThePointerAtTheReading)
{
    MeterFixture f;
    ProbeRecord &p = f.probe(0);
    p.LowAlarmTemp = 40.7, p.LowCautionTemp = 50, p.HighCautionTemp = 100, p.HighAlarmTemp = 110.9;
    p.CurrentTemp = 72.5;
    ProbeStatusWindow &w = f.open(0);
    EXPECT_EQ(w.size(), QSize(100, 453));
    EXPECT_EQ(w.windowTitle(), QStringLiteral("Probe01"));
    const MeterLook &look = meterOf(w).look();
    EXPECT_EQ(look.low, 30);    // 40 (whole part) - 10
    EXPECT_EQ(look.high, 120);  // 110 + 10
    EXPECT_EQ(look.tick, 9);
    EXPECT_EQ(look.text, QStringLiteral("72.5 F"));
    const std::pair<double, QRgb> zones[] = {{35, 0xFF0000}, {45, 0xFFFF00}, {75, 0x00FF00}, {105, 0x0080FF}, {115, 0xFF00FF}};
    for (const auto &[value, rgb] : zones)
        EXPECT_EQ(f.pixel(w, kZoneX, meterOf(w).rowOf(value)), rgb) << value;
    EXPECT_EQ(f.pixel(w, kPointerX, meterOf(w).rowOf(72.5)), 0xFFFFFFu);
    EXPECT_EQ(f.pixel(w, kPointerX, meterOf(w).rowOf(90)), 0x000000u);  // no pointer there
    f.picture(w, QStringLiteral("meter-temperature.png"));
}

TEST(ProbeMeter, HumidityAndWetnessRunFromZeroToAHundred)
{
    MeterFixture f;
    ProbeRecord &p = f.probe(1);
    p.LowAlarmHumidity = 20, p.LowCautionHumidity = 30, p.HighCautionHumidity = 60, p.HighAlarmHumidity = 80;
    p.CurrentHumidity = 67;
    p.AlarmState = AlarmState::HighCaution;
    ProbeStatusWindow &w = f.open(1);
    EXPECT_EQ(meterOf(w).look().text, QStringLiteral("67 %"));
    EXPECT_EQ(f.pixel(w, kZoneX, meterOf(w).rowOf(10)), 0xFF0000u);
    EXPECT_EQ(f.pixel(w, kZoneX, meterOf(w).rowOf(45)), 0x00FF00u);
    EXPECT_EQ(f.pixel(w, kZoneX, meterOf(w).rowOf(90)), 0xFF00FFu);
    EXPECT_EQ(f.pixel(w, kPointerX, meterOf(w).rowOf(67)), 0xFFFFFFu);
    EXPECT_EQ(control<QLabel>(w, "statePicture").accessibleName(), QStringLiteral("Caution"));
    f.picture(w, QStringLiteral("meter-humidity-caution.png"));

    ProbeRecord &wet = f.probe(3);
    wet.CurrentWetness = 12;
    wet.AlarmState = AlarmState::LowAlarm;
    ProbeStatusWindow &ww = f.open(3);
    EXPECT_EQ(meterOf(ww).look().text, QStringLiteral("12 %"));
    EXPECT_EQ(control<QLabel>(ww, "statePicture").accessibleName(), QStringLiteral("Alarm"));
    f.picture(ww, QStringLiteral("meter-wetness-alarm.png"));
}

TEST(ProbeMeter, ASwitchWithNoReadingReadsClosedAndItsAlarmZoneFollowsTheCondition)
{
    MeterFixture f;
    ProbeRecord &p = f.probe(2);
    p.SwitchState = kSwitchUnknown;
    p.SwitchAlarmCondition = SwitchAlarmCondition::OnClose;
    ProbeStatusWindow &w = f.open(2);
    EXPECT_EQ(meterOf(w).look().text, QStringLiteral("Closed"));
    EXPECT_EQ(meterOf(w).look().pointer, 1.5);
    EXPECT_EQ(f.pixel(w, kPointerX, meterOf(w).rowOf(1.5)), 0xFFFFFFu);
    EXPECT_EQ(f.pixel(w, ProbeMeter::kScaleX + 2, meterOf(w).rowOf(1.8)), 0xFF00FFu);  // closed is the alarm
    EXPECT_EQ(f.pixel(w, ProbeMeter::kScaleX + 2, meterOf(w).rowOf(0.2)), 0x00FF00u);
    f.picture(w, QStringLiteral("meter-switch-closed.png"));
    p.SwitchState = kSwitchOpen;
    w.redraw();
    EXPECT_EQ(meterOf(w).look().text, QStringLiteral("Open"));
    EXPECT_EQ(meterOf(w).look().pointer, 0.5);
}

TEST(ProbeMeter, StatePicturesAreDrawnForEveryScale)
{
    QImage sheet(3 * 72, 72, QImage::Format_ARGB32);
    sheet.fill(Qt::white);
    QPainter painter(&sheet);
    int x = 0;
    for (StatePicture which : {StatePicture::Alarm, StatePicture::Caution, StatePicture::Normal}) {
        const QPixmap one = statePicture(which, 32, 1), two = statePicture(which, 32, 2);
        EXPECT_EQ(one.size(), QSize(32, 32));
        EXPECT_EQ(two.size(), QSize(64, 64));  // drawn anew at twice the pixels, not scaled up
        EXPECT_EQ(two.deviceIndependentSize(), QSizeF(32, 32));
        painter.drawPixmap(x, 0, one);
        painter.drawImage(QRect(x, 36, 32, 32), two.toImage());
        x += 72;
    }
    painter.end();
    ChartFixture f;
    const QString folder = QStringLiteral(CZ_BIN_DIR "/../screenshots");
    EXPECT_TRUE(sheet.save(folder + "/state-pictures.png"));
}

TEST(ProbeMeter, AMeterRepaintsOnlyWhenWhatItShowsChanges)
{
    MeterFixture f;
    f.probe(0).CurrentTemp = 70;
    ProbeStatusWindow &w = f.open(0);
    const MeterLook same = meterOf(w).look();
    EXPECT_FALSE(meterOf(w).setLook(same));
    f.probe(0).CurrentTemp = 71;
    EXPECT_TRUE(meterOf(w).setLook(meterLook(f.probe(0), f.store().settings)));
    // An unknown state leaves the picture as it was.
    f.probe(0).AlarmState = AlarmState::HighAlarm;
    w.redraw();
    f.probe(0).AlarmState = AlarmState(9);
    w.redraw();
    EXPECT_EQ(control<QLabel>(w, "statePicture").accessibleName(), QStringLiteral("Alarm"));
}

TEST(ProbeMeter, WindowsArePlacedInRowsFromTheTopLeftCorner)
{
    auto place = [](QSize screen, int count) {
        QList<QRect> open;
        QList<QPoint> placed;
        for (int k = 0; k < count; ++k) {
            const QPoint at = statusWindowPosition(screen, open, 0);
            placed << at;
            open << QRect(at, QSize(100, 453));
        }
        return placed;
    };
    // 1024 x 768: side by side while the next edge stays left of 914; the
    // window whose edge passes it leaves the next one where it was.
    const QList<QPoint> small = place({1024, 768}, 10);
    for (int k = 0; k < 9; ++k)
        EXPECT_EQ(small[k], QPoint(20 + 104 * k, 20)) << k;
    EXPECT_EQ(small[9], QPoint(852, 20));
    const QList<QPoint> large = place({1920, 1080}, 19);
    for (int k = 0; k < 18; ++k)
        EXPECT_EQ(large[k], QPoint(20 + 104 * k, 20)) << k;
    EXPECT_EQ(large[18], QPoint(1788, 20));
    // An edge that lands just short of the limit wraps to the next row; on
    // a screen too low for a second row that is the corner again.
    EXPECT_EQ(statusWindowPosition({1024, 1500}, {QRect(811, 20, 100, 453)}, 0), QPoint(20, 490));
    EXPECT_EQ(statusWindowPosition({1024, 768}, {QRect(811, 20, 100, 453)}, 0), QPoint(20, 20));
    EXPECT_EQ(statusWindowPosition({1024, 768}, {QRect(808, 20, 100, 453)}, 3), QPoint(20, 20));  // the frame counts
    EXPECT_EQ(statusWindowPosition({1024, 768}, {QRect(800, 20, 100, 453)}, 3), QPoint(907, 20));
    EXPECT_EQ(statusWindowPosition({1024, 768}, {QRect(300, 500, 100, 453)}, 0), QPoint(404, 20));

    MeterFixture f;
    ProbeStatusWindow &first = f.open(0);
    ProbeStatusWindow &second = f.open(1);
    const QRect screen = first.screen()->geometry();
    const QPoint expected = statusWindowPosition(screen.size(), {first.frameGeometry().translated(-screen.topLeft())},
                                                 (first.frameGeometry().width() - first.width()) / 2);
    EXPECT_EQ(second.pos(), screen.topLeft() + expected);
    EXPECT_GT(second.pos().x(), first.pos().x() + 100);
}

TEST(ProgramConfiguration, CrossedMarginsColoursAndStartMinimisedReachTheSettingsFile)
{
    MeterFixture f;
    ProbeRecord &p = f.probe(0);
    p.LowAlarmTemp = 40, p.LowCautionTemp = 50, p.HighCautionTemp = 100, p.HighAlarmTemp = 110;
    p.CurrentTemp = 120;
    p.AlarmState = AlarmState::HighAlarm;
    deviceListPage(*f.sheet).rebuild();
    ProbeStatusWindow &meter = f.open(0);
    whenShown<ProgramSettingsDialog>([&f](ProgramSettingsDialog &dialog) {
        EXPECT_TRUE(unnamedControls(dialog).isEmpty()) << unnamedControls(dialog).join(", ").toStdString();
        EXPECT_EQ(swatchAt(dialog, 0).accessibleName(), QStringLiteral("High Alarm Range colour #FF00FF"));
        f.picture(dialog, QStringLiteral("program-configuration.png"));
        whenShown<QColorDialog>([](QColorDialog &colors) {
            colors.setCurrentColor(QColor(0x10, 0x20, 0xF0));
            colors.accept();
        });
        chooseColorButton(dialog, 0).click();
        EXPECT_EQ(swatchAt(dialog, 0).accessibleName(), QStringLiteral("High Alarm Range colour #1020F0"));
        choose(list(dialog, "From"), 5);
        choose(list(dialog, "degrees below Low Alarm threshold to"), 10);
        button(dialog, "Start Corvanta Zephtra in a minimized window at program launch.").click();
        button(dialog, "Show a desktop notification for every alarm, caution and clear, and for devices that stop "
                       "answering.")
            .click();
        dialog.accept();
    });
    button(deviceListPage(*f.sheet), "Configure Corvanta").click();
    const ProgramSettings &s = f.store().settings;
    EXPECT_EQ(s.HighAlarmColor, 0xF02010);
    EXPECT_EQ(s.TemperatureHighMargin, 5);
    EXPECT_EQ(s.TemperatureLowMargin, 10);
    // The open meter and the row in high alarm take the colour at once.
    EXPECT_EQ(f.pixel(meter, kZoneX, meterOf(meter).rowOf(113)), 0x1020F0u);
    ProbeTableModel &model = deviceListPage(*f.sheet).model();
    const int row = model.rowOf(&p);
    EXPECT_EQ(model.data(model.index(row, 0), Qt::BackgroundRole).value<QColor>(), QColor(0x10, 0x20, 0xF0));
    ASSERT_TRUE(f.store().writeProgramSettings());
    QFile ini(QFile::decodeName(f.store().folder().settingsFile()));
    ASSERT_TRUE(ini.open(QIODevice::ReadOnly));
    const QByteArray text = ini.readAll();
    EXPECT_TRUE(text.contains("TemperatureHighMargin=5\r\n"));
    EXPECT_TRUE(text.contains("TemperatureLowMargin=10\r\n"));
    EXPECT_TRUE(text.contains("HighAlarmColor=15736848\r\n"));
    EXPECT_TRUE(text.contains("DesktopNotifications=0\r\n"));
    EXPECT_FALSE(text.contains("ShowTrayIcon")) << "left on, it is not written";
    EXPECT_EQ(s.StartMinimized, 1);
}

TEST(ProgramConfiguration, CancelKeepsColoursAndMarginsButNotStartMinimised)
{
    MeterFixture f;
    const ProgramSettings before = f.store().settings;
    whenShown<ProgramSettingsDialog>([](ProgramSettingsDialog &dialog) {
        whenShown<QColorDialog>([](QColorDialog &colors) {
            colors.setCurrentColor(Qt::blue);
            colors.accept();
        });
        swatchAt(dialog, 7).setFocus();
        QTest::keyClick(&swatchAt(dialog, 7), Qt::Key_Space);
        choose(list(dialog, "From"), 3);
        button(dialog, "Start Corvanta Zephtra in a minimized window at program launch.").click();
        button(dialog, "Show Corvanta Zephtra's state in the system tray.").click();
        dialog.reject();
    });
    button(deviceListPage(*f.sheet), "Configure Corvanta").click();
    const ProgramSettings &s = f.store().settings;
    EXPECT_EQ(s.PlotAreaColor, before.PlotAreaColor);
    EXPECT_EQ(s.TemperatureHighMargin, before.TemperatureHighMargin);
    EXPECT_EQ(s.StartMinimized, before.StartMinimized ? 0 : 1);
    EXPECT_EQ(s.ShowTrayIcon, 1);
}

} // namespace cz::test
