#include <QApplication>

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <ctime>

int main(int argc, char **argv)
{
    // Widgets without a display; dates in the expected texts are UTC.
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    ::setenv("TZ", "UTC", 1);
    ::tzset();
    QApplication app(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
