#include <QRandomGenerator>
#include <QSet>
#include <QSqlRecord>
#include <QtTest>

#include "history_request.h"
#include "host_msg_type.h"

namespace {

using namespace HistoryRequest;

const QString kCancel = AppraisementCalculate::IsIncludeCancel;
const QString kDischarge = AppraisementCalculate::IsIncludeDischarge;

QStringList keysOf(const QList<QVariantMap>& rows) {
    QStringList keys;
    for (const QVariantMap& row : rows) {
        keys.append(dealKeyOf(row));
    }
    return keys;
}

}  // namespace

/// Requests for orders and deals of the past to the sample market's server.
class HistoryHandlersTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();

    void row_fields_areThoseOfTheStore_data();
    void row_fields_areThoseOfTheStore();
    void flags_leaveRowsAndTotalOut_data();
    void flags_leaveRowsAndTotalOut();
    void filters_giveTheRowsThatMeetThem_data();
    void filters_giveTheRowsThatMeetThem();
    void filters_withFlags_countTheSameRows();
    void order_byItsId_isOneRow();
    void dates_eachForm_isTheSameDay_data();
    void dates_eachForm_isTheSameDay();
    void dates_startAfterEnd_isEmpty();
    void dates_withoutRows_areEmpty();
    void paging_anyPart_isThatOfTheWholeList();
    void paging_behindTheEnd_isEmptyWithTheTotal();
    void paging_cursorBehindTheEnd_isKept();
    void paging_ofAllAccounts_doesNotDependOnTheSize_data();
    void paging_ofAllAccounts_doesNotDependOnTheSize();
    void wholeList_ofManyRows_isRefused();
    void accounts_duplicateAndUnknown_countOnce();
    void accounts_tenThousand_areTaken();
    void accounts_ofCredit_haveAHistory();
    void accounts_ofOthers_areNotSeen();
    void user_ofTheSession_isTakenWithoutOneInTheRequest();
    void badRequest_isRefused_data();
    void badRequest_isRefused();

private:
    QList<QVariantMap> stored(const QString& sql) const {
        QList<QVariantMap> rows;
        m_store->select(sql, {}, [&rows](const QSqlQuery& query) {
            QVariantMap row;
            for (int i = 0; i < query.record().count(); ++i) {
                row.insert(query.record().fieldName(i), query.value(i));
            }
            rows.append(row);
        });
        return rows;
    }

    MarketServer m_server;
    std::shared_ptr<const MarketStore> m_store;
};

void HistoryHandlersTest::initTestCase() {
    QString error;
    QVERIFY2(m_server.make(&error), qPrintable(error));
    m_store = MarketStore::open(m_server.storeFile(), &error);
    QVERIFY2(m_store, qPrintable(error));
}

void HistoryHandlersTest::row_fields_areThoseOfTheStore_data() {
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("table");
    QTest::addColumn<QString>("order");
    QTest::addColumn<QStringList>("columns");
    QTest::addColumn<QStringList>("fields");
    const QStringList common{"trading_account", "security_account", "security_exchange",
                             "security_id", "side"};
    const QStringList commonFields{UserAccount::tradingAccount, UserAccount::securityAccount,
                                   UserAccount::securityExchange, Security::securityID,
                                   Security::side};
    QTest::newRow("orders")
        << orders << "history_order"
        << "order_id"
        << common + QStringList{"order_id",        "orig_order_id", "cl_ord_id",    "entrust_type",
                                "order_type",      "price_type",    "order_status", "order_qty",
                                "order_price",     "cum_qty",       "avg_px",       "cancelled_qty",
                                "text_description"}
        << commonFields +
               QStringList{Security::orderID,      TradeField::origOrderID, Security::clOrdID,
                           Security::entrustType,  Security::orderType,     CustomField::priceType,
                           Security::orderStatus,  Security::orderQty,      TradeField::orderPrice,
                           Security::cumQty,       Security::avgPx,         Security::cancelledQty,
                           System::textDescription};
    QTest::newRow("deals") << deals << "history_deal"
                           << "order_id, exec_id"
                           << common + QStringList{"order_id",           "exec_id",
                                                   "exchange_exec_type", "exchange_exec_stat",
                                                   "last_qty",           "last_px",
                                                   "last_amount",        "execution_commission"}
                           << commonFields + QStringList{Security::orderID,
                                                         Security::execID,
                                                         UserAccount::ExchangeExecType,
                                                         UserAccount::ExchangeExecStat,
                                                         Security::lastQty,
                                                         TradeField::dealPrice,
                                                         Security::lastAmount,
                                                         Margin::executionCommission};
}

