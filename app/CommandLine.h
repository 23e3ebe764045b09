// The program's command line: the long options of this edition and the
// classic flags ("-nosplash", "/minimize", ...).
#pragma once

#include <QString>
#include <QStringList>

namespace cz {


struct CommandLine {
    QString dataDir;
    QString metricsAddress;  // empty: the "Program" key decides
    bool headless = false;
    bool help = false;
    bool version = false;
    bool noSplash = false;
    bool minimize = false;
    QString error;  // set when the arguments cannot be used

    // `args` without the program name.
    static CommandLine parse(const QStringList &args);
    static QString usage();
};

} // namespace cz
