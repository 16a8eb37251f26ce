#include <QtTest>

#include "report_fields.h"
#include "report_server.h"

namespace {

const QString kHistory = Velmar_MsgType::queryHistoryNormalFundRequest;
const QString kToday = Velmar_MsgType::queryTodayNormalFundRequest;
const QString kMargin = Velmar_MsgType::queryHistoryMarginFundRequest;
const QString kFirst = QStringLiteral("T000001");

QVariantMap range(const QVariant& from, const QVariant& to) {
    return {{System::startDate, from}, {System::endDate, to}};
}
QVariantMap onDay(const QVariant& day) {
    return {{System::queryDate, day}};
}

}  // namespace

class FundHandlersTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QString error;
        QVERIFY2(m_server.make(&error), qPrintable(error));
        m_cash = m_server.accountsOfKind(FundAccountType::Cash);
        m_credit = m_server.accountsOfKind(FundAccountType::Credit);
        QVERIFY(m_cash.size() > 50 && m_credit.size() > 10);
    }
    void init() { m_server.setDay({2026, 3, 10}); }

    void history_ofAYear_hasARowPerAccountAndTradeDayInTheOrderOfTheRequest() {
        const QStringList accounts{m_cash.at(3), kFirst};
        QVERIFY(isSuccess(m_server.askAccounts(kHistory, range(20250101, 20251231), accounts)));
        const QStringList days = m_server.stored(
            "SELECT trade_date FROM trade_calendar WHERE trade_day_type = 1 AND trade_date"
            " BETWEEN 20250101 AND 20251231 ORDER BY trade_date");
        QCOMPARE(m_server.column(UserAccount::tradeDate), days + days);
        const QStringList column = m_server.column(UserAccount::tradingAccount);
        QCOMPARE(column.mid(0, days.size()).count(accounts.first()), days.size());
        QCOMPARE(column.mid(days.size()).count(kFirst), days.size());
        QCOMPARE(m_server.column(System::requestExeStatus).count(RequestExeStatus::success),
                 column.size());
    }

    void history_dayByDay_addsUp() {
        m_server.askAccounts(kHistory, range(20250101, 20260310), m_cash.mid(0, 12));
        QVariantMap before;
        int moved = 0;
        const QList<QVariantMap> rows = m_server.rows();
        QVERIFY(rows.size() > 12 * 243);
        for (const QVariantMap& row : rows) {
            const auto fen = [&row](const QString& field) { return fenOf(row, field); };
            QCOMPARE(fen(ReportField::balance),
                     fen(ReportField::openingBalance) + fen(ReportField::soldAmount) -
                         fen(ReportField::boughtAmount) - fen(ReportField::fee) +
                         fen(ReportField::transfer));
            QCOMPARE(fen(ReportField::totalAsset),
                     fen(ReportField::balance) + fen(ReportField::marketValue));
            QVERIFY(fen(ReportField::balance) >= 0 && fen(ReportField::marketValue) >= 0);
            if (before.value(UserAccount::tradingAccount) ==
                row.value(UserAccount::tradingAccount)) {
                QCOMPARE(fen(ReportField::openingBalance), fenOf(before, ReportField::balance));
                QCOMPARE(fen(ReportField::totalAsset),
                         fenOf(before, ReportField::totalAsset) + fen(ReportField::dayProfit) +
                             fen(ReportField::transfer) + fen(ReportField::valueTransfer));
            }
            moved += fen(ReportField::boughtAmount) > 0 ? 1 : 0;
            before = row;
        }
        QVERIFY(moved > 200);
    }

    void history_amounts_areThoseOfTheDeals() {
        m_server.askAccounts(kHistory, range(20250101, 20251231), {kFirst});
        QMap<QString, QPair<qint64, qint64>> amounts;
        m_server.store->select(
            "SELECT trade_date, SUM(CASE WHEN side = '101' THEN last_amount ELSE 0 END),"
            " SUM(execution_commission) FROM history_deal WHERE trading_account = ? AND"
            " exchange_exec_type = '0' GROUP BY trade_date",
            {kFirst}, [&](const QSqlQuery& query) {
                amounts.insert(query.value(0).toString(),
                               {qRound64(query.value(1).toDouble() * 100),
                                qRound64(query.value(2).toDouble() * 100)});
            });
        QVERIFY(amounts.size() > 100);
        for (const QVariantMap& row : m_server.rows()) {
            const auto amount = amounts.value(row.value(UserAccount::tradeDate).toString());
            QCOMPARE(fenOf(row, ReportField::boughtAmount), amount.first);
            QCOMPARE(fenOf(row, ReportField::fee), amount.second);
        }
    }

    void history_partOfTheYear_isThatPartOfTheWholeAnswer() {
        m_server.askAccounts(kHistory, range(20250101, 20251231), {kFirst, m_cash.at(2)});
        QList<QVariantMap> expected;
        for (const QVariantMap& row : m_server.rows()) {
            const QString day = row.value(UserAccount::tradeDate).toString();
            if (day >= "20250614" && day <= "20250714") {
                expected.append(row);
            }
        }
        // Begins on a Saturday.
        m_server.askAccounts(kHistory, range(20250614, 20250714), {kFirst, m_cash.at(2)});
        QCOMPARE(m_server.rows(), expected);
        QVERIFY(expected.size() > 30);
    }

    void history_behindTheDeals_goesOnUntilToday() {
        m_server.askAccounts(kHistory, range(20251231, 20261231), {kFirst});
        const QList<QVariantMap> rows = m_server.rows();
        QCOMPARE(rows.first().value(UserAccount::tradeDate).toString(), QString("20251231"));
        QCOMPARE(rows.last().value(UserAccount::tradeDate).toString(), QString("20260310"));
        const qint64 cash = qRound64(
            m_server.stored("SELECT cash FROM opening_cash WHERE trading_account = 'T000001'")
                .value(0)
                .toDouble() *
            100);
        for (const QVariantMap& row : rows) {
            QCOMPARE(fenOf(row, ReportField::balance), cash);
        }
        QCOMPARE(fenOf(rows.last(), ReportField::dayProfit), qint64(0));
    }

    void history_datesInAnyForm_giveTheSameRows_data() {
        QTest::addColumn<QVariant>("from");
        QTest::addColumn<QVariant>("to");
        QTest::newRow("numbers") << QVariant(20250303) << QVariant(20250307);
        QTest::newRow("texts") << QVariant("20250303") << QVariant("20250307");
        QTest::newRow("dashes") << QVariant("2025-03-03") << QVariant("2025-03-07");
    }
    void history_datesInAnyForm_giveTheSameRows() {
        QFETCH(QVariant, from);
        QFETCH(QVariant, to);
        m_server.askAccounts(kHistory, range(from, to), {kFirst});
        QCOMPARE(m_server.column(UserAccount::tradeDate),
                 (QStringList{"20250303", "20250304", "20250305", "20250306", "20250307"}));
    }

    void badRequest_isRefusedWithItsReason_data() {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QVariantMap>("fields");
        QTest::addColumn<QStringList>("accounts");
        QTest::addColumn<QString>("reason");
        const QStringList one{kFirst};
        QTest::newRow("no start") << kHistory << QVariantMap{{System::endDate, 20250101}} << one
                                  << "startDate的日期无效：";
        QTest::newRow("no such day")
            << kHistory << range("20250230", 20250301) << one << "startDate的日期无效：20250230";
        QTest::newRow("negative") << kHistory << range(20250101, -1) << one
                                  << "endDate的日期无效：-1";
        QTest::newRow("today without a day")
            << kToday << QVariantMap() << one << "queryDate的日期无效：";
        QTest::newRow("margin, a word")
            << kMargin << onDay("monday") << one << "queryDate的日期无效：monday";
        for (const QString& type : {kHistory, kToday, kMargin}) {
            QVariantMap fields = range(20250102, 20250102);
            fields.insert(System::queryDate, 20250102);
            QTest::addRow("no accounts %s", qPrintable(type))
                << type << fields << QStringList() << "请求没有账号";
            QTest::addRow("empty account %s", qPrintable(type))
                << type << fields << QStringList{kFirst, ""} << "请求有空账号";
            QTest::addRow("too many %s", qPrintable(type))
                << type << fields << QStringList(QVector<QString>(10001, kFirst).toList())
                << "一次最多查询10000个账号，请求了10001个";
        }
    }
    void badRequest_isRefusedWithItsReason() {
        QFETCH(QString, type);
        QFETCH(QVariantMap, fields);
        QFETCH(QStringList, accounts);
        const QVariantMap header = m_server.askAccounts(type, fields, accounts);
        QVERIFY(!isSuccess(header));
        QTEST(header.value(System::textDescription).toString(), "reason");
        QVERIFY(m_server.rows().isEmpty());
    }

    void history_rangeWithoutFigures_isEmpty_data() {
        QTest::addColumn<QVariantMap>("dates");
        QTest::newRow("start after end") << range(20250310, 20250303);
        QTest::newRow("before the market") << range("20240101", "20241231");
        QTest::newRow("a holiday") << range(20251001, 20251007);
        QTest::newRow("the future") << range(20260311, 20271231);
    }
    void history_rangeWithoutFigures_isEmpty() {
        QFETCH(QVariantMap, dates);
        QVERIFY(isSuccess(m_server.askAccounts(kHistory, dates, {kFirst})));
        QVERIFY(m_server.rows().isEmpty());
    }

    void history_tenThousandYears_haveTheDaysOfTheMarket() {
        m_server.askAccounts(kHistory, range("00010101", "99991231"), {kFirst});
        const QStringList whole = m_server.column(UserAccount::tradeDate);
        m_server.askAccounts(kHistory, range("20250101", "20260310"), {kFirst});
        QCOMPARE(whole, m_server.column(UserAccount::tradeDate));
        QVERIFY(whole.size() > 243);
    }

    void history_unknownOtherAndDuplicateAccounts_doubleNothing() {
        m_server.askAccounts(kHistory, range(20250303, 20250304),
                             {kFirst, "nobody", m_credit.first(), kFirst});
        QCOMPARE(m_server.column(UserAccount::tradingAccount), (QStringList{kFirst, kFirst}));
    }

    void today_eachAccount_hasItsFiguresOrAStatusWithAText() {
        const QStringList accounts{kFirst, "nobody", m_credit.first(), kFirst};
        QVERIFY(isSuccess(m_server.askAccounts(kToday, onDay("20260310"), accounts)));
        const QList<QVariantMap> rows = m_server.rows();
        QCOMPARE(m_server.column(UserAccount::tradingAccount), accounts.mid(0, 3));
        QCOMPARE(rows.at(0).value(System::requestExeStatus).toString(), RequestExeStatus::success);
        QVERIFY(fenOf(rows.at(0), ReportField::balance) > 0);
        const QStringList texts{"账号nobody不存在或无权限",
                                QString("账号%1不是普通账号").arg(m_credit.first())};
        for (int i = 1; i < rows.size(); ++i) {
            QVERIFY(rows.at(i).value(System::requestExeStatus).toString() !=
                    RequestExeStatus::success);
            QCOMPARE(rows.at(i).value(System::textDescription).toString(), texts.at(i - 1));
            QVERIFY(!rows.at(i).contains(ReportField::balance));
        }
    }

    void today_aDayOfTheHistory_isTheRowOfTheHistory() {
        m_server.askAccounts(kHistory, range(20250520, 20250520), {kFirst, m_cash.at(1)});
        const QList<QVariantMap> expected = m_server.rows();
        QCOMPARE(expected.size(), 2);
        m_server.askAccounts(kToday, onDay(20250520), {kFirst, m_cash.at(1)});
        QCOMPARE(m_server.rows(), expected);
    }

    void today_weekend_hasTheFiguresOfFriday() {
        QDate day;
        for (const QString& text :
             m_server.stored("SELECT trade_date FROM fund_day WHERE trading_account = 'T000001'"
                             " AND deals > 0")) {
            const QDate date = QDate::fromString(text, "yyyyMMdd");
            day = date.dayOfWeek() == Qt::Friday ? date : day;
        }
        QVERIFY(day.isValid());
        m_server.askAccounts(kToday, onDay(day), {kFirst});
        const QVariantMap friday = m_server.rows().first();
        m_server.askAccounts(kToday, onDay(day.addDays(2)), {kFirst});
        const QVariantMap sunday = m_server.rows().first();
        QCOMPARE(fenOf(sunday, ReportField::balance), fenOf(friday, ReportField::balance));
        QCOMPARE(fenOf(sunday, ReportField::fee), qint64(0));
        QVERIFY(fenOf(friday, ReportField::fee) > 0);
    }

    void dayWithoutFigures_givesEachAccountAStatus_data() {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("day");
        QTest::newRow("today, tomorrow") << kToday << "20260311";
        QTest::newRow("today, before the market") << kToday << "20241231";
        QTest::newRow("margin, tomorrow") << kMargin << "20260311";
        QTest::newRow("margin, a Sunday") << kMargin << "20250525";
        QTest::newRow("margin, before the market") << kMargin << "20241231";
    }
    void dayWithoutFigures_givesEachAccountAStatus() {
        QFETCH(QString, type);
        QFETCH(QString, day);
        const QString account = type == kToday ? kFirst : m_credit.first();
        QVERIFY(isSuccess(m_server.askAccounts(type, onDay(day), {account})));
        QCOMPARE(m_server.rows().size(), 1);
        const QVariantMap row = m_server.rows().first();
        QCOMPARE(row.value(System::requestExeStatus).toString(), QString("1"));
        QCOMPARE(row.value(System::textDescription).toString(),
                 QString("账号%1在%2没有资产数据").arg(account, day));
    }

    void margin_figures_addUp() {
        m_server.askAccounts(kMargin, onDay("20250630"), m_credit);
        int withDebts = 0;
        for (const QVariantMap& row : m_server.rows()) {
            const auto fen = [&row](const QString& field) { return fenOf(row, field); };
            const qint64 debt = fen(ReportField::financedDebt) + fen(ReportField::shortedDebt) +
                                fen(ReportField::interest);
            QCOMPARE(row.value(System::requestExeStatus).toString(), RequestExeStatus::success);
            QCOMPARE(fen(ReportField::totalDebt), debt);
            QCOMPARE(fen(ReportField::netAsset), fen(ReportField::totalAsset) - debt);
            const double ratio = row.value(ReportField::guaranteeRatio).toDouble();
            if (debt == 0) {
                QCOMPARE(ratio, 0.0);
                continue;
            }
            ++withDebts;
            QVERIFY(qAbs(ratio - 100.0 * fen(ReportField::totalAsset) / debt) < 1e-6);
            QVERIFY(ratio > 130);  // below it an account would have to be closed out
            QVERIFY(fen(ReportField::interest) > 0);
        }
        QCOMPARE(m_server.rows().size(), m_credit.size());
        QVERIFY(withDebts > 5 && withDebts < m_credit.size());
    }

    void margin_interest_growsByTheSameAmountEachDay() {
        const auto interest = [this](int day) {
            m_server.askAccounts(kMargin, onDay(day), {m_credit.first()});
            return fenOf(m_server.rows().first(), ReportField::interest);
        };
        const qint64 monday = interest(20250303);
        const qint64 tuesday = interest(20250304);
        const qint64 friday = interest(20250307);
        QVERIFY(tuesday > monday);
        QVERIFY(qAbs((friday - monday) - 4 * (tuesday - monday)) <= 4);
    }

    void margin_cashAccount_isRefusedInItsRow() {
        m_server.askAccounts(kMargin, onDay(20250303), {kFirst, m_credit.first()});
        QCOMPARE(m_server.column(System::requestExeStatus),
                 (QStringList{"1", RequestExeStatus::success}));
        QCOMPARE(m_server.rows().first().value(System::textDescription).toString(),
                 QString("账号%1不是两融账号").arg(kFirst));
    }

    void accountOfAnotherUser_isInvisible() {
        const QString own = m_server
                                .stored(
                                    "SELECT o.trading_account FROM account_authority o JOIN"
                                    " trading_account t USING(trading_account) WHERE user_id"
                                    " = 'demo02' AND fund_account_type = '" +
                                    FundAccountType::Cash + "'")
                                .value(0);
        const QString foreign =
            m_server
                .stored("SELECT trading_account FROM trading_account WHERE fund_account_type = '" +
                        FundAccountType::Cash +
                        "' AND trading_account NOT IN (SELECT trading_account FROM"
                        " account_authority WHERE user_id = 'demo02') ORDER BY seq")
                .value(0);
        QVERIFY(!own.isEmpty() && !foreign.isEmpty());
        QVariantMap fields = onDay(20250303);
        fields.insert(UserAccount::loginUserId, SampleLogin::secondUser);
        m_server.askAccounts(kToday, fields, {own, foreign});
        QCOMPARE(m_server.column(System::requestExeStatus),
                 (QStringList{RequestExeStatus::success, "1"}));
        QCOMPARE(m_server.rows().last().value(System::textDescription).toString(),
                 QString("账号%1不存在或无权限").arg(foreign));
        QVariantMap dates = range(20250303, 20250303);
        dates.insert(UserAccount::loginUserId, SampleLogin::secondUser);
        m_server.askAccounts(kHistory, dates, {own, foreign});
        QCOMPARE(m_server.column(UserAccount::tradingAccount), QStringList{own});
    }

    void unknownUser_isRefused() {
        for (const QString& type : {kHistory, kToday, kMargin}) {
            QVariantMap fields = range(20250303, 20250303);
            fields.insert(System::queryDate, 20250303);
            fields.insert(UserAccount::loginUserId, "nobody");
            QCOMPARE(m_server.askAccounts(type, fields, {kFirst})
                         .value(System::textDescription)
                         .toString(),
                     QString("用户nobody不存在"));
        }
        const Session loggedIn = m_server.session;
        m_server.session = m_server.engine->openSession({});
        const QVariantMap header = m_server.askAccounts(kToday, onDay(20250303), {kFirst});
        m_server.session = loggedIn;
        QCOMPARE(header.value(System::textDescription).toString(), QString("用户不存在"));
    }

    void tenThousandAccounts_areAnsweredOneByOne() {
        QStringList accounts;
        for (int i = 1; i <= 10000; ++i) {
            accounts.append(QString("T%1").arg(i, 6, 10, QLatin1Char('0')));
        }
        m_server.askAccounts(kToday, onDay(20250303), accounts);
        QCOMPARE(m_server.column(UserAccount::tradingAccount), accounts);
        QCOMPARE(m_server.column(System::requestExeStatus).count(RequestExeStatus::success),
                 m_cash.size());
        m_server.askAccounts(kHistory, range(20250303, 20250303), accounts);
        QCOMPARE(m_server.column(UserAccount::tradingAccount), m_cash);
    }

    void sameRequest_givesTheSameRows() {
        m_server.askAccounts(kHistory, range(20250101, 20251231), m_cash.mid(0, 5));
        const QList<QVariantMap> first = m_server.rows();
        m_server.askAccounts(kHistory, range(20250101, 20251231), m_cash.mid(0, 5));
        QCOMPARE(m_server.rows(), first);
    }

private:
    ReportServer m_server;
    QStringList m_cash;
    QStringList m_credit;
};

QTEST_GUILESS_MAIN(FundHandlersTest)
#include "fund_handlers_test.moc"
