#include "paged_query.h"

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QtTest>

#include "message_centre.h"
#include "vocabulary/fields.h"

namespace {

constexpr int kDeals = 95;  // ten on each day from 2026-01-01 on, over three accounts in turn
inline const QString kId = QStringLiteral("id");

/// A store with one table of deals, in the format of a market.
bool makeDeals(const QString& file) {
    const SqliteConnection connection(file);
    QSqlQuery query(QSqlDatabase::database(connection.name(), false));
    const QStringList layout{
        "BEGIN", "CREATE TABLE meta(key TEXT PRIMARY KEY, value TEXT)",
        "INSERT INTO meta VALUES('format', '2'), ('complete', '1')",
        "CREATE TABLE deal(id INTEGER PRIMARY KEY, account TEXT, day INTEGER, day_text TEXT)"};
    for (const QString& sql : layout) {
        if (!query.exec(sql)) {
            return false;
        }
    }
    bool done = query.prepare("INSERT INTO deal VALUES(?, ?, ?, ?)");
    // Backwards, so that the answer is not in the order of writing by chance.
    for (int id = kDeals; done && id > 0; --id) {
        const int day = 20260101 + (id - 1) / 10;
        query.addBindValue(id);
        query.addBindValue(QStringLiteral("A%1").arg(id % 3));
        query.addBindValue(day);
        query.addBindValue(QString::number(day));
        done = query.exec();
    }
    return done && query.exec("COMMIT");
}

PagedSource dealSource() {
    PagedSource source;
    source.columns = {{QStringLiteral("id"), kId},
                      {QStringLiteral("account"), UserAccount::tradingAccount},
                      {QStringLiteral("day"), UserAccount::tradeDate}};
    source.from = QStringLiteral("deal");
    source.position = QStringLiteral("id");
    using Kind = PagedFilter::Kind;
    source.filters = {
        {Kind::OneOf, UserAccount::tradingAccount, QStringLiteral("account")},
        {Kind::NotLess, System::startDate, QStringLiteral("day")},
        {Kind::NotMore, System::endDate, QStringLiteral("day_text")},
        {Kind::SameDate, System::queryDate, QStringLiteral("day_text")},
        {Kind::Equal, kId, QStringLiteral("id")},
    };
    source.maxPageSize = 50;
    return source;
}

}  // namespace

class PagedQueryTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();

    void byPage_everyPage_hasItsRowsAndTheTrueTotal();
    void byPage_wholeNumberOfAnyType_isTaken();
    void byPage_behindTheEnd_isEmptyWithTheTotal();
    void byPosition_followed_givesEveryRowOnceInOrder_data();
    void byPosition_followed_givesEveryRowOnceInOrder();
    void byPosition_emptyPart_keepsTheRequestedPosition();
    void byPosition_texts_areOfOneWidthAndInOrder();
    void noPage_givesEverything();
    void filters_give_whatFulfilsThemAll_data();
    void filters_give_whatFulfilsThemAll();
    void filters_missingRequiredField_isRefused();
    void badRequest_isRefusedWithItsValue_data();
    void badRequest_isRefusedWithItsValue();
    void dates_everyForm_isTheSameDay_data();
    void dates_everyForm_isTheSameDay();
    void positionInRows_eachRowHasItsOwn();
    void statuses_accountWithoutARow_getsOneThatRefuses();
    void brokenSource_isRefused();

private:
    HandlerAnswer ask(const QVariantMap& header, const QList<QVariantMap>& rows = {}) {
        MessageCentre messages(*m_store, *m_state);
        const ServerCall call{{},       QStringLiteral("deals"), header,   rows,
                              *m_store, m_subscriptions,         *m_state, messages};
        return answerPaged(call, m_source);
    }
    static QList<int> idsOf(const HandlerAnswer& answer) {
        QList<int> ids;
        for (const QVariantMap& row : answer.rows) {
            ids.append(row.value(kId).toInt());
        }
        return ids;
    }
    static QList<int> range(int from, int to) {
        QList<int> ids;
        for (int id = from; id <= to; ++id) {
            ids.append(id);
        }
        return ids;
    }

    QTemporaryDir m_dir;
    std::shared_ptr<const MarketStore> m_store;
    std::shared_ptr<ServerState> m_state = ServerState::inMemory();
    Subscriptions m_subscriptions;
    PagedSource m_source = dealSource();
};

