#include "monitor/HistoryLoader.h"

#include "store/DeviceStore.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QPointer>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

namespace cz {

namespace {

// "MM-dd-yy" as a date, invalid for anything else.
QDate dateOf(const char *p)
{
    auto digit = [](char c) { return c >= '0' && c <= '9'; };
    for (int i : {0, 1, 3, 4, 6, 7})
        if (!digit(p[i]))
            return {};
    if (p[2] != '-' || p[5] != '-')
        return {};
    const int month = (p[0] - '0') * 10 + (p[1] - '0'), day = (p[3] - '0') * 10 + (p[4] - '0');
    const int year = 2000 + (p[6] - '0') * 10 + (p[7] - '0');
    return QDate(year, month, day);
}

// The UTC offset of local time at `t`, in seconds.
qint64 offsetAt(qint64 t)
{
    return QDateTime::fromSecsSinceEpoch(t).offsetFromUtc();
}

// How far local time is set back within two hours of `t`; 0 when it is not.
qint64 setBackNear(qint64 t)
{
    return std::max<qint64>(0, offsetAt(t - 7200) - offsetAt(t + 7200));
}

// Local times of data-file lines. Lines come in order, so the start of the
// hour is looked up once per hour of data. An hour that comes twice when
// the clocks go back reads as its first occurrence, and as its second once
// the lines have gone back in time: both hours keep their order.
class LineClock {
public:
    // Seconds since 1970 of "MM-dd-yy,HH:MM:SS" at `p`, NaN when malformed.
    double at(const char *p)
    {
        if (std::memcmp(p, key_, 11) != 0) {
            std::memcpy(key_, p, 11);
            hourStart_ = std::numeric_limits<double>::quiet_NaN();
            const QDate date = dateOf(p);
            const int hour = twoDigits(p + 9);
            if (date.isValid() && p[8] == ',' && hour >= 0 && hour < 24)
                hourStart_ = double(firstOccurrence(date, hour));
        }
        const int minute = twoDigits(p + 12), second = twoDigits(p + 15);
        if (p[11] != ':' || p[14] != ':' || minute < 0 || minute > 59 || second < 0 || second > 60)
            return std::numeric_limits<double>::quiet_NaN();
        double t = hourStart_ + minute * 60 + second;
        if (t < last_ && std::isfinite(t)) {
            const qint64 back = setBackNear(qint64(t));
            if (back > 0 && t + double(back) >= last_)
                t += double(back);
        }
        if (std::isfinite(t))
            last_ = t;
        return t;
    }

private:
    static int twoDigits(const char *p)
    {
        return p[0] >= '0' && p[0] <= '9' && p[1] >= '0' && p[1] <= '9' ? (p[0] - '0') * 10 + (p[1] - '0') : -1;
    }
    static qint64 firstOccurrence(const QDate &date, int hour)
    {
        const qint64 t = QDateTime(date, QTime(hour, 0)).toSecsSinceEpoch();
        const qint64 back = setBackNear(t);
        if (back > 0) {
            const QDateTime earlier = QDateTime::fromSecsSinceEpoch(t - back);
            if (earlier.date() == date && earlier.time() == QTime(hour, 0))
                return t - back;
        }
        return t;
    }
    char key_[11] = {};
    double hourStart_ = std::numeric_limits<double>::quiet_NaN();
    double last_ = -std::numeric_limits<double>::infinity();
};

struct Sample {
    double time;
    double value;
};

// The longest line a data file can hold: date, time and a display text of
// at most 31 bytes, with their commas and CR LF.
constexpr qint64 kMaxLineBytes = 8 + 1 + 8 + 1 + 31 + 2;
// No more of a file is read than the lines a whole history can use, however
// large (or damaged) the file is.
constexpr qint64 kMaxReadBytes = qint64(TimeHistory::kLength) * kMaxLineBytes;

// The readable lines at the end of one data file (date, time and display
// text) from `since` to before `before`.
void readFile(const QString &path, ProbeType type, double since, double before, LineClock &clock,
              std::vector<Sample> &out, qint64 &lines)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return;
    const qint64 size = file.size();
    const bool cut = size > kMaxReadBytes;
    if (cut && !file.seek(size - kMaxReadBytes))
        return;
    const QByteArray bytes = file.read(kMaxReadBytes);
    const char *p = bytes.constData(), *end = p + bytes.size();
    if (cut) {
        // The read began inside a line: it starts at the next one.
        const char *eol = static_cast<const char *>(std::memchr(p, '\n', std::size_t(end - p)));
        p = eol ? eol + 1 : end;
    }
    while (p < end) {
        const char *eol = static_cast<const char *>(std::memchr(p, '\n', std::size_t(end - p)));
        const char *lineEnd = eol ? eol : end;
        const char *textEnd = lineEnd > p && lineEnd[-1] == '\r' ? lineEnd - 1 : lineEnd;
        if (textEnd - p > 18 && p[17] == ',') {
            ++lines;
            const double t = clock.at(p);
            const char *text = p + 18;
            double v = std::numeric_limits<double>::quiet_NaN();
            if (type == ProbeType::Switch) {
                const std::size_t n = std::size_t(textEnd - text);
                if (n == 4 && std::memcmp(text, "Open", 4) == 0)
                    v = kSwitchOpen;
                else if (n == 6 && std::memcmp(text, "Closed", 6) == 0)
                    v = kSwitchClosed;
            } else {
                const auto res = std::from_chars(text, textEnd, v);
                if (res.ec != std::errc() || res.ptr != textEnd)
                    v = std::numeric_limits<double>::quiet_NaN();
            }
            if (std::isfinite(t) && std::isfinite(v) && t >= since && t < before)
                out.push_back({t, v});
        }
        p = lineEnd + 1;
    }
}

// More samples than a history has slots come from files written at a
// shorter interval: the last sample of each interval is kept, so that a
// probe never holds more than about two histories' worth while its files
// are read.
void keepOnePerInterval(std::vector<Sample> &samples, double interval)
{
    if (samples.size() <= std::size_t(2 * TimeHistory::kLength))
        return;
    std::stable_sort(samples.begin(), samples.end(), [](const Sample &a, const Sample &b) { return a.time < b.time; });
    std::vector<Sample> kept;
    kept.reserve(std::size_t(TimeHistory::kLength) + 1);
    for (const Sample &s : samples) {
        if (!kept.empty() && std::floor(kept.back().time / interval) == std::floor(s.time / interval))
            kept.back() = s;
        else
            kept.push_back(s);
    }
    samples.swap(kept);
}

// The dated folders below "Data" that can hold samples after `since`,
// oldest first.
QStringList datedFolders(const QString &data, double since)
{
    const QDate first = QDateTime::fromSecsSinceEpoch(qint64(since)).date().addDays(-1);
    std::vector<std::pair<QDate, QString>> found;
    for (const QString &name : QDir(data).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QByteArray latin = name.toLatin1();
        const QDate date = latin.size() == 8 ? dateOf(latin.constData()) : QDate();
        if (date.isValid() && date >= first)
            found.emplace_back(date, name);
    }
    std::sort(found.begin(), found.end());
    QStringList folders;
    for (const auto &[date, name] : found)
        folders << data + '/' + name;
    return folders;
}

} // namespace

