#include <QtTest>
#include <future>

#include "local_platform.h"
#include "log_capture.h"
#include "risk_fixture.h"
#include "wait_for.h"
#include "znbusinessdata/c_business_data_base.h"

namespace {

const QString kTypes = Velmar_MsgType::QueryRiskSecurityFlagInfoRequest;
const QString kMonitor = Velmar_MsgType::QueryMonitorSymbolsRequest;
const QString kWaits = QStringLiteral("waits for the request that is under way");

QVariantMap issueRow(const QString& symbol) {
    return typeRow(symbol, SymbolRiskType::BreakingIssuePrice);
}

QVariantMap netRow(const QString& symbol) {
    return typeRow(symbol, SymbolRiskType::BrokenNetPrice);
}

}  // namespace

/// The lists of symbols that are requested from the server.
class RiskFlagQueriesTest : public QObject {
    Q_OBJECT

private slots:
    void riskTypes_answered_areReadByType() {
        RiskFixture fixture;
        fixture.loadTypes({issueRow(riskSymbol(1)), netRow(riskSymbol(2)), netRow(riskSymbol(1)),
                           issueRow(riskSymbol(3)), issueRow(riskSymbol(3)),
                           typeRow(riskSymbol(4), 3), typeRow(riskSymbol(5), "no number"),
                           riskRow(riskSymbol(6)), typeRow(riskSymbol(7), "1")});
        const auto flagsOf = [&fixture](int number) {
            return QString("%1%2")
                .arg(fixture.flags.IsSymbolBreakingIssuePrice(riskSymbol(number)))
                .arg(fixture.flags.IsSymbolBrokenNetPrice(riskSymbol(number)));
        };
        QCOMPARE(flagsOf(1), QString("11"));
        QCOMPARE(flagsOf(2), QString("01"));
        QCOMPARE(flagsOf(3), QString("10"));
        for (const int none : {4, 5, 6, 8}) {
            QCOMPARE(flagsOf(none), QString("00"));
        }
        QCOMPARE(flagsOf(7), QString("10"));
        QVERIFY(!fixture.flags.IsSymbolBreakingIssuePrice(""));
    }

    void riskTypes_typeThatIsNotAWholeNumber_isCountedAndLeftOut_data() {
        QTest::addColumn<QVariant>("type");
        QTest::newRow("beyond 32 bits") << QVariant(4294967297LL);
        QTest::newRow("beyond 32 bits, text") << QVariant("4294967297");
        QTest::newRow("a bool") << QVariant(true);
        QTest::newRow("a fraction") << QVariant(1.5);
        QTest::newRow("a fraction, text") << QVariant("1.5");
        QTest::newRow("a word") << QVariant("no number");
        QTest::newRow("empty") << QVariant("");
        QTest::newRow("missing") << QVariant();
        QTest::newRow("a list") << QVariant(QVariantList{1});
    }
    void riskTypes_typeThatIsNotAWholeNumber_isCountedAndLeftOut() {
        QFETCH(QVariant, type);
        RiskFixture fixture;
        const LogCapture log;
        fixture.loadTypes({typeRow(riskSymbol(1), type), issueRow(riskSymbol(2)),
                           typeRow(riskSymbol(3), double(SymbolRiskType::BrokenNetPrice))});
        QVERIFY(!fixture.flags.IsSymbolBreakingIssuePrice(riskSymbol(1)));
        QVERIFY(!fixture.flags.IsSymbolBrokenNetPrice(riskSymbol(1)));
        QVERIFY(fixture.flags.IsSymbolBreakingIssuePrice(riskSymbol(2)));
        QVERIFY(fixture.flags.IsSymbolBrokenNetPrice(riskSymbol(3)));
        QCOMPARE(log.texts(QtWarningMsg),
                 QStringList{"risk types: 1 rows without a whole number as their type are left "
                             "out"});
    }

