#include <QtTest>

#include "facade_library.h"
#include "output.h"
#include "progress_bar.h"
#include "status_line.h"
#include "test_paths.h"
#include "vocabulary/net_state.h"

class ShellTextsTest : public QObject {
    Q_OBJECT

private slots:
    void closeNames_mistypedName_leadsWithTheMeantOne_data();
    void closeNames_mistypedName_leadsWithTheMeantOne();
    void closeNames_nothingClose_areNone();
    void statusText_wideTerminal_containsEverything();
    void statusText_gateDown_isNamed();
    void statusText_anyWidth_neverLonger();
    void statusText_measuredDelays_areItsLastPart();
    void progressText_half_fillsHalfTheBar();
    void progressText_anyWidth_neverLonger();
    void load_fileThatIsNoLibrary_isNamed();
    void load_libraryWithoutTable_isRefused();
    void listing_ofThePlugin_alignsItsColumns();
    void listing_hasHeadingsAndALegendOfTheReach();
    void listing_unknownName_isReportedWithSimilarOnes();
    void explanation_ofAFunction_hasUnitsAndValues();
    void knowsValues_unknownNumber_namesTheArgument();
    void printable_controlCharacters_areReplaced();
};

namespace {

ClientStatus someStatus() {
    ClientStatus status;
    status.accounts = 200;
    status.presenters = 2;
    status.pendingRequests = 3;
    status.gates = {{QStringLiteral("InfoGate"), NET_STATE::CONNECTED},
                    {QStringLiteral("TradeGate"), NET_STATE::CONNECTED}};
    status.upSeconds = 3661;
    return status;
}

QString pluginFile() {
    return QStringLiteral(VELMAR_BINARY_DIR "/plugins/libVelmarBusinessDataManager.so");
}

}  // namespace

void ShellTextsTest::closeNames_mistypedName_leadsWithTheMeantOne_data() {
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("meant");
    QTest::newRow("case") << "gettradingaccountlist"
                          << "GetTradingAccountList";
    QTest::newRow("letter missing") << "GetTradingAcountList"
                                    << "GetTradingAccountList";
    QTest::newRow("part of it") << "Distributed"
                                << "GetDistributedAccountList";
    QTest::newRow("swapped") << "GetFundAccuontList"
                             << "GetFundAccountList";
}

void ShellTextsTest::closeNames_mistypedName_leadsWithTheMeantOne() {
    QFETCH(QString, typed);
    QFETCH(QString, meant);
    const QStringList known{QStringLiteral("GetDistributedAccountList"),
                            QStringLiteral("GetFundAccountList"),
                            QStringLiteral("GetTradingAccountList")};
    QCOMPARE(closeNames(typed, known).value(0), meant);
}

void ShellTextsTest::closeNames_nothingClose_areNone() {
    QCOMPARE(closeNames(QStringLiteral("xyz"), {QStringLiteral("GetFundAccountList")}),
             QStringList());
    QCOMPARE(closeNames(QString(), {QStringLiteral("GetFundAccountList")}), QStringList());
}

void ShellTextsTest::statusText_wideTerminal_containsEverything() {
    QCOMPARE(
        statusText(someStatus(), 200),
        QStringLiteral("up 01:01:01 | 200 accounts | gates 2/2 up | 3 pending | 2 presenters"));
}

void ShellTextsTest::statusText_gateDown_isNamed() {
    ClientStatus status = someStatus();
    status.gates[QStringLiteral("TradeGate")] = NET_STATE::NOCONNECT;
    const QString text = statusText(status, 200);
    QVERIFY2(text.contains(QStringLiteral("gates 1/2 up: TradeGate NOCONNECT")), qPrintable(text));
}

void ShellTextsTest::statusText_anyWidth_neverLonger() {
    for (int columns = 0; columns < 90; ++columns) {
        const QString text = statusText(someStatus(), columns);
        QVERIFY(text.size() <= columns);
        QCOMPARE(text.isEmpty(), columns == 0);
    }
}

