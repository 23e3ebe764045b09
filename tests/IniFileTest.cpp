#include "store/IniFile.h"
#include "tests/support/TestSupport.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

using namespace cz;
using namespace cz::test;

TEST(IniFile, SectionsAndKeysMatchWithoutCaseAndValuesAreTrimmed)
{
    IniFile ini("[Device]\nDevicePort =  8081  \n  probecount=2\n");
    EXPECT_EQ(ini.value("device", "DEVICEPORT").value(), "8081");
    EXPECT_EQ(ini.readInt("DEVICE", "ProbeCount", 4), 2);
    EXPECT_FALSE(ini.value("Device", "Missing").has_value());
}

TEST(IniFile, FirstOfDuplicateKeysAndSectionsWins)
{
    IniFile ini("[A]\nk=1\nK=2\n[a]\nk=3\nother=4\n");
    EXPECT_EQ(ini.value("A", "k").value(), "1");
    EXPECT_FALSE(ini.value("A", "other").has_value());
    ini.setValue("A", "K", "9");
    EXPECT_EQ(ini.text(), "[A]\r\nK=9\r\nK=2\r\n[a]\r\nk=3\r\nother=4\r\n");
}

TEST(IniFile, ProfileIntegersFollowTheProfileRules)
{
    IniFile ini("[S]\nempty=\ntext=abc\nneg=-7\nlead=12abc\nspaced = 42 \n");
    EXPECT_EQ(ini.readInt("S", "empty", 5), 5);
    EXPECT_EQ(ini.readInt("S", "text", 5), 0);
    EXPECT_EQ(ini.readInt("S", "neg", 5), -7);
    EXPECT_EQ(ini.readInt("S", "lead", 5), 12);
    EXPECT_EQ(ini.readInt("S", "spaced", 5), 42);
    EXPECT_EQ(ini.readInt("S", "absent", 5), 5);
}

TEST(IniFile, ProfileIntegersTakeTheirBaseFromTheirPrefix)
{
    IniFile ini("[S]\nhex=0x4\nmixed=0xFf\ncapital=0X10\noctal=0o17\nbinary=0b101\nleadingZero=010\n"
                "stop=0b102\nsigned= -0x10\nplus=+0o7\nbare=0x\nwrap=4294967297\nhigh=0xFFFFFFFF\n"
                "octalNine=0o9\n");
    EXPECT_EQ(ini.readInt("S", "hex", 9), 4);
    EXPECT_EQ(ini.readInt("S", "mixed", 9), 255);
    EXPECT_EQ(ini.readInt("S", "capital", 9), 0);
    EXPECT_EQ(ini.readInt("S", "octal", 9), 15);
    EXPECT_EQ(ini.readInt("S", "binary", 9), 5);
    EXPECT_EQ(ini.readInt("S", "leadingZero", 9), 10);
    EXPECT_EQ(ini.readInt("S", "stop", 9), 2);
    EXPECT_EQ(ini.readInt("S", "signed", 9), -16);
    EXPECT_EQ(ini.readInt("S", "plus", 9), 7);
    EXPECT_EQ(ini.readInt("S", "bare", 9), 0);
    EXPECT_EQ(ini.readInt("S", "wrap", 9), 1);
    EXPECT_EQ(ini.readInt("S", "high", 9), -1);
    EXPECT_EQ(ini.readInt("S", "octalNine", 9), 0);
}

TEST(IniFile, EnclosingQuotesAreDropped)
{
    IniFile ini("[S]\na=\"quoted text\"\nb=\"half\nc='single'\n");
    EXPECT_EQ(ini.value("S", "a").value(), "quoted text");
    EXPECT_EQ(ini.value("S", "b").value(), "\"half");
    EXPECT_EQ(ini.value("S", "c").value(), "single");
}

TEST(IniFile, LongStringsAreCutOnACharacterBoundary)
{
    IniFile ini("[S]\nname=ab\xc3\xa9z\n");  // "abéz": é is two bytes
    EXPECT_EQ(ini.readString("S", "name", "", 4), "ab");
    EXPECT_EQ(ini.readString("S", "name", "", 5), "ab\xc3\xa9");
}

