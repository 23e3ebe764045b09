// A chart on paper and in files: the picture printed on a page, and the
// picture (or the visible samples) written to a file whole or not at all.
#pragma once

#include <QImage>
#include <QString>

class QPrinter;

namespace cz {

// The size of a printed or saved chart, in pixels at 96 dpi.
inline constexpr int kChartOutputWidth = 720, kChartOutputHeight = 500;

// Prints `image` (kChartOutputWidth x kChartOutputHeight times the
// printer's scale) 40 pixels in from the page's corner, under
// `documentName`. False when it was not printed, with `error` the message
// to show (empty when the printer gave none).
bool printChart(QPrinter &printer, const QImage &image, const QString &documentName, QString *error);

// Writes `image` to `path` as `format` ("png", "jpg", "bmp" or "gif"; a GIF
// keeps the colours in `keep` exact). False when it could not be written.
bool saveChartImage(const QImage &image, const QString &format, const QList<QRgb> &keep, const QString &path);

// The message when a chart could not be saved to `path`.
QString chartNotSavedMessage(const QString &path);

} // namespace cz