std::unique_ptr<LoadedHistory> readDeviceHistory(const HistoryJob &job, const std::atomic<bool> *cancel)
{
    auto loaded = std::make_unique<LoadedHistory>();
    const double interval = std::max(job.interval, 1);
    const int length = TimeHistory::kLength;
    const QString data = QFile::decodeName(job.dataFolder);
    const double since = job.before - interval * length;
    QStringList folders = datedFolders(data, since);
    folders << data;  // today's files last

    std::vector<std::vector<Sample>> samples(std::size_t(job.probeCount));
    double newest = -1;
    for (int i = 0; i < job.probeCount; ++i) {
        if (job.fileNames[std::size_t(i)].isEmpty())
            continue;
        LineClock clock;
        for (const QString &folder : folders) {
            if (cancel && cancel->load())
                return std::make_unique<LoadedHistory>();
            QList<QByteArray> names = job.formerFileNames[std::size_t(i)];
            names.append(job.fileNames[std::size_t(i)]);
            for (const QByteArray &name : names)
                readFile(folder + '/' + QFile::decodeName(name), job.types[std::size_t(i)], since, job.before, clock,
                         samples[std::size_t(i)], loaded->linesRead);
            keepOnePerInterval(samples[std::size_t(i)], interval);
        }
        for (const Sample &s : samples[std::size_t(i)])
            newest = std::max(newest, s.time);
    }
    if (newest < 0)
        return loaded;

    // The grid ends at the newest line; each line goes to its nearest slot
    // (a later line of the same slot wins), slots without one are gaps.
    int oldest = length;
    std::vector<std::vector<double>> columns(std::size_t(job.probeCount));
    for (int i = 0; i < job.probeCount; ++i) {
        auto &column = columns[std::size_t(i)];
        for (const Sample &s : samples[std::size_t(i)]) {
            const double age = std::round((newest - s.time) / interval);
            if (age < 0 || age >= length)
                continue;
            if (column.empty())
                column.assign(std::size_t(length), kNoValue);
            const int index = length - 1 - int(age);
            column[std::size_t(index)] = s.value;
            oldest = std::min(oldest, index);
        }
        std::vector<Sample>().swap(samples[std::size_t(i)]);
    }
    for (int index = oldest; index < length; ++index) {
        loaded->times.append(newest - double(length - 1 - index) * interval);
        for (int i = 0; i < job.probeCount; ++i) {
            const auto &column = columns[std::size_t(i)];
            loaded->values[std::size_t(i)].append(column.empty() ? kNoValue : column[std::size_t(index)]);
        }
    }
    // The time the program was not running is a gap.
    double next = newest + interval;
    for (int k = 0; k < length && next < job.before - interval / 2; ++k, next += interval) {
        loaded->times.append(next);
        for (int i = 0; i < job.probeCount; ++i)
            loaded->values[std::size_t(i)].append(kNoValue);
    }
    if (next < job.before - interval / 2)
        next += std::floor((job.before - next) / interval) * interval;
    loaded->nextSampleTime = next;
    return loaded;
}

