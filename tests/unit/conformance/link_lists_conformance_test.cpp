// Paged lists, and profiles that are written and read, on every link.
#include "conformance_world.h"
#include "velmarutils/velmar_utils.h"

namespace {

const QString kList = HostMsgType::securityAccounts;
const QVariantMap kLogin{{UserAccount::loginUserId, SampleLogin::user}};

QVariantMap with(QVariantMap record, const QString& key, const QVariant& value) {
    record.insert(key, value);
    return record;
}

}  // namespace

class LinkListsConformanceTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase_data() { ConformanceWorld::addLinks(); }
    void init() {
        QFETCH_GLOBAL(int, kind);
        m_world = std::make_unique<ConformanceWorld>(kind);
        m_all = VelmarUtils::QueryDatasFromServer(m_world->presenter, kList, kLogin,
                                                  QueryDataMode::Normal, m_error);
        QCOMPARE(m_error, QString());
        QVERIFY(m_all.size() >= 200);
    }
    void cleanup() { m_world.reset(); }

    void pages_anySize_giveTheWholeListInOrder_data();
    void pages_anySize_giveTheWholeListInOrder();
    void pages_each_hasItsNumberSizeAndTrueTotal();
    void pages_behindTheEnd_areEmptyAndStateTheTotal();
    void positions_anySize_giveTheWholeListInOrder_data();
    void positions_anySize_giveTheWholeListInOrder();
    void positions_areOfOneWidthAndAscend();
    void positions_behindTheEnd_keepTheRequestedOne();
    void accounts_joined_areAllInTheAnswer();
    void badPage_isRefused_data();
    void badPage_isRefused();
    void history_pages_arePartsOfTheWholeList();
    void history_unknownAccount_isEmpty();
    void funds_eachRequestedAccount_hasARowWithItsStatus();
    void funds_withoutAccounts_areRefused();
    void calendar_range_hasItsTradeDaysInOrder();
    void profiles_written_areAnsweredRowByRow();
    void profiles_fuzzyKey_givesAllThatBeginWithItSorted();
    void profiles_written_surviveANewLink();

private:
    QVariant ask(const QVariantMap& request) {
        QVariant response;
        if (m_world->send(kList, request, &response) != kAnswer) {
            QTest::qFail("no answer", __FILE__, __LINE__);
        }
        return response;
    }

    std::unique_ptr<ConformanceWorld> m_world;
    QList<QVariantMap> m_all;
    QString m_error;
};

void LinkListsConformanceTest::pages_anySize_giveTheWholeListInOrder_data() {
    QTest::addColumn<int>("size");
    QTest::newRow("small") << 7;
    QTest::newRow("middle") << 100;
    QTest::newRow("all at once") << 1000;
}

void LinkListsConformanceTest::pages_anySize_giveTheWholeListInOrder() {
    QFETCH(int, size);
    const QList<QVariantMap> rows = VelmarUtils::QueryDatasFromServerByPage(
        m_world->presenter, kList, kLogin, m_error, size, 1, 0, 0);
    QCOMPARE(m_error, QString());
    QCOMPARE(rows, m_all);
}

void LinkListsConformanceTest::pages_each_hasItsNumberSizeAndTrueTotal() {
    for (const int page : {1, 2, 1}) {
        const QVariant answer = ask(with(with(kLogin, System::pageNo, page), System::pageSize, 50));
        QCOMPARE(rowsOf(answer), m_all.mid((page - 1) * 50, 50));
        QCOMPARE(headerOf(answer).value(System::totalSize).toInt(), m_all.size());
        QCOMPARE(headerOf(answer).value(System::subGroupNumber).toInt(), 50);
        QCOMPARE(headerOf(answer).value(System::pageNo).toInt(), page);
        QCOMPARE(headerOf(answer).value(System::pageSize).toInt(), 50);
    }
}

void LinkListsConformanceTest::pages_behindTheEnd_areEmptyAndStateTheTotal() {
    const QVariant answer = ask(with(with(kLogin, System::pageNo, 1000), System::pageSize, 50));
    QVERIFY(ConformanceWorld::isSuccess(answer));
    QVERIFY(rowsOf(answer).isEmpty());
    QCOMPARE(headerOf(answer).value(System::totalSize).toInt(), m_all.size());
}

void LinkListsConformanceTest::positions_anySize_giveTheWholeListInOrder_data() {
    QTest::addColumn<int>("size");
    QTest::addColumn<QString>("start");
    QTest::newRow("small") << 7 << QString("");
    QTest::newRow("middle, from zero") << 100 << QString("0");
    QTest::newRow("all at once") << 1000 << QString("");
    QTest::newRow("exactly all") << -1 << QString("");
}

void LinkListsConformanceTest::positions_anySize_giveTheWholeListInOrder() {
    QFETCH(int, size);
    QFETCH(QString, start);
    const QList<QVariantMap> rows = VelmarUtils::QueryDatasFromServerByPos(
        m_world->presenter, kList, kLogin, m_error, size < 0 ? m_all.size() : size, start, 0);
    QCOMPARE(m_error, QString());
    QCOMPARE(rows, m_all);
}

