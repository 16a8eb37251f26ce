// Lists by date, with a status for each row, on every link.
#include "conformance_world.h"
#include "velmarutils/velmar_utils.h"

namespace {

const QVariantMap kLogin{{UserAccount::loginUserId, SampleLogin::user}};

QVariantMap with(QVariantMap record, const QVariantMap& further) {
    for (auto it = further.cbegin(); it != further.cend(); ++it) {
        record.insert(it.key(), it.value());
    }
    return record;
}

int dayOf(const QVariantMap& row) {
    return row.value(UserAccount::tradeDate).toInt();
}

QString accountOf(const QVariantMap& row) {
    return row.value(UserAccount::tradingAccount).toString();
}

QString dashed(int day) {
    return QDate::fromString(QString::number(day), "yyyyMMdd").toString("yyyy-MM-dd");
}

/// The same day in any form that the wire allows.
QVariant formOf(int day, const QString& form) {
    if (form == "integer") {
        return day;
    }
    if (form == "long integer") {
        return qlonglong(day);
    }
    return form == "digits" ? QString::number(day) : dashed(day);
}

}  // namespace

class LinkDatesConformanceTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase_data() { ConformanceWorld::addLinks(); }
    void init();
    void cleanup() { m_world.reset(); }

    void dates_inTheRows_areWholeNumbersInOrder();
    void dates_everyForm_isTheSameDay_data();
    void dates_everyForm_isTheSameDay();
    void dates_range_includesBothEnds_data();
    void dates_range_includesBothEnds();
    void dates_withPages_giveTheTrueTotalAndEveryRow();
    void dates_emptyTexts_putNoCondition();
    void dates_wrong_areRefusedByValue_data();
    void dates_wrong_areRefusedByValue();
    void statuses_everyRow_hasItsOwn();
    void statuses_accountWithoutRows_isRefusedInARowOfItsOwn();
    void statuses_accountWithoutRowsThatDay_isRefusedInARowOfItsOwn();
    void statuses_inPages_areThoseOfRowsAlone();

private:
    QVariant ask(const QVariantMap& conditions) {
        QVariant response;
        if (m_world->send(kTradedDays, with(kLogin, conditions), &response) != kAnswer) {
            QTest::qFail("no answer", __FILE__, __LINE__);
        }
        return response;
    }
    QList<QVariantMap> between(int first, int last) const {
        QList<QVariantMap> rows;
        for (const QVariantMap& row : m_all) {
            if (first <= dayOf(row) && dayOf(row) <= last) {
                rows.append(row);
            }
        }
        return rows;
    }
    static bool isRefused(const QVariantMap& row) {
        return row.value(System::requestExeStatus).toString() != RequestExeStatus::success;
    }

    std::unique_ptr<ConformanceWorld> m_world;
    QList<QVariantMap> m_all;
    int m_day = 0;    // a day with trades, with other days before and after it
    int m_later = 0;  // a later day of the same kind
};

void LinkDatesConformanceTest::init() {
    QFETCH_GLOBAL(int, kind);
    m_world = std::make_unique<ConformanceWorld>(kind);
    m_all = rowsOf(ask({}));
    QVERIFY(m_all.size() >= 100);
    QSet<QString> accounts;
    QMap<int, int> days;
    for (const QVariantMap& row : qAsConst(m_all)) {
        accounts.insert(accountOf(row));
        ++days[dayOf(row)];
    }
    QVERIFY(accounts.size() >= 3 && days.size() >= 20);
    m_day = days.keys().at(days.size() / 3);
    m_later = days.keys().at(days.size() * 2 / 3);
}

void LinkDatesConformanceTest::dates_inTheRows_areWholeNumbersInOrder() {
    QVariantMap before;
    for (const QVariantMap& row : qAsConst(m_all)) {
        const QVariant day = row.value(UserAccount::tradeDate);
        QVERIFY2(day.userType() == QMetaType::Int || day.userType() == QMetaType::LongLong,
                 day.typeName());
        QVERIFY(QDate::fromString(day.toString(), "yyyyMMdd").isValid());
        QVERIFY(accountOf(before) != accountOf(row) || dayOf(before) < dayOf(row));
        before = row;
    }
}

void LinkDatesConformanceTest::dates_everyForm_isTheSameDay_data() {
    QTest::addColumn<QString>("form");
    for (const char* form : {"integer", "long integer", "digits", "dashes"}) {
        QTest::newRow(form) << QString(form);
    }
}

void LinkDatesConformanceTest::dates_everyForm_isTheSameDay() {
    QFETCH(QString, form);
    const QVariant day = formOf(m_day, form);
    const QList<QVariantMap> expected = between(m_day, m_day);
    QVERIFY(!expected.isEmpty() && expected.size() < m_all.size());
    QCOMPARE(rowsOf(ask({{System::queryDate, day}})), expected);
    QCOMPARE(rowsOf(ask({{System::startDate, day}, {System::endDate, day}})), expected);
}

void LinkDatesConformanceTest::dates_range_includesBothEnds_data() {
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("last");
    QTest::newRow("integer to integer") << "integer"
                                        << "integer";
    QTest::newRow("integer to dashes") << "integer"
                                       << "dashes";
    QTest::newRow("digits to integer") << "digits"
                                       << "integer";
    QTest::newRow("from an integer on") << "integer"
                                        << "";
    QTest::newRow("up to a text") << ""
                                  << "digits";
}

