// Writing a chart to a file: PNG, JPG and BMP through Qt's writers, GIF
// through giflib, and the visible samples as CSV.
#pragma once

#include <QImage>
#include <QList>
#include <QString>
#include <QStringList>

namespace cz {

struct DeviceRecord;

// The save dialog's filters, in order.
QStringList chartFileFilters();
// The format a file name asks for ("png", "jpg", "bmp", "gif", "csv"),
// empty for anything else.
QString chartFileFormat(const QString &path);
// A GIF of at most 256 colours: the colours in `keep` (the series colours)
// and the image's most used others, every other pixel in the nearest of
// them; the file's bytes, empty when it cannot be encoded.
QByteArray encodeGif(const QImage &image, const QList<QRgb> &keep = {});
// "Date,Time" and one column per probe, one line per visible sample
// (history indexes first + 1 .. last), the values as the data files write
// them, empty where a probe has none. Written whole or not at all.
bool writeChartCsv(const DeviceRecord &device, int first, int last, double now, const QString &path);

} // namespace cz
