// The 36 chart symbols on a six by six grid: a click, or the arrow keys,
// choose one; a double-click or Enter takes it.
#pragma once

#include <QColor>
#include <QWidget>

class QCPItemRect;
class QCustomPlot;

namespace cz {

class SymbolGrid final : public QWidget {
    Q_OBJECT
public:
    SymbolGrid(int symbol, const QColor &color, const QColor &background, QWidget *parent);
    int current() const { return current_; }
    void setCurrent(int symbol);
    // The symbol whose area holds `pos` (in the plot), or -1.
    int symbolAt(const QPoint &pos) const;
    QPoint symbolCentre(int symbol) const;

signals:
    void chosen(int symbol);  // a double-click or Enter
    void currentChanged(int symbol);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

private:
    void showCurrent();
    QCustomPlot *plot_;
    QCPItemRect *mark_;
    int current_;
};

} // namespace cz
