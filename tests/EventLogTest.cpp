#include "monitor/DailyRollover.h"
#include "store/DeviceStore.h"
#include "store/LogFiles.h"
#include "tests/support/TestSupport.h"

#include <QDir>

#include <gtest/gtest.h>

using namespace cz;
using namespace cz::test;

TEST(EventLog, ProbeLogLinesAreDatedAndEndInCrLf)
{
    DataFolderFixture f;
    const QByteArray log = f.path("probe.log");
    appendProbeLog(f.clock, log, "Corvanta Zephtra program starting.");
    appendProbeLog(f.clock, log, "DevicePort saved as \"8081\"");
    EXPECT_EQ(readFile(log),
              "11-14-26 13:05:09: Corvanta Zephtra program starting.\r\n"
              "11-14-26 13:05:09: DevicePort saved as \"8081\"\r\n");
}

TEST(EventLog, ErrorLogEntriesAddNoLineEnd)
{
    DataFolderFixture f;
    const QByteArray log = f.path("InternetError.log");
    appendErrorLog(f.clock, log, "The operation timed out\r\n");
    f.clock.advance(61);
    appendErrorLog(f.clock, log, "no line break");
    appendErrorLog(f.clock, log, "next");
    EXPECT_EQ(readFile(log), "11-14-26 13:05:09: The operation timed out\r\n"
                             "11-14-26 13:06:10: no line break11-14-26 13:06:10: next");
}

TEST(EventLog, DataLinesHoldDateTimeAndDisplayText)
{
    DataFolderFixture f;
    const QByteArray csv = f.path("probe.csv");
    appendDataLine(csv, "11-14-26", "13:05:09", "71.5");
    appendDataLine(csv, "11-14-26", "13:05:14", "Open");
    EXPECT_EQ(readFile(csv), "11-14-26,13:05:09,71.5\r\n11-14-26,13:05:14,Open\r\n");
}

TEST(EventLog, AFileThatCannotBeOpenedIsSkippedQuietly)
{
    DataFolderFixture f;
    appendProbeLog(f.clock, f.path("no/such/folder/x.log"), "lost");
    appendProbeLog(f.clock, "", "lost");
    EXPECT_FALSE(exists(f.path("no")));
}

TEST(EventLog, TheFirstReadingAfterMidnightMovesTheDaysFilesIntoFoldersNamedByThatDay)
{
    DataFolderFixture f;
    DeviceStore &s = f.store();
    s.readProgramSettings();
    f.clock.set(1794700798);  // 11-14-26 23:59:58
    s.currentDateText = "11-14-26";
    rollOverDailyFiles(s);  // same day: nothing moves
    writeFile(f.path("Data/Lab-Probe01-(A).csv"), "11-14-26,23:59:58,70.0\r\n");
    writeFile(f.path("Logs/Lab-Probe01-(A).log"), "old log\r\n");
    QDir().mkpath(QFile::decodeName(f.path("Data/kept folder")));
    QDir().mkpath(QFile::decodeName(f.path("Logs/11-14-26")));
    writeFile(f.path("Logs/11-14-26/Lab-Probe02-(B).log"), "already there\r\n");
    writeFile(f.path("Logs/Lab-Probe02-(B).log"), "cannot move\r\n");
    rollOverDailyFiles(s);
    EXPECT_TRUE(exists(f.path("Data/Lab-Probe01-(A).csv")));

    f.clock.advance(3);  // 00:00:01 the next day
    rollOverDailyFiles(s);
    EXPECT_EQ(s.currentDateText, "11-15-26");
    EXPECT_EQ(readFile(f.path("Data/11-14-26/Lab-Probe01-(A).csv")), "11-14-26,23:59:58,70.0\r\n");
    EXPECT_EQ(readFile(f.path("Logs/11-14-26/Lab-Probe01-(A).log")), "old log\r\n");
    EXPECT_FALSE(exists(f.path("Data/Lab-Probe01-(A).csv")));
    EXPECT_TRUE(QFileInfo(QFile::decodeName(f.path("Data/kept folder"))).isDir());
    // A file of that name already moved stays where it is, both untouched.
    EXPECT_EQ(readFile(f.path("Logs/Lab-Probe02-(B).log")), "cannot move\r\n");
    EXPECT_EQ(readFile(f.path("Logs/11-14-26/Lab-Probe02-(B).log")), "already there\r\n");
}
