#include "ui/chart/ChartView.h"

#include <QDateTime>

#include <algorithm>
#include <climits>

namespace cz {

namespace {

const char *const kSpanLabels[] = {"5 min.", "10 min.", "20 min.", "30 min.", "1 hour", "24 hours", "7 days", "30 days"};
const int kSpanSeconds[] = {300, 600, 1200, 1800, 3600, 86400, 604800, 2592000};

QString localTime(double time, const char *format)
{
    return QDateTime::fromMSecsSinceEpoch(qint64(time * 1000.0)).toString(QString::fromLatin1(format));
}

} // namespace

QStringList timeSpanLabels(int queryInterval)
{
    QStringList labels;
    const int count = queryInterval < 30 ? 6 : 8;
    for (int i = 0; i < count; ++i)
        labels << QString::fromLatin1(kSpanLabels[i]);
    return labels;
}

int timeSpanSeconds(int index)
{
    return index >= 0 && index < 8 ? kSpanSeconds[index] : 3600;
}

std::vector<int> seriesOrder(int probeCount)
{
    std::vector<int> order;
    if (probeCount == 12) {
        for (int row = 0; row < 3; ++row)
            for (int column = 0; column < 4; ++column)
                order.push_back(column * 3 + row);
        return order;
    }
    for (int i = 0; i < probeCount; ++i)
        order.push_back(i);
    return order;
}

void ChartView::setSpan(int seconds)
{
    spanSeconds = seconds;
    anchorNewest();
    // Every slider step is half a window; the range covers the history.
    sliderMaximum = 2 * (kChartHistory / std::max(pointCount(), 1));
}

void ChartView::anchorNewest()
{
    const int n = std::max(spanPoints(), 1);
    first = kChartNewest - n;
    last = kChartNewest;
}

bool ChartView::zoom(const ViewPort &port, bool grow)
{
    const double span = last - first;
    const double right = 1 - (port.left + port.width);
    const int newFirst = grow ? int(first - span * port.left) : int(first + span * port.left);
    const int newLast = grow ? int(last + right * span) : int(last - right * span);
    if (newFirst < 0 || newLast > kChartNewest || newLast - newFirst > kMaxZoomPoints || newLast <= newFirst)
        return false;
    first = newFirst;
    last = newLast;
    // The lower bound is taken from the already updated upper one.
    const double bottom = 1 - (port.top + port.height);
    tempUpper = tempMax - (tempUpper - tempLower) * port.top;
    tempLower = bottom * (tempUpper - tempLower) + tempMin;
    humUpper = 100 - (humUpper - humLower) * port.top;
    humLower = bottom * (humUpper - humLower) + 0;
    zoomed = true;
    follow = false;
    return true;
}

void ChartView::scrollTo(int position)
{
    follow = false;
    scrolled = true;
    const int n = pointCount();
    first = kChartNewest - (sliderMaximum - position) * (n / 2) - n;
    if (first < 0) {
        first = 0;
        last = n;
    } else if (first > kChartNewest - n) {
        first = kChartNewest - n;
        last = kChartNewest;
    } else {
        last = first + n;
    }
    if (last == kChartNewest && n == spanPoints())
        reset();
}

void ChartView::reset()
{
    anchorNewest();
    tempLower = tempMin;
    tempUpper = tempMax;
    humLower = 0;
    humUpper = 100;
    zoomed = false;
    scrolled = false;
}

void temperatureRange(const DeviceRecord &device, int lowMargin, int highMargin, double &min, double &max)
{
    bool any = false;
    for (int i = 0; i < device.probeSlots(); ++i) {
        const ProbeRecord *p = device.probe(i);
        if (!p || !p->ProbeEnabled || p->ProbeType != ProbeType::Temperature)
            continue;
        const double low = p->LowAlarmTemp - lowMargin, high = p->HighAlarmTemp + highMargin;
        min = any ? std::min(min, low) : low;
        max = any ? std::max(max, high) : high;
        any = true;
    }
    if (!any || !(max > min)) {
        min = 0;
        max = 100;
    }
}

QString probeTypeLetter(ProbeType type)
{
    switch (type) {
    case ProbeType::Temperature: return QStringLiteral("T");
    case ProbeType::Humidity: return QStringLiteral("H");
    case ProbeType::Wetness: return QStringLiteral("W");
    case ProbeType::Switch: return QStringLiteral("S");
    }
    return QStringLiteral("T");
}

QString seriesName(const DeviceRecord &device, int probe)
{
    const ProbeRecord *p = device.probe(probe);
    if (device.ShowProbeNamesInLegend == 0 || !p)
        return QStringLiteral("Probe %1:").arg(probe + 1, 2, 10, QLatin1Char('0'));
    return QString::fromUtf8(p->ProbeName.bytes()).left(16);
}

QString legendValue(const ProbeRecord &p)
{
    if (!p.ProbeEnabled)
        return QStringLiteral("n/a");
    switch (p.ProbeType) {
    case ProbeType::Temperature:
        return p.CurrentTemp == kNoTemp ? QStringLiteral("n/a") : QString::asprintf("%.02f", p.CurrentTemp);
    case ProbeType::Humidity:
        return p.CurrentHumidity == kNoReading ? QStringLiteral("n/a") : QString::asprintf("%.02d", p.CurrentHumidity);
    case ProbeType::Wetness:
        return p.CurrentWetness == kNoReading ? QStringLiteral("n/a") : QString::asprintf("%.02d", p.CurrentWetness);
    case ProbeType::Switch:
        if (p.SwitchState == kSwitchOpen)
            return QStringLiteral("Open");
        return p.SwitchState == kSwitchClosed ? QStringLiteral("Closed") : QStringLiteral("n/a");
    }
    return QStringLiteral("n/a");
}

QString legendEntry(const DeviceRecord &device, int probe)
{
    const ProbeRecord *p = device.probe(probe);
    if (!p)
        return {};
    return QStringLiteral("%1 (%2) %3").arg(seriesName(device, probe), probeTypeLetter(p->ProbeType), legendValue(*p));
}

QString legendTooltip(const ProbeRecord &p)
{
    return QStringLiteral("Probe Name: \"%1\"  Type: %2").arg(QString::fromUtf8(p.ProbeName.bytes()),
                                                               probeTypeLetter(p.ProbeType));
}

QString pointTooltip(const DeviceRecord &device, int probe, double value, double time)
{
    const ProbeRecord *p = device.probe(probe);
    if (!p)
        return {};
    return QStringLiteral("%1 Name: \"%2\" (Type: %3)  Value: %4  Date: %5")
        .arg(seriesName(device, probe), QString::fromUtf8(p->ProbeName.bytes()), probeTypeLetter(p->ProbeType),
             QString::number(value, 'g', 7), localTime(time, "MM/dd hh:mm:ss"));
}

int clickedProbe(const DeviceRecord &device, const QString &title)
{
    int probe = -1;
    if (device.ShowProbeNamesInLegend != 0) {
        const int open = title.indexOf(QLatin1Char('"'));
        const int close = open < 0 ? -1 : title.indexOf(QLatin1Char('"'), open + 1);
        if (close > open) {
            const QString name = title.mid(open + 1, close - open - 1);
            for (int i = 0; i < device.probeSlots(); ++i)
                if (const ProbeRecord *p = device.probe(i))
                    if (QString::fromUtf8(p->ProbeName.bytes()).compare(name, Qt::CaseInsensitive) == 0)
                        probe = i;  // the last match wins
        }
    } else {
        const int blank = title.indexOf(QLatin1Char(' '));
        const int colon = title.indexOf(QLatin1Char(':'));
        if (blank >= 0 && colon > blank)
            probe = title.mid(blank + 1, colon - blank - 1).trimmed().toInt() - 1;
    }
    return probe >= 1 && probe <= device.ProbeCount - 1 ? probe : 0;
}

QString chartDocumentName(const DeviceRecord &device, double firstTime, double lastTime)
{
    return QStringLiteral("%1 %2,%3 -> %4,%5")
        .arg(QString::fromUtf8(device.DeviceName.bytes()), localTime(firstTime, "MM-dd-yy"),
             localTime(firstTime, "hh:mm:ss"), localTime(lastTime, "MM-dd-yy"), localTime(lastTime, "hh:mm:ss"));
}

QString chartFileName(const DeviceRecord &device, double firstTime, double lastTime)
{
    return QStringLiteral("%1 %2 %3 to %4 %5")
        .arg(QString::fromUtf8(device.DeviceName.bytes()), localTime(firstTime, "MM-dd-yy"),
             localTime(firstTime, "hh-mm-ss"), localTime(lastTime, "MM-dd-yy"), localTime(lastTime, "hh-mm-ss"));
}

} // namespace cz
