#include "monitor/ReplyApplication.h"
#include "net/ReplyParser.h"
#include "tests/support/NetTestSupport.h"

#include <gtest/gtest.h>

using namespace cz;
using namespace cz::test;

namespace {

constexpr auto T = ProbeType::Temperature;
constexpr auto H = ProbeType::Humidity;
constexpr auto W = ProbeType::Wetness;
constexpr auto S = ProbeType::Switch;

struct ParserFixture : DataFolderFixture {
    ParserFixture() { store().readProgramSettings(); store().currentDateText = "11-14-26"; }
    int parse(const QByteArray &reply, int slot = 0) { return applyDeviceReply(store(), slot, reply, 1, &evaluation); }
    QByteArray shown(int probe, int slot = 0) { return store().device(slot)->probe(probe)->CurrentValueText.bytes(); }
    RecordingEvaluation evaluation;
};

} // namespace

TEST(ReplyParser, TempPagesTakeEveryOtherFieldAndTheLastRunsToTheEnd)
{
    ParserFixture f;
    addDevice(f.store(), "R", "Model R4", 1, {T, T, T, T});
    addDevice(f.store(), "M", "Model RM1", 1, {T, T, T, T});
    const QByteArray reply = "x|71.6|y|70.1|z|69.9|w|72.0";
    EXPECT_EQ(f.parse(reply, 0), 1);
    EXPECT_EQ(f.evaluation.textsFor(0), (QList<QByteArray>{"71.6", "70.1", "69.9", "72.0"}));
    // One field per probe: the letters become values, and the last field
    // keeps the rest of the text.
    EXPECT_EQ(f.parse(reply, 1), 1);
    EXPECT_EQ(f.evaluation.textsFor(1), (QList<QByteArray>{"71.6", "y", "70.1", "z|69.9|w|72.0"}));
    EXPECT_EQ(f.shown(1, 1), "0.0");
    EXPECT_EQ(f.shown(3, 1), "0.0");
}

TEST(ReplyParser, FieldsAreTrimmedAndTheModelNameMatchesInAnyCase)
{
    ParserFixture f;
    addDevice(f.store(), "M", "model rm1", 1, {T, H});
    EXPECT_EQ(f.parse("F|  71.25 \t|\r\n 45.7 \r\n"), 1);
    EXPECT_EQ(f.evaluation.textsFor(0), (QList<QByteArray>{"71.25", "45.7"}));
    EXPECT_EQ(f.shown(0), "71.2"); // printf rounds the binary value of 71.25 down
}

TEST(ReplyParser, AMissingFieldFailsAtThatProbeAfterTheEarlierOnesWereHandled)
{
    ParserFixture f;
    DeviceRecord &d = addDevice(f.store(), "Cold", "Model P4", 1, {T, T, T, T});
    d.probe(2)->CurrentValueText = "60.0";
    EXPECT_EQ(f.parse("a|61.0|b"), 0);
    EXPECT_EQ(f.evaluation.textsFor(0), (QList<QByteArray>{"61.0"}));
    EXPECT_EQ(f.shown(0), "61.0");
    EXPECT_EQ(f.shown(2), "60.0");
    EXPECT_EQ(readFile(d.probe(0)->DataLogFile.bytes()), "11-14-26,13:05:09,61.0\r\n");
    EXPECT_FALSE(exists(d.probe(1)->DataLogFile.bytes()));

    EXPECT_EQ(f.parse(""), 0);
    EXPECT_EQ(f.parse("no bars at all"), 0);
}

TEST(ReplyParser, ADeviceWithoutProbesSucceedsWithoutReadingTheReply)
{
    ParserFixture f;
    addDevice(f.store(), "Empty", "Model R4", 1, {});
    EXPECT_EQ(f.parse(""), 1);
    EXPECT_TRUE(f.evaluation.values.empty());
}