void HistoryHandlersTest::row_fields_areThoseOfTheStore() {
    QFETCH(QString, type);
    QFETCH(QString, table);
    QFETCH(QString, order);
    QFETCH(QStringList, columns);
    QFETCH(QStringList, fields);
    const auto expected = stored("SELECT * FROM " + table + " WHERE trading_account = '" + account +
                                 "' ORDER BY trade_date, " + order);
    m_server.ask(type, of(account, everyRow()));
    const QList<QVariantMap> rows = m_server.rows();
    QCOMPARE(rows.size(), expected.size());
    QVERIFY(rows.size() > 400);
    for (int i = 0; i < rows.size(); ++i) {
        for (int k = 0; k < columns.size(); ++k) {
            QVERIFY2(rows.at(i).contains(fields.at(k)), qPrintable(fields.at(k)));
            QCOMPARE(rows.at(i).value(fields.at(k)), expected.at(i).value(columns.at(k)));
        }
        const QString date = rows.at(i).value(UserAccount::tradeDate).toString();
        QCOMPARE(date, expected.at(i).value("trade_date").toString());
        const QDateTime moment(
            QDate::fromString(date, DateTimeFormatString::TRANS_DATE_FROMAT),
            QTime::fromString(rows.at(i).value(Security::transActTime).toString(),
                              DateTimeFormatString::TRANS_TIME_FORMAT),
            Qt::OffsetFromUTC, 8 * 3600);
        QVERIFY(moment.isValid());
        QCOMPARE(moment.toSecsSinceEpoch(),
                 expected.at(i).value("transact_time").toLongLong() / 1000);
    }
}

void HistoryHandlersTest::flags_leaveRowsAndTotalOut_data() {
    QTest::addColumn<QString>("type");
    QTest::addColumn<QVariantMap>("flags");
    QTest::addColumn<int>("total");
    const auto add = [](const char* name, const QString& type, const QVariantMap& flags,
                        int total) { QTest::newRow(name) << type << flags << total; };
    // Of forty orders, eight are followed by a request to cancel; of their 82 deals, six are
    // reports of a cancel at the exchange and two of one within the counter.
    add("orders", orders, {}, 400);
    add("orders with requests to cancel", orders, {{kCancel, "1"}}, 480);
    add("orders with the other flag", orders, {{kDischarge, "1"}}, 400);
    add("deals", deals, {}, 740);
    add("deals with cancels", deals, {{kCancel, "1"}}, 800);
    add("deals with inner cancels", deals, {{kDischarge, "1"}}, 760);
    add("deals with both", deals, everyRow(), 820);
    add("a number", deals, {{kCancel, 1}}, 800);
    add("zero", deals, {{kCancel, "0"}, {kDischarge, 0}}, 740);
    add("empty", deals, {{kCancel, ""}}, 740);
    add("another text", deals, {{kCancel, "yes"}, {kDischarge, "11"}}, 740);
    add("statistics do not know them", statistics, everyRow(), 320);
    add("deliveries do not know them", deliveries, everyRow(), 740);
}

void HistoryHandlersTest::flags_leaveRowsAndTotalOut() {
    QFETCH(QString, type);
    QFETCH(QVariantMap, flags);
    QFETCH(int, total);
    const QVariantMap whole = m_server.ask(type, of(account, flags));
    QCOMPARE(whole.value(System::textDescription).toString(), QString());
    QCOMPARE(m_server.rows().size(), total);
    QCOMPARE(whole.value(System::totalSize).toInt(), total);
    const QVariantMap part = m_server.ask(type, page(of(account, flags), 2, 100));
    QCOMPARE(m_server.rows().size(), 100);
    QCOMPARE(part.value(System::totalSize).toInt(), total);
}

