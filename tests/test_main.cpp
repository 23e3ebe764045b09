#include <QCoreApplication>

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <ctime>

int main(int argc, char **argv)
{
    // Dates in the expected lines are UTC.
    ::setenv("TZ", "UTC", 1);
    ::tzset();
    QCoreApplication app(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
