// The pictures of a probe's alarm state under its meter: a red alarm
// sign, a yellow caution sign and a green normal sign, drawn at any scale.
#pragma once

#include <QPixmap>

class QColor;
class QPainter;

namespace cz {

enum class StatePicture { Alarm, Caution, Normal };

// The tick of the normal picture, across a picture of `size` pixels.
void paintTick(QPainter &p, double size, const QColor &color);

// The picture of `size` logical pixels for a screen of `pixelRatio`.
QPixmap statePicture(StatePicture which, int size, qreal pixelRatio);

} // namespace cz
