#include "ui/chart/ChartOutput.h"

#include "store/FileWrite.h"
#include "ui/chart/ChartFiles.h"

#include <QBuffer>
#include <QPainter>
#include <QPrinter>

#include <algorithm>

namespace cz {

bool printChart(QPrinter &printer, const QImage &image, const QString &documentName, QString *error)
{
    error->clear();
    if (image.isNull()) {
        *error = QStringLiteral("Not enough memory to print this chart");
        return false;
    }
    const double dpiScale = printer.resolution() / 96.0;
    printer.setDocName(documentName);
    QPainter painter;
    if (!painter.begin(&printer)) {
        *error = QStringLiteral("Printer wouldn't initalize");
        return false;
    }
    if (printer.printerState() == QPrinter::Error) {
        printer.abort();
        painter.end();
        *error = QStringLiteral("Could not start page");
        return false;
    }
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(
        QRectF(40 * dpiScale, 40 * dpiScale, kChartOutputWidth * dpiScale, kChartOutputHeight * dpiScale), image);
    return painter.end();
}

bool saveChartImage(const QImage &image, const QString &format, const QList<QRgb> &keep, const QString &path)
{
    // Every picture is encoded in memory and written in one go.
    QByteArray bytes;
    if (format == QLatin1String("gif")) {
        bytes = encodeGif(image, keep);
    } else {
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        image.save(&buffer, format.toLatin1().constData(), format == QLatin1String("jpg") ? 92 : -1);
    }
    QString error;
    return !bytes.isEmpty() && writeFileAtomically(path, bytes, &error);
}

QString chartNotSavedMessage(const QString &path)
{
    return QStringLiteral("The chart could not be saved to \"%1\".\nCheck that the folder exists, that it can be "
                          "written and that the disk is not full.")
        .arg(path);
}

} // namespace cz
