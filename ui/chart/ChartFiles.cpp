#include "ui/chart/ChartFiles.h"

#include "store/FileWrite.h"
#include "store/Records.h"
#include "ui/chart/ChartSeries.h"
#include "ui/chart/ChartView.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSet>

#include <algorithm>
#include <gif_lib.h>
#include <vector>

namespace cz {

QStringList chartFileFilters()
{
    return {QStringLiteral("PNG Files (*.png)"), QStringLiteral("JPG Files (*.jpg)"), QStringLiteral("BMP Files (*.bmp)"),
            QStringLiteral("GIF Files (*.gif)"), QStringLiteral("CSV Files (*.csv)")};
}

QString chartFileFormat(const QString &path)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix == QLatin1String("jpeg"))
        return QStringLiteral("jpg");
    for (const char *known : {"png", "jpg", "bmp", "gif", "csv"})
        if (suffix == QLatin1String(known))
            return suffix;
    return {};
}

namespace {

int distance(QRgb a, QRgb b)
{
    const int dr = qRed(a) - qRed(b), dg = qGreen(a) - qGreen(b), db = qBlue(a) - qBlue(b);
    return dr * dr + dg * dg + db * db;
}

// giflib's writer appends to the QByteArray it was opened with.
int appendGifBytes(GifFileType *gif, const GifByteType *data, int length)
{
    static_cast<QByteArray *>(gif->UserData)->append(reinterpret_cast<const char *>(data), length);
    return length;
}

} // namespace

QByteArray encodeGif(const QImage &source, const QList<QRgb> &keep)
{
    const QImage image = source.convertToFormat(QImage::Format_RGB32);
    const int w = image.width(), h = image.height();
    if (w <= 0 || h <= 0)
        return {};
    // The palette: the 256 most used colours (the plot's lines, text and
    // backgrounds); smoothing shades go to their nearest entry.
    QHash<QRgb, int> counts;
    for (int y = 0; y < h; ++y) {
        const auto *line = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        for (int x = 0; x < w; ++x)
            ++counts[line[x] & 0xFFFFFF];
    }
    std::vector<std::pair<int, QRgb>> byUse;
    byUse.reserve(std::size_t(counts.size()));
    for (auto it = counts.cbegin(); it != counts.cend(); ++it)
        byUse.emplace_back(-it.value(), it.key());
    for (QRgb c : keep)
        if (counts.contains(c & 0xFFFFFF))
            byUse.emplace_back(INT_MIN, c & 0xFFFFFF);  // ahead of every count
    std::sort(byUse.begin(), byUse.end());
    QSet<QRgb> seen;
    byUse.erase(std::remove_if(byUse.begin(), byUse.end(),
                               [&seen](const auto &entry) {
                                   if (seen.contains(entry.second))
                                       return true;
                                   seen.insert(entry.second);
                                   return false;
                               }),
                byUse.end());
    const int colours = std::min<int>(int(byUse.size()), 256);
    std::vector<GifColorType> palette(256);
    QHash<QRgb, int> index;
    for (int i = 0; i < colours; ++i) {
        const QRgb c = byUse[std::size_t(i)].second;
        palette[std::size_t(i)] = {GifByteType(qRed(c)), GifByteType(qGreen(c)), GifByteType(qBlue(c))};
        index.insert(c, i);
    }
    auto nearest = [&](QRgb c) {
        auto found = index.constFind(c);
        if (found != index.cend())
            return found.value();
        int best = 0, bestDistance = INT_MAX;
        for (int i = 0; i < colours; ++i) {
            const QRgb p = byUse[std::size_t(i)].second;
            const int d = distance(c, p);
            if (d < bestDistance) {
                bestDistance = d;
                best = i;
            }
        }
        index.insert(c, best);
        return best;
    };
    std::vector<std::vector<GifByteType>> rows(std::size_t(h), std::vector<GifByteType>(std::size_t(w), 0));
    for (int y = 0; y < h; ++y) {
        const auto *line = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        for (int x = 0; x < w; ++x)
            rows[std::size_t(y)][std::size_t(x)] = GifByteType(nearest(line[x] & 0xFFFFFF));
    }

    QByteArray bytes;
    int error = 0;
    GifFileType *gif = EGifOpen(&bytes, &appendGifBytes, &error);
    if (!gif)
        return {};
    ColorMapObject *map = GifMakeMapObject(256, palette.data());
    bool ok = map && EGifPutScreenDesc(gif, w, h, 8, 0, map) == GIF_OK &&
              EGifPutImageDesc(gif, 0, 0, w, h, false, nullptr) == GIF_OK;
    for (int y = 0; ok && y < h; ++y)
        ok = EGifPutLine(gif, rows[std::size_t(y)].data(), w) == GIF_OK;
    GifFreeMapObject(map);
    ok = EGifCloseFile(gif, &error) == GIF_OK && ok;
    return ok ? bytes : QByteArray();
}

bool writeChartCsv(const DeviceRecord &device, int first, int last, double now, const QString &path)
{
    std::vector<double> times;
    sampleTimes(device, first, last, now, times);
    QByteArray text = "Date,Time";
    for (int i = 0; i < device.probeSlots(); ++i) {
        const ProbeRecord *p = device.probe(i);
        QByteArray name = QStringLiteral("Probe %1 (%2)")
                              .arg(i + 1, 2, 10, QLatin1Char('0'))
                              .arg(p ? QString::fromUtf8(p->ProbeName.bytes()) : QString())
                              .toUtf8();
        name.replace('"', "\"\"");
        text += ",\"" + name + '"';
    }
    text += "\r\n";
    std::vector<std::vector<double>> values(std::size_t(device.probeSlots()));
    for (int i = 0; i < device.probeSlots(); ++i)
        if (const ProbeRecord *p = device.probe(i))
            p->Values.forEach(first + 1, last, [&](int, double v) { values[std::size_t(i)].push_back(v); });
    for (std::size_t k = 0; k < times.size(); ++k) {
        const QDateTime when = QDateTime::fromMSecsSinceEpoch(qint64(times[k] * 1000.0));
        text += when.toString(QStringLiteral("MM-dd-yy,hh:mm:ss")).toLatin1();
        for (int i = 0; i < device.probeSlots(); ++i) {
            text += ',';
            const ProbeRecord *p = device.probe(i);
            if (!p || k >= values[std::size_t(i)].size() || values[std::size_t(i)][k] == kNoValue)
                continue;
            const double v = values[std::size_t(i)][k];
            if (p->ProbeType == ProbeType::Switch)
                text += v == double(kSwitchOpen) ? "Open" : v == double(kSwitchClosed) ? "Closed" : "";
            else
                text += QByteArray::number(v, 'f', 1);
        }
        text += "\r\n";
    }
    QString error;
    return writeFileAtomically(path, text, &error);
}

} // namespace cz
