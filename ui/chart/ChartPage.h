// A device's page: its history as one chart (ChartPlot) with the time span,
// zoom, scrolling, printing, saving and the colours and symbols dialog.
#pragma once

#include "ui/chart/ChartView.h"

#include <QImage>
#include <QWidget>

class QComboBox;
class QPrinter;
class QPushButton;
class QSlider;

namespace cz {

class ChartPlot;
struct DeviceRecord;
struct WindowContext;

class ChartPage final : public QWidget {
    Q_OBJECT
public:
    ChartPage(WindowContext &context, const DeviceRecord &device, QWidget *parent = nullptr);
    ~ChartPage() override;

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

protected:
    void showEvent(QShowEvent *event) override;

private:
    void updateSlider();
    double now() const;
    // The time of history index `index` (grid times where nothing was
    // written yet).
    double sampleTime(int index) const;
    int slot() const;

    WindowContext &context_;
    const DeviceRecord &device_;
    ChartView view_;
    int selected_ = 0;
    int spanIndex_ = kOneHourSpan;
    int sliderPosition_ = -1;
    bool building_ = false;
    bool due_ = true;
    int draws_ = 0;

    ChartPlot *plot_;
    QPushButton *reset_;
    QSlider *slider_;
    QComboBox *spans_;
};

} // namespace cz