namespace {

// Drops the loaded samples from `limit` on.
void keepBefore(LoadedHistory &loaded, int probeCount, double limit)
{
    const int stored = int(std::min<std::uint64_t>(loaded.times.samplesWritten(), TimeHistory::kLength));
    const int first = TimeHistory::kLength - stored;
    int last = first - 1;
    loaded.times.forEach(first, TimeHistory::kNewest, [&](int index, double t) {
        if (t < limit)
            last = index;
    });
    TimeHistory times;
    loaded.times.forEach(first, last, [&](int, double t) { times.append(t); });
    loaded.times = std::move(times);
    for (int i = 0; i < probeCount; ++i) {
        ValueHistory values;
        loaded.values[std::size_t(i)].forEach(first, last, [&](int, double v) { values.append(v); });
        loaded.values[std::size_t(i)] = std::move(values);
    }
}

} // namespace

bool placeDeviceHistory(DeviceRecord &device, LoadedHistory &loaded, int probeCount)
{
    if (device.probeSlots() != probeCount)
        return false;
    if (loaded.times.samplesWritten() == 0)
        return true;
    // The samples the device's queries added since start follow the file's.
    const int live = int(std::min<std::uint64_t>(device.Times.samplesWritten(), TimeHistory::kLength));
    const int firstLive = TimeHistory::kLength - live;
    // A query answered while the files were read is in both: live it stays.
    if (live > 0) {
        const double limit = device.Times.at(firstLive) - std::max(device.QueryInterval, 1) / 2.0;
        if (loaded.times.newest() >= limit)
            keepBefore(loaded, probeCount, limit);
        if (loaded.times.samplesWritten() == 0)
            return true;
    }
    device.Times.forEach(firstLive, TimeHistory::kNewest, [&](int, double t) { loaded.times.append(t); });
    for (int i = 0; i < probeCount; ++i) {
        ValueHistory &into = loaded.values[std::size_t(i)];
        if (const ProbeRecord *p = device.probe(i))
            p->Values.forEach(firstLive, TimeHistory::kNewest, [&](int, double v) { into.append(v); });
        else
            for (int k = 0; k < live; ++k)
                into.append(kNoValue);
    }
    device.Times = std::move(loaded.times);
    for (int i = 0; i < probeCount; ++i)
        if (ProbeRecord *p = device.probe(i))
            p->Values = std::move(loaded.values[std::size_t(i)]);
    if (live == 0)
        device.NextSampleTime = loaded.nextSampleTime;
    return true;
}

