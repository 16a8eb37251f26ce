#include <QLibrary>
#include <QProcess>
#include <QtTest>

#include "facade_function.h"

// VELMAR_PLUGIN_FILE, the library, and VELMAR_NM, the program that lists its symbols, are set by
// CMake.

namespace {

inline const QString kClass = QStringLiteral("VelmarBusinessDataInterface::");

/// The functions of the exported class among the library's dynamic symbols, as "Name(types)".
QStringList exportedFunctions() {
    QProcess lister;
    lister.start(QStringLiteral(VELMAR_NM),
                 {"--dynamic", "--defined-only", "--demangle", VELMAR_PLUGIN_FILE});
    if (!lister.waitForFinished() || lister.exitCode() != 0) {
        qWarning().noquote() << lister.errorString() << lister.readAllStandardError();
        return {};
    }
    QStringList functions;
    for (const QString& line : QString::fromUtf8(lister.readAllStandardOutput()).split('\n')) {
        // "0000000000123456 T VelmarBusinessDataInterface::Name(types)"
        const int begin = line.indexOf(kClass);
        if (begin >= 0 && line.section(' ', 1, 1) == QLatin1String("T")) {
            functions.append(line.mid(begin + kClass.size()));
        }
    }
    return functions;
}

/// A symbol's types as the table writes them: those that a function reads by value, those that it
/// fills with their sign.
QString asInTable(QString symbol) {
    const QList<QPair<QString, QString>> spellings{{"QMap<QString, QVariant>", "QVariantMap"},
                                                   {"long long", "qint64"},
                                                   {" const&", ""},
                                                   {" >", ">"}};
    for (const auto& spelling : spellings) {
        symbol.replace(spelling.first, spelling.second);
    }
    return symbol;
}

}  // namespace

/// The table of functions beside what the linker exported.
class ExportedSymbolsTest : public QObject {
    Q_OBJECT

private slots:
    void table_besideTheSymbols_containsTheSameFunctions() {
        QLibrary library(QStringLiteral(VELMAR_PLUGIN_FILE));
        const auto table =
            reinterpret_cast<FacadeFunctionsAccessor>(library.resolve("velmarFacadeFunctions"));
        QVERIFY2(table, qPrintable(library.errorString()));
        int count = 0;
        const FacadeFunction* const functions = table(&count);
        QStringList listed;
        for (int i = 0; i < count; ++i) {
            const QString signature = functions[i].signature();
            listed.append(signature.mid(signature.indexOf(QLatin1String(functions[i].name))));
        }
        QStringList exported;
        for (const QString& symbol : exportedFunctions()) {
            exported.append(asInTable(symbol));
        }
        listed.sort();
        exported.sort();
        QCOMPARE(exported, listed);
        QCOMPARE(exported.size(), 151);
        QCOMPARE(exported.removeDuplicates(), 0);
    }
};

QTEST_GUILESS_MAIN(ExportedSymbolsTest)
#include "exported_symbols_test.moc"
