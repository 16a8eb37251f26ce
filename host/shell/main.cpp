#include <langinfo.h>

#include <QCoreApplication>
#include <QLoggingCategory>
#include <clocale>
#include <cstring>

#include "commands.h"
#include "output.h"

int main(int argc, char** argv) {
    // Read before the next lines may change it.
    const TextLanguage language = languageOfEnvironment();
    // Names and arguments are UTF-8 even in an environment that sets no locale.
    std::setlocale(LC_ALL, "");
    if (std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0) {
        qputenv("LC_ALL", "C.UTF-8");
    }
    // Without TZ, the C library reads the zone's file again at every conversion of a time.
    if (qEnvironmentVariableIsEmpty("TZ")) {
        qputenv("TZ", ":/etc/localtime");
    }
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("velmar-client"));
    // Without a log file, only warnings belong on stderr; LogFile sets its own rules.
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\nvelmar.history.cache=false"));
    ShellOptions options;
    options.language = language;
    QString error;
    if (!parseShellOptions(QCoreApplication::arguments().mid(1), &options, &error)) {
        printError(error);
        printTo(stderr, QStringLiteral("velmar-client --help lists commands and options"));
        return 2;
    }
    return runShell(options);
}