void LinkDatesConformanceTest::dates_range_includesBothEnds() {
    QFETCH(QString, first);
    QFETCH(QString, last);
    QVariantMap conditions;
    if (!first.isEmpty()) {
        conditions.insert(System::startDate, formOf(m_day, first));
    }
    if (!last.isEmpty()) {
        conditions.insert(System::endDate, formOf(m_later, last));
    }
    const QList<QVariantMap> expected =
        between(first.isEmpty() ? 0 : m_day, last.isEmpty() ? 99999999 : m_later);
    QVERIFY(expected.size() < m_all.size());
    const QVariant answer = ask(conditions);
    QCOMPARE(rowsOf(answer), expected);
    QCOMPARE(headerOf(answer).value(System::totalSize).toInt(), expected.size());
    // An empty range is not an error.
    const QVariant none = ask({{System::startDate, m_later}, {System::endDate, dashed(m_day)}});
    QVERIFY(ConformanceWorld::isSuccess(none));
    QVERIFY(rowsOf(none).isEmpty());
}

void LinkDatesConformanceTest::dates_withPages_giveTheTrueTotalAndEveryRow() {
    const QVariantMap conditions{{System::startDate, m_day}, {System::endDate, dashed(m_later)}};
    const QList<QVariantMap> expected = between(m_day, m_later);
    QVERIFY(expected.size() > 7);
    const QVariant page = ask(with(conditions, {{System::pageNo, 1}, {System::pageSize, 7}}));
    QCOMPARE(headerOf(page).value(System::totalSize).toInt(), expected.size());
    QCOMPARE(rowsOf(page), expected.mid(0, 7));
    QString error;
    QCOMPARE(VelmarUtils::QueryDatasFromServerByPage(m_world->presenter, kTradedDays,
                                                     with(kLogin, conditions), error, 7, 1, 0, 0),
             expected);
    QCOMPARE(VelmarUtils::QueryDatasFromServerByPos(m_world->presenter, kTradedDays,
                                                    with(kLogin, conditions), error, 7, "", 0),
             expected);
}

void LinkDatesConformanceTest::dates_emptyTexts_putNoCondition() {
    QCOMPARE(rowsOf(ask({{System::startDate, ""}, {System::endDate, ""}, {System::queryDate, ""}})),
             m_all);
}

void LinkDatesConformanceTest::dates_wrong_areRefusedByValue_data() {
    QTest::addColumn<QString>("field");
    QTest::addColumn<QVariant>("value");
    QTest::newRow("word") << System::queryDate << QVariant("tomorrow");
    QTest::newRow("no such day, integer") << System::startDate << QVariant(20250230);
    QTest::newRow("no such month, text") << System::endDate << QVariant("2025-13-01");
    QTest::newRow("zero") << System::startDate << QVariant(0);
    QTest::newRow("too short") << System::queryDate << QVariant("202501");
}

void LinkDatesConformanceTest::dates_wrong_areRefusedByValue() {
    QFETCH(QString, field);
    QFETCH(QVariant, value);
    const QVariant answer = ask({{field, value}});
    QVERIFY(!ConformanceWorld::isSuccess(answer));
    QVERIFY2(textOf(answer).contains(value.toString()), qPrintable(textOf(answer)));
    QVERIFY(rowsOf(answer).isEmpty());
}

void LinkDatesConformanceTest::statuses_everyRow_hasItsOwn() {
    for (const QVariantMap& row : qAsConst(m_all)) {
        QCOMPARE(row.value(System::requestExeStatus).toString(), RequestExeStatus::success);
    }
}

void LinkDatesConformanceTest::statuses_accountWithoutRows_isRefusedInARowOfItsOwn() {
    const QString known = accountOf(m_all.last());
    const QVariant answer =
        ask({{UserAccount::tradingAccount, "nobody," + known + ",nowhere,nobody"}});
    QVERIFY(ConformanceWorld::isSuccess(answer));
    const QList<QVariantMap> rows = rowsOf(answer);
    QList<QVariantMap> expected;
    for (const QVariantMap& row : qAsConst(m_all)) {
        if (accountOf(row) == known) {
            expected.append(row);
        }
    }
    QCOMPARE(rows.mid(0, expected.size()), expected);
    const QList<QVariantMap> refused = rows.mid(expected.size());
    QCOMPARE(refused.size(), 2);
    QCOMPARE(accountOf(refused.at(0)), QString("nobody"));
    QCOMPARE(accountOf(refused.at(1)), QString("nowhere"));
    for (const QVariantMap& row : refused) {
        QVERIFY(isRefused(row));
        QVERIFY(row.value(System::textDescription).toString().contains(accountOf(row)));
    }
    QCOMPARE(headerOf(answer).value(System::totalSize).toInt(), expected.size());
    QCOMPARE(headerOf(answer).value(System::subGroupNumber).toInt(), rows.size());
}

void LinkDatesConformanceTest::statuses_accountWithoutRowsThatDay_isRefusedInARowOfItsOwn() {
    const QString known = accountOf(m_all.first());
    const QList<QVariantMap> rows = rowsOf(
        ask({{UserAccount::tradingAccount, known}, {System::queryDate, QString("19990104")}}));
    QCOMPARE(rows.size(), 1);
    QCOMPARE(accountOf(rows.first()), known);
    QVERIFY(isRefused(rows.first()));
}

void LinkDatesConformanceTest::statuses_inPages_areThoseOfRowsAlone() {
    const QVariantMap conditions{
        {UserAccount::tradingAccount, accountOf(m_all.first()) + ",nobody"},
        {System::pageNo, 1},
        {System::pageSize, 1000}};
    const QList<QVariantMap> rows = rowsOf(ask(conditions));
    QVERIFY(!rows.isEmpty());
    for (const QVariantMap& row : rows) {
        QCOMPARE(accountOf(row), accountOf(m_all.first()));
        QVERIFY(!isRefused(row));
    }
}

QTEST_GUILESS_MAIN(LinkDatesConformanceTest)
#include "link_dates_conformance_test.moc"
