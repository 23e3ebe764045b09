#include "tests/ui/ChartFixture.h"

#include "store/NewDevice.h"

#include <QApplication>
#include <QTest>

#include <gtest/gtest.h>

#include <cmath>

namespace cz::test {

ChartFixture::ChartFixture() : WindowFixture(Start::EmptyFolder)
{
    sheet->resize(1000, 760);
    sheet->show();
    sheet->activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(sheet.get()));
}

int ChartFixture::addDevice(const QByteArray &name, const QByteArray &model, int probes, int interval,
                            const QList<QByteArray> &types)
{
    NewDeviceSettings settings;
    settings.typed.DeviceAddress = "127.0.0.1";
    settings.typed.DeviceName = name;
    settings.typed.QueryInterval = interval;
    settings.typed.LoggingEnabled = 1;
    settings.model = model;
    settings.probeCount = probes;
    for (int i = 0; i < probes; ++i)
        settings.probeTypes[std::size_t(i)] = types[std::min<qsizetype>(i, types.size() - 1)];
    auto device = buildNewDevice(settings, store().folder());
    for (int i = 0; i < probes; ++i) {
        ProbeRecord *p = device->probe(i);
        p->LowAlarmTemp = 40;
        p->LowCautionTemp = 50;
        p->HighCautionTemp = 100;
        p->HighAlarmTemp = 110;
    }
    device->DevicePort = 1;  // never queried: the tests give the samples
    return store().addDevice(std::move(device));
}

void ChartFixture::sample(int slot, int count, const std::function<double(int, int)> &value)
{
    DeviceRecord *d = store().deviceForUpdate(slot);
    for (int k = 0; k < count; ++k) {
        clock.advance(d->QueryInterval);
        for (int i = 0; i < d->probeSlots(); ++i) {
            ProbeRecord *p = d->probe(i);
            const double v = value(i, k);
            if (std::isnan(v))
                continue;
            switch (p->ProbeType) {
            case ProbeType::Temperature: p->CurrentTemp = v; break;
            case ProbeType::Humidity: p->CurrentHumidity = int(v); break;
            case ProbeType::Wetness: p->CurrentWetness = int(v); break;
            case ProbeType::Switch: p->SwitchState = int(v); break;
            }
        }
        // NaN for the first probe: the query failed.
        appendHistorySample(*d, !std::isnan(value(0, k)), double(clock.nowMs()) / 1000.0);
    }
    if (ChartPage *p = sheet->devicePage(slot))
        p->appendSample();
}

ChartPage &ChartFixture::page(int slot)
{
    pageTabs(*sheet).setCurrentIndex(slot + 1);
    QApplication::processEvents();
    return *sheet->devicePage(slot);
}

int countColor(const QImage &source, QRgb rgb)
{
    const QImage image = source.convertToFormat(QImage::Format_RGB32);
    int n = 0;
    for (int y = 0; y < image.height(); ++y) {
        const auto *line = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        for (int x = 0; x < image.width(); ++x)
            n += (line[x] & 0xFFFFFF) == (rgb & 0xFFFFFF);
    }
    return n;
}

} // namespace cz::test