void PagedQueryTest::initTestCase() {
    const QString file = m_dir.filePath(QStringLiteral("deals.sqlite"));
    QVERIFY(makeDeals(file));
    QString error;
    m_store = MarketStore::open(file, &error);
    QVERIFY2(m_store, qPrintable(error));
}

void PagedQueryTest::byPage_everyPage_hasItsRowsAndTheTrueTotal() {
    for (int page = 1; page <= 10; ++page) {
        // Numbers may come as texts.
        const HandlerAnswer answer =
            ask({{System::pageNo, QString::number(page)}, {System::pageSize, 10}});
        QCOMPARE(answer.refusal, QString());
        QCOMPARE(idsOf(answer), range(page * 10 - 9, qMin(page * 10, kDeals)));
        QCOMPARE(answer.totalSize, kDeals);
        QCOMPARE(answer.header.value(System::pageNo).toInt(), page);
        QCOMPARE(answer.header.value(System::pageSize).toInt(), 10);
    }
}

void PagedQueryTest::byPage_wholeNumberOfAnyType_isTaken() {
    for (const QVariant& two :
         {QVariant(2), QVariant(2U), QVariant(Q_INT64_C(2)), QVariant(2.0), QVariant("2")}) {
        QCOMPARE(idsOf(ask({{System::pageNo, two}, {System::pageSize, two}})), range(3, 4));
    }
}

void PagedQueryTest::byPage_behindTheEnd_isEmptyWithTheTotal() {
    const HandlerAnswer answer = ask({{System::pageNo, 2000000000}, {System::pageSize, 50}});
    QCOMPARE(answer.refusal, QString());
    QVERIFY(answer.rows.isEmpty());
    QCOMPARE(answer.totalSize, kDeals);
}

void PagedQueryTest::byPosition_followed_givesEveryRowOnceInOrder_data() {
    QTest::addColumn<QString>("start");
    QTest::newRow("empty") << QString("");
    QTest::newRow("zero") << QStringLiteral("0");
    QTest::newRow("zeros") << positionText(0);
}

void PagedQueryTest::byPosition_followed_givesEveryRowOnceInOrder() {
    QFETCH(QString, start);
    QList<int> ids;
    QString position = start;
    int requests = 0;
    for (int rows = 20; rows == 20; ++requests) {
        const HandlerAnswer answer = ask(
            {{System::positionStr, position}, {System::requestNumber, 20}, {System::pageNo, 7}});
        QCOMPARE(answer.totalSize, kDeals);
        rows = answer.rows.size();
        ids += idsOf(answer);
        position = answer.header.value(System::positionStr).toString();
        QCOMPARE(position, positionText(ids.last()));
    }
    QCOMPARE(ids, range(1, kDeals));
    QCOMPARE(requests, 5);
}

void PagedQueryTest::byPosition_emptyPart_keepsTheRequestedPosition() {
    const QString last = positionText(kDeals);
    const HandlerAnswer answer = ask({{System::positionStr, last}, {System::requestNumber, 20}});
    QVERIFY(answer.rows.isEmpty());
    QCOMPARE(answer.header.value(System::positionStr).toString(), last);
}

void PagedQueryTest::byPosition_texts_areOfOneWidthAndInOrder() {
    QString before;
    for (const qint64 position : {0LL, 1LL, 9LL, 10LL, 99999LL, 100000LL, 9999999999999999LL}) {
        const QString text = positionText(position);
        QVERIFY2(before < text, qPrintable(text));
        QVERIFY(before.isEmpty() || before.size() == text.size());
        QCOMPARE(text.toLongLong(), position);
        before = text;
    }
}

void PagedQueryTest::noPage_givesEverything() {
    const HandlerAnswer answer = ask({});
    QCOMPARE(idsOf(answer), range(1, kDeals));
    QCOMPARE(answer.totalSize, kDeals);
    QVERIFY(answer.header.isEmpty());
}