void LinkListsConformanceTest::positions_areOfOneWidthAndAscend() {
    QString before;
    for (int i = 0; i < 5; ++i) {
        const QVariant answer =
            ask(with(with(kLogin, System::positionStr, before), System::requestNumber, 10));
        QCOMPARE(rowsOf(answer), m_all.mid(i * 10, 10));
        QCOMPARE(headerOf(answer).value(System::totalSize).toInt(), m_all.size());
        const QString position = headerOf(answer).value(System::positionStr).toString();
        QVERIFY2(position > before, qPrintable(position));
        QVERIFY(before.isEmpty() || before.size() == position.size());
        before = position;
    }
}

void LinkListsConformanceTest::positions_behindTheEnd_keepTheRequestedOne() {
    const QVariant whole =
        ask(with(with(kLogin, System::positionStr, ""), System::requestNumber, m_all.size()));
    const QString last = headerOf(whole).value(System::positionStr).toString();
    const QVariant answer =
        ask(with(with(kLogin, System::positionStr, last), System::requestNumber, 10));
    QVERIFY(ConformanceWorld::isSuccess(answer));
    QVERIFY(rowsOf(answer).isEmpty());
    QCOMPARE(headerOf(answer).value(System::positionStr).toString(), last);
}

void LinkListsConformanceTest::accounts_joined_areAllInTheAnswer() {
    const QStringList accounts{m_all.at(30).value(UserAccount::tradingAccount).toString(),
                               m_all.at(10).value(UserAccount::tradingAccount).toString(),
                               QStringLiteral("nobody")};
    QList<QVariantMap> expected;
    for (const QVariantMap& row : qAsConst(m_all)) {
        if (accounts.contains(row.value(UserAccount::tradingAccount).toString())) {
            expected.append(row);
        }
    }
    const QVariantMap request =
        with(kLogin, UserAccount::tradingAccount, accounts.join(QLatin1Char(',')));
    QCOMPARE(rowsOf(ask(request)), expected);
    const QVariant page = ask(with(with(request, System::pageNo, 1), System::pageSize, 1));
    QCOMPARE(rowsOf(page), expected.mid(0, 1));
    QCOMPARE(headerOf(page).value(System::totalSize).toInt(), expected.size());
}

void LinkListsConformanceTest::badPage_isRefused_data() {
    QTest::addColumn<QVariantMap>("page");
    QTest::newRow("page zero") << QVariantMap{{System::pageNo, 0}, {System::pageSize, 10}};
    QTest::newRow("no size") << QVariantMap{{System::pageNo, 1}};
    QTest::newRow("size too large") << QVariantMap{{System::pageNo, 1}, {System::pageSize, 5001}};
    QTest::newRow("bad cursor") << QVariantMap{{System::positionStr, "abc"},
                                               {System::requestNumber, 10}};
    QTest::newRow("no number") << QVariantMap{{System::positionStr, ""}};
}

void LinkListsConformanceTest::badPage_isRefused() {
    QFETCH(QVariantMap, page);
    page.insert(UserAccount::loginUserId, SampleLogin::user);
    const QVariant answer = ask(page);
    QVERIFY(!ConformanceWorld::isSuccess(answer));
    QVERIFY(!textOf(answer).isEmpty());
    QVERIFY(rowsOf(answer).isEmpty());
}

void LinkListsConformanceTest::history_pages_arePartsOfTheWholeList() {
    const QString type = Velmar_MsgType::queryHistoryExecutionRequest;
    const QVariantMap request = with(kLogin, UserAccount::tradingAccount, "T000001");
    const QList<QVariantMap> all = VelmarUtils::QueryDatasFromServerByPage(
        m_world->presenter, type, request, m_error, 1000, 1, 0, 0);
    QCOMPARE(m_error, QString());
    QVERIFY(all.size() > 100);
    for (const int page : {3, 1}) {
        QVariant answer;
        QCOMPARE(
            m_world->send(type, with(with(request, System::pageNo, page), System::pageSize, 40),
                          &answer),
            kAnswer);
        QCOMPARE(rowsOf(answer), all.mid((page - 1) * 40, 40));
        QCOMPARE(headerOf(answer).value(System::totalSize).toInt(), all.size());
        QCOMPARE(headerOf(answer).value(System::pageNo).toInt(), page);
    }
    QCOMPARE(VelmarUtils::QueryDatasFromServerByPos(m_world->presenter, type, request, m_error, 70,
                                                    "", 0),
             all);
}

void LinkListsConformanceTest::history_unknownAccount_isEmpty() {
    const QVariantMap request = with(kLogin, UserAccount::tradingAccount, "nobody");
    QVariant answer;
    QCOMPARE(m_world->send(Velmar_MsgType::queryHistoryExecutionRequest,
                           with(with(request, System::pageNo, 1), System::pageSize, 40), &answer),
             kAnswer);
    QVERIFY(ConformanceWorld::isSuccess(answer));
    QVERIFY(rowsOf(answer).isEmpty());
    QCOMPARE(headerOf(answer).value(System::totalSize).toInt(), 0);
}