void HistoryHandlersTest::filters_giveTheRowsThatMeetThem_data() {
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("table");
    QTest::addColumn<QString>("column");
    const auto add = [](const char* name, const QString& type, const QString& field,
                        const QString& column) {
        QTest::newRow(name) << type << field << (type == orders ? "history_order" : "history_deal")
                            << column;
    };
    add("side of orders", orders, Security::side, "side");
    add("exchange of orders", orders, UserAccount::securityExchange, "security_exchange");
    add("security of orders", orders, Security::securityID, "security_id");
    add("security account of orders", orders, UserAccount::securityAccount, "security_account");
    add("state of orders", orders, Security::orderStatus, "order_status");
    add("kind of orders", orders, Security::entrustType, "entrust_type");
    add("type of orders", orders, Security::orderType, "order_type");
    add("order", orders, Security::orderID, "order_id");
    add("client's order", orders, Security::clOrdID, "cl_ord_id");
    add("side of deals", deals, Security::side, "side");
    add("exchange of deals", deals, UserAccount::securityExchange, "security_exchange");
    add("security of deals", deals, Security::securityID, "security_id");
    add("security account of deals", deals, UserAccount::securityAccount, "security_account");
    add("order of deals", deals, Security::orderID, "order_id");
    add("number of deals", deals, Security::execID, "exec_id");
    add("kind of deals", deals, UserAccount::ExchangeExecType, "exchange_exec_type");
    add("state of deals", deals, UserAccount::ExchangeExecStat, "exchange_exec_stat");
}

void HistoryHandlersTest::filters_giveTheRowsThatMeetThem() {
    QFETCH(QString, type);
    QFETCH(QString, field);
    QFETCH(QString, table);
    QFETCH(QString, column);
    const auto groups = stored("SELECT " + column + " AS value, COUNT(*) AS rows FROM " + table +
                               " WHERE trading_account = '" + account + "' GROUP BY " + column +
                               " ORDER BY 1 LIMIT 5");
    QVERIFY(!groups.isEmpty());
    int expected = 0;
    QStringList values;
    for (const QVariantMap& group : groups) {
        expected += group.value("rows").toInt();
        values.append(group.value("value").toString());
        QVariantMap fields = of(account, everyRow());
        fields.insert(field, values.last());
        QCOMPARE(m_server.ask(type, fields).value(System::totalSize), group.value("rows"));
        QCOMPARE(m_server.rows().size(), group.value("rows").toInt());
        for (const QString& value : m_server.column(field)) {
            QCOMPARE(value, values.last());
        }
    }
    QVariantMap fields = of(account, everyRow());
    fields.insert(field, values.join(','));
    QCOMPARE(byPages(m_server, type, fields, 100).size(), expected);
}

void HistoryHandlersTest::filters_withFlags_countTheSameRows() {
    for (const QVariantMap& flags :
         {QVariantMap(), QVariantMap{{kCancel, "1"}}, QVariantMap{{kDischarge, "1"}}, everyRow()}) {
        const qint64 total =
            m_server.ask(deals, page(of(account, flags), 1, 1)).value(System::totalSize).toInt();
        qint64 sum = 0;
        for (const QString& side : SideUnion::normalSideList.mid(0, 2)) {
            QVariantMap fields = of(account, flags);
            fields.insert(Security::side, side);
            qint64 ofSide = 0;
            QCOMPARE(qint64(byPages(m_server, deals, fields, 50, &ofSide).size()), ofSide);
            sum += ofSide;
        }
        QCOMPARE(sum, total);
    }
}

void HistoryHandlersTest::order_byItsId_isOneRow() {
    m_server.ask(orders, page(of(account), 3, 7));
    const QVariantMap wanted = m_server.rows().at(4);
    const QString date = wanted.value(UserAccount::tradeDate).toString();
    m_server.ask(orders, page(of(account, {{System::startDate, date.toInt()},
                                           {System::endDate, date.toInt()},
                                           {Security::orderID, wanted.value(Security::orderID)}}),
                              1, 1));
    QCOMPARE(m_server.rows(), QList<QVariantMap>{wanted});
}

