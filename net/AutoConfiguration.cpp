#include "net/AutoConfiguration.h"

#include "net/DeviceUrl.h"
#include "net/FailedAttempt.h"
#include "store/CFormat.h"
#include "store/DeviceStore.h"
#include "store/LogFiles.h"

namespace cz {

namespace {

// Field `k` of a "|"-separated text, trimmed; the last field runs to the
// end of the text, fields beyond it are empty.
QByteArray configField(const QByteArray &text, int k)
{
    qsizetype start = 0;
    for (int i = 0; i < k; ++i) {
        const qsizetype bar = text.indexOf('|', start);
        if (bar < 0)
            return {};
        start = bar + 1;
    }
    const qsizetype end = text.indexOf('|', start);
    return text.mid(start, end < 0 ? -1 : end - start).trimmed();
}

DisplayUnits unitsFromLetter(char c)
{
    switch (c) {
    case 'C': return DisplayUnits::C;
    case 'K': return DisplayUnits::K;
    case 'R': return DisplayUnits::R;
    default: return DisplayUnits::F;
    }
}

constexpr int kMultiSensorIndex = 2;

} // namespace

int deviceModelIndex(const QByteArray &model)
{
    for (int i = 0; i < int(std::size(kDeviceModels)); ++i) {
        if (model.compare(kDeviceModels[i], Qt::CaseInsensitive) == 0)
            return i;
    }
    return -1;
}

QByteArray validDeviceName(const QByteArray &name)
{
    QByteArray valid = name;
    for (char &c : valid) {
        if (c == '/' || c == '\\' || (unsigned char)c < 0x20 || c == 0x7f)
            c = '_';
    }
    valid = valid.trimmed();
    FixedText<65> fitted;
    fitted = valid;
    valid = fitted.bytes();
    if (valid.isEmpty() || valid == "." || valid == "..")
        return "New Device";
    return valid;
}

DisplayUnits unitsFromDataReply(const QByteArray &reply)
{
    return reply.isEmpty() ? DisplayUnits::F : unitsFromLetter(reply[0]);
}

DisplayUnits unitsFromRootPage(const QByteArray &page)
{
    // The page writes the degree sign as a markup entity: "&deg;F<...".
    const qsizetype entity = page.indexOf("deg;");
    if (entity < 0 || page.indexOf('<', entity + 4) < 0)
        return DisplayUnits::F;
    return unitsFromLetter(page.at(entity + 4));
}

bool parseDeviceConfiguration(const QByteArray &configText, const QByteArray &typedName, DisplayUnits units,
                              FetchedConfiguration &out)
{
    out = FetchedConfiguration{};
    out.modelIndex = deviceModelIndex(configField(configText, 2));
    if (out.modelIndex < 0)
        return false;
    out.serial = configField(configText, 0);
    out.name = typedName.isEmpty() ? validDeviceName(configField(configText, 1)) : typedName;
    out.model = kDeviceModels[out.modelIndex];
    out.probeCount = parseInt32(configField(configText, 3));

    if (out.modelIndex == kMultiSensorIndex) {
        // Four groups of three sensors: the group name, then pairs of
        // fields whose second holds a probe name.
        static constexpr const char *kTypes[] = {"Temperature", "Humidity", "Wetness"};
        out.units = units;
        out.firmware = configField(configText, 4);
        for (int g = 0; g < 4; ++g) {
            out.groupNames[g] = configField(configText, 5 + 8 * g);
            for (int s = 0; s < 3; ++s) {
                out.probeNames[3 * g + s] = configField(configText, 7 + 8 * g + 2 * s);
                out.probeTypes[3 * g + s] = kTypes[s];
            }
        }
        out.probeNamesFilled = 12;
        return true;
    }
    // The single-type models always report Fahrenheit here, whatever
    // their root page said.
    out.units = DisplayUnits::F;
    const int probes = (out.modelIndex == 1 || out.modelIndex == 4) ? 16 : 4;
    for (int i = 0; i < probes; ++i) {
        out.probeNames[i] = configField(configText, 5 + 2 * i);
        out.probeTypes[i] = "Temperature";
    }
    for (auto &group : out.groupNames)
        group = "Group 1";
    out.probeNamesFilled = probes;
    return true;
}

namespace {

// What keeps a device's own description from making a device.
QString configurationProblem(const QByteArray &configText, const FetchedConfiguration &c)
{
    if (c.probeCount < 1 || c.probeCount > kMaxProbes)
        return QStringLiteral("The device reports %1 probes; a device has 1 to %2 probes.\nThe device was not added.")
            .arg(c.probeCount)
            .arg(kMaxProbes);
    for (const QByteArray &field : configText.split('|')) {
        const QByteArray text = field.trimmed();
        if (withoutControlCharacters(text) != text)
            return QStringLiteral("The device's configuration page holds control characters in its names.\n"
                                  "The device was not added.");
    }
    return {};
}

} // namespace

DeviceAutoConfiguration::DeviceAutoConfiguration(DeviceStore &store, HttpSession &session, QObject *parent)
    : QObject(parent), store_(store), session_(session)
{
}

DeviceAutoConfiguration::~DeviceAutoConfiguration()
{
    cancel();
}

void DeviceAutoConfiguration::cancel()
{
    if (fetchId_)
        session_.cancel(fetchId_);
    fetchId_ = 0;
    done_ = nullptr;
}

void DeviceAutoConfiguration::fetchDeviceConfiguration(const AutoConfigRequest &request, Done done)
{
    if (store_.status().ShuttingDown)
        return;
    request_ = request;
    done_ = std::move(done);
    fetch("/config", [this](const QByteArray &configText) {
        const int model = deviceModelIndex(configField(configText, 2));
        if (model < kMultiSensorIndex) {
            finish(configText, DisplayUnits::F);
            return;
        }
        detectDeviceUnits(model, [this, configText](DisplayUnits units) { finish(configText, units); });
    });
}

void DeviceAutoConfiguration::fetch(const char *page, std::function<void(const QByteArray &)> then)
{
    fetchId_ = session_.fetchPage(
        pageUrl(request_.address, request_.port, page), request_.proxy,
        [this](int attempt, const QByteArray &error) {
            reportFailedAttempt(store_, request_.logQueryFailures, attempt, error);
        },
        [this, then = std::move(then)](const PageResult &result) {
            fetchId_ = 0;
            then(result.fetched() ? result.reply : QByteArray());
        });
}

void DeviceAutoConfiguration::detectDeviceUnits(int modelIndex, std::function<void(DisplayUnits)> then)
{
    if (modelIndex == kMultiSensorIndex)
        fetch("/data", [then](const QByteArray &reply) { then(unitsFromDataReply(reply)); });
    else if (modelIndex > kMultiSensorIndex)
        fetch("/", [then](const QByteArray &page) { then(unitsFromRootPage(page)); });
    else
        then(DisplayUnits::F);
}

void DeviceAutoConfiguration::finish(const QByteArray &configText, DisplayUnits units)
{
    AutoConfigResult result;
    result.ok = parseDeviceConfiguration(configText, request_.typedName, units, result.configuration);
    if (!result.ok) {
        const QByteArray logPath = store_.folder().autoConfigErrorLog();
        const QByteArray message = "This is an unsupported device or the query failed.\n"
                                   "Please verify the device connection and type.\n\n"
                                   "Details about the error returned by the communications\n"
                                   "module can be found in the error log here:\n\n" +
                                   logPath;
        if (request_.logQueryFailures)
            appendErrorLog(store_.clock(), logPath, message);
        result.errorMessage = QString::fromUtf8(message);
    } else if (const QString problem = configurationProblem(configText, result.configuration); !problem.isEmpty()) {
        result.ok = false;
        result.errorMessage = problem;
    }
    Done done = std::move(done_);
    done_ = nullptr;
    if (done)
        done(result);
}

} // namespace cz
