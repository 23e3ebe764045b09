#include "ui/SplashWindow.h"

#include <QGuiApplication>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>

namespace cz {

namespace {

void drawThermometer(QPainter &p, const QRectF &box, const QColor &mercury)
{
    const double w = box.width();
    const QRectF tube(box.center().x() - w * 0.16, box.top(), w * 0.32, box.height() * 0.78);
    const QRectF bulb(box.center().x() - w * 0.32, box.bottom() - w * 0.64, w * 0.64, w * 0.64);
    QPainterPath glass;
    glass.addRoundedRect(tube, tube.width() / 2, tube.width() / 2);
    glass.addEllipse(bulb);
    p.setPen(QPen(QColor(235, 240, 245), w * 0.06));
    p.setBrush(QColor(250, 252, 255));
    p.drawPath(glass.simplified());
    p.setPen(Qt::NoPen);
    p.setBrush(mercury);
    p.drawEllipse(bulb.adjusted(w * 0.1, w * 0.1, -w * 0.1, -w * 0.1));
    const QRectF column(tube.left() + w * 0.08, tube.top() + tube.height() * 0.3, tube.width() - w * 0.16,
                        tube.height() * 0.75);
    p.drawRoundedRect(column, column.width() / 2, column.width() / 2);
}

} // namespace

QPixmap splashPicture()
{
    QPixmap pixmap(480, 280);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    QLinearGradient sky(0, 0, 0, 280);
    sky.setColorAt(0, QColor(18, 52, 86));
    sky.setColorAt(1, QColor(10, 24, 40));
    p.fillRect(pixmap.rect(), sky);
    // Sensor boxes on a network.
    const QPointF nodes[] = {{335, 62}, {440, 100}, {380, 175}, {448, 220}, {318, 228}};
    p.setPen(QPen(QColor(80, 140, 190), 2));
    for (int i = 0; i < 5; ++i)
        for (int j = i + 1; j < 5; ++j)
            if ((i + j) % 2 == 1)
                p.drawLine(nodes[i], nodes[j]);
    const QColor states[] = {QColor(60, 200, 90), QColor(60, 200, 90), QColor(240, 200, 40), QColor(60, 200, 90),
                             QColor(230, 60, 50)};
    for (int i = 0; i < 5; ++i) {
        p.setPen(QPen(QColor(200, 220, 240), 2));
        p.setBrush(QColor(30, 70, 110));
        p.drawRoundedRect(QRectF(nodes[i].x() - 18, nodes[i].y() - 12, 36, 24), 4, 4);
        p.setPen(Qt::NoPen);
        p.setBrush(states[i]);
        p.drawEllipse(QRectF(nodes[i].x() - 12, nodes[i].y() - 4, 8, 8));
    }
    drawThermometer(p, QRectF(40, 40, 70, 200), QColor(230, 60, 50));
    QFont title(QStringLiteral("Liberation Sans"), 28, QFont::Bold);
    p.setFont(title);
    p.setPen(Qt::white);
    p.drawText(QRectF(120, 60, 200, 80), Qt::AlignLeft | Qt::AlignVCenter, QStringLiteral("Corvanta\nZephtra"));
    QFont line(QStringLiteral("Liberation Sans"), 11, QFont::Bold, true);
    p.setFont(line);
    p.setPen(QColor(170, 200, 230));
    p.drawText(QRectF(124, 150, 220, 24), Qt::AlignLeft, QStringLiteral("Environment monitoring"));
    p.setFont(QFont(QStringLiteral("Liberation Sans"), 9));
    p.drawText(QRectF(124, 240, 340, 20), Qt::AlignLeft, QStringLiteral("Version 1.41  (build 102612)"));
    return pixmap;
}

QPixmap programIcon(int size)
{
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(18, 52, 86));
    p.drawRoundedRect(QRectF(0, 0, size, size), size * 0.2, size * 0.2);
    drawThermometer(p, QRectF(size * 0.3, size * 0.08, size * 0.4, size * 0.84), QColor(230, 60, 50));
    return pixmap;
}

SplashWindow::SplashWindow(QWidget *parent)
    : QWidget(parent, Qt::SplashScreen | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint), picture_(splashPicture())
{
    setFixedSize(picture_.size());
    if (const QScreen *screen = QGuiApplication::primaryScreen())
        move(screen->availableGeometry().center() - rect().center());
}

void SplashWindow::paintEvent(QPaintEvent *)
{
    QPainter(this).drawPixmap(0, 0, picture_);
}

} // namespace cz
