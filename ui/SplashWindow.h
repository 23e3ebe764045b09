// The picture shown while the program starts.
#pragma once

#include <QPixmap>
#include <QWidget>

namespace cz {

// The program's picture: a thermometer over a network of sensor boxes.
QPixmap splashPicture();
// The program's icon, drawn the same way.
QPixmap programIcon(int size);

class SplashWindow final : public QWidget {
    Q_OBJECT
public:
    explicit SplashWindow(QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QPixmap picture_;
};

} // namespace cz