TEST(IniFile, CommentsLayoutAndUnknownKeysSurviveAndLinesEndInCrLf)
{
    const QByteArray handWritten = "; my notes\n\n[Program]\n; colours\nNormalColor=65280\nMyKey = mine\n\n[Devices]\nDevice001=Lab\n";
    IniFile ini(handWritten);
    ini.setValue("Program", "NormalColor", "255");
    EXPECT_EQ(ini.text(),
              "; my notes\r\n\r\n[Program]\r\n; colours\r\nNormalColor=255\r\nMyKey = mine\r\n\r\n"
              "[Devices]\r\nDevice001=Lab\r\n");
}

TEST(IniFile, NewKeyGoesAfterTheSectionsLastLineNotIntoTheNextBanner)
{
    IniFile ini("[Device]\n; about the device keys\nDevicePort=80\n\n;####\n;  Probe01\n;####\n[Probe01]\n; probe keys\n");
    ini.setValue("Device", "ProbeCount", "4");
    ini.setValue("Probe01", "ProbeNumber", "1");
    EXPECT_EQ(ini.text(),
              "[Device]\r\n; about the device keys\r\nDevicePort=80\r\nProbeCount=4\r\n\r\n;####\r\n;  Probe01\r\n;####\r\n"
              "[Probe01]\r\n; probe keys\r\nProbeNumber=1\r\n");
}

TEST(IniFile, NewSectionIsAppendedToTheFile)
{
    IniFile ini("[A]\r\nx=1\r\n");
    ini.setValue("B", "y", "2");
    EXPECT_EQ(ini.text(), "[A]\r\nx=1\r\n\r\n[B]\r\ny=2\r\n");
    IniFile empty;
    empty.setValue("Program", "StartMinimized", "0");
    EXPECT_EQ(empty.text(), "[Program]\r\nStartMinimized=0\r\n");
}

TEST(IniFile, ReplacingASectionRewritesItWhole)
{
    IniFile ini("[Devices]\nDevice001=A\nDevice003=C\n\n[Other]\nk=v\n");
    ini.replaceSection("devices", {{"Device001", "A"}, {"Device002", "C"}});
    EXPECT_EQ(ini.text(), "[Devices]\r\nDevice001=A\r\nDevice002=C\r\n\r\n[Other]\r\nk=v\r\n");
}

TEST(IniFile, SaveReplacesTheFileAtomicallyAndAFailedSaveLeavesItWhole)
{
    DataFolderFixture f;
    const QByteArray path = f.path("test.ini");
    writeFile(path, "[A]\r\nold=1\r\n");
    IniFile ini;
    ASSERT_TRUE(ini.load(QFile::decodeName(path)));
    ini.setValue("A", "new", QByteArray(4000, 'x'));
    QString error;
    {
        FileSizeLimit full(1024);
        EXPECT_FALSE(ini.save(QFile::decodeName(path), &error));
    }
    EXPECT_FALSE(error.isEmpty());
    EXPECT_EQ(readFile(path), "[A]\r\nold=1\r\n");
    EXPECT_EQ(QDir(f.dir.path()).entryList(QDir::Files), QStringList{"test.ini"});  // no temporary left
    EXPECT_TRUE(ini.save(QFile::decodeName(path), &error));
    EXPECT_TRUE(readFile(path).startsWith("[A]\r\nold=1\r\nnew=xxx"));
}

TEST(IniFile, DamagedTextLoadsWithoutCrashing)
{
    QByteArray junk;
    for (int i = 0; i < 5000; ++i)
        junk += char((i * 7919) % 256);
    junk += "\n[Program]\nStartMinimized=1\n" + QByteArray(10 * 1024 * 1024, 'z') + "\n";
    IniFile ini(junk);
    EXPECT_EQ(ini.readInt("Program", "StartMinimized", 0), 1);
    EXPECT_EQ(IniFile(QByteArray("no sections at all\nkey=value\n")).value("", "key"), std::nullopt);
}
