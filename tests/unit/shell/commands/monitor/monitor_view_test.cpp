#include "monitor_view.h"

#include <QtTest>

#include "text_table.h"
#include "trade_gate_figures.h"
#include "vocabulary/fields.h"
#include "vocabulary/net_state.h"
#include "vocabulary/values.h"

namespace {

MonitorFigures someFigures() {
    MonitorFigures figures = tradeGateFigures(NetGateType::MarketGrpcGate, NET_STATE::CONNECTTING);
    figures.beatsOnTheirWay = 2;
    figures.infoBatches = 1;
    figures.resources = {{ClientPerformItem::ClientCpuUsage, 2.54},
                         {ClientPerformItem::ThreadNum, 25}};
    return figures;
}

SeenDeal deal(int number) {
    return {QTime(9, 30, number),
            {{UserAccount::tradingAccount, QStringLiteral("T%1").arg(number)},
             {Security::symbol, "600000.SH"},
             {Security::side, number % 2 == 0 ? OrderSide::buy : QStringLiteral("2")},
             {Security::lastQty, 100 * number},
             {"lastPx", 10.25}}};
}

LiveFacts someFacts(int deals) {
    LiveFacts facts;
    facts.status.accounts = 200;
    facts.status.presenters = 3;
    facts.status.gates = {{NetGateType::TradeGate, NET_STATE::CONNECTED}};
    facts.figures = someFigures();
    facts.hasMoney = true;
    facts.marketValue = 1234567.891;
    facts.realizedProfit = -12.3;
    facts.unreadMessages = 1;
    for (int i = 1; i <= deals; ++i) {
        facts.deals.append(deal(i));
    }
    return facts;
}

/// The line that begins with a text; empty when none does.
QString lineOf(const QStringList& lines, const char* begin) {
    for (const QString& line : lines) {
        if (line.startsWith(QLatin1String(begin))) {
            return line.simplified();
        }
    }
    return {};
}

}  // namespace

class MonitorViewTest : public QObject {
    Q_OBJECT

private slots:
    void monitorLines_haveEveryFigure() {
        const QStringList lines = monitorLines(someFigures(), 200);
        QCOMPARE(lineOf(lines, "TradeGate"),
                 QString("TradeGate up 12 ms 10.5 ms 20 ms 4 09:30:00.123"));
        QCOMPARE(lineOf(lines, "MarketGrpcGate"), QString("MarketGrpcGate connecting - - - 0"));
        QVERIFY(lines.contains("heartbeats on their way: 2"));
        QVERIFY(lines.contains("client information: 3 waiting, 250 sent in 1 message"));
        QVERIFY(lines.contains("processors: client 2.5 %"));
        QVERIFY(lines.contains("counts: threads 25"));
        QCOMPARE(lineOf(lines, "memory"), QString());
    }

    void everyWidth_noLineIsWider() {
        for (int columns = 1; columns < 100; ++columns) {
            for (const QString& line : monitorLines(someFigures(), columns)) {
                QVERIFY2(displayWidth(line) <= columns, qPrintable(line));
            }
            for (const QString& line : liveLines(someFacts(5), columns, 30)) {
                QVERIFY2(displayWidth(line) <= columns, qPrintable(line));
            }
        }
    }

    void liveLines_haveGatesMoneyDealsAndTheStatusLast() {
        const LiveFacts facts = someFacts(2);
        const QStringList lines = liveLines(facts, 100, 30);
        QVERIFY(lineOf(lines, "TradeGate").startsWith("TradeGate up 12 ms"));
        const int money =
            lines.indexOf("market value 1234567.89 | realized profit -12.30 | 1 unread message");
        QVERIFY(money > 0);
        QCOMPARE(lines.mid(money + 1), (QStringList{"09:30:01  T1  600000.SH  sell  100 at 10.25",
                                                    "09:30:02  T2  600000.SH  buy   200 at 10.25",
                                                    statusText(facts.status, 100)}));
    }

    void liveLines_withoutMoney_leaveItsLineOut() {
        LiveFacts facts = someFacts(0);
        facts.hasMoney = false;
        for (const QString& line : liveLines(facts, 100, 30)) {
            QVERIFY2(!line.contains("market value"), qPrintable(line));
        }
    }

    void liveLines_fewRows_keepTheLatestDealsAndTheStatus() {
        const LiveFacts facts = someFacts(5);
        const int whole = liveLines(facts, 100, 100).size();
        for (int rows = 1; rows <= whole; ++rows) {
            const QStringList lines = liveLines(facts, 100, rows);
            QCOMPARE(lines.size(), rows);
            QCOMPARE(lines.last(), statusText(facts.status, 100));
        }
        // The earliest deal goes first.
        const QStringList lines = liveLines(facts, 100, whole - 1);
        QCOMPARE(lines.filter("  600000.SH  ").size(), 4);
        QVERIFY(lines.filter("09:30:01").isEmpty());
        QCOMPARE(lines.at(lines.size() - 2), dealText(facts.deals.last()));
        QCOMPARE(liveLines(facts, 100, 0).size(), 1);
    }

    void dealText_controlCharacters_areReplaced() {
        SeenDeal odd = deal(1);
        odd.record.insert(UserAccount::tradingAccount, "a\x1b[2Jb");
        QVERIFY2(!dealText(odd).contains('\x1b'), qPrintable(dealText(odd)));
    }
};

QTEST_APPLESS_MAIN(MonitorViewTest)
#include "monitor_view_test.moc"
