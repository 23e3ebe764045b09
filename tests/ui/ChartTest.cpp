// The device chart: series and legend, symbols, spans, zoom and scrolling,
// clicks and tooltips, late samples, and the files and prints it makes.
#include "store/DeviceFile.h"
#include "tests/ui/ChartFixture.h"
#include "tests/ui/DialogDriver.h"
#include "ui/chart/ChartFiles.h"
#include "ui/chart/ChartSeries.h"
#include "ui/chart/ChartStyleDialog.h"
#include "ui/chart/ChartSymbols.h"
#include "ui/chart/SymbolGrid.h"
#include "ui/chart/SymbolPickerDialog.h"
#include "ui/chart/SymbolPreview.h"
#include "ui/widgets/ColorSwatch.h"

#include <QColorDialog>
#include <QComboBox>
#include <qcustomplot.h>
#include <QDateTime>
#include <QFile>
#include <QImageReader>
#include <QPushButton>
#include <QRegularExpression>
#include <QSlider>
#include <QTest>

#include <gtest/gtest.h>

namespace cz::test {

namespace {

double steady(int probe, int)
{
    return 70.5 + probe;
}

QPoint legendEntryCentre(ChartPage &page, int position)
{
    return plotOf(page).legend->item(position)->outerRect().center();
}

QPoint pointPixel(ChartPage &page, int position, int index)
{
    // `index` counts back from the newest point.
    QCPGraph *g = plotOf(page).seriesGraph(position);
    const QCPGraphData &d = *(g->data()->constEnd() - 1 - index);
    return QPoint(int(std::lround(g->keyAxis()->coordToPixel(d.key))), int(std::lround(g->valueAxis()->coordToPixel(d.value))));
}

} // namespace

TEST(ChartSeries, TwelveProbesListThreeProbesDownEachLegendColumn)
{
    ChartFixture f;
    const int slot = f.addDevice("Cold Store", "Model RM1", 12, 30);
    f.sample(slot, 10, steady);
    ChartPage &page = f.page(slot);
    const QStringList expected = {"01", "04", "07", "10", "02", "05", "08", "11", "03", "06", "09", "12"};
    for (int position = 0; position < 12; ++position)
        EXPECT_TRUE(plotOf(page).seriesGraph(position)->name().startsWith("Probe " + expected[position] + ":"))
            << plotOf(page).seriesGraph(position)->name().toStdString();
    // Probe 2 stands under probe 1, probe 4 beside it.
    const QPoint one = legendEntryCentre(page, 0), two = legendEntryCentre(page, 4), four = legendEntryCentre(page, 1);
    EXPECT_EQ(one.x(), two.x());
    EXPECT_GT(two.y(), one.y());
    EXPECT_EQ(one.y(), four.y());
    EXPECT_GT(four.x(), one.x());
    EXPECT_EQ(plotOf(page).seriesGraph(0)->name(), QStringLiteral("Probe 01: (T) 70.50"));
    EXPECT_EQ(plotOf(page).accessibleName(), QStringLiteral("Chart of Cold Store"));
    EXPECT_TRUE(plotOf(page).accessibleDescription().startsWith("Probe 01: (T) 70.50; Probe 04: (T) 73.50"));
}

TEST(ChartSeries, DisabledProbesAreGreyAndReadNotAvailable)
{
    ChartFixture f;
    const int slot = f.addDevice("Server Room", "Model R4", 4, 30);
    f.store().setProbesEnabled({f.store().device(slot)->probe(2)}, false);
    f.sample(slot, 10, steady);
    ChartPage &page = f.page(slot);
    EXPECT_EQ(plotOf(page).seriesGraph(2)->pen().color().rgb() & 0xFFFFFF, QRgb(kDisabledSeriesColor));
    EXPECT_EQ(plotOf(page).seriesGraph(2)->name(), QStringLiteral("Probe 03: (T) n/a"));
    EXPECT_NE(plotOf(page).seriesGraph(1)->pen().color().rgb() & 0xFFFFFF, QRgb(kDisabledSeriesColor));
}

TEST(ChartSymbols, DrawnAt120VisiblePointsAndNotAt121)
{
    ChartFixture f;
    const int slot = f.addDevice("Server Room", "Model R4", 4, 30);
    f.store().deviceForUpdate(slot)->PlotLineWidth = 3;
    f.sample(slot, 400, steady);
    ChartPage &page = f.page(slot);
    ASSERT_EQ(page.view().pointCount(), 120);  // an hour at 30 s
    EXPECT_FALSE(plotOf(page).seriesGraph(0)->scatterStyle().isNone());
    EXPECT_EQ(plotOf(page).seriesGraph(0)->pen().width(), 1);
    // One step back, then one point wider.
    control<QSlider>(page, "Chart scroll position").setValue(control<QSlider>(page, "Chart scroll position").maximum() - 1);
    page.zoomTo(ViewPort{1.0 / 120, 0, 1 - 1.0 / 120, 1}, true);
    ASSERT_EQ(page.view().pointCount(), 121);
    EXPECT_TRUE(plotOf(page).seriesGraph(0)->scatterStyle().isNone());
    EXPECT_EQ(plotOf(page).seriesGraph(0)->pen().width(), 3);
}

TEST(ChartSymbols, NoSymbolMeansNoPointsEvenInAShortWindow)
{
    ChartFixture f;
    const int slot = f.addDevice("Server Room", "Model R4", 4, 30);
    ChartStyle style;
    for (int i = 0; i < 4; ++i) {
        style.colors[std::size_t(i)] = f.store().device(slot)->probe(i)->ChartDataColor;
        style.symbols[std::size_t(i)] = i == 1 ? -1 : 5;
    }
    f.store().setChartStyle(slot, style);
    f.sample(slot, 10, steady);
    ChartPage &page = f.page(slot);
    EXPECT_TRUE(plotOf(page).seriesGraph(1)->scatterStyle().isNone());
    EXPECT_FALSE(plotOf(page).seriesGraph(0)->scatterStyle().isNone());
}

TEST(ChartSpans, ATenSecondDeviceOffersSixSpansAndADayWithoutSymbols)
{
    ChartFixture f;
    const int slot = f.addDevice("Freezer", "Model R4", 4, 10);
    f.sample(slot, 20, steady);
    ChartPage &page = f.page(slot);
    QStringList items;
    for (int i = 0; i < list(page, "Chart Time Span:").count(); ++i)
        items << list(page, "Chart Time Span:").itemText(i);
    EXPECT_EQ(items, QStringList({"5 min.", "10 min.", "20 min.", "30 min.", "1 hour", "24 hours"}));
    EXPECT_EQ(list(page, "Chart Time Span:").currentText(), QStringLiteral("1 hour"));
    list(page, "Chart Time Span:").setFocus();
    QTest::keyClick(&list(page, "Chart Time Span:"), Qt::Key_Down);
    EXPECT_EQ(page.view().pointCount(), 8640);
    EXPECT_TRUE(plotOf(page).seriesGraph(0)->scatterStyle().isNone());

    const int slow = f.addDevice("Warehouse", "Model R4", 4, 60);
    EXPECT_EQ(list(f.page(slow), "Chart Time Span:").count(), 8);
}

TEST(ChartZoom, ADragNarrowsBothAxesAndAZoomBeyondTheLimitIsIgnored)
{
    ChartFixture f;
    const int slot = f.addDevice("Freezer", "Model R4", 4, 10);
    f.sample(slot, 50, steady);
    ChartPage &page = f.page(slot);
    page.selectTimeSpan(kOneDaySpan);
    const int first = page.view().first;
    // Widening by a whole window is allowed once (17,280 points) ...
    page.zoomTo(ViewPort{1.0, 0, 0, 1}, true);
    EXPECT_EQ(page.view().first, first - 8640);
    EXPECT_FALSE(page.view().follow);
    EXPECT_TRUE(button(page, "Reset Chart (Cancel Scroll and/or Zoom)").isEnabled());
    // ... but not twice (34,560 > 20,159): nothing changes.
    const ChartView before = page.view();
    page.zoomTo(ViewPort{1.0, 0, 0, 1}, true);
    EXPECT_EQ(page.view().first, before.first);
    EXPECT_EQ(page.view().last, before.last);

    // A drag with the mouse over the middle of the plot.
    page.resetChart();
    const QRect area = plotOf(page).axisRect()->rect();
    QTest::mousePress(&plotOf(page), Qt::LeftButton, {}, area.topLeft() + QPoint(area.width() / 4, area.height() / 4));
    QTest::mouseMove(&plotOf(page), area.topLeft() + QPoint(area.width() * 3 / 4, area.height() * 3 / 4));
    QTest::mouseRelease(&plotOf(page), Qt::LeftButton, {}, area.topLeft() + QPoint(area.width() * 3 / 4, area.height() * 3 / 4));
    EXPECT_TRUE(page.view().zoomed);
    EXPECT_NEAR(page.view().pointCount(), 4320, 60);
    const double full = page.view().tempMax - page.view().tempMin;
    EXPECT_NEAR(page.view().tempUpper, page.view().tempMax - full / 4, 0.5);
    // A right click in the plot resets the window and the ranges.
    QTest::mouseClick(&plotOf(page), Qt::RightButton, {}, area.center());
    EXPECT_FALSE(page.view().zoomed);
    EXPECT_EQ(page.view().pointCount(), 8640);
    EXPECT_DOUBLE_EQ(page.view().tempUpper, page.view().tempMax);
    EXPECT_FALSE(page.view().follow);  // only opening the page follows again

    // From the keyboard: the newer half, then half a window more.
    list(page, "Chart Time Span:").setFocus();
    QTest::keyClick(&list(page, "Chart Time Span:"), Qt::Key_Plus, Qt::ControlModifier);
    EXPECT_EQ(page.view().pointCount(), 4320);
    EXPECT_EQ(page.view().last, 86399);
    QTest::keyClick(&list(page, "Chart Time Span:"), Qt::Key_Minus, Qt::ControlModifier);
    EXPECT_EQ(page.view().pointCount(), 6480);
}

TEST(ChartScroll, TheSliderMovesHalfAWindowAndClampsAtBothEnds)
{
    ChartFixture f;
    const int slot = f.addDevice("Freezer", "Model R4", 4, 30);
    f.sample(slot, 10, steady);
    ChartPage &page = f.page(slot);
    const int n = page.view().pointCount();
    const int max = control<QSlider>(page, "Chart scroll position").maximum();
    EXPECT_EQ(max, 2 * (86400 / n));
    control<QSlider>(page, "Chart scroll position").setValue(max - 1);
    EXPECT_EQ(page.view().first, 86399 - n / 2 - n);
    EXPECT_EQ(page.view().last, 86399 - n / 2);
    EXPECT_FALSE(page.view().follow);
    control<QSlider>(page, "Chart scroll position").setValue(0);
    EXPECT_EQ(page.view().first, 0);
    EXPECT_EQ(page.view().last, n);
    // Back at the newest samples the chart is reset.
    control<QSlider>(page, "Chart scroll position").setValue(max);
    EXPECT_EQ(page.view().last, 86399);
    EXPECT_FALSE(page.view().scrolled);
    EXPECT_FALSE(button(page, "Reset Chart (Cancel Scroll and/or Zoom)").isEnabled());
    // Keys move it too.
    control<QSlider>(page, "Chart scroll position").setFocus();
    QTest::keyClick(&control<QSlider>(page, "Chart scroll position"), Qt::Key_Left);
    EXPECT_EQ(page.view().last, 86399 - n / 2);
}

TEST(ChartClicks, TitlesNameTheProbeBroughtToTheFront)
{
    DeviceRecord d;
    d.ProbeCount = 4;
    for (int i = 0; i < 4; ++i) {
        d.Probes[std::size_t(i)] = std::make_unique<ProbeRecord>();
        d.Probes[std::size_t(i)]->ProbeName = QByteArray("Probe") + QByteArray::number(i + 1);
    }
    d.Probes[3]->ProbeName = "Freezer A";
    d.Probes[1]->ProbeName = "freezer a";
    EXPECT_EQ(clickedProbe(d, "Probe 03: Name: \"Probe3\" (Type: T)  Value: 1  Date: 11/14 10:00:00"), 2);
    EXPECT_EQ(clickedProbe(d, "Probe 09: Name: \"x\""), 0);                   // beyond the probes
    EXPECT_EQ(clickedProbe(d, "Probe Name: \"Probe3\"  Type: T"), 0);         // a legend entry by number
    d.ShowProbeNamesInLegend = 1;
    EXPECT_EQ(clickedProbe(d, "Probe Name: \"FREEZER A\"  Type: T"), 3);      // the last match wins
    EXPECT_EQ(clickedProbe(d, "Probe3 Name: \"Probe3\" (Type: T)"), 2);
    EXPECT_EQ(clickedProbe(d, "Probe Name: \"nobody\"  Type: T"), 0);
}

TEST(ChartClicks, ClickingALegendEntryOrAPointBringsItsSeriesToTheFront)
{
    ChartFixture f;
    const int slot = f.addDevice("Cold Store", "Model RM1", 12, 30);
    f.store().setLegendShowsProbeNames(slot, true);
    f.sample(slot, 10, steady);
    ChartPage &page = f.page(slot);
    EXPECT_EQ(page.selectedSeries(), 0);
    // Probe 7 stands at position 2 of the twelve.
    QTest::mouseClick(&plotOf(page), Qt::LeftButton, {}, legendEntryCentre(page, 2));
    EXPECT_EQ(page.selectedSeries(), 2);
    EXPECT_EQ(plotOf(page).seriesGraph(2)->layer()->name(), QStringLiteral("front"));
    QTest::mouseClick(&plotOf(page), Qt::LeftButton, {}, pointPixel(page, 5, 3));  // probe 5
    EXPECT_EQ(page.selectedSeries(), 5);
}

TEST(ChartTooltips, LegendEntriesAndDataPointsSayWhatTheyAre)
{
    ChartFixture f;
    const int slot = f.addDevice("Server Room", "Model R4", 4, 30, {"Temperature", "Humidity"});
    f.sample(slot, 10, [](int probe, int k) { return probe == 0 ? 71.6 : 40.0 + k; });
    ChartPage &page = f.page(slot);
    EXPECT_EQ(page.toolTipAt(legendEntryCentre(page, 1)), QStringLiteral("Probe Name: \"Probe02\"  Type: H"));
    const double time = (plotOf(page).seriesGraph(0)->data()->constEnd() - 1)->key;
    EXPECT_EQ(page.toolTipAt(pointPixel(page, 0, 0)),
              QStringLiteral("Probe 01: Name: \"Probe01\" (Type: T)  Value: 71.6  Date: ") +
                  QDateTime::fromSecsSinceEpoch(qint64(time)).toString("MM/dd hh:mm:ss"));
    EXPECT_TRUE(page.toolTipAt(plotOf(page).axisRect()->rect().topLeft() + QPoint(3, 3)).isEmpty());
}

TEST(ChartSamples, ALateQueryLeavesGapsForTheIntervalsWithoutAnAnswerAndHiddenPagesDoNotDraw)
{
    ChartFixture f;
    const int slot = f.addDevice("Server Room", "Model R4", 4, 30);
    const int other = f.addDevice("Cold Store", "Model R4", 4, 30);
    f.sample(slot, 5, steady);
    ChartPage &page = f.page(slot);
    DeviceRecord *d = f.store().deviceForUpdate(slot);
    d->probe(0)->CurrentTemp = 80;
    f.clock.advanceMs(3 * 30 * 1000 + 500);  // the program stalled for three intervals
    appendHistorySample(*d, true, double(f.clock.nowMs()) / 1000.0);
    page.appendSample();
    const auto data = plotOf(page).seriesGraph(0)->data();
    const int n = data->size();
    EXPECT_EQ(data->at(n - 1)->value, 80);
    EXPECT_TRUE(std::isnan(data->at(n - 2)->value));
    EXPECT_TRUE(std::isnan(data->at(n - 3)->value));
    EXPECT_EQ(data->at(n - 4)->value, 70.5);
    EXPECT_DOUBLE_EQ(data->at(n - 1)->key - data->at(n - 2)->key, 30);
    EXPECT_LE(data->at(n - 1)->key, double(f.clock.nowMs()) / 1000.0);

    const int draws = f.sheet->devicePage(other)->drawCount();
    f.sample(other, 3, steady);
    EXPECT_EQ(f.sheet->devicePage(other)->drawCount(), draws);
    EXPECT_GT(f.page(other).drawCount(), draws);  // caught up when shown
}

TEST(ChartFiles, EveryFormatIsWrittenAndReadsBack)
{
    ChartFixture f;
    const int slot = f.addDevice("Server Room", "Model R4", 4, 30, {"Temperature", "Temperature", "Temperature", "Switch"});
    f.sample(slot, 30, [](int probe, int k) { return probe == 3 ? double(k % 10 < 5 ? kSwitchOpen : kSwitchClosed) : 60.0 + probe * 10; });
    ChartPage &page = f.page(slot);
    const QRgb series = plotOf(page).seriesGraph(0)->pen().color().rgb();
    const QString folder = QFile::decodeName(f.store().folder().root);
    for (const char *format : {"png", "jpg", "bmp", "gif"}) {
        SCOPED_TRACE(format);
        const QString path = folder + "/chart." + format;
        ASSERT_TRUE(page.saveTo(path));
        QImageReader reader(path);
        EXPECT_EQ(reader.format(), QByteArray(format) == "jpg" ? QByteArray("jpeg") : QByteArray(format));
        const QImage image = reader.read();
        ASSERT_FALSE(image.isNull()) << reader.errorString().toStdString();
        EXPECT_EQ(image.size(), QSize(720, 500));
        if (QByteArray(format) != "jpg") {
            EXPECT_GT(countColor(image, series), 100);
        }
    }
    ASSERT_TRUE(page.saveTo(folder + "/chart.csv"));
    QFile csv(folder + "/chart.csv");
    ASSERT_TRUE(csv.open(QIODevice::ReadOnly));
    const QList<QByteArray> lines = csv.readAll().split('\n');
    EXPECT_EQ(lines[0], "Date,Time,\"Probe 01 (Probe01)\",\"Probe 02 (Probe02)\",\"Probe 03 (Probe03)\",\"Probe 04 (Probe04)\"\r");
    EXPECT_EQ(lines.size(), 1 + page.view().pointCount() + 1);
    EXPECT_TRUE(lines[lines.size() - 2].endsWith(",60.0,70.0,80.0,Closed\r")) << lines[lines.size() - 2].toStdString();
    EXPECT_TRUE(lines[1].endsWith(",,,,\r"));  // before the first sample
}

TEST(ChartFiles, CtrlSProposesTheWindowAsNameInTheDataFolder)
{
    ChartFixture f;
    const int slot = f.addDevice("Server Room", "Model R4", 4, 30);
    f.sample(slot, 10, steady);
    ChartPage &page = f.page(slot);
    const QString path = QFile::decodeName(f.store().folder().root) + "/saved.gif";
    f.files.answers << path;
    QTest::keyClick(&list(page, "Chart Time Span:"), Qt::Key_S, Qt::ControlModifier);
    ASSERT_EQ(f.files.asked.size(), 1);
    const FileQuestion &q = f.files.asked[0];
    EXPECT_EQ(q.title, QStringLiteral("Save Corvanta Zephtra Chart"));
    EXPECT_EQ(q.filters, chartFileFilters());
    EXPECT_EQ(q.defaultSuffix, QStringLiteral("png"));
    EXPECT_EQ(q.folder, QFile::decodeName(f.store().folder().root));
    EXPECT_TRUE(QRegularExpression(R"(^Server Room \d\d-\d\d-\d\d \d\d-\d\d-\d\d to \d\d-\d\d-\d\d \d\d-\d\d-\d\d$)")
                    .match(q.file)
                    .hasMatch())
        << q.file.toStdString();
    EXPECT_EQ(QImage(path).size(), QSize(720, 500));
}

TEST(ChartPrint, CtrlPPrintsToThePrinterAndOffersToSave)
{
    ChartFixture f;
    const int slot = f.addDevice("Server Room", "Model R4", 4, 30);
    f.sample(slot, 10, steady);
    ChartPage &page = f.page(slot);
    const QString pdf = QFile::decodeName(f.store().folder().root) + "/printed.pdf";
    f.files.printerFiles << pdf;
    f.prompter.answers << true;
    f.files.answers << QFile::decodeName(f.store().folder().root) + "/printed.png";
    QTest::keyClick(&list(page, "Chart Time Span:"), Qt::Key_P, Qt::ControlModifier);
    QFile file(pdf);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    EXPECT_TRUE(bytes.startsWith("%PDF"));
    EXPECT_GT(bytes.size(), 10000);
    // The document is named by the device and the window shown.
    const int at = bytes.indexOf("/Title (\xFE\xFF");
    ASSERT_GE(at, 0);
    const QByteArray utf16 = bytes.mid(at + 10, bytes.indexOf(')', at) - at - 10);
    QString title;
    for (int i = 0; i + 1 < utf16.size(); i += 2)
        title += QChar(char16_t((uchar(utf16[i]) << 8) | uchar(utf16[i + 1])));
    std::vector<double> times;
    sampleTimes(*f.store().device(slot), page.view().first, page.view().last, f.clock.now(), times);
    EXPECT_EQ(title, chartDocumentName(*f.store().device(slot), times.front(), times.back()));
    EXPECT_TRUE(title.startsWith("Server Room ")) << title.toStdString();
    ASSERT_EQ(f.prompter.questions.size(), 1);
    EXPECT_EQ(f.prompter.questions[0], QStringLiteral("The chart has been printed on the specified printer.\n"
                                                  "Would you also like to save this chart to a file?"));
    EXPECT_TRUE(QFile::exists(QFile::decodeName(f.store().folder().root) + "/printed.png"));
}

TEST(ChartColors, TheDialogsStoreColoursSymbolsAndThicknessForTheNextSave)
{
    ChartFixture f;
    const int slot = f.addDevice("Server Room", "Model R4", 4, 30);
    f.store().writeDeviceFile(slot, true);
    f.sample(slot, 10, steady);
    ChartPage &page = f.page(slot);
    whenShown<ChartStyleDialog>([&](ChartStyleDialog &dialog) {
        EXPECT_TRUE(unnamedControls(dialog).isEmpty()) << unnamedControls(dialog).join(", ").toStdString();
        EXPECT_EQ(dialog.findChildren<ColorSwatch *>().size(), 4);
        f.picture(dialog, QStringLiteral("chart-colors.png"));
        whenShown<QColorDialog>([](QColorDialog &colors) {
            colors.setCurrentColor(QColor(0x12, 0x34, 0x56));
            colors.accept();
        });
        ColorSwatch *second = dialog.findChildren<ColorSwatch *>().at(1);
        second->setFocus();
        QTest::keyClick(second, Qt::Key_Space);
        EXPECT_EQ(second->accessibleName(), QStringLiteral("Probe 2 Data colour #123456"));
        whenShown<SymbolPickerDialog>([&f](SymbolPickerDialog &selector) {
            f.picture(selector, QStringLiteral("chart-symbols.png"));
            const SymbolGrid &grid = *selector.findChild<SymbolGrid *>();
            QTest::mouseClick(selector.findChild<QCustomPlot *>(), Qt::LeftButton, {}, grid.symbolCentre(12));
            EXPECT_EQ(grid.current(), 12);
            button(selector, "OK").click();
        });
        QTest::mouseDClick(dialog.findChildren<SymbolPreview *>().at(2), Qt::LeftButton);
        whenShown<SymbolPickerDialog>([](SymbolPickerDialog &selector) {
            button(selector, "No Symbol").click();
        });
        QTest::mouseDClick(dialog.findChildren<SymbolPreview *>().at(1), Qt::LeftButton);
        choose(list(dialog, "Plot line thickness:"), 2);
        dialog.accept();
    });
    button(page, "Set Data Line Colors and Data Point Symbols").click();
    const DeviceRecord &d = *f.store().device(slot);
    EXPECT_EQ(d.PlotLineWidth, 3);
    EXPECT_EQ(d.probe(1)->ChartDataColor, 0x563412);  // kept as 0x00BBGGRR
    EXPECT_EQ(d.probe(2)->ChartDataSymbol, 12);
    EXPECT_EQ(d.probe(1)->ChartDataSymbol, -1);
    EXPECT_EQ(plotOf(page).seriesGraph(1)->pen().color(), QColor(0x12, 0x34, 0x56));
    ASSERT_TRUE(f.store().writeAllDeviceFiles());
    QFile ini(QFile::decodeName(f.store().folder().deviceFile("Server Room")));
    ASSERT_TRUE(ini.open(QIODevice::ReadOnly));
    const QByteArray text = ini.readAll();
    EXPECT_TRUE(text.contains("PlotLineWidth=3"));
    EXPECT_TRUE(text.contains("ChartDataColor=5649426"));
    EXPECT_TRUE(text.contains("ChartDataSymbol=12"));
    EXPECT_TRUE(text.contains("ChartDataSymbol=-1"));
}

TEST(ChartColors, LegendNamesTakeEffectAtOnceAndCancelKeepsThem)
{
    ChartFixture f;
    const int slot = f.addDevice("Server Room", "Model R4", 4, 30);
    f.store().deviceForUpdate(slot)->probe(0)->ProbeName = "A very long probe name indeed";
    f.sample(slot, 10, steady);
    ChartPage &page = f.page(slot);
    whenShown<ChartStyleDialog>([](ChartStyleDialog &dialog) {
        button(dialog, "Display probe names in chart legend").click();
        dialog.reject();
    });
    button(page, "Set Data Line Colors and Data Point Symbols").click();
    ASSERT_EQ(f.prompter.told.size(), 1);
    EXPECT_EQ(f.prompter.told[0], QStringLiteral("Probe names displayed in the chart legend\nwill be truncated to 16 "
                                                      "characters.\n\nThe actual probe names are not changed,\nbut only "
                                                      "the first 16 characters of the\nname will be displayed in the "
                                                      "chart legend."));
    EXPECT_EQ(f.store().device(slot)->ShowProbeNamesInLegend, 1);
    EXPECT_EQ(plotOf(page).seriesGraph(0)->name(), QStringLiteral("A very long prob (T) 70.50"));
    EXPECT_TRUE(f.store().device(slot)->Changed.contains("ShowProbeNamesInLegend"));
}

} // namespace cz::test
