#include <QMap>
#include <QtTest>
#include <atomic>
#include <thread>
#include <vector>

#include "risk_fixture.h"

namespace {

constexpr int kSymbols = 200;
constexpr int kCheckers = 4;
constexpr int kReplacements = 200;

}  // namespace

/// Checks on several threads while the notices and lists are replaced.
class RiskFlagThreadsTest : public QObject {
    Q_OBJECT

private slots:
    void checks_onSeveralThreads_reportEachSymbolOnce() {
        StaticDbBuilder data;
        QStringList symbols;
        QList<QVariantMap> notices;
        for (int number = 1; number <= kSymbols; ++number) {
            symbols.append(riskSymbol(number));
            addRiskSecurity(data, symbols.last(), Exchange::sh);
            notices.append(riskRow(symbols.last(), {{Security::riskRemindInfo, "甲"}}));
        }
        RiskFixture fixture(data);
        fixture.flags.slotNoticeSymbolChanged(notices);
        std::atomic<int> found{0};
        std::vector<std::thread> threads;
        for (int checker = 0; checker < kCheckers; ++checker) {
            threads.emplace_back([&fixture, &found, &symbols, checker] {
                for (int first = 0; first < kSymbols; ++first) {
                    const QString& symbol = symbols.at((first + checker * 7) % kSymbols);
                    found += fixture.flags.CheckSymbolRiskInfo({symbol}, "指令") ? 1 : 0;
                }
            });
        }
        threads.emplace_back([&fixture, &notices] {
            for (int i = 0; i < kReplacements; ++i) {
                fixture.flags.slotNoticeSymbolChanged(notices);
            }
        });
        for (std::thread& thread : threads) {
            thread.join();
        }
        QCOMPARE(found.load(), kSymbols);
        QMap<QString, int> times;
        for (const QString& text : fixture.sink.texts()) {
            ++times[text];
        }
        QCOMPARE(times.size(), kSymbols);
        QCOMPARE(times.values().count(1), kSymbols);
        QCOMPARE(fixture.waiver.ignoreRiskSymbols().size(), kSymbols);
        QCOMPARE(RiskFixture::saved("symbol").split('|').size(), kSymbols);
    }

    void lists_readWhileTheyAreReplaced_areOldOrNew() {
        RiskFixture fixture;
        fixture.world.link().on(Velmar_MsgType::QueryMonitorSymbolsRequest,
                                ScriptedReply::rows({riskRow(riskSymbol(1))}));
        fixture.flags.InitKeyMonitorSymbols(fixture.owned.presenter);
        std::atomic<bool> isEnd{false};
        std::atomic<int> missing{0};
        std::thread reader([&] {
            while (!isEnd) {
                missing += fixture.flags.IsSymbolKeyMonitor(riskSymbol(1)) ? 0 : 1;
                fixture.flags.IsSymbolBreakingIssuePrice(riskSymbol(1));
            }
        });
        for (int i = 0; i < kReplacements; ++i) {
            fixture.flags.InitKeyMonitorSymbols(fixture.owned.presenter);
        }
        fixture.loadTypes({typeRow(riskSymbol(1), SymbolRiskType::BreakingIssuePrice)});
        isEnd = true;
        reader.join();
        QCOMPARE(missing.load(), 0);
        QVERIFY(fixture.flags.IsSymbolBreakingIssuePrice(riskSymbol(1)));
    }
};

QTEST_GUILESS_MAIN(RiskFlagThreadsTest)
#include "risk_flag_threads_test.moc"
