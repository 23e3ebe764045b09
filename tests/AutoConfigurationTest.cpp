#include "net/AutoConfiguration.h"
#include "tests/support/NetTestSupport.h"

#include <gtest/gtest.h>

using namespace cz;
using namespace cz::test;
using devsim::Fault;

namespace {

struct AutoConfigFixture : NetFixture {
    // Runs the whole automatic configuration against simulated device `index`.
    AutoConfigResult configure(int index, const QByteArray &typedName = {}, bool log = true)
    {
        DeviceAutoConfiguration service(store(), session);
        AutoConfigRequest request;
        request.address = "127.0.0.1";
        request.port = sim.port(index);
        request.typedName = typedName;
        request.logQueryFailures = log;
        bool done = false;
        AutoConfigResult result;
        service.fetchDeviceConfiguration(request, [&](const AutoConfigResult &r) {
            result = r;
            done = true;
        });
        EXPECT_TRUE(waitUntil([&] { return done; }));
        return result;
    }
    QStringList paths(int index)
    {
        QStringList out;
        for (const auto &r : sim.requests(index))
            out.append(QString::fromUtf8(r.path));
        return out;
    }
};

QList<QByteArray> names(const FetchedConfiguration &c)
{
    QList<QByteArray> out;
    for (int i = 0; i < c.probeNamesFilled; ++i)
        out.append(c.probeNames[i].bytes());
    return out;
}

} // namespace

TEST(AutoConfiguration, AFourProbeDeviceGivesItsNameModelAndProbeNames)
{
    AutoConfigFixture f;
    devsim::SimDevice d = simDevice("model r4", {1, 2, 3, 4}, "Lab");
    d.serial = "S123";
    for (int i = 0; i < 4; ++i)
        d.probes[i].name = "Probe " + QByteArray(1, char('A' + i));
    f.sim.addDevice(d);
    EXPECT_EQ(d.page("/config", 0), "S123|Lab|model r4|4|1|Probe A|2|Probe B|3|Probe C|4|Probe D");

    AutoConfigResult r = f.configure(0);
    ASSERT_TRUE(r.ok);
    EXPECT_EQ(r.configuration.modelIndex, 0);
    EXPECT_EQ(r.configuration.model.bytes(), "Model R4");
    EXPECT_EQ(r.configuration.serial.bytes(), "S123");
    EXPECT_EQ(r.configuration.name.bytes(), "Lab");
    EXPECT_EQ(r.configuration.probeCount, 4);
    EXPECT_EQ(names(r.configuration), (QList<QByteArray>{"Probe A", "Probe B", "Probe C", "Probe D"}));
    EXPECT_EQ(r.configuration.probeTypes[3].bytes(), "Temperature");
    EXPECT_EQ(r.configuration.groupNames[2].bytes(), "Group 1");
    EXPECT_EQ(r.configuration.units, DisplayUnits::F);
    EXPECT_EQ(f.paths(0), QStringList{"/config"}); // R models are never asked for their scale

    EXPECT_EQ(f.configure(0, "Bench").configuration.name.bytes(), "Bench");
}

TEST(AutoConfiguration, PModelsReadTheirScaleButEndInFahrenheit)
{
    AutoConfigFixture f;
    devsim::SimDevice d = simDevice("Model P4", {5, 6, 7, 8});
    d.units = 'C';
    f.sim.addDevice(d);
    EXPECT_EQ(unitsFromRootPage(d.page("/", 0)), DisplayUnits::C);
    const AutoConfigResult r = f.configure(0);
    ASSERT_TRUE(r.ok);
    EXPECT_EQ(f.paths(0), (QStringList{"/config", "/"}));
    EXPECT_EQ(r.configuration.units, DisplayUnits::F);
}

