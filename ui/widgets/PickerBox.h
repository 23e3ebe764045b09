// A small focusable box that opens a chooser: a double-click, Enter, Space
// or F4 activates it. Subclasses paint what it shows.
#pragma once

#include <QWidget>

namespace cz {

class PickerBox : public QWidget {
    Q_OBJECT
public:
    explicit PickerBox(QWidget *parent);

signals:
    void activated();

protected:
    // Paints the box's content inside its frame.
    virtual void paintContent(QPainter &painter, const QRect &inside) = 0;
    void paintEvent(QPaintEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
};

} // namespace cz