HistoryLoader::HistoryLoader(DeviceStore &store, QObject *parent)
    : QObject(parent), store_(store), cancel_(std::make_shared<std::atomic<bool>>(false))
{
    pool_.setMaxThreadCount(std::max(1, QThread::idealThreadCount()));
}

HistoryLoader::~HistoryLoader()
{
    cancel_->store(true);
    pool_.clear();
    pool_.waitForDone();
}

namespace {

QByteArray fileName(const QByteArray &path)
{
    return path.mid(path.lastIndexOf('/') + 1);
}

} // namespace

void HistoryLoader::start(double now)
{
    for (int slot = 0; slot < store_.deviceCount(); ++slot) {
        const DeviceRecord *device = store_.device(slot);
        if (!device || !device->LoggingEnabled)
            continue;
        HistoryJob job;
        job.dataFolder = store_.folder().data();
        job.interval = std::max(device->QueryInterval, 1);
        job.probeCount = device->probeSlots();
        job.before = now;
        for (int i = 0; i < job.probeCount; ++i) {
            if (const ProbeRecord *p = device->probe(i)) {
                job.fileNames[std::size_t(i)] = fileName(p->DataLogFile.bytes());
                for (const QByteArray &former : previousNames(*device))
                    job.formerFileNames[std::size_t(i)].append(
                        fileName(renamedProbeFilePath(p->DataLogFile.bytes(), device->DeviceName.bytes(), former)));
                job.types[std::size_t(i)] = p->ProbeType;
            }
        }
        ++pending_;
        QPointer<HistoryLoader> self(this);
        auto cancel = cancel_;
        const std::uint64_t id = device->id;
        pool_.start([self, cancel, job, id] {
            std::shared_ptr<LoadedHistory> loaded = readDeviceHistory(job, cancel.get());
            if (cancel->load())
                return;
            QMetaObject::invokeMethod(
                self.data(), [self, id, job, loaded] {
                    if (self)
                        self->place(id, job.probeCount, loaded);
                },
                Qt::QueuedConnection);
        });
    }
    if (pending_ == 0)
        QMetaObject::invokeMethod(this, &HistoryLoader::finished, Qt::QueuedConnection);
}

void HistoryLoader::place(std::uint64_t id, int probeCount, std::shared_ptr<LoadedHistory> loaded)
{
    // A device deleted meanwhile is gone for good: its history goes nowhere.
    const int slot = store_.slotWithId(id);
    DeviceRecord *record = store_.deviceForUpdate(slot);
    if (record && placeDeviceHistory(*record, *loaded, probeCount))
        emit deviceLoaded(slot);
    if (--pending_ == 0)
        emit finished();
}

} // namespace cz
