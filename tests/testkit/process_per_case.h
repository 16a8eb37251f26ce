#pragma once

#include <QObject>

/// Runs every test function of `suite` in a child process of its own, one after the other: for
/// cases that can happen once in a process, such as the start-up. Arguments on the command line (a
/// function's name, as the children get it) run in this process instead. Returns the number of
/// failed cases, so 0 when all passed.
int runEachCaseInItsOwnProcess(QObject* suite, int argc, char** argv);

/// Like QTEST_GUILESS_MAIN, a process per case. `setUp()` is a static function of the class that
/// runs before the application object exists.
#define VELMAR_PROCESS_PER_CASE_MAIN(Suite)                    \
    int main(int argc, char** argv) {                          \
        QCoreApplication app(argc, argv);                      \
        Suite suite;                                           \
        return runEachCaseInItsOwnProcess(&suite, argc, argv); \
    }
