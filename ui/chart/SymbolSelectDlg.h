// "Data Symbol Selector": the 36 symbols on a six by six grid; a click, or
// the arrow keys, choose one. Also the small preview of one symbol that the
// colours dialog shows per probe.
#pragma once

#include "PickerBox.h"

#include <QDialog>

class QCPItemRect;
class QCustomPlot;

namespace cz {

class SymbolGrid;

class CSymbolSelectDlg final : public QDialog {
    Q_OBJECT
public:
    // `color` 0 is drawn in the dialog's default colour instead.
    CSymbolSelectDlg(int symbol, const QColor &color, const QColor &background, QWidget *parent = nullptr);
    // The symbol chosen: 0 .. 35, or -1 after "No Symbol".
    int symbol() const { return symbol_; }
    SymbolGrid &grid() { return *grid_; }

private:
    SymbolGrid *grid_;
    int symbol_;
};

// The selector's grid, a chart of 36 one-point series named by their
// symbols.
class SymbolGrid final : public QWidget {
    Q_OBJECT
public:
    SymbolGrid(int symbol, const QColor &color, const QColor &background, QWidget *parent);
    int current() const { return current_; }
    void setCurrent(int symbol);
    // The symbol whose area holds `pos`, or -1.
    int symbolAt(const QPoint &pos) const;
    QPoint symbolCentre(int symbol) const;
    QCustomPlot &plot() { return *plot_; }

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

// A 24 x 24 picture of one symbol in a colour on black, opening the
// selector.
class SymbolPreview final : public PickerBox {
    Q_OBJECT
public:
    SymbolPreview(const QString &what, QWidget *parent);
    void show(int symbol, const QColor &color);
    int symbol() const { return symbol_; }
    QSize sizeHint() const override { return {28, 28}; }

protected:
    void paintContent(QPainter &painter, const QRect &inside) override;

private:
    QString what_;
    int symbol_ = -1;
    QColor color_;
};

} // namespace cz