    void riskTypes_request_hasTheLoginAccountAndThePage() {
        RiskFixture fixture;
        fixture.loadTypes({});
        const QVariantMap header = fixture.world.link().lastRequest(kTypes).header;
        const QString login = CBusinessDataBase::GetInstance()->GetLoginAccount();
        QVERIFY(!login.isEmpty());
        QCOMPARE(header.value(UserAccount::loginUserId).toString(), login);
        QCOMPARE(header.value(System::pageSize).toInt(), 1000);
        QCOMPARE(header.value(System::pageNo).toInt(), 1);
    }

    void riskTypes_afterASuccess_areNotRequestedAgain_data() {
        QTest::addColumn<QList<QVariantMap>>("rows");
        QTest::newRow("rows") << QList<QVariantMap>{issueRow(riskSymbol(1))};
        QTest::newRow("no rows") << QList<QVariantMap>{};
    }
    void riskTypes_afterASuccess_areNotRequestedAgain() {
        QFETCH(QList<QVariantMap>, rows);
        RiskFixture fixture;
        fixture.loadTypes(rows);
        fixture.loadTypes({issueRow(riskSymbol(2))});
        QCOMPARE(fixture.world.link().requestCount(kTypes), 1);
        QVERIFY(!fixture.flags.IsSymbolBreakingIssuePrice(riskSymbol(2)));
    }

    void riskTypes_failed_areRequestedByTheNextCall_data() {
        QTest::addColumn<QString>("how");
        QTest::newRow("refusal") << "refusal";
        QTest::newRow("failure") << "failure";
        QTest::newRow("time-out") << "time-out";
        QTest::newRow("garbage") << "garbage";
    }
    void riskTypes_failed_areRequestedByTheNextCall() {
        QFETCH(QString, how);
        RiskFixture fixture;
        fixture.world.link().on(kTypes, how == "refusal"   ? ScriptedReply::refusal("closed")
                                        : how == "failure" ? ScriptedReply::failure("down")
                                        : how == "garbage" ? ScriptedReply::garbage()
                                                           : ScriptedReply::timeOut());
        fixture.flags.InitSymbolRiskTypeInfo(fixture.owned.presenter);
        QCOMPARE(fixture.world.link().requestCount(kTypes), 1);
        QVERIFY(!fixture.flags.IsSymbolBreakingIssuePrice(riskSymbol(1)));
        fixture.loadTypes({issueRow(riskSymbol(1))});
        QCOMPARE(fixture.world.link().requestCount(kTypes), 2);
        QVERIFY(fixture.flags.IsSymbolBreakingIssuePrice(riskSymbol(1)));
    }

    void riskTypes_secondPageFails_leavesTheTable() {
        RiskFixture fixture;
        QList<QVariantMap> page;
        for (int number = 1; number <= 1000; ++number) {
            page.append(issueRow(riskSymbol(1)));
        }
        fixture.world.link().on(kTypes, ScriptedReply::refusal("closed"));
        fixture.world.link().onOccurrence(kTypes, 1,
                                          ScriptedReply::rows(page, {{System::totalSize, 1001}}));
        fixture.flags.InitSymbolRiskTypeInfo(fixture.owned.presenter);
        QCOMPARE(fixture.world.link().requestCount(kTypes), 2);
        QVERIFY(!fixture.flags.IsSymbolBreakingIssuePrice(riskSymbol(1)));
    }

    void riskTypes_unknownSymbols_areCountedAndLeftOut() {
        RiskFixture fixture;
        LogCapture log;
        fixture.loadTypes({issueRow("999999.SH"),
                           {},
                           {{SymbolRiskType::riskFlagType, 1}},
                           issueRow(riskSymbol(1))});
        QVERIFY(log.contains(QtDebugMsg, "risk types: 4 rows, 3 of symbols without product data"));
        QVERIFY(fixture.flags.IsSymbolBreakingIssuePrice(riskSymbol(1)));
        QVERIFY(!fixture.flags.IsSymbolBreakingIssuePrice("999999.SH"));
    }

