#include "monitor/AlarmEvaluation.h"

#include "monitor/AlertActions.h"
#include "store/CFormat.h"
#include "store/DeviceFile.h"
#include "store/DeviceStore.h"
#include "store/ProbeLog.h"

#include <algorithm>

namespace cz {

namespace {

constexpr int kCountCap = 10;

const char *bandName(AlarmState band)
{
    switch (band) {
    case AlarmState::HighAlarm: return "High Alarm";
    case AlarmState::HighCaution: return "High Caution";
    case AlarmState::LowCaution: return "Low Caution";
    default: return "Low Alarm";
    }
}

bool isAlarmKind(AlarmState band)
{
    return band == AlarmState::HighAlarm || band == AlarmState::LowAlarm;
}

std::int32_t &sentFlag(ProbeRecord &p, AlarmState band)
{
    switch (band) {
    case AlarmState::HighAlarm: return p.HighAlarmSent;
    case AlarmState::HighCaution: return p.HighCautionSent;
    case AlarmState::LowCaution: return p.LowCautionSent;
    default: return p.LowAlarmSent;
    }
}

void countUp(ProbeRecord &p)
{
    p.ConsecutiveAlarmCount = std::min(p.ConsecutiveAlarmCount + 1, kCountCap);
}

// Extremes: the tests are not strict, so a steady reading renews the times.
template <class V>
void updateExtremes(ProbeRecord &p, V v, std::int64_t now, V &lowest, std::int64_t &lowestTime, const char *lowKey,
                    V &highest, std::int64_t &highestTime, const char *highKey)
{
    if (lowest >= v || lowestTime < 1) {
        lowest = v;
        lowestTime = now;
        p.markChanged(lowKey);
    }
    if (v >= highest || highestTime < 1) {
        highest = v;
        highestTime = now;
        p.markChanged(highKey);
    }
}

// Temperature bands: tested in order; thresholds out of order can leave a
// value in no band at all (returns false).
bool temperatureBand(const ProbeRecord &p, double v, AlarmState &band, double &threshold)
{
    if (v >= p.HighAlarmTemp) {
        band = AlarmState::HighAlarm, threshold = p.HighAlarmTemp;
    } else if (p.HighAlarmTemp > v && v >= p.HighCautionTemp) {
        band = AlarmState::HighCaution, threshold = p.HighCautionTemp;
    } else if (p.HighCautionTemp > v && v > p.LowCautionTemp) {
        band = AlarmState::Normal, threshold = 0;
    } else if (p.LowCautionTemp >= v && v > p.LowAlarmTemp) {
        band = AlarmState::LowCaution, threshold = p.LowCautionTemp;
    } else if (p.LowAlarmTemp >= v) {
        band = AlarmState::LowAlarm, threshold = p.LowAlarmTemp;
    } else {
        return false;
    }
    return true;
}

// Humidity and wetness bands: nested, no gaps.
AlarmState wholeNumberBand(std::int32_t v, std::int32_t ha, std::int32_t hc, std::int32_t lc, std::int32_t la,
                           std::int32_t &threshold)
{
    if (v >= ha)
        return threshold = ha, AlarmState::HighAlarm;
    if (v >= hc)
        return threshold = hc, AlarmState::HighCaution;
    if (v > lc)
        return threshold = 0, AlarmState::Normal;
    if (v > la)
        return threshold = lc, AlarmState::LowCaution;
    return threshold = la, AlarmState::LowAlarm;
}

struct Thresholds {
    double highAlarm, highCaution, lowCaution, lowAlarm;
};

// A probe in alarm or caution steps down a state only once its reading is
// inside that state's threshold by the probe's clear margin; until then it
// keeps the state it is in (true, with that state's threshold). A reading
// beyond the other side's thresholds is never held back.
bool heldByClearMargin(const ProbeRecord &p, double v, const Thresholds &t, AlarmState &band, double &threshold)
{
    const double m = p.ClearMargin;
    if (!(m > 0))
        return false;
    const AlarmState s = p.AlarmState;
    if (s == AlarmState::HighAlarm || s == AlarmState::HighCaution) {
        if (s == AlarmState::HighAlarm && (band == AlarmState::HighCaution || band == AlarmState::Normal) &&
            v > t.highAlarm - m) {
            band = AlarmState::HighAlarm, threshold = t.highAlarm;
            return true;
        }
        if (band == AlarmState::Normal && v > t.highCaution - m) {
            band = AlarmState::HighCaution, threshold = t.highCaution;
            return true;
        }
    } else if (s == AlarmState::LowAlarm || s == AlarmState::LowCaution) {
        if (s == AlarmState::LowAlarm && (band == AlarmState::LowCaution || band == AlarmState::Normal) &&
            v < t.lowAlarm + m) {
            band = AlarmState::LowAlarm, threshold = t.lowAlarm;
            return true;
        }
        if (band == AlarmState::Normal && v < t.lowCaution + m) {
            band = AlarmState::LowCaution, threshold = t.lowCaution;
            return true;
        }
    }
    return false;
}

QByteArray conditionMessage(AlarmState band, const QByteArray &value, const QByteArray &threshold, bool held,
                            const QByteArray &margin)
{
    return QByteArray("Probe reported a ") + bandName(band) + " condition (value " + value + ", threshold " +
           threshold + (held ? ", clear margin " + margin : QByteArray()) + ")";
}

} // namespace

struct AlarmEvaluation::Reading {
    DeviceStore &store;
    DeviceRecord &device;
    ProbeRecord &probe;
    int slot;
    int probeIndex;
    const QByteArray &text;
    std::int64_t now;
    int notFirstQuery;
};

void AlarmEvaluation::evaluateProbeValue(DeviceStore &store, int slot, int probeIndex, const QByteArray &valueText,
                                         std::int64_t now, int notFirstQuery)
{
    DeviceRecord *device = store.deviceForUpdate(slot);
    ProbeRecord *probe = device ? device->probe(probeIndex) : nullptr;
    if (!probe)
        return;
    const Reading r{store, *device, *probe, slot, probeIndex, valueText, now, notFirstQuery};
    if (probe->ProbeType == ProbeType::Switch)
        evaluateSwitch(r);
    else
        evaluateAnalog(r);
}

void AlarmEvaluation::evaluateAnalog(const Reading &r)
{
    ProbeRecord &p = r.probe;
    AlarmState band;
    if (p.ProbeType == ProbeType::Temperature) {
        const double v = parseDouble(r.text);
        p.CurrentTemp = v;
        p.markChanged("CurrentTemp");
        updateExtremes(p, v, r.now, p.LowestTemp, p.LowestTempTimeVal, "LowestTemp", p.HighestTemp,
                       p.HighestTempTimeVal, "HighestTemp");
        double threshold = 0;
        if (!temperatureBand(p, v, band, threshold))
            return;
        const bool held = heldByClearMargin(
            p, v, {p.HighAlarmTemp, p.HighCautionTemp, p.LowCautionTemp, p.LowAlarmTemp}, band, threshold);
        const QByteArray value = formatFixed(v, 2);
        if (band == AlarmState::Normal) {
            normal(r, "Probe reported an alarm clear condition (value " + value + ")");
            return;
        }
        alarmOrCaution(r, int(band), threshold,
                       conditionMessage(band, value, formatFixed(threshold, 2), held, formatFixed(p.ClearMargin, 2)));
        return;
    }

    // Humidity and wetness differ only in their fields.
    struct WholeNumberFields {
        std::int32_t ProbeRecord::*current, ProbeRecord::*lowest, ProbeRecord::*highest;
        std::int64_t ProbeRecord::*lowestTime, ProbeRecord::*highestTime;
        std::int32_t ProbeRecord::*ha, ProbeRecord::*hc, ProbeRecord::*lc, ProbeRecord::*la;
        const char *currentKey, *lowestKey, *highestKey;
    };
    static constexpr WholeNumberFields kHumidity{
        &ProbeRecord::CurrentHumidity, &ProbeRecord::LowestHumidity, &ProbeRecord::HighestHumidity,
        &ProbeRecord::LowestHumidityTimeVal, &ProbeRecord::HighestHumidityTimeVal, &ProbeRecord::HighAlarmHumidity,
        &ProbeRecord::HighCautionHumidity, &ProbeRecord::LowCautionHumidity, &ProbeRecord::LowAlarmHumidity,
        "CurrentHumidity", "LowestHumidity", "HighestHumidity"};
    static constexpr WholeNumberFields kWetness{
        &ProbeRecord::CurrentWetness, &ProbeRecord::LowestWetness, &ProbeRecord::HighestWetness,
        &ProbeRecord::LowestWetnessTimeVal, &ProbeRecord::HighestWetnessTimeVal, &ProbeRecord::HighAlarmWetness,
        &ProbeRecord::HighCautionWetness, &ProbeRecord::LowCautionWetness, &ProbeRecord::LowAlarmWetness,
        "CurrentWetness", "LowestWetness", "HighestWetness"};
    if (p.ProbeType != ProbeType::Humidity && p.ProbeType != ProbeType::Wetness)
        return; // a type this program does not know
    const WholeNumberFields &k = p.ProbeType == ProbeType::Humidity ? kHumidity : kWetness;
    const std::int32_t v = parseInt32(r.text);
    std::int32_t threshold = 0;
    p.*k.current = v;
    p.markChanged(k.currentKey);
    updateExtremes(p, v, r.now, p.*k.lowest, p.*k.lowestTime, k.lowestKey, p.*k.highest, p.*k.highestTime,
                   k.highestKey);
    band = wholeNumberBand(v, p.*k.ha, p.*k.hc, p.*k.lc, p.*k.la, threshold);
    double heldThreshold = threshold;
    const bool held = heldByClearMargin(p, v, {double(p.*k.ha), double(p.*k.hc), double(p.*k.lc), double(p.*k.la)},
                                        band, heldThreshold);
    threshold = std::int32_t(heldThreshold);
    const QByteArray value = QByteArray::number(v);
    if (band == AlarmState::Normal) {
        normal(r, "Probe reported an alarm clear condition (value " + value + ")");
        return;
    }
    alarmOrCaution(r, int(band), threshold,
                   conditionMessage(band, value, QByteArray::number(threshold), held,
                                    QByteArray::number(p.ClearMargin, 'g', 6)));
}

void AlarmEvaluation::alarmOrCaution(const Reading &r, int bandCode, double threshold, const QByteArray &message)
{
    ProbeRecord &p = r.probe;
    const AlarmState band = AlarmState(bandCode);
    if (!p.ProbeEnabled) {
        // Only a temperature in High Caution still shows its state.
        if (p.ProbeType == ProbeType::Temperature && band == AlarmState::HighCaution &&
            p.AlarmState != AlarmState::HighCaution) {
            p.AlarmState = AlarmState::HighCaution;
            p.markChanged("AlarmState");
        }
        return;
    }
    p.LastAlarmSetTimeVal = r.now;
    p.AlarmState = band;
    p.markChanged("AlarmState", "LastAlarmSetTimeVal");
    countUp(p);

    std::int32_t &sent = sentFlag(p, band);
    if (r.notFirstQuery && p.ConsecutiveAlarmCount >= p.ConsecutiveAlarmThreshold && !sent) {
        sent = 1;
        runActions(r, isAlarmKind(band) ? AlertKind::Alarm : AlertKind::Caution, threshold);
    }
    logEvent(r, message);
}

void AlarmEvaluation::normal(const Reading &r, const QByteArray &message)
{
    ProbeRecord &p = r.probe;
    clearAlertSentFlags(p);
    if (p.AlarmState == AlarmState::Normal)
        return;
    p.AlarmState = AlarmState::Normal;
    p.markChanged("AlarmState");
    if (!p.ProbeEnabled)
        return;
    p.LastAlarmClearedTimeVal = r.now;
    p.ConsecutiveAlarmCount = 0;
    p.markChanged("LastAlarmClearedTimeVal");
    // Clears are gated neither by the first query nor by the count.
    runActions(r, AlertKind::Clear, kNoThreshold);
    logEvent(r, message);
}

void AlarmEvaluation::evaluateSwitch(const Reading &r)
{
    ProbeRecord &p = r.probe;
    const std::int32_t previous = p.SwitchState;
    const std::int32_t state = parseInt32(r.text) < 0 ? kSwitchOpen : kSwitchClosed;
    const bool changed = state != previous && previous != kSwitchUnknown;
    if (changed) {
        p.markChanged("SwitchState");
        std::int64_t &firstTime = state == kSwitchOpen ? p.SwitchOpenTimeVal : p.SwitchCloseTimeVal;
        if (firstTime == 0)
            firstTime = r.now;
    }
    p.SwitchState = state;
    if (previous == kSwitchUnknown)
        return;

    const bool onOpen = p.SwitchAlarmCondition == SwitchAlarmCondition::OnOpen;
    const bool inAlarm = state == kSwitchOpen ? onOpen : !onOpen;
    if (inAlarm) {
        p.AlarmState = AlarmState::HighAlarm;
        countUp(p);
        p.LastAlarmSetTimeVal = r.now;
        p.markChanged("AlarmState", "LastAlarmSetTimeVal");
        if (!r.notFirstQuery || !p.ProbeEnabled)
            return;
        if (p.ConsecutiveAlarmCount >= p.ConsecutiveAlarmThreshold && !p.HighAlarmSent) {
            p.HighAlarmSent = 1;
            runActions(r, AlertKind::Alarm, 0);
        }
        logEvent(r, "Probe reported a switch alarm condition");
        return;
    }
    p.AlarmState = AlarmState::Normal;
    p.ConsecutiveAlarmCount = 0;
    p.LastAlarmClearedTimeVal = r.now;
    clearAlertSentFlags(p);
    p.markChanged("AlarmState", "LastAlarmClearedTimeVal");
    if (!r.notFirstQuery || !changed || !p.ProbeEnabled)
        return;
    runActions(r, AlertKind::Clear, kNoThreshold);
    logEvent(r, "Probe reported a switch alarm clear condition");
}

void AlarmEvaluation::runActions(const Reading &r, AlertKind kind, double threshold)
{
    // Always in this order: sound (none for a clear), e-mail, dialer, program.
    ProbeRecord &p = r.probe;
    const bool alarm = kind == AlertKind::Alarm, caution = kind == AlertKind::Caution;
    (alarm ? counts_.alarm : caution ? counts_.caution : counts_.clear) += 1;
    if (alarm ? p.AlarmSound : caution && p.CautionSound)
        actions_.playSound(r.store, (alarm ? p.AlarmSoundFile : p.CautionSoundFile).bytes());
    if (alarm ? p.SendAlarmEmail : caution ? p.SendCautionEmail : p.SendClearEmail)
        actions_.sendAlarmEmail(r.store, r.slot, r.probeIndex, threshold);
    if (alarm ? p.TriggerDialerAlarm : caution ? p.TriggerDialerCaution : p.TriggerDialerClear)
        actions_.triggerVoiceDialer(r.store, r.slot, 0);
    if (alarm ? p.RunProgramAlarm : caution ? p.RunProgramCaution : p.RunProgramClear)
        actions_.runAlertProgram(r.store, r.slot, r.probeIndex,
                                 (alarm ? p.ProgramAlarm : caution ? p.ProgramCaution : p.ProgramClear).bytes());
    emit alertRaised(r.slot, r.probeIndex, kind);
}

void AlarmEvaluation::logEvent(const Reading &r, const QByteArray &message)
{
    if (r.device.LoggingEnabled)
        r.store.probeLog().appendProbeLog(r.probe.LogFile.bytes(), message);
    emit eventLogged(r.slot, r.probeIndex, message);
}

} // namespace cz