void PagedQueryTest::filters_give_whatFulfilsThemAll_data() {
    QTest::addColumn<QVariantMap>("request");
    QTest::addColumn<QList<int>>("ids");
    const QString account = UserAccount::tradingAccount;
    QTest::newRow("one account") << QVariantMap{{account, "A2"}, {System::endDate, 20260101}}
                                 << QList<int>{2, 5, 8};
    QTest::newRow("two accounts") << QVariantMap{{account, "A2,A0"}, {System::endDate, "20260101"}}
                                  << QList<int>{2, 3, 5, 6, 8, 9};
    QTest::newRow("an account twice and an unknown one")
        << QVariantMap{{account, "A2,,A2,x'--"}, {System::endDate, 20260101}}
        << QList<int>{2, 5, 8};
    QTest::newRow("unknown account") << QVariantMap{{account, "T"}} << QList<int>();
    QTest::newRow("empty fields put no condition")
        << QVariantMap{{account, ""}, {System::startDate, ""}, {System::endDate, 20260101}}
        << range(1, 10);
    QTest::newRow("separators alone put no condition")
        << QVariantMap{{account, ",,"}, {System::endDate, 20260101}} << range(1, 10);
    QTest::newRow("from a day on")
        << QVariantMap{{System::startDate, "2026-01-10"}} << range(91, 95);
    QTest::newRow("between days") << QVariantMap{{System::startDate, 20260103},
                                                 {System::endDate, "2026-01-04"}}
                                  << range(21, 40);
    QTest::newRow("backwards") << QVariantMap{{System::startDate, 20260105},
                                              {System::endDate, 20260104}}
                               << QList<int>();
    QTest::newRow("one day") << QVariantMap{{System::queryDate, 20260110}} << range(91, 95);
    QTest::newRow("a value") << QVariantMap{{kId, 17}} << QList<int>{17};
}

void PagedQueryTest::filters_give_whatFulfilsThemAll() {
    QFETCH(QVariantMap, request);
    QFETCH(QList<int>, ids);
    const HandlerAnswer all = ask(request);
    QCOMPARE(all.refusal, QString());
    QCOMPARE(idsOf(all), ids);
    QCOMPARE(all.totalSize, ids.size());
    // The fields may also be in the request's first row, together with those of a page.
    const HandlerAnswer page = ask({{System::pageNo, 1}, {System::pageSize, 2}}, {request});
    QCOMPARE(idsOf(page), ids.mid(0, 2));
    QCOMPARE(page.totalSize, ids.size());
}

void PagedQueryTest::filters_missingRequiredField_isRefused() {
    m_source.filters.first().required = true;
    const HandlerAnswer answer = ask({});
    m_source = dealSource();
    QVERIFY2(answer.refusal.contains(UserAccount::tradingAccount), qPrintable(answer.refusal));
}

void PagedQueryTest::badRequest_isRefusedWithItsValue_data() {
    QTest::addColumn<QVariantMap>("request");
    QTest::addColumn<QString>("part");
    const auto page = [](const QVariant& number, const QVariant& size) {
        return QVariantMap{{System::pageNo, number}, {System::pageSize, size}};
    };
    const auto part = [](const QVariant& position, const QVariant& number) {
        return QVariantMap{{System::positionStr, position}, {System::requestNumber, number}};
    };
    QTest::newRow("page zero") << page(0, 10) << "页码无效：0";
    QTest::newRow("page below") << page(-1, 10) << "页码无效：-1";
    QTest::newRow("page no number") << page("x", 10) << "页码无效：x";
    QTest::newRow("no page") << QVariantMap{{System::pageSize, 10}} << "页码无效";
    QTest::newRow("size zero") << page(1, 0) << "每页条数无效：0";
    QTest::newRow("size above the limit") << page(1, 51) << "应为1到50";
    QTest::newRow("no size") << QVariantMap{{System::pageNo, 1}} << "每页条数无效";
    QTest::newRow("number above the limit") << part("", 51) << "应为1到50";
    QTest::newRow("no number") << QVariantMap{{System::positionStr, ""}} << "每页条数无效";
    QTest::newRow("cursor of letters") << part("abc", 10) << "查询位置无效：abc";
    QTest::newRow("cursor with a sign") << part("-1", 10) << "查询位置无效：-1";
    QTest::newRow("cursor too long") << part(QString(17, '1'), 10) << "查询位置无效";
    QTest::newRow("no date") << QVariantMap{{System::startDate, "tomorrow"}}
                             << "日期无效：tomorrow";
    QTest::newRow("no such day") << QVariantMap{{System::endDate, 20260230}}
                                 << "日期无效：20260230";
    QTest::newRow("page with a fraction") << page(1.5, 10) << "页码无效：1.5";
    QTest::newRow("page of a truth value") << page(true, 10) << "页码无效：true";
    QTest::newRow("size with a fraction") << page(1, "1.5") << "每页条数无效：1.5";
    QTest::newRow("size of a truth value") << page(1, true) << "每页条数无效：true";
    QTest::newRow("page beyond 32 bits") << page(Q_INT64_C(4294967297), 10) << "页码无效";
    QTest::newRow("number that is a list") << part("", QVariantList{5}) << "每页条数无效";
    QTest::newRow("cursor that is a list") << part(QVariantList{"0"}, 10) << "查询位置无效";
    for (const QString& field :
         {UserAccount::tradingAccount, System::startDate, System::queryDate, kId}) {
        QTest::newRow(qPrintable(field + " as a list"))
            << QVariantMap{{field, QVariantList{"A1"}}} << field + "应为单个值";
        QTest::newRow(qPrintable(field + " as texts"))
            << QVariantMap{{field, QStringList{"A1"}}} << field + "应为单个值";
        QTest::newRow(qPrintable(field + " as a record"))
            << QVariantMap{{field, QVariantMap{{"a", 1}}}} << field + "应为单个值";
    }
    QTest::newRow("too many accounts")
        << QVariantMap{{UserAccount::tradingAccount, QString("A,").repeated(1001)}} << "1001";
}

