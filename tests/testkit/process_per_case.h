#pragma once

#include <QObject>

/// Runs every test function of `suite` in a child process of its own, one after the other, for
/// cases that can happen once in a process only, such as the start-up. With arguments on the
/// command line (the children get the name of a function) the test runs in this process instead.
/// Returns the number of failed cases.
int runEachCaseInItsOwnProcess(QObject* suite, int argc, char** argv);

/// Like QTEST_GUILESS_MAIN, with a process per case.
#define VELMAR_PROCESS_PER_CASE_MAIN(Suite)                    \
    int main(int argc, char** argv) {                          \
        QCoreApplication app(argc, argv);                      \
        Suite suite;                                           \
        return runEachCaseInItsOwnProcess(&suite, argc, argv); \
    }