TEST(AutoConfiguration, TheMultiSensorModelKeepsItsScaleGroupsAndSensorTypes)
{
    AutoConfigFixture f;
    devsim::SimDevice d = simDevice("Model RM1", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, "Greenhouse");
    d.units = 'K';
    d.firmware = "3.07";
    f.sim.addDevice(d);
    const AutoConfigResult r = f.configure(0);
    ASSERT_TRUE(r.ok);
    EXPECT_EQ(f.paths(0), (QStringList{"/config", "/data"}));
    const FetchedConfiguration &c = r.configuration;
    EXPECT_EQ(c.units, DisplayUnits::K);
    EXPECT_EQ(c.firmware.bytes(), "3.07");
    EXPECT_EQ(c.probeCount, 12);
    EXPECT_EQ(c.groupNames[0].bytes(), "Group A");
    EXPECT_EQ(c.groupNames[3].bytes(), "Group D");
    EXPECT_EQ(names(c).value(0), "Probe 1");
    EXPECT_EQ(names(c).value(11), "Probe 12");
    EXPECT_EQ(c.probeTypes[1].bytes(), "Humidity");
    EXPECT_EQ(c.probeTypes[5].bytes(), "Wetness");
    EXPECT_EQ(c.probeTypes[9].bytes(), "Temperature");
}

TEST(AutoConfiguration, AnUnknownModelGivesTheUnsupportedDeviceMessageAndItsLogEntry)
{
    AutoConfigFixture f;
    f.sim.addDevice(simDevice("Model X9", {1}));
    const AutoConfigResult r = f.configure(0);
    EXPECT_FALSE(r.ok);
    const QByteArray log = f.store().folder().autoConfigErrorLog();
    const QByteArray message = "This is an unsupported device or the query failed.\n"
                               "Please verify the device connection and type.\n\n"
                               "Details about the error returned by the communications\n"
                               "module can be found in the error log here:\n\n" + log;
    EXPECT_EQ(r.errorMessage.toUtf8(), message);
    EXPECT_EQ(readFile(log), "11-14-26 13:05:09: " + message);
    EXPECT_EQ(f.paths(0), QStringList{"/config"});

    f.configure(0, {}, false);
    EXPECT_EQ(readFile(log), "11-14-26 13:05:09: " + message); // not logged again
}

TEST(AutoConfiguration, ThreeRefusedConnectionsEndInTheAttemptStatusAndTheUnsupportedMessage)
{
    AutoConfigFixture f;
    f.sim.addDevice(simDevice("Model R4", {1}));
    f.sim.setFault(0, Fault::Refuse);
    const AutoConfigResult r = f.configure(0);
    EXPECT_FALSE(r.ok);
    EXPECT_TRUE(r.errorMessage.startsWith("This is an unsupported device or the query failed."));
    EXPECT_EQ(f.statuses.last(), "ERROR: device query failed (attempt #3, check error log...");
    EXPECT_EQ(readFile(f.store().folder().internetErrorLog()).count("could not be established"), 3);
}

TEST(AutoConfiguration, ADeviceNameThatCannotNameAFileIsMadeSafe)
{
    AutoConfigFixture f;
    f.sim.addDevice(simDevice("Model R4", {1}, "../../etc/passwd"));
    EXPECT_EQ(f.configure(0).configuration.name.bytes(), ".._.._etc_passwd");
    EXPECT_EQ(validDeviceName(".."), "New Device");
    EXPECT_EQ(validDeviceName("  "), "New Device");
    EXPECT_EQ(validDeviceName("Lab\r\nTwo"), "Lab__Two");
}

TEST(AutoConfiguration, MissingFieldsReadAsEmptyAndTheCountAsItsInteger)
{
    FetchedConfiguration c;
    ASSERT_TRUE(parseDeviceConfiguration(" S1 | Lab |MODEL P16| lots |x|Only", {}, DisplayUnits::C, c));
    EXPECT_EQ(c.modelIndex, 4);
    EXPECT_EQ(c.probeCount, 0);
    EXPECT_EQ(c.probeNamesFilled, 16);
    EXPECT_EQ(c.probeNames[0].bytes(), "Only");
    EXPECT_EQ(c.probeNames[1].bytes(), "");
    EXPECT_EQ(c.units, DisplayUnits::F);
    EXPECT_FALSE(parseDeviceConfiguration("", {}, DisplayUnits::F, c));
    EXPECT_EQ(unitsFromDataReply("R|1|2"), DisplayUnits::R);
    EXPECT_EQ(unitsFromDataReply("x|1"), DisplayUnits::F);
    EXPECT_EQ(unitsFromRootPage("72&deg;C"), DisplayUnits::F); // no markup after it
}
