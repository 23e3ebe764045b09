// A device's page: its history as one chart, every probe a series over a
// shared time axis (temperatures on the left axis, humidity, wetness and
// switches on the right), with the time span, zoom, scrolling, printing,
// saving and the colours and symbols dialog.
#pragma once

#include "ChartView.h"

#include <QImage>
#include <QPointer>
#include <QWidget>

#include <vector>

class QComboBox;
class QCPGraph;
class QCPItemText;
class QCustomPlot;
class QPrinter;
class QPushButton;
class QSlider;

namespace cz {

class ChartPlot;
class ChartTitle;
struct ConfigContext;
struct DeviceRecord;

class CDeviceDetails final : public QWidget {
    Q_OBJECT
public:
    CDeviceDetails(ConfigContext &context, const DeviceRecord &device, QWidget *parent = nullptr);
    ~CDeviceDetails() override;

    // After a query of the device, whose samples the engine has appended:
    // a chart that follows new samples moves its window to the newest.
    void appendSample();
    // The page has been brought to the front: the span list, colours,
    // ranges and window are taken afresh and the chart follows new
    // samples again.
    void activate();
    // Builds the chart. A page that is not on screen only notes that it is
    // due and draws when shown.
    void draw();
    void selectTimeSpan(int index);
    void resetChart();
    void scrollTo(int position);
    // A drag over `port` of the plot area; with `grow` the window widens.
    void zoomTo(const ViewPort &port, bool grow);
    // A click in the chart: a legend entry or a data point under it comes
    // to the front.
    void clickAt(const QPoint &pos);
    // The tooltip of the legend entry or data point under `pos`, if any.
    QString toolTipAt(const QPoint &pos) const;

    // Print dialog, print, and the offer to save too.
    void printChart();
    // Prints on a printer already set up; false after telling the failure.
    bool printTo(QPrinter &printer);
    // Save dialog, then the file.
    void saveChart();
    // Writes the chart (or, for ".csv", its visible samples); false after
    // telling the failure.
    bool saveTo(const QString &path);
    // The chart as printed and saved: 720 x 500 pixels times `scale`.
    QImage chartImage(double scale = 1.0);
    // "Data Set Colors and Symbols"; OK stores the choices and redraws.
    void openColorsAndSymbols();

    const ChartView &view() const { return view_; }
    int selectedSeries() const { return selected_; }
    int drawCount() const { return draws_; }
    QCustomPlot &plot();
    QComboBox &timeSpanList() { return *spans_; }
    QSlider &slider() { return *slider_; }
    QPushButton &resetButton() { return *reset_; }
    QPushButton &colorsButton() { return *colors_; }
    // The line graph of series position `position` (for checks).
    QCPGraph *seriesGraph(int position) const;

protected:
    void showEvent(QShowEvent *event) override;

private:
    struct Series {
        int probe = 0;
        QCPGraph *line = nullptr;
        QCPGraph *bridge = nullptr;
    };
    void buildSeries();
    void takeColours();
    void buildChart();
    void placeSwitchMarkers(int chartWidth);
    void setTickDensity(int plotWidth, int plotHeight);
    int probeAtGraph(const QCPGraph *graph) const;
    // The tooltip title under `pos` and the probe it belongs to (-1: none).
    QString hotSpotAt(const QPoint &pos, int *probe) const;
    void updateSlider();
    double now() const;
    // The time of history index `index` (grid times where nothing was
    // written yet).
    double sampleTime(int index) const;
    int slot() const;

    ConfigContext &context_;
    const DeviceRecord &device_;
    ChartView view_;
    int selected_ = 0;
    int spanIndex_ = kOneHourSpan;
    int sliderPosition_ = -1;
    bool building_ = false;
    bool due_ = true;
    int draws_ = 0;
    std::vector<Series> series_;
    int builtProbeCount_ = -1;

    ChartPlot *plot_;
    ChartTitle *title_ = nullptr;
    QCPItemText *openMarker_ = nullptr;
    QCPItemText *closedMarker_ = nullptr;
    QPushButton *colors_;
    QPushButton *reset_;
    QSlider *slider_;
    QComboBox *spans_;

    QColor plotArea_, legendArea_, timeAxis_, tempAxis_, humAxis_, grid_;
};

} // namespace cz
