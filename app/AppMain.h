// The two ways the program runs, after the command line has been read.
#pragma once

#include "app/CommandLine.h"

// Monitoring with no window (a QCoreApplication exists).
int runHeadless(const cz::CommandLine &commandLine);
// The window (a QApplication exists).
int runWindow(const cz::CommandLine &commandLine);
