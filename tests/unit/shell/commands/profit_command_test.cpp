#include "profit_command.h"

#include <QJsonArray>
#include <QtTest>
#include <limits>

#include "facade_recorder.h"
#include "test_paths.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

constexpr int kWide = std::numeric_limits<int>::max();

QVariantMap deal(const QString& side, double qty, double price, double commission = 0) {
    return {{Security::symbol, "600000.SH"},
            {UserAccount::securityAccount, "S1"},
            {Security::side, side},
            {Security::lastQty, qty},
            {Security::lastAmount, qty * price},
            {Margin::executionCommission, commission},
            {Security::execID, QStringLiteral("E%1").arg(qty)},
            {"lastPx", price}};
}

QJsonObject profits(double profit) {
    return {{"600000.SH", QJsonObject{{"S1", profit}}}};
}

}  // namespace

class ProfitCommandTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QString error;
        QVERIFY2(m_library.load(facadeLibraryFile(), &error), qPrintable(error));
    }
    void init() {
        m_deals = {{"T1", {deal("1", 100, 10, 3), deal("2", 50, 11, 2)}}};
        m_answers = std::make_unique<FacadeRecorder>();
        m_answers->results = {{"GetRealizedProfitMapByAccount", profits(45)},
                              {"GetRealizedProfitByAccount", 45.0},
                              {"GetFundAccountListByFundProp", m_covered}};
    }

    void sum_deals_giveTheProfitOfTheMatchedQuantity() {
        DealSum sum;
        QCOMPARE(sum.profit(), 0.0);
        sum.add(deal("1", 100, 10, 5));
        QCOMPARE(sum.profit(), -5.0);
        QCOMPARE(sum.matched(), 0.0);
        sum.add(deal("2", 200, 11));
        QCOMPARE(sum.matched(), 100.0);
        QCOMPARE(sum.profit(), 95.0);
        sum.add(deal("2", 1e300, 1));
        QCOMPARE(sum.profit(), 95.0);
    }

    void show_account_hasFiguresAveragesAndDeals() {
        const CommandAnswer answer = command().show({"T1"}, kWide);
        QVERIFY(!answer.isFault && !answer.interrupted);
        const QString figures = answer.lines.at(2).simplified();
        QCOMPARE(figures, QString("T1 600000.SH S1 100 10.0000 50 11.0000 50 5.00 45.00 2"));
        QVERIFY2(answer.lines.filter("E100").first().simplified().startsWith(
                     "T1 600000.SH E100 buy 100 10 1000.00 3.00"),
                 qPrintable(answer.lines.join('\n')));
        QVERIFY(answer.lines.contains("T1  realized profit 45.00"));
        const QJsonObject account = answer.json.toArray().first().toObject();
        QCOMPARE(account.value("profit").toDouble(), 45.0);
        const QJsonObject item = account.value("items").toArray().first().toObject();
        QCOMPARE(item.value("averageBuy").toDouble(), 10.0);
        QCOMPARE(item.value("matched").toDouble(), 50.0);
        QCOMPARE(item.value("deals").toArray().size(), 2);
    }

    void show_accountsWithoutDeals_areCounted() {
        m_answers->results = {{"GetFundAccountListByFundProp", m_covered}};
        QCOMPARE(command().show({"T2"}, kWide).lines,
                 QStringList("without deals today: 1 account"));
        const CommandAnswer answer = command().show({"T1", "T2", "T3"}, kWide);
        QCOMPARE(answer.lines.last(), QString("without deals today: 2 accounts"));
    }

    void show_figureThatItsDealsDoNotGive_saysSo() {
        m_answers->results.insert("GetRealizedProfitMapByAccount", profits(46));
        QVERIFY(command().show({"T1"}, kWide).lines.at(2).endsWith("these deals give 45.00"));
        m_answers->results.remove("GetRealizedProfitMapByAccount");
        QVERIFY(command().show({"T1"}, kWide).lines.at(2).endsWith("not in the running table yet"));
    }

    void show_accountThatProfitDoesNotCover_saysSo() {
        const QString covers("realized profit covers normal and margin accounts that may trade");
        m_answers->results = {{"GetFundAccountListByFundProp", QJsonArray()}};
        QVERIFY(command().show({"T1"}, kWide).lines.at(2).endsWith(covers));
        QCOMPARE(command().show({"T9"}, kWide).lines, QStringList("T9  " + covers));
    }

    void show_cancelRowOfTheDeals_isMarked() {
        QVariantMap cancel = deal("2", 0, 0);
        cancel.insert(UserAccount::ExchangeExecType, EntrustType::cancelOrder);
        m_deals["T1"].append(cancel);
        const QStringList lines = command().show({"T1"}, kWide).lines;
        QCOMPARE(lines.filter("sell, cancelled").size(), 1);
        QVERIFY(lines.filter("sell, cancelled").first().contains("E0"));
    }

    void check_accountOfTheRunningTableAlone_isADifference() {
        m_answers->results.insert("GetAllRealizedProfitMap",
                                  QJsonObject{{"T1", profits(45)}, {"T9", profits(45)}});
        const CommandAnswer answer = command().check({"T1"}, kWide);
        QVERIFY(answer.isFault);
        QCOMPARE(answer.lines.at(2).simplified(),
                 QString("T9 600000.SH S1 profit 45.0000 missing"));
        QVERIFY(answer.lines.contains("2 figures compared, 1 differ"));
    }

    void show_controlCharactersOfADeal_areReplaced() {
        m_deals["T1"].first().insert(Security::execID, "\x1b[31m");
        const QString text = command().show({"T1"}, kWide).lines.join('\n');
        QVERIFY(text.contains(QStringLiteral("\uFFFD[31m")) && !text.contains(QChar(0x1b)));
    }

    void check_sameFigures_reportNoDifference() {
        m_answers->results.insert("GetRealizedProfitMapByAccount", profits(45 + 1e-7));
        const CommandAnswer answer = command().check({"T1", "T2"}, kWide);
        // T2 has a figure without a deal.
        QVERIFY(answer.isFault);
        m_deals.insert("T2", m_deals.value("T1"));
        const CommandAnswer same = command().check({"T1", "T2"}, kWide);
        QVERIFY(!same.isFault);
        QCOMPARE(same.lines, QStringList("2 figures compared, 0 differ"));
        QCOMPARE(same.json.toObject().value("compared").toInt(), 2);
    }

    void check_itemOfCancelsAlone_mayBeMissing() {
        m_deals = {{"T1", {deal("2", 0, 0)}}};
        m_answers->results = {{"GetFundAccountListByFundProp", m_covered}};
        QVERIFY(!command().check({"T1"}, kWide).isFault);
        QVERIFY(command().show({"T1"}, kWide).lines.at(2).endsWith("only cancels"));
        m_deals = {{"T1", {deal("2", 0, 0, 1)}}};
        QVERIFY(command().check({"T1"}, kWide).isFault);
    }

    void check_differences_areListed_data() {
        QTest::addColumn<QJsonValue>("running");
        QTest::addColumn<QString>("shown");
        QTest::newRow("other figure") << QJsonValue(profits(46)) << "46.0000 45.0000 1.0000";
        QTest::newRow("missing") << QJsonValue(QJsonObject()) << "missing 45.0000";
    }
    void check_differences_areListed() {
        QFETCH(QJsonValue, running);
        QFETCH(QString, shown);
        m_answers->results.insert("GetRealizedProfitMapByAccount", running);
        const CommandAnswer answer = command().check({"T1"}, kWide);
        QVERIFY(answer.isFault);
        QCOMPARE(answer.lines.at(2).simplified(), "T1 600000.SH S1 profit " + shown);
        const QJsonObject difference =
            answer.json.toObject().value("differences").toArray().first().toObject();
        QCOMPARE(difference.value("fresh").toDouble(), 45.0);
    }

    void interrupt_isReported() {
        m_answers->interruptAfter = 1;
        QVERIFY(command().show({"T1"}, kWide).interrupted);
        m_answers->calls.clear();
        m_answers->interruptAfter = 0;
        QVERIFY(command().check({"T1"}, kWide).interrupted);
    }

private:
    ProfitCommand command() {
        return {m_library, m_answers->function(),
                [this](const QString& account) { return m_deals.value(account); }};
    }

    const QJsonArray m_covered{QJsonObject{{"tradingAccount", "T1"}},
                               QJsonObject{{"tradingAccount", "T2"}},
                               QJsonObject{{"tradingAccount", "T3"}}};
    FacadeLibrary m_library;
    std::unique_ptr<FacadeRecorder> m_answers;
    QMap<QString, QList<QVariantMap>> m_deals;
};

QTEST_GUILESS_MAIN(ProfitCommandTest)
#include "profit_command_test.moc"