void PagedQueryTest::badRequest_isRefusedWithItsValue() {
    QFETCH(QVariantMap, request);
    QFETCH(QString, part);
    const HandlerAnswer answer = ask(request);
    QVERIFY2(answer.refusal.contains(part), qPrintable(answer.refusal));
    QVERIFY(answer.rows.isEmpty());
}

void PagedQueryTest::dates_everyForm_isTheSameDay_data() {
    QTest::addColumn<QVariant>("value");
    QTest::newRow("number") << QVariant(20260105);
    QTest::newRow("long") << QVariant(Q_INT64_C(20260105));
    QTest::newRow("digits") << QVariant("20260105");
    QTest::newRow("dashes") << QVariant("2026-01-05");
    QTest::newRow("date") << QVariant(QDate(2026, 1, 5));
    QTest::newRow("moment") << QVariant(QDateTime(QDate(2026, 1, 5), QTime(9, 30)));
}

void PagedQueryTest::dates_everyForm_isTheSameDay() {
    QFETCH(QVariant, value);
    QCOMPARE(dateOf(value), QDate(2026, 1, 5));
    QCOMPARE(idsOf(ask({{System::queryDate, value}})), range(41, 50));
}

void PagedQueryTest::positionInRows_eachRowHasItsOwn() {
    m_source.positionInRows = true;
    const HandlerAnswer answer =
        ask({{System::positionStr, ""}, {System::requestNumber, 3}, {System::startDate, 20260103}});
    m_source = dealSource();
    QCOMPARE(idsOf(answer), range(21, 23));
    for (const QVariantMap& row : answer.rows) {
        QCOMPARE(row.value(System::positionStr).toString(), positionText(row.value(kId).toInt()));
    }
}

void PagedQueryTest::statuses_accountWithoutARow_getsOneThatRefuses() {
    m_source.statusField = UserAccount::tradingAccount;
    const QVariantMap request{{UserAccount::tradingAccount, "A1,gone,gone"},
                              {System::queryDate, 20260110}};
    const HandlerAnswer all = ask(request);
    QVariantMap paged = request;
    paged.insert(System::pageNo, 1);
    paged.insert(System::pageSize, 10);
    const HandlerAnswer page = ask(paged);
    m_source = dealSource();

    QCOMPARE(idsOf(page), (QList<int>{91, 94}));
    QCOMPARE(idsOf(all), (QList<int>{91, 94, 0}));
    for (int i = 0; i < 2; ++i) {
        QCOMPARE(all.rows.at(i).value(System::requestExeStatus).toString(),
                 RequestExeStatus::success);
    }
    const QVariantMap gone = all.rows.last();
    QCOMPARE(gone.value(UserAccount::tradingAccount).toString(), QStringLiteral("gone"));
    QVERIFY(gone.value(System::requestExeStatus).toString() != RequestExeStatus::success);
    QVERIFY(gone.value(System::textDescription).toString().contains("gone"));
}

void PagedQueryTest::brokenSource_isRefused() {
    m_source.from = QStringLiteral("nothing");
    const HandlerAnswer answer = ask({});
    m_source = dealSource();
    QCOMPARE(answer.refusal, HandlerAnswer::storeFailed().refusal);
}

QTEST_GUILESS_MAIN(PagedQueryTest)
#include "paged_query_test.moc"