void ShellTextsTest::statusText_measuredDelays_areItsLastPart() {
    constexpr int kWide = 200;
    ClientStatus status = someStatus();
    const QString without = statusText(status, kWide);
    QVERIFY(!without.contains(" ms"));
    status.delaysMs = {{QStringLiteral("InfoGate"), 8}, {QStringLiteral("TradeGate"), 12}};
    QCOMPARE(statusText(status, kWide), without + " | InfoGate 8 ms, TradeGate 12 ms");
    QCOMPARE(statusText(status, without.size() + 5), without);
}

void ShellTextsTest::progressText_half_fillsHalfTheBar() {
    QCOMPARE(progressText(150000, 300000, 80),
             QStringLiteral("making the sample market  [####################"
                            "                    ]   50 %"));
    QVERIFY(progressText(0, 7, 80).endsWith(
        QStringLiteral("[                                        ]    0 %")));
    QVERIFY(!progressText(7, 7, 80).section('[', 1).section(']', 0, 0).contains(' '));
    // A hundred times the number of rows exceeds 32 bits.
    QVERIFY(progressText(30000000, 60000000, 80).endsWith(QStringLiteral("  50 %")));
}

void ShellTextsTest::progressText_anyWidth_neverLonger() {
    for (int columns = 0; columns < 120; ++columns) {
        QVERIFY(progressText(1, 3, columns).size() <= columns);
    }
    QVERIFY(!progressText(1, 3, 35).contains('['));
}

void ShellTextsTest::load_fileThatIsNoLibrary_isNamed() {
    FacadeLibrary library;
    QString error;
    const QString file = QStringLiteral("/nowhere/libNothing.so");
    QVERIFY(!library.load(file, &error));
    QVERIFY2(error.contains(file), qPrintable(error));
}

void ShellTextsTest::load_libraryWithoutTable_isRefused() {
    FacadeLibrary library;
    QString error;
    const QString file = QStringLiteral(VELMAR_BINARY_DIR "/lib/libvelmar_platform.so");
    QVERIFY(QFile::exists(file));
    QVERIFY(!library.load(file, &error));
    QVERIFY2(error.contains(file), qPrintable(error));
}

void ShellTextsTest::listing_ofThePlugin_alignsItsColumns() {
    FacadeLibrary library;
    QString error;
    QVERIFY2(library.load(pluginFile(), &error), qPrintable(error));
    QStringList lines = library.listing(QString(), &error);
    lines = lines.mid(0, lines.indexOf(QString()));
    QCOMPARE(lines.size(), library.count() + 1);
    const QStringList known = lines.filter(QStringLiteral(
        "QStringList GetTradingAccountList(bool wait, int authority, bool includeDistributed)"));
    QCOMPARE(known.size(), 1);
    QVERIFY(known.first().startsWith(QStringLiteral("accounts  ")));
    QVERIFY(known.first().contains(QStringLiteral("  first load, presenter, waits  QString")));
    const int start = known.first().indexOf(QStringLiteral("QStringList"));
    for (const QString& line : lines) {
        QVERIFY2(line.mid(start - 2, 2) == QStringLiteral("  ") && !line.at(start).isSpace(),
                 qPrintable(line));
    }
    QCOMPARE(library.listing(QStringLiteral("GetAllCageMap"), &error).indexOf(QString()), 2);
    QCOMPARE(library.listing(QStringLiteral("IsAccountNormalCounter"), &error).indexOf(QString()),
             3);
    const FacadeFunction* const function =
        library.choose(QStringLiteral("GetTradingAccountList"), {"true", "16", "true"}, &error);
    QVERIFY2(function, qPrintable(error));
}