    void riskTypes_withoutAPresenter_areLoggedAndRequestedLater() {
        RiskFixture fixture;
        LogCapture log;
        fixture.flags.InitSymbolRiskTypeInfo(nullptr);
        QVERIFY(log.contains(QtWarningMsg, kTypes));
        fixture.loadTypes({issueRow(riskSymbol(1))});
        QVERIFY(fixture.flags.IsSymbolBreakingIssuePrice(riskSymbol(1)));
    }

    void riskTypes_severalCallersAtOnce_sendOneRequest() {
        RiskFixture fixture;
        fixture.world.link().on(kTypes, ScriptedReply::rows({issueRow(riskSymbol(1))}).held());
        LogCapture log;
        const auto load = [&fixture] {
            fixture.flags.InitSymbolRiskTypeInfo(fixture.owned.presenter);
            // Whoever returns finds the table loaded.
            return fixture.flags.IsSymbolBreakingIssuePrice(riskSymbol(1));
        };
        std::vector<std::future<bool>> callers;
        for (int caller = 0; caller < 3; ++caller) {
            callers.push_back(std::async(std::launch::async, load));
        }
        QVERIFY(waitFor([&] {
            return log.texts(QtDebugMsg).filter(kWaits).size() == 2 &&
                   fixture.world.link().heldCount(kTypes) == 1;
        }));
        fixture.world.link().release(kTypes);
        for (std::future<bool>& caller : callers) {
            QVERIFY(caller.get());
        }
        QCOMPARE(fixture.world.link().requestCount(kTypes), 1);
    }

    void riskTypes_theOtherCallersRequestFails_sendsOneOfItsOwn() {
        RiskFixture fixture;
        fixture.world.link().on(kTypes, ScriptedReply::rows({issueRow(riskSymbol(1))}));
        fixture.world.link().onOccurrence(kTypes, 1, ScriptedReply::refusal("closed").held());
        LogCapture log;
        const auto load = [&fixture] {
            fixture.flags.InitSymbolRiskTypeInfo(fixture.owned.presenter);
        };
        auto first = std::async(std::launch::async, load);
        QVERIFY(waitFor([&] { return fixture.world.link().heldCount(kTypes) == 1; }));
        auto second = std::async(std::launch::async, load);
        QVERIFY(log.waitFor(kWaits));
        fixture.world.link().release(kTypes);
        first.get();
        second.get();
        QCOMPARE(fixture.world.link().requestCount(kTypes), 2);
        QVERIFY(fixture.flags.IsSymbolBreakingIssuePrice(riskSymbol(1)));
    }

    void riskTypes_waitingPresenterCloses_returnsWithoutARequest() {
        RiskFixture fixture;
        fixture.world.link().on(kTypes, ScriptedReply::rows({issueRow(riskSymbol(1))}).held());
        LogCapture log;
        auto first = std::async(std::launch::async, [&fixture] {
            fixture.flags.InitSymbolRiskTypeInfo(fixture.owned.presenter);
        });
        QVERIFY(waitFor([&] { return fixture.world.link().heldCount(kTypes) == 1; }));
        auto* const closing = new RecordingPresenter("Test.Closing");
        closing->initPresenter();
        invokeOn(closing, [&fixture, closing] { fixture.flags.InitSymbolRiskTypeInfo(closing); });
        QVERIFY(log.waitFor(kWaits));
        // Waits until the presenter's thread has ended.
        closing->deleteLater();
        QCOMPARE(fixture.world.link().heldCount(kTypes), 1);
        fixture.world.link().release(kTypes);
        first.get();
        QCOMPARE(fixture.world.link().requestCount(kTypes), 1);
    }