TEST(ReplyParser, HumidityIsEvaluatedWholeButShownAndLoggedWithItsDecimal)
{
    ParserFixture f;
    DeviceRecord &d = addDevice(f.store(), "G", "Model RM1", 1, {H, W, S, S, S});
    EXPECT_EQ(f.parse("F|45.7|12.25|-1|0|1"), 1);
    EXPECT_EQ(f.shown(0), "45.7");
    EXPECT_EQ(f.shown(1), "12.2");
    EXPECT_EQ(f.shown(2), "Open");
    EXPECT_EQ(f.shown(3), "Closed");
    EXPECT_EQ(f.shown(4), "Closed");
    EXPECT_EQ(readFile(d.probe(0)->DataLogFile.bytes()), "11-14-26,13:05:09,45.7\r\n");
    EXPECT_EQ(readFile(d.probe(2)->DataLogFile.bytes()), "11-14-26,13:05:09,Open\r\n");
    // The evaluation reads the integer itself from the text it is given.
    EXPECT_EQ(f.evaluation.values[0].text, "45.7");
}

TEST(ReplyParser, TemperaturesAreConvertedToTheProbeScaleAndRoundedFirst)
{
    ParserFixture f;
    DeviceRecord &c = addDevice(f.store(), "C", "Model RM1", 1, {T, T, H});
    c.DisplayUnits = DisplayUnits::C;
    c.probe(1)->DisplayUnits = DisplayUnits::C; // same scale: untouched text
    EXPECT_EQ(f.parse("C|21.94|21.94|21.94"), 1);
    EXPECT_EQ(f.evaluation.textsFor(0), (QList<QByteArray>{"71.5", "21.94", "21.94"}));

    DeviceRecord &k = addDevice(f.store(), "K", "Model R4", 1, {T});
    k.DisplayUnits = DisplayUnits::K;
    EXPECT_EQ(f.parse("t|300.00", 1), 1);
    EXPECT_EQ(f.shown(0, 1), "48.3"); // Kelvin to Fahrenheit subtracts 491.67
}

TEST(ReplyParser, ConversionTableRowByRow)
{
    using U = DisplayUnits;
    EXPECT_EQ(convertTemperatureText(U::F, U::C, "212"), "100.0");
    EXPECT_EQ(convertTemperatureText(U::F, U::K, "32"), "273.1");
    EXPECT_EQ(convertTemperatureText(U::F, U::R, "0"), "459.7");
    EXPECT_EQ(convertTemperatureText(U::C, U::K, "0"), "273.1");
    EXPECT_EQ(convertTemperatureText(U::C, U::R, "100"), "671.7");
    EXPECT_EQ(convertTemperatureText(U::K, U::C, "300"), "26.9");
    EXPECT_EQ(convertTemperatureText(U::K, U::R, "100"), "180.0");
    EXPECT_EQ(convertTemperatureText(U::R, U::F, "500"), "40.3");
    EXPECT_EQ(convertTemperatureText(U::R, U::C, "491.67"), "0.0");
    EXPECT_EQ(convertTemperatureText(U::R, U::K, "180"), "100.0");
    EXPECT_EQ(convertTemperatureText(U(7), U::F, "12.34"), "12.3");
    EXPECT_EQ(convertTemperatureText(U::F, U::C, "warm"), "-17.8");
}

TEST(ReplyParser, DataLinesNeedAnEnabledProbeOnALoggingDevice)
{
    ParserFixture f;
    DeviceRecord &d = addDevice(f.store(), "L", "Model R4", 1, {T, T});
    d.probe(1)->ProbeEnabled = 0;
    EXPECT_EQ(f.parse("a|70.0|b|71.0"), 1);
    EXPECT_TRUE(exists(d.probe(0)->DataLogFile.bytes()));
    EXPECT_FALSE(exists(d.probe(1)->DataLogFile.bytes()));
    d.LoggingEnabled = 0;
    EXPECT_EQ(f.parse("a|72.0|b|71.0"), 1);
    EXPECT_EQ(readFile(d.probe(0)->DataLogFile.bytes()), "11-14-26,13:05:09,70.0\r\n");
    EXPECT_EQ(f.evaluation.values.size(), 4u); // still evaluated
}

TEST(ReplyParser, TheFirstReplyOfANewDayRollsTheFilesOverBeforeItsOwnLine)
{
    ParserFixture f;
    DeviceRecord &d = addDevice(f.store(), "L", "Model R4", 1, {T});
    f.parse("a|70.0");
    f.clock.advance(86400);
    f.parse("a|bad but still a field");
    EXPECT_EQ(readFile(f.path("Data/11-14-26/L-Probe01-(P1).csv")), "11-14-26,13:05:09,70.0\r\n");
    EXPECT_EQ(readFile(d.probe(0)->DataLogFile.bytes()), "11-15-26,13:05:09,0.0\r\n");
}