void HistoryHandlersTest::dates_eachForm_isTheSameDay_data() {
    QTest::addColumn<QVariant>("day");
    QTest::newRow("number") << QVariant(20250305);
    QTest::newRow("long") << QVariant(Q_INT64_C(20250305));
    QTest::newRow("digits") << QVariant("20250305");
    QTest::newRow("dashes") << QVariant("2025-03-05");
}

void HistoryHandlersTest::dates_eachForm_isTheSameDay() {
    QFETCH(QVariant, day);
    for (const QString& type : {orders, deals, statistics, deliveries}) {
        m_server.ask(type, of(account, {{System::startDate, day}, {System::endDate, day}}));
        const QStringList dates = m_server.column(UserAccount::tradeDate);
        QVERIFY(!dates.isEmpty());
        QCOMPARE(dates.count("20250305"), dates.size());
        const int rows = dates.size();
        // Each bound alone; the day belongs to both parts.
        const auto total = [&](const QString& bound) {
            return m_server.ask(type, of(account, {{bound, day}})).value(System::totalSize).toInt();
        };
        const int all = m_server.ask(type, of(account)).value(System::totalSize).toInt();
        QCOMPARE(total(System::startDate) + total(System::endDate), all + rows);
    }
}

void HistoryHandlersTest::dates_startAfterEnd_isEmpty() {
    for (const QString& type : {orders, deals, statistics, deliveries}) {
        const QVariantMap fields =
            of(account, {{System::startDate, 20250306}, {System::endDate, 20250305}});
        QCOMPARE(m_server.refusal(type, page(fields, 1, 10)), QString());
        QVERIFY(m_server.rows().isEmpty());
        QCOMPARE(headerOf(m_server.answer).value(System::totalSize).toInt(), 0);
    }
}

void HistoryHandlersTest::dates_withoutRows_areEmpty() {
    QVariantMap fields =
        of(account, {{System::startDate, "00010101"}, {System::endDate, 20241231}});
    QCOMPARE(m_server.refusal(deals, page(fields, 1, 10)), QString());
    QVERIFY(m_server.rows().isEmpty());
    fields = of(account, {{System::startDate, "00010101"}, {System::endDate, "99991231"}});
    QCOMPARE(m_server.ask(deals, page(fields, 1, 10)).value(System::totalSize).toInt(), 740);
}

void HistoryHandlersTest::paging_anyPart_isThatOfTheWholeList() {
    QRandomGenerator random(20260105);
    const QStringList accounts{account, "T000002", "T000003", "T000022"};
    for (int round = 0; round < 60; ++round) {
        QVariantMap fields = of(accounts.mid(random.bounded(4), random.bounded(1, 5)).join(','));
        const QDate from = QDate(2025, 1, 1).addDays(random.bounded(300));
        fields.insert(System::startDate, from.toString("yyyyMMdd"));
        fields.insert(System::endDate,
                      from.addDays(random.bounded(120)).toString("yyyyMMdd").toInt());
        fields.insert(kCancel, QString::number(random.bounded(2)));
        fields.insert(kDischarge, QString::number(random.bounded(2)));
        if (random.bounded(3) == 0) {
            fields.insert(Security::side, "101,203");
        }
        const QString type =
            QStringList{orders, deals, statistics, deliveries}.at(random.bounded(4));
        const QVariantMap whole = m_server.ask(type, fields);
        const QList<QVariantMap> all = m_server.rows();
        QCOMPARE(whole.value(System::totalSize).toInt(), all.size());
        const int size = random.bounded(1, 60);
        const int number = random.bounded(1, all.size() / size + 3);
        const QVariantMap header = m_server.ask(type, page(fields, number, size));
        QCOMPARE(m_server.rows(), all.mid((number - 1) * size, size));
        QCOMPARE(header.value(System::totalSize).toInt(), all.size());
        QCOMPARE(header.value(System::pageNo).toInt(), number);
        QCOMPARE(byPositions(m_server, type, fields, size), all);
    }
}

void HistoryHandlersTest::paging_behindTheEnd_isEmptyWithTheTotal() {
    const QVariantMap header = m_server.ask(deals, page(of(account), 2000000000, 5000));
    QVERIFY(m_server.rows().isEmpty());
    QCOMPARE(header.value(System::totalSize).toInt(), 740);
}

