// A simulated device: its model, probes and how their values move, and the
// pages it serves.
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>

namespace devsim {

// How a probe's value moves with the simulator's time t (seconds; the demo
// runs on seconds since 1970, so that its days follow the local clock).
struct Scenario {
    enum class Kind { Constant, Drift, Sine, Step, Toggle, Daily, Defrost, Door };
    Kind kind = Kind::Constant;
    double value = 70;     // the constant, the start, the middle, or the value before the step
    double rate = 0;       // drift per minute
    double amplitude = 0;  // sine; the daily swing; the wobble of a freezer
    double period = 60;    // sine, toggle and ripple; between defrosts or door openings; seconds
    double at = 0;         // step time; where in its period a defrost or an opening falls; seconds
    double after = 0;      // value from the step on; the warmest of a defrost
    double peak = 15;      // daily: the local hour of the warmest reading
    double ripple = 0;     // daily: a swing of `period` seconds on top
    double duration = 0;   // a defrost or an opening, seconds

    // daily: value + amplitude at `peak` o'clock, value - amplitude twelve
    // hours later, plus the ripple. defrost: value with a wobble of
    // `amplitude`, rising to `after` and back over `duration` once every
    // `period`. door: closed (1), open (-1) for `duration` at most once a
    // `period`, skipping one period in three.

    double valueAt(double t) const;
    static Scenario fromJson(const QJsonObject &json);
    QJsonObject toJson() const;
};

enum class ProbeKind { Temperature, Humidity, Wetness, Switch };

struct SimProbe {
    QByteArray name;
    ProbeKind kind = ProbeKind::Temperature;
    Scenario scenario;
};

// What a device does wrong, switchable while it runs.
enum class Fault {
    None,
    Refuse,    // the port is closed: connections are refused
    Hang,      // accepted, never answered
    Slow,      // answered after `faultMs`
    Truncate,  // the headers promise more body than is sent
    Long,      // the page padded past 2048 bytes
    Http500,   // "500 Internal Server Error" with a body
    Garbage,   // binary bytes, NUL included, no status line
    Reset,     // headers and half the body, then a connection reset
    Bare,      // the body alone, no status line and no headers
    Trickle,   // the status line, then one byte every `faultMs`
    Nul,       // a NUL byte after the first probe's value
    Huge,      // the page padded to 5 MB
    Stall,     // the headers and half the body at once, the rest after `faultMs`
};
// "Temperature", "Humidity", "Wetness" or "Switch", in any case; Temperature otherwise.
ProbeKind probeKindFromName(const QString &name);

const char *faultName(Fault fault);
bool faultFromName(const QByteArray &name, Fault &fault);

struct SimDevice {
    quint16 port = 0;  // 0: any free port
    QByteArray model = "Model R4";
    QByteArray name = "Device";
    QByteArray serial = "SN0001";
    QByteArray firmware = "2.1";
    char units = 'F';  // F, C, K or R: the scale the device reports in
    QList<QByteArray> groupNames{"Group A", "Group B", "Group C", "Group D"};
    QList<SimProbe> probes;
    Fault fault = Fault::None;
    int faultMs = 2000;
    // The next this many requests are closed at once without a reply,
    // whatever the fault (failed attempts the device itself can count).
    int dropNext = 0;

    bool multiSensor() const;
    bool pModel() const;
    // The body of `path` at time t, or an empty array for an unknown page.
    QByteArray page(const QByteArray &path, double t) const;
    QByteArray valueText(const SimProbe &probe, double t) const;

    static SimDevice fromJson(const QJsonObject &json);
    QJsonObject toJson() const;
    // A device of `model` with `probeCount` probes of the kinds the model
    // has, named "Probe 1"..., at a steady value.
    static SimDevice generated(const QByteArray &model, int probeCount, int number);
};

// Reads a JSON device list ({"devices": [...]}) into `devices`; false with
// `error` set when the file cannot be used.
bool loadSimConfig(const QString &path, QList<SimDevice> &devices, QString &error);

} // namespace devsim
