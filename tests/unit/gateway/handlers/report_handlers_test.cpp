#include <QtTest>

#include "report_fields.h"
#include "report_server.h"

namespace {

const QString kAppraisement = Velmar_MsgType::queryHistoryAppraisementRequest;
const QString kProfit = Velmar_MsgType::queryHistoryProfitRequest;
const QString kFlow = Velmar_MsgType::QueryPanfenFlowRequest;
const QString kAnnual = Velmar_MsgType::getAnnualReportRequest;

/// The request of each report for a product and a day.
QVariantMap requestOf(const QString& type, const QString& product, const QDate& day) {
    if (type == kFlow) {
        return {{PanfenEquityFlowInfo::ProductRecord, product},
                {PanfenEquityFlowInfo::OccurredDate, day.toString("yyyyMMdd")}};
    }
    return {{AppraisementInfo::ProductRecord, product},
            {type == kProfit ? System::endTime : System::queryDate, day.toString("yyyy-MM-dd")}};
}

}  // namespace

class ReportHandlersTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QString error;
        QVERIFY2(m_server.make(&error), qPrintable(error));
        m_product = m_server
                        .stored(
                            "SELECT product_account FROM trading_account JOIN asset_account"
                            " USING(asset_account) WHERE trading_account = 'T000001'")
                        .value(0);
        m_accounts = m_server.stored(
            "SELECT trading_account FROM trading_account JOIN"
            " asset_account USING(asset_account) WHERE product_account ="
            " '" +
            m_product + "' ORDER BY seq");
        QVERIFY(m_accounts.size() > 1);
    }
    void init() { m_server.setDay({2026, 3, 10}); }

    void appraisement_product_isTheSumOfItsAccounts() {
        ask(kAppraisement, {2025, 6, 30});
        const QList<QVariantMap> rows = m_server.rows();
        QCOMPARE(m_server.column(UserAccount::tradingAccount), QStringList{""} + m_accounts);
        for (const QString& field :
             {ReportField::balance, ReportField::marketValue, ReportField::totalAsset,
              ReportField::totalDebt, ReportField::netAsset, AppraisementInfo::benefitTotal}) {
            QCOMPARE(fenOf(rows.first(), field), sumOfAccounts(field));
        }
        double share = 0;
        for (const QVariantMap& row : rows.mid(1)) {
            share += row.value(ReportField::netAssetShare).toDouble();
            QCOMPARE(fenOf(row, ReportField::netAsset),
                     fenOf(row, ReportField::totalAsset) - fenOf(row, ReportField::totalDebt));
        }
        QVERIFY(qAbs(share - 100) < 1e-6);
        for (const QVariantMap& row : rows) {
            QCOMPARE(row.value(AppraisementInfo::ProductRecord).toString(), m_product);
            QCOMPARE(row.value(System::queryDate).toString(), QString("2025-06-30"));
            QVERIFY(!row.value(UserAccount::productName).toString().isEmpty());
        }
    }

    void appraisement_account_hasTheFiguresOfItsFunds() {
        ask(kAppraisement, {2025, 6, 30});
        const QVariantMap ofProduct = m_server.rows().at(1);
        m_server.askAccounts(Velmar_MsgType::queryTodayNormalFundRequest,
                             {{System::queryDate, "20250630"}}, {m_accounts.first()});
        const QVariantMap ofAccount = m_server.rows().first();
        for (const QString& field :
             {ReportField::balance, ReportField::marketValue, ReportField::totalAsset}) {
            QCOMPARE(fenOf(ofProduct, field), fenOf(ofAccount, field));
        }
    }

    void report_byPage_givesTheWholeListOnce_data() {
        QTest::addColumn<QString>("type");
        for (const QString& type : {kAppraisement, kProfit}) {
            QTest::newRow(qPrintable(type)) << type;
        }
    }
    void report_byPage_givesTheWholeListOnce() {
        QFETCH(QString, type);
        ask(type, {2025, 6, 30});
        const QList<QVariantMap> whole = m_server.rows();
        QList<QVariantMap> collected;
        for (int page = 1; page <= whole.size() + 1; ++page) {
            QVariantMap fields = requestOf(type, m_product, {2025, 6, 30});
            fields.insert(System::pageNo, page);
            fields.insert(System::pageSize, 1);
            const QVariantMap header = m_server.ask(type, fields);
            QCOMPARE(header.value(System::totalSize).toInt(), whole.size());
            collected += m_server.rows();
        }
        QCOMPARE(collected, whole);
        QVariantMap fields = requestOf(type, m_product, {2025, 6, 30});
        fields.insert(System::pageNo, 1);
        fields.insert(System::pageSize, 3000);
        m_server.ask(type, fields);
        QCOMPARE(m_server.rows(), whole);
    }

    void profit_answer_echoesTheProductOnTheHeader() {
        QCOMPARE(ask(kProfit, {2025, 6, 30}).value(AppraisementInfo::ProductRecord).toString(),
                 m_product);
        QVERIFY(!ask(kAppraisement, {2025, 6, 30}).contains(AppraisementInfo::ProductRecord));
    }

    void profit_dayByDay_addsUpToMonthAndYear() {
        qint64 month = 0;
        qint64 year = 0;
        int moved = 0;
        QDate before;
        for (const QString& text : m_server.stored(
                 "SELECT trade_date FROM trade_calendar WHERE trade_day_type = 1 AND trade_date"
                 " BETWEEN 20250101 AND 20250430 ORDER BY trade_date")) {
            const QDate day = QDate::fromString(text, "yyyyMMdd");
            ask(kProfit, day);
            const QVariantMap whole = m_server.rows().first();
            const qint64 profit = fenOf(whole, ReportField::dayProfit);
            month = before.month() == day.month() ? month + profit : profit;
            year += profit;
            moved += profit == 0 ? 0 : 1;
            QCOMPARE(fenOf(whole, ReportField::monthProfit), month);
            QCOMPARE(fenOf(whole, AppraisementInfo::benefitTotal), year);
            for (const QString& field : {ReportField::dayProfit, ReportField::monthProfit,
                                         AppraisementInfo::benefitTotal}) {
                QCOMPARE(fenOf(whole, field), sumOfAccounts(field));
            }
            before = day;
        }
        QVERIFY(moved > 30);
    }

    void profit_ofAYear_isTheBenefitOfTheAppraisement() {
        ask(kProfit, {2025, 12, 31});
        const qint64 profit = fenOf(m_server.rows().first(), AppraisementInfo::benefitTotal);
        ask(kAppraisement, {2025, 12, 31});
        QCOMPARE(fenOf(m_server.rows().first(), AppraisementInfo::benefitTotal), profit);
        QVERIFY(profit != 0);
    }

    void flow_ofADay_leadsFromOneBalanceToTheNext() {
        int checked = 0;
        for (const QString& account : m_accounts) {
            for (const QString& text :
                 m_server.stored("SELECT trade_date FROM fund_day WHERE trading_account = '" +
                                 account + "' AND deals > 0")) {
                ask(kFlow, QDate::fromString(text, "yyyyMMdd"));
                qint64 sum = 0;
                qint64 last = 0;
                for (const QVariantMap& row : m_server.rows()) {
                    QCOMPARE(row.value(PanfenEquityFlowInfo::ProductRecord).toString(), m_product);
                    QCOMPARE(row.value(PanfenEquityFlowInfo::OccurredDate).toString(), text);
                    if (row.value(UserAccount::tradingAccount) == account) {
                        sum += fenOf(row, ReportField::flowAmount);
                        last = fenOf(row, ReportField::balance);
                    }
                }
                const QString balance = "SELECT balance FROM fund_day WHERE trading_account = '" +
                                        account + "' AND trade_date %1 " + text +
                                        " ORDER BY trade_date DESC LIMIT 1";
                QCOMPARE(last, m_server.storedNumber(balance.arg("=")));
                QCOMPARE(last - sum, m_server.storedNumber(balance.arg("<")));
                ++checked;
            }
        }
        QVERIFY(checked > 100);
    }

    void dayWithoutFigures_isASuccessWithoutRows_data() {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QDate>("day");
        for (const QString& type : {kAppraisement, kProfit, kFlow}) {
            QTest::addRow("%s Sunday", qPrintable(type)) << type << QDate(2025, 6, 29);
            QTest::addRow("%s tomorrow", qPrintable(type)) << type << QDate(2026, 3, 11);
            QTest::addRow("%s before", qPrintable(type)) << type << QDate(2024, 12, 31);
        }
    }
    void dayWithoutFigures_isASuccessWithoutRows() {
        QFETCH(QString, type);
        QFETCH(QDate, day);
        const QVariantMap header = ask(type, day);
        QVERIFY(isSuccess(header));
        QCOMPARE(header.value(System::totalSize).toInt(), 0);
        QVERIFY(m_server.rows().isEmpty());
    }

    void date_inAnyForm_givesTheSameRows() {
        ask(kFlow, {2025, 6, 30});
        const QList<QVariantMap> flow = m_server.rows();
        m_server.ask(kFlow, {{PanfenEquityFlowInfo::ProductRecord, m_product},
                             {PanfenEquityFlowInfo::OccurredDate, 20250630}});
        QCOMPARE(m_server.rows(), flow);
        ask(kAppraisement, {2025, 6, 30});
        const QList<QVariantMap> rows = m_server.rows();
        m_server.ask(kAppraisement, {{AppraisementInfo::ProductRecord, m_product},
                                     {System::queryDate, "20250630"}});
        QCOMPARE(m_server.rows(), rows);
    }

    void badRequest_isRefusedWithItsReason_data() {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("product");
        QTest::addColumn<QVariant>("day");
        QTest::addColumn<QString>("reason");
        for (const QString& type : {kAppraisement, kProfit, kFlow}) {
            QTest::addRow("%s unknown product", qPrintable(type))
                << type << "P99999" << QVariant("2025-06-30") << "产品P99999不存在或无权限";
            QTest::addRow("%s no product", qPrintable(type))
                << type << "" << QVariant("2025-06-30") << "产品不存在或无权限";
            QTest::addRow("%s no day", qPrintable(type)) << type << "P00001" << QVariant() << "";
            QTest::addRow("%s no such day", qPrintable(type))
                << type << "P00001" << QVariant("2025-02-30") << "";
        }
    }
    void badRequest_isRefusedWithItsReason() {
        QFETCH(QString, type);
        QFETCH(QString, product);
        QFETCH(QVariant, day);
        QFETCH(QString, reason);
        const QString dayField = type == kFlow     ? PanfenEquityFlowInfo::OccurredDate
                                 : type == kProfit ? System::endTime
                                                   : System::queryDate;
        QVariantMap fields = requestOf(type, product, {});
        fields.insert(dayField, day);
        QCOMPARE(m_server.refusal(type, fields),
                 reason.isEmpty() ? dayField + "的日期无效：" + day.toString() : reason);
    }

    void productOfAnotherUser_isRefused() {
        QVariantMap fields = requestOf(kAppraisement, m_product, {2025, 6, 30});
        fields.insert(UserAccount::loginUserId, SampleLogin::user);
        QCOMPARE(m_server.refusal(kAppraisement, fields), QString());
        const QString foreign =
            m_server
                .stored(
                    "SELECT product_account FROM product WHERE product_account NOT IN (SELECT"
                    " product_account FROM account_authority JOIN trading_account"
                    " USING(trading_account) JOIN asset_account USING(asset_account) WHERE"
                    " user_id = 'demo02')")
                .value(0);
        QVERIFY(!foreign.isEmpty());
        fields = requestOf(kAppraisement, foreign, {2025, 6, 30});
        fields.insert(UserAccount::loginUserId, SampleLogin::secondUser);
        QCOMPARE(m_server.refusal(kAppraisement, fields),
                 QString("产品%1不存在或无权限").arg(foreign));
    }

    void annual_figures_areTheSumsOfTheDeals_data() {
        QTest::addColumn<QString>("user");
        QTest::newRow("first") << SampleLogin::user;
        QTest::newRow("second") << SampleLogin::secondUser;
    }
    void annual_figures_areTheSumsOfTheDeals() {
        QFETCH(QString, user);
        QVERIFY(isSuccess(m_server.ask(kAnnual, {{UserAccount::userID, user}})));
        QCOMPARE(m_server.rows().size(), 1);
        const QVariantMap row = m_server.rows().first();
        const QString ofUser =
            " FROM %1 WHERE trading_account IN (SELECT trading_account FROM"
            " account_authority WHERE user_id = '" +
            user + "')%2";
        const QString deals = ofUser.arg("history_deal", " AND exchange_exec_type = '0'%1");
        const auto fen = [&](const QString& column, const QString& rest) {
            return m_server.storedNumber("SELECT CAST(ROUND(SUM(" + column +
                                         ") * 100) AS INTEGER)" + deals.arg(rest));
        };
        QCOMPARE(row.value(UserAccount::userID).toString(), user);
        QCOMPARE(row.value(ReportField::year).toInt(), 2025);
        QCOMPARE(row.value(ReportField::accountCount).toLongLong(),
                 m_server.storedNumber("SELECT COUNT(*) FROM account_authority WHERE user_id = '" +
                                       user + "'"));
        QCOMPARE(row.value(ReportField::dealCount).toLongLong(),
                 m_server.storedNumber("SELECT COUNT(*)" + deals.arg("")));
        QCOMPARE(row.value(ReportField::orderCount).toLongLong(),
                 m_server.storedNumber("SELECT COUNT(*)" +
                                       ofUser.arg("history_order", " AND entrust_type <> 'F'")));
        QCOMPARE(row.value(ReportField::tradeDayCount).toLongLong(),
                 m_server.storedNumber("SELECT COUNT(DISTINCT trade_date)" + deals.arg("")));
        QCOMPARE(fenOf(row, ReportField::boughtAmount),
                 fen("last_amount", " AND CAST(side AS INTEGER) % 2 = 1"));
        QCOMPARE(fenOf(row, ReportField::soldAmount),
                 fen("last_amount", " AND CAST(side AS INTEGER) % 2 = 0"));
        QCOMPARE(fenOf(row, ReportField::fee), fen("execution_commission", ""));
        QCOMPARE(fenOf(row, ReportField::turnover),
                 fenOf(row, ReportField::boughtAmount) + fenOf(row, ReportField::soldAmount));
        QCOMPARE(fenOf(row, ReportField::totalAsset),
                 fenOf(row, ReportField::openingAsset) +
                     fenOf(row, AppraisementInfo::benefitTotal) +
                     fenOf(row, ReportField::transfer));
        QVERIFY(fenOf(row, ReportField::turnover) > 0);
    }

    void annual_profit_isThatOfTheProducts() {
        m_server.ask(kAnnual, {{UserAccount::userID, SampleLogin::user}});
        const qint64 profit = fenOf(m_server.rows().first(), AppraisementInfo::benefitTotal);
        const int best = m_server.rows().first().value(ReportField::bestMonth).toInt();
        QVERIFY(best >= 1 && best <= 12);
        qint64 sum = 0;
        for (const QString& product :
             m_server.stored("SELECT DISTINCT product_account FROM account_authority JOIN"
                             " trading_account USING(trading_account) JOIN asset_account"
                             " USING(asset_account) WHERE user_id = 'demo01'")) {
            QVariantMap fields = requestOf(kProfit, product, {2025, 12, 31});
            fields.insert(UserAccount::loginUserId, SampleLogin::user);
            m_server.ask(kProfit, fields);
            sum += fenOf(m_server.rows().first(), AppraisementInfo::benefitTotal);
        }
        QCOMPARE(profit, sum);
    }

    void annual_unknownUser_isRefused() {
        QCOMPARE(m_server.refusal(kAnnual, {{UserAccount::userID, "nobody"}}),
                 QString("用户nobody不存在"));
        QCOMPARE(m_server.refusal(kAnnual, {}), QString("用户不存在"));
    }

private:
    QVariantMap ask(const QString& type, const QDate& day) {
        return m_server.ask(type, requestOf(type, m_product, day));
    }
    /// Of the last answer, whose first row is the product's.
    qint64 sumOfAccounts(const QString& field) const {
        qint64 sum = 0;
        for (const QVariantMap& row : m_server.rows().mid(1)) {
            sum += fenOf(row, field);
        }
        return sum;
    }

    ReportServer m_server;
    QString m_product;
    QStringList m_accounts;
};

QTEST_GUILESS_MAIN(ReportHandlersTest)
#include "report_handlers_test.moc"