void HistoryHandlersTest::paging_cursorBehindTheEnd_isKept() {
    const QString end(16, '9');
    const QVariantMap header = m_server.ask(deliveries, behind(of(account), end, 10));
    QVERIFY(m_server.rows().isEmpty());
    QCOMPARE(header.value(System::positionStr).toString(), end);
    QCOMPARE(header.value(System::totalSize).toInt(), 740);
}

void HistoryHandlersTest::paging_ofAllAccounts_doesNotDependOnTheSize_data() {
    QTest::addColumn<QString>("type");
    QTest::newRow("orders") << orders;
    QTest::newRow("deals") << deals;
    QTest::newRow("statistics") << statistics;
    QTest::newRow("deliveries") << deliveries;
}

void HistoryHandlersTest::paging_ofAllAccounts_doesNotDependOnTheSize() {
    QFETCH(QString, type);
    QStringList accounts;
    for (int i = 200; i > 0; --i) {
        accounts.append(QStringLiteral("T%1").arg(i, 6, 10, QLatin1Char('0')));
    }
    const QVariantMap fields = of(accounts.join(','), everyRow());
    qint64 total = 0;
    const QList<QVariantMap> all = byPages(m_server, type, fields, 5000, &total);
    QCOMPARE(qint64(all.size()), total);
    QVERIFY(total > 2000);
    QCOMPARE(byPages(m_server, type, fields, 999), all);
    QCOMPARE(byPositions(m_server, type, fields, 1000), all);
    // By account and day, whatever the order in the request.
    QStringList days;
    for (const QVariantMap& row : all) {
        days.append(row.value(UserAccount::tradingAccount).toString() +
                    row.value(UserAccount::tradeDate).toString());
    }
    QVERIFY(std::is_sorted(days.cbegin(), days.cend()));
    if (type == deals) {
        const QStringList keys = keysOf(all);
        QCOMPARE(QSet<QString>(keys.cbegin(), keys.cend()).size(), all.size());
    }
}

void HistoryHandlersTest::wholeList_ofManyRows_isRefused() {
    QStringList accounts;
    for (int i = 1; i <= 200; ++i) {
        accounts.append(QStringLiteral("T%1").arg(i, 6, 10, QLatin1Char('0')));
    }
    const QString text = m_server.refusal(deals, of(accounts.join(',')));
    QVERIFY2(text.contains("应分页查询"), qPrintable(text));
}

void HistoryHandlersTest::accounts_duplicateAndUnknown_countOnce() {
    const QVariantMap header =
        m_server.ask(deals, page(of("T000001,,T999999,T000001,x'--,T000001"), 1, 5000));
    QCOMPARE(header.value(System::totalSize).toInt(), 740);
    QCOMPARE(m_server.rows().size(), 740);
    QCOMPARE(m_server.ask(deals, page(of("T999999"), 1, 10)).value(System::totalSize).toInt(), 0);
    QCOMPARE(m_server.refusal(deals, page(of("T999999"), 1, 10)), QString());
}

void HistoryHandlersTest::accounts_tenThousand_areTaken() {
    QStringList accounts;
    for (int i = 0; i < 9999; ++i) {
        accounts.append(QStringLiteral("U%1").arg(i));
    }
    accounts.append(account);
    for (const QString& type : {orders, deals, statistics, deliveries}) {
        const QVariantMap one = m_server.ask(type, page(of(account), 2, 100));
        const QList<QVariantMap> rows = m_server.rows();
        QCOMPARE(m_server.refusal(type, page(of(accounts.join(',')), 2, 100)), QString());
        QCOMPARE(m_server.rows(), rows);
        QCOMPARE(headerOf(m_server.answer).value(System::totalSize), one.value(System::totalSize));
    }
    accounts.append("V");
    QVERIFY(m_server.refusal(deals, page(of(accounts.join(',')), 1, 100)).contains("10001"));
}

void HistoryHandlersTest::accounts_ofCredit_haveAHistory() {
    for (const QString& type : {orders, deals, statistics, deliveries}) {
        m_server.ask(type, of("T000002"));
        QVERIFY(m_server.rows().size() > 100);
        const QStringList sides = m_server.column(Security::side);
        QCOMPARE(QSet<QString>(sides.cbegin(), sides.cend()),
                 (QSet<QString>{"201", "202", "203", "204"}));
    }
}

