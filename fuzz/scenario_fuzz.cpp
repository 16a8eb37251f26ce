// Parses any text as a scenario file. An error must name its line and column.

#include <QRegularExpression>
#include <cstdio>
#include <cstdlib>

#include "fault_types.h"
#include "scenario_parser.h"

/// Stands in for the types that the server answers, which would need the whole server.
const QStringList& faultTypes() {
    static const QStringList types{QStringLiteral("100001"), QStringLiteral("120006")};
    return types;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    static const QRegularExpression place(QStringLiteral("\\Afuzz\\.scn:[1-9]\\d*:[1-9]\\d*: ."));
    const QByteArray text(reinterpret_cast<const char*>(data), static_cast<int>(size));
    Scenario scenario;
    QString error;
    if (!parseScenario(QStringLiteral("fuzz.scn"), text, &scenario, &error) &&
        !place.match(error).hasMatch()) {
        std::fprintf(stderr, "scenario_fuzz: refused without line and column: %s\n",
                     qPrintable(error));
        std::abort();
    }
    return 0;
}