    void riskTypes_hostCloses_endsTheWait() {
        RiskFixture fixture;
        fixture.world.link().on(kTypes, ScriptedReply::never());
        auto first = std::async(std::launch::async, [&fixture] {
            fixture.flags.InitSymbolRiskTypeInfo(fixture.owned.presenter);
        });
        QVERIFY(fixture.world.link().waitForRequestCount(kTypes, 1));
        LocalPlatform::instance().close();
        first.get();
        QVERIFY(!fixture.flags.IsSymbolBreakingIssuePrice(riskSymbol(1)));
    }

    void keyMonitor_answered_replacesTheList() {
        RiskFixture fixture;
        fixture.world.link().on(kMonitor, ScriptedReply::rows({riskRow(riskSymbol(1))}));
        QVERIFY(!fixture.flags.IsSymbolKeyMonitor(riskSymbol(1)));
        fixture.flags.InitKeyMonitorSymbols(fixture.owned.presenter);
        QVERIFY(fixture.flags.IsSymbolKeyMonitor(riskSymbol(1)));
        const QVariantMap header = fixture.world.link().lastRequest(kMonitor).header;
        QCOMPARE(header.value(UserAccount::loginUserId).toString(),
                 CBusinessDataBase::GetInstance()->GetLoginAccount());
        fixture.world.link().on(kMonitor, ScriptedReply::rows({riskRow(riskSymbol(2))}));
        fixture.flags.InitKeyMonitorSymbols(fixture.owned.presenter);
        QVERIFY(!fixture.flags.IsSymbolKeyMonitor(riskSymbol(1)));
        QVERIFY(fixture.flags.IsSymbolKeyMonitor(riskSymbol(2)));
        fixture.world.link().on(kMonitor, ScriptedReply::rows({}));
        fixture.flags.InitKeyMonitorSymbols(fixture.owned.presenter);
        QVERIFY(!fixture.flags.IsSymbolKeyMonitor(riskSymbol(2)));
    }

    void keyMonitor_failed_leavesTheList() {
        RiskFixture fixture;
        fixture.world.link().on(kMonitor, ScriptedReply::rows({riskRow(riskSymbol(1))}));
        fixture.flags.InitKeyMonitorSymbols(fixture.owned.presenter);
        fixture.world.link().on(kMonitor, ScriptedReply::refusal("closed"));
        LogCapture log;
        fixture.flags.InitKeyMonitorSymbols(fixture.owned.presenter);
        fixture.flags.InitKeyMonitorSymbols(nullptr);
        QCOMPARE(log.texts(QtWarningMsg).filter(kMonitor).size(), 2);
        QVERIFY(fixture.flags.IsSymbolKeyMonitor(riskSymbol(1)));
    }

    void keyMonitor_rowsWithoutKnownIds_giveTheirSymbol() {
        RiskFixture fixture;
        LogCapture log;
        fixture.world.link().on(
            kMonitor,
            ScriptedReply::rows({{{Security::symbol, "888888.XX"}},
                                 riskRow("999999.SH", {{Security::symbol, "999998.SH"}}),
                                 riskRow(riskSymbol(1), {{Security::symbol, "999997.SH"}}),
                                 riskRow("999996.SH"),
                                 {}}));
        fixture.flags.InitKeyMonitorSymbols(fixture.owned.presenter);
        QVERIFY(fixture.flags.IsSymbolKeyMonitor("888888.XX"));
        QVERIFY(fixture.flags.IsSymbolKeyMonitor("999998.SH"));
        QVERIFY(fixture.flags.IsSymbolKeyMonitor(riskSymbol(1)));
        QVERIFY(!fixture.flags.IsSymbolKeyMonitor("999997.SH"));
        QVERIFY(!fixture.flags.IsSymbolKeyMonitor("999996.SH"));
        QVERIFY(!fixture.flags.IsSymbolKeyMonitor(""));
        QVERIFY(log.contains(QtDebugMsg, "key-monitor symbols: 5 rows, 2 without a symbol"));
    }
};

QTEST_GUILESS_MAIN(RiskFlagQueriesTest)
#include "risk_flag_queries_test.moc"
