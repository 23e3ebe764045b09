// The plot of a device's chart: title, legend, the time axis, the
// temperature axis on the left and the humidity / wetness axis on the
// right, one series per probe, and the open / closed markers of switches.
// A drag asks to zoom (with Shift: to widen), a click asks to bring a series
// to the front, a right click to reset; hovering shows what is under the
// pointer.
#pragma once

#include "store/ProgramSettings.h"
#include "ui/chart/ChartView.h"

#include <qcustomplot.h>

#include <vector>

namespace cz {

class ChartTitle;

class ChartPlot final : public QCustomPlot {
    Q_OBJECT
public:
    ChartPlot(const DeviceRecord &device, QWidget *parent);

    // The colours of the program settings.
    void setColors(const ProgramSettings &settings);
    // Shows the window `view` of the device's histories at time `now`, the
    // series at position `selected` in front.
    void showView(const ChartView &view, double now, int selected);
    // The chart as printed and saved: `width` x `height` pixels times `scale`.
    QImage image(int width, int height, double scale);
    // The tooltip of the legend entry or data point under `pos` (empty
    // when none) and the probe it belongs to (-1 when none).
    QString hotSpotAt(const QPoint &pos, int *probe) const;
    // The line of series position `position`.
    QCPGraph *seriesGraph(int position) const;
    // The colours of the series lines, as drawn.
    QList<QRgb> seriesColors() const;

signals:
    void zoomRequested(const cz::ViewPort &port, bool grow);
    void clicked(const QPoint &pos);
    void resetRequested();

protected:
    bool event(QEvent *e) override;
    void mousePressEvent(QMouseEvent *e) override;
    void mouseMoveEvent(QMouseEvent *e) override;
    void mouseReleaseEvent(QMouseEvent *e) override;
    void paintEvent(QPaintEvent *e) override;

private:
    struct Series {
        int probe = 0;
        QCPGraph *line = nullptr;
        QCPGraph *bridge = nullptr;
    };
    void buildSeries();
    void placeSwitchMarkers(int chartWidth);
    void setTickDensity(int plotWidth, int plotHeight);
    int probeAtGraph(const QCPGraph *graph) const;

    const DeviceRecord &device_;
    std::vector<Series> series_;
    int builtProbeCount_ = -1;
    ChartTitle *title_ = nullptr;
    QCPItemText *openMarker_ = nullptr;
    QCPItemText *closedMarker_ = nullptr;
    QColor plotArea_, legendArea_, timeAxis_, tempAxis_, humAxis_, grid_;
    bool dragging_ = false;
    QPoint dragStart_;
    QRect dragRect_;
};

} // namespace cz
