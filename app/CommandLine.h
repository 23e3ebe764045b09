// The program's command line: the long options of this edition and the
// classic flags ("-nosplash", "/minimize", ...).
#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

namespace cz {

// Collects every flag (an argument starting with "-" or "/") with the value
// "TRUE"; a plain argument right after a flag becomes that flag's value.
class ClassicFlags {
public:
    void parseParam(const QString &param, bool isFlag);
    bool hasFlag(const QString &key) const { return params_.contains(key); }
    QString value(const QString &key) const { return params_.value(key); }

private:
    QMap<QString, QString> params_;
    QString lastFlag_;
};

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