void ShellTextsTest::listing_hasHeadingsAndALegendOfTheReach() {
    FacadeLibrary library;
    QString error;
    QVERIFY2(library.load(pluginFile(), &error), qPrintable(error));
    const QStringList lines = library.listing(QStringLiteral("GetTradingAccountList"), &error);
    const QString& heading = lines.first();
    QVERIFY2(heading.startsWith(QStringLiteral("Depends on  Reach  ")), qPrintable(heading));
    QCOMPARE(heading.indexOf(QStringLiteral("Function")),
             lines.at(1).indexOf(QStringLiteral("QStringList Get")));
    QCOMPARE(lines.at(3), QStringLiteral("Reach:"));
    QCOMPARE(lines.size(), 8);
    for (const char* word : {"first load", "presenter", "waits", "plain"}) {
        QCOMPARE(
            lines.mid(4).filter(QRegularExpression(QStringLiteral("^  %1  +\\S").arg(word))).size(),
            1);
    }
}

void ShellTextsTest::listing_unknownName_isReportedWithSimilarOnes() {
    FacadeLibrary library;
    QString error;
    QVERIFY2(library.load(pluginFile(), &error), qPrintable(error));
    const QString text = QStringLiteral(
        "no exported function is called GetTradingAccountLst; similar names: "
        "GetTradingAccountList");
    QVERIFY(library.listing(QStringLiteral("GetTradingAccountLst"), &error).isEmpty());
    QVERIFY2(error.startsWith(text), qPrintable(error));
    error.clear();
    QVERIFY(!library.choose(QStringLiteral("GetTradingAccountLst"), {}, &error));
    QVERIFY2(error.startsWith(text), qPrintable(error));
}

void ShellTextsTest::explanation_ofAFunction_hasUnitsAndValues() {
    FacadeLibrary library;
    QString error;
    QVERIFY2(library.load(pluginFile(), &error), qPrintable(error));
    const QStringList lines = library.explanation(QStringLiteral("GetQtyByOddLotType"), &error);
    QCOMPARE(lines.first(), QStringLiteral("qint64 GetQtyByOddLotType(QString symbol, "
                                           "CustomOddLotType type, qint64 qty, bool flag)"));
    QVERIFY(lines.contains(
        QStringLiteral("    depends on securities: the securities of the static database")));
    QVERIFY(lines.contains(
        QStringLiteral("    type: CustomOddLotType; 0 Keep, 1 Down, 2 Nearest, 3 Up, 4 ByFlag")));
    QVERIFY(lines.contains(QStringLiteral(
        "    qty: qint64; in the unit of the symbol: shares, or lots of a contract")));
    QVERIFY(lines.last().startsWith(QStringLiteral("    returns qint64; in the unit")));
}

void ShellTextsTest::knowsValues_unknownNumber_namesTheArgument() {
    FacadeLibrary library;
    QString error;
    QVERIFY2(library.load(pluginFile(), &error), qPrintable(error));
    const QStringList arguments{"600000.SH", "9", "100", "true"};
    const FacadeFunction* const function =
        library.choose(QStringLiteral("GetQtyByOddLotType"), arguments, &error);
    QVERIFY2(function, qPrintable(error));
    QVERIFY(!FacadeLibrary::knowsValues(*function, arguments, &error));
    QVERIFY2(error.startsWith(QStringLiteral("argument 2, type: '9' is not a value of")),
             qPrintable(error));
    QVERIFY2(error.endsWith(QStringLiteral("; --raw passes it anyway")), qPrintable(error));
    QVERIFY(FacadeLibrary::knowsValues(*function, {"600000.SH", "Up", "100", "true"}, &error));
}

void ShellTextsTest::printable_controlCharacters_areReplaced() {
    QCOMPARE(printable(QStringLiteral("a\x1b[2J\tb\r\nc\u0085\u202E\x7f")),
             QStringLiteral("a\uFFFD[2J\tb\uFFFD\nc\uFFFD\uFFFD\uFFFD"));
    QCOMPARE(printable(QStringLiteral("虚岚科技 é")), QStringLiteral("虚岚科技 é"));
}

QTEST_GUILESS_MAIN(ShellTextsTest)
#include "shell_texts_test.moc"
