// Pictures of every configuration window at 1024 x 768, each checked for
// what it must show: every control named, the switch page's condition in
// place of the thresholds.
#include "tests/ui/ConfigFixture.h"
#include "ui/config/AlertOptionsDialog.h"
#include "ui/config/EmailSubjectsDialog.h"
#include "ui/config/QueryFailureEmailDialog.h"
#include "ui/config/ThresholdEntry.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

using namespace cz;
using namespace cz::test;

TEST(ConfigPictures, EveryConfigurationWindowAt1024By768)
{
    WindowFixture f;
    configure(f, 2, [&](DeviceSettingsDialog &d) {
        click(d, "Send an alert message if this device does not respond for");
        click(d, "Enable voice dialer for this device on this serial port:");
        EXPECT_LE(d.sizeHint().width(), 1024);
        EXPECT_LE(d.sizeHint().height(), 768);
        d.resize(d.sizeHint());
        f.picture(d, "configure-device.png");
        whenShown<QueryFailureEmailDialog>([&](QueryFailureEmailDialog &e) {
            EXPECT_LE(e.sizeHint().width(), 1024);
            EXPECT_EQ(unnamedControls(e), QStringList());
            e.resize(e.sizeHint());
            f.picture(e, "query-failure-email.png");
            e.reject();
        });
        click(d, "Email Recipient and Configuration Details");
        inProbeSheet(d, [&](ProbeSettingsSheet &sheet) {
            sheet.resize(1000, 730);
            const char *names[] = {"temperature", "humidity", "wetness", "switch"};
            bool shown[4] = {};
            for (int i = 0; i < probePageCount(sheet); ++i) {
                const int type = int(sheet.edited().probe(i)->ProbeType);
                if (shown[type])
                    continue;
                shown[type] = true;
                pageTabs(sheet).setCurrentIndex(i);
                QCoreApplication::processEvents();
                EXPECT_EQ(unnamedControls(probePage(sheet, i)), QStringList());
                f.picture(sheet, QStringLiteral("probe-page-%1.png").arg(QLatin1String(names[type])));
            }
            // A switch probe: the condition list in place of the thresholds.
            ProbeSettingsPage &page = probePage(sheet, pageTabs(sheet).currentIndex());
            click(page, "Switch");
            EXPECT_TRUE(list(page, "Switch alarm condition:").isVisible());
            EXPECT_FALSE(control<ThresholdEntry>(page, "High Alarm Threshold:").isVisible());
            EXPECT_EQ(unnamedControls(page), QStringList());
            f.picture(sheet, QStringLiteral("probe-page-switch.png"));
            whenShown<AlertOptionsDialog>([&](AlertOptionsDialog &o) {
                EXPECT_EQ(unnamedControls(o), QStringList());
                o.resize(o.sizeHint());
                f.picture(o, "alert-options.png");
                o.reject();
            });
            click(page, "More Options...");
            QTest::mouseClick(control<YesNoField>(page, "Send email message on alarm:").yesButton(), Qt::LeftButton);
            whenShown<EmailSubjectsDialog>([&](EmailSubjectsDialog &s) {
                EXPECT_EQ(unnamedControls(s), QStringList());
                s.resize(s.sizeHint());
                f.picture(s, "email-subjects.png");
                s.reject();
            });
            click(page, "Customize Subject Lines");
            sheet.reject();
        });
        f.prompter.answers = {true};
        d.reject();
    });
}
