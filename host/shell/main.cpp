#include <langinfo.h>

#include <QCoreApplication>
#include <clocale>
#include <cstdio>
#include <cstring>

#include "commands.h"

int main(int argc, char** argv) {
    // Asked before the next lines may set another one.
    const TextLanguage language = languageOfEnvironment();
    // Names and arguments are UTF-8 here, whatever a bare environment says.
    std::setlocale(LC_ALL, "");
    if (std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0) {
        qputenv("LC_ALL", "C.UTF-8");
    }
    // With no zone named, the C library reads the zone's file anew at every conversion of a time.
    if (qEnvironmentVariableIsEmpty("TZ")) {
        qputenv("TZ", ":/etc/localtime");
    }
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("velmar-client"));
    ShellOptions options;
    options.language = language;
    QString error;
    if (!parseShellOptions(QCoreApplication::arguments().mid(1), &options, &error)) {
        std::fprintf(stderr, "velmar-client: %s\nvelmar-client --help tells more\n",
                     error.toUtf8().constData());
        return 2;
    }
    return runShell(options);
}