void HistoryHandlersTest::accounts_ofOthers_areNotSeen() {
    // The second login sees the first account, not the second one.
    QVariantMap fields = page(of("T000001,T000002"), 1, 5000);
    fields.insert(UserAccount::loginUserId, SampleLogin::secondUser);
    const QVariantMap header = m_server.ask(deals, fields);
    QCOMPARE(header.value(System::totalSize).toInt(), 740);
    QCOMPARE(m_server.column(UserAccount::tradingAccount).count("T000001"), 740);
}

void HistoryHandlersTest::user_ofTheSession_isTakenWithoutOneInTheRequest() {
    QVariantMap fields = page(of("T000002"), 1, 10);
    fields.remove(UserAccount::loginUserId);
    QCOMPARE(m_server.refusal(deals, fields), QString("用户不存在"));
    const auto loginAs = [this](const QString& user) {
        return m_server.refusal(HostMsgType::login, {{UserAccount::loginUserId, user},
                                                     {HostField::password, SampleLogin::password}});
    };
    QCOMPARE(loginAs(SampleLogin::user), QString());
    QCOMPARE(m_server.ask(deals, fields).value(System::totalSize).toInt(), 444);
    QCOMPARE(loginAs(SampleLogin::secondUser), QString());
    QCOMPARE(m_server.ask(deals, fields).value(System::totalSize).toInt(), 0);
    QString error;
    QVERIFY2(m_server.open(&error), qPrintable(error));
}

void HistoryHandlersTest::badRequest_isRefused_data() {
    QTest::addColumn<QVariantMap>("fields");
    QTest::addColumn<QString>("part");
    const auto add = [](const char* name, const QVariantMap& fields, const QString& part) {
        QTest::newRow(name) << fields << part;
    };
    const QString accountField = UserAccount::tradingAccount;
    add("no account", {{accountField, QVariant()}}, "请求缺少" + accountField);
    add("empty account", {{accountField, ""}}, "请求缺少" + accountField);
    add("separators alone", {{accountField, ",,"}}, "请求缺少" + accountField);
    add("accounts as a list", {{accountField, QStringList{account}}}, "应为单个值");
    add("unknown user", {{UserAccount::loginUserId, "nobody"}}, "用户nobody不存在");
    add("no such day", {{System::startDate, 20250230}}, "日期无效：20250230");
    add("no date", {{System::endDate, "tomorrow"}}, "日期无效：tomorrow");
    add("date zero", {{System::endDate, 0}}, "日期无效：0");
    add("negative date", {{System::startDate, -20250101}}, "日期无效");
    add("date as a list", {{System::startDate, QVariantList{20250101}}}, "应为单个值");
    add("page zero", {{System::pageNo, 0}}, "页码无效：0");
    add("negative page", {{System::pageNo, -1}}, "页码无效：-1");
    add("page beyond 32 bits", {{System::pageNo, Q_INT64_C(4294967297)}}, "页码无效");
    add("page that is no number", {{System::pageNo, "x"}}, "页码无效：x");
    add("negative size", {{System::pageSize, -10}}, "每页条数无效：-10");
    add("huge size", {{System::pageSize, 5001}}, "应为1到5000");
    add("cursor of letters", {{System::positionStr, "x"}, {System::requestNumber, 10}},
        "查询位置无效：x");
    add("no number with a cursor", {{System::positionStr, ""}}, "每页条数无效");
}

void HistoryHandlersTest::badRequest_isRefused() {
    QFETCH(QVariantMap, fields);
    QFETCH(QString, part);
    for (const QString& type : {orders, deals, statistics, deliveries}) {
        QVariantMap request = page(of(account), 1, 10);
        for (auto it = fields.cbegin(); it != fields.cend(); ++it) {
            request.insert(it.key(), it.value());
        }
        const QString text = m_server.refusal(type, request);
        QVERIFY2(text.contains(part), qPrintable(text));
        QVERIFY(m_server.rows().isEmpty());
    }
}

QTEST_GUILESS_MAIN(HistoryHandlersTest)
#include "history_handlers_test.moc"