void LinkListsConformanceTest::funds_eachRequestedAccount_hasARowWithItsStatus() {
    QVariant answer;
    QCOMPARE(m_world->send(Velmar_MsgType::queryTodayNormalFundRequest,
                           with(kLogin, System::queryDate, "20250303"), &answer,
                           {{{UserAccount::tradingAccount, "nobody"}},
                            {{UserAccount::tradingAccount, "T000001"}}}),
             kAnswer);
    QVERIFY(ConformanceWorld::isSuccess(answer));
    const QList<QVariantMap> rows = rowsOf(answer);
    QCOMPARE(rows.size(), 2);
    QCOMPARE(rows.at(0).value(UserAccount::tradingAccount).toString(), QString("nobody"));
    QVERIFY(rows.at(0).value(System::requestExeStatus).toString() != RequestExeStatus::success);
    QVERIFY(!rows.at(0).value(System::textDescription).toString().isEmpty());
    QCOMPARE(rows.at(1).value(UserAccount::tradingAccount).toString(), QString("T000001"));
    QCOMPARE(rows.at(1).value(System::requestExeStatus).toString(), RequestExeStatus::success);
}

void LinkListsConformanceTest::funds_withoutAccounts_areRefused() {
    QVariant answer;
    QCOMPARE(m_world->send(Velmar_MsgType::queryTodayNormalFundRequest,
                           with(kLogin, System::queryDate, "20250303"), &answer),
             kAnswer);
    QVERIFY(!ConformanceWorld::isSuccess(answer));
    QVERIFY(!textOf(answer).isEmpty());
}

void LinkListsConformanceTest::calendar_range_hasItsTradeDaysInOrder() {
    const auto daysOf = [this](const QString& first, const QString& last) {
        QVariant answer;
        m_world->send(Velmar_MsgType::getSysTradeDateByScopeRequest,
                      {{SysTradeDate::TradeDayType, 1},
                       {SysTradeDate::InitStartDate, first},
                       {SysTradeDate::InitEndDate, last}},
                      &answer);
        QStringList days{ConformanceWorld::isSuccess(answer) ? "success" : textOf(answer)};
        for (const QVariantMap& row : rowsOf(answer)) {
            days.append(row.value(SysTradeDate::TradeDate).toString());
        }
        return days;
    };
    QCOMPARE(daysOf("20250605", "20250610"),
             QStringList({"success", "20250605", "20250606", "20250609", "20250610"}));
    QCOMPARE(daysOf("20250610", "20250605"), QStringList("success"));
}

void LinkListsConformanceTest::profiles_written_areAnsweredRowByRow() {
    QVariant response;
    QCOMPARE(
        m_world->send(Velmar_MsgType::alterAllUserProfileDataAndSendKafkaRequest, {}, &response,
                      {ConformanceWorld::profile("b", "1"), ConformanceWorld::profile("a", "2")}),
        kAnswer);
    const QList<QVariantMap> rows = rowsOf(response);
    QCOMPARE(rows.size(), 2);
    QCOMPARE(rows.at(0).value(System::profileKey).toString(), QString("b"));
    QCOMPARE(rows.at(1).value(System::profileKey).toString(), QString("a"));
    for (const QVariantMap& row : rows) {
        QCOMPARE(row.value(System::requestExeStatus).toString(), RequestExeStatus::success);
    }
}

void LinkListsConformanceTest::profiles_fuzzyKey_givesAllThatBeginWithItSorted() {
    QVERIFY(m_world->writeProfiles({ConformanceWorld::profile("cage:b", "2"),
                                    ConformanceWorld::profile("cage:a", "1"),
                                    ConformanceWorld::profile("other", "3")}));
    QVERIFY(m_world->writeProfiles({ConformanceWorld::profile("cage:b", "4")}));
    const QList<QVariantMap> rows = VelmarUtils::QueryDatasFromServer(
        m_world->presenter, Quindar_MsgType::getUserProfileDataRequest,
        ConformanceWorld::profileQuery("cage", "1"), QueryDataMode::Normal, m_error);
    QCOMPARE(m_error, QString());
    QCOMPARE(rows.size(), 2);
    QCOMPARE(rows.at(0).value(System::profileKey).toString(), QString("cage:a"));
    QCOMPARE(rows.at(1).value(System::profileKey).toString(), QString("cage:b"));
    QCOMPARE(rows.at(1).value(System::profileData).toString(), QString("4"));
    QCOMPARE(rows.at(1).value(System::accessLevel).toInt(), 2);
}

void LinkListsConformanceTest::profiles_written_surviveANewLink() {
    QVERIFY(m_world->writeProfiles({ConformanceWorld::profile("kept", "yes")}));
    m_world->connect();
    QCOMPARE(m_world->readProfile("kept"), QString("yes"));
}

QTEST_GUILESS_MAIN(LinkListsConformanceTest)
#include "link_lists_conformance_test.moc"
