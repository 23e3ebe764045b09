// A box painted in a colour, opened with a double-click, Enter or Space.
// Screen readers hear what it is and its colour ("High Alarm Range colour
// #FF0000").
#pragma once

#include <QColor>
#include <QWidget>

namespace cz {

class ColorSwatch final : public QWidget {
    Q_OBJECT
public:
    ColorSwatch(const QString &what, QWidget *parent);
    void setColor(const QColor &color);
    QColor color() const { return color_; }
    QSize sizeHint() const override { return {48, 20}; }

signals:
    void activated();

protected:
    void paintEvent(QPaintEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    QString what_;
    QColor color_ = Qt::black;
};

// Opens the colour chooser on `color`; true and the new colour on OK.
bool chooseColor(QWidget *parent, QColor &color);

} // namespace cz
