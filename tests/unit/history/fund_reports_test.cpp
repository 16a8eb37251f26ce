#include "fund_reports.h"

#include <QtTest>
#include <atomic>
#include <thread>
#include <vector>

#include "fund_report_facts.h"
#include "log_capture.h"
#include "report_fixture.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

const QDate kDay(2024, 3, 5);
const QDate kNextDay(2024, 3, 6);

QVariantMap fundRow(const QString& account, const QVariantMap& more = {},
                    const QString& status = RequestExeStatus::success) {
    QVariantMap row{{UserAccount::tradingAccount, account}, {System::requestExeStatus, status}};
    for (auto field = more.cbegin(); field != more.cend(); ++field) {
        row.insert(field.key(), field.value());
    }
    return row;
}

QStringList accountsIn(const ScriptedLink::Request& request) {
    QStringList accounts;
    for (const QVariantMap& row : request.rows) {
        accounts.append(row.value(UserAccount::tradingAccount).toString());
    }
    return accounts;
}

/// A row for each account of the request.
QVariant echo(const QVariant& body) {
    QList<QVariantMap> rows;
    for (const QVariantMap& row : rowsOf(body)) {
        rows.append(fundRow(row.value(UserAccount::tradingAccount).toString()));
    }
    return makeAnswer(body, rows);
}

enum Report { HistoryNormal, TodayNormal, HistoryMargin };

const FundReportFacts& factsOf(int report) {
    return report == HistoryNormal ? historyNormalFund()
           : report == TodayNormal ? todayNormalFund()
                                   : historyMarginFund();
}

}  // namespace

class FundReportsTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_world = std::make_unique<ReportWorld>();
        m_accounts.types = {{"C1", FundAccountType::Cash},
                            {"C2", FundAccountType::Cash},
                            {"M1", FundAccountType::Credit},
                            {"M2", FundAccountType::Credit},
                            {"none", QString()}};
        m_reports = std::make_unique<FundReports>(m_accounts);
    }
    void cleanup() {
        m_reports.reset();
        m_world.reset();
    }

    void historyNormal_request_hasTheRangeAndARowForEachCashAccount() {
        m_world->link().on(Velmar_MsgType::queryHistoryNormalFundRequest, echo);
        m_reports->GetHistoryNormalFundInfo(m_world->presenter(), {"C2", "M1", "unknown", "C1"},
                                            kDay, kNextDay);
        const ScriptedLink::Request sent = m_world->link().lastRequest();
        QCOMPARE(sent.envelopeType, Velmar_MsgType::queryHistoryNormalFundRequest);
        QCOMPARE(sent.header, (QVariantMap{{System::msgType, sent.envelopeType},
                                           {System::startDate, "20240305"},
                                           {System::endDate, "20240306"},
                                           {System::subGroupNumber, 2}}));
        QCOMPARE(sent.rows, (QList<QVariantMap>{{{UserAccount::tradingAccount, "C2"}},
                                                {{UserAccount::tradingAccount, "C1"}}}));
        QCOMPARE(m_world->link().requestCount(), 1);
    }

    void oneDayReports_request_hasTheDay() {
        m_world->link().on(Velmar_MsgType::queryTodayNormalFundRequest, echo);
        m_world->link().on(Velmar_MsgType::queryHistoryMarginFundRequest, echo);
        m_reports->GetTodayNormalFundInfo(m_world->presenter(), {"C1"}, kDay);
        QCOMPARE(m_world->link().lastRequest().header,
                 (QVariantMap{{System::msgType, Velmar_MsgType::queryTodayNormalFundRequest},
                              {System::queryDate, "20240305"},
                              {System::subGroupNumber, 1}}));
        m_reports->GetHistoryMarginFundInfo(m_world->presenter(), {"M1"}, kDay);
        QCOMPARE(m_world->link().lastRequest().header,
                 (QVariantMap{{System::msgType, Velmar_MsgType::queryHistoryMarginFundRequest},
                              {System::queryDate, "20240305"},
                              {System::subGroupNumber, 1}}));
    }

    void request_timeOut_isThePresentersOwn() {
        m_world->link().on(Velmar_MsgType::queryHistoryNormalFundRequest, echo);
        m_world->presenter()->setRequestTimeOut(7);
        m_reports->GetHistoryNormalFundInfo(m_world->presenter(), {"C1"}, kDay, kDay);
        QCOMPARE(m_world->link().lastRequest().timeOutMs, 7000);
    }

    void noAccountOfTheKind_isLoggedWithoutARequest() {
        const LogCapture log;
        const QStringList margins{"M1", "unknown", "none", ""};
        QVERIFY(m_reports->GetHistoryNormalFundInfo(m_world->presenter(), margins, kDay, kDay)
                    .isEmpty());
        QVERIFY(m_reports->GetTodayNormalFundInfo(m_world->presenter(), margins, kDay).isEmpty());
        QCOMPARE(log.count(QtDebugMsg, "传入账号没有普通账号，查询失败"), 2);
        QVERIFY(m_reports->GetHistoryMarginFundInfo(m_world->presenter(), {"C1", "none"}, kDay)
                    .isEmpty());
        QVERIFY(m_reports->GetHistoryMarginFundInfo(m_world->presenter(), {}, kDay).isEmpty());
        QCOMPARE(log.count(QtDebugMsg, "传入账号没有两融账号，查询失败"), 2);
        QCOMPARE(m_world->link().requestCount(), 0);
    }

    void historyNormal_rows_comeAsTheServerSendsThem() {
        // Neither sorted nor grouped, and the rows' own status is not looked at.
        const QList<QVariantMap> rows{fundRow("C2", {{"day", 2}}), fundRow("C1", {{"day", 9}}, "5"),
                                      fundRow("C2", {{"day", 1}}), fundRow("C2", {{"day", 2}})};
        m_world->link().on(Velmar_MsgType::queryHistoryNormalFundRequest,
                           ScriptedReply::rows(rows));
        QCOMPARE(
            m_reports->GetHistoryNormalFundInfo(m_world->presenter(), {"C1", "C2"}, kDay, kNextDay),
            rows);
    }

    void today_rowWithAnotherStatus_isLeftOut() {
        m_world->link().on(
            Velmar_MsgType::queryTodayNormalFundRequest,
            ScriptedReply::rows({fundRow("C1", {}, "7"),
                                 fundRow("C2"),
                                 {{UserAccount::tradingAccount, "without a status"}}}));
        const auto rows =
            m_reports->GetTodayNormalFundInfo(m_world->presenter(), {"C1", "C2"}, kDay);
        QCOMPARE(rows, (QMap<QString, QVariantMap>{{"C2", fundRow("C2")}}));
    }

    void today_isNotHeld() {
        m_world->link().on(Velmar_MsgType::queryTodayNormalFundRequest, echo);
        m_reports->GetTodayNormalFundInfo(m_world->presenter(), {"C1"}, kDay);
        m_reports->GetTodayNormalFundInfo(m_world->presenter(), {"C1"}, kDay);
        QCOMPARE(m_world->link().requestCount(), 2);
    }

    void margin_heldDay_sendsNoRequest() {
        m_world->link().on(Velmar_MsgType::queryHistoryMarginFundRequest, echo);
        const auto first =
            m_reports->GetHistoryMarginFundInfo(m_world->presenter(), {"M1", "M2"}, kDay);
        QCOMPARE(first.keys(), (QStringList{"M1", "M2"}));
        QCOMPARE(m_reports->GetHistoryMarginFundInfo(m_world->presenter(), {"M1", "M2"}, kDay),
                 first);
        QCOMPARE(m_world->link().requestCount(), 1);
        // Another day is requested.
        m_reports->GetHistoryMarginFundInfo(m_world->presenter(), {"M1", "M2"}, kNextDay);
        QCOMPARE(m_world->link().requestCount(), 2);
    }

    void margin_someHeld_requestsTheOthersAlone() {
        m_world->link().on(Velmar_MsgType::queryHistoryMarginFundRequest, echo);
        m_reports->GetHistoryMarginFundInfo(m_world->presenter(), {"M2"}, kDay);
        const auto rows =
            m_reports->GetHistoryMarginFundInfo(m_world->presenter(), {"M1", "M2"}, kDay);
        QCOMPARE(rows.keys(), (QStringList{"M1", "M2"}));
        QCOMPARE(accountsIn(m_world->link().lastRequest()), QStringList{"M1"});
        QCOMPARE(m_world->link().lastRequest().header.value(System::subGroupNumber).toInt(), 1);
    }

    void margin_rowWithAnotherStatus_isLeftOutAndRequestedAgain() {
        m_world->link().on(Velmar_MsgType::queryHistoryMarginFundRequest,
                           ScriptedReply::rows({fundRow("M1", {}, "7"), fundRow("M2")}));
        QCOMPARE(
            m_reports->GetHistoryMarginFundInfo(m_world->presenter(), {"M1", "M2"}, kDay).keys(),
            QStringList{"M2"});
        m_world->link().on(Velmar_MsgType::queryHistoryMarginFundRequest, echo);
        QCOMPARE(
            m_reports->GetHistoryMarginFundInfo(m_world->presenter(), {"M1", "M2"}, kDay).keys(),
            (QStringList{"M1", "M2"}));
        QCOMPARE(accountsIn(m_world->link().lastRequest()), QStringList{"M1"});
    }

    void margin_failure_keepsWhatWasHeldAndHoldsNothingNew() {
        m_world->link().on(Velmar_MsgType::queryHistoryMarginFundRequest, echo);
        m_reports->GetHistoryMarginFundInfo(m_world->presenter(), {"M1"}, kDay);
        m_world->link().on(Velmar_MsgType::queryHistoryMarginFundRequest,
                           ScriptedReply::failure("down"));
        const LogCapture log;
        QCOMPARE(
            m_reports->GetHistoryMarginFundInfo(m_world->presenter(), {"M1", "M2"}, kDay).keys(),
            QStringList{"M1"});
        QCOMPARE(m_world->link().requestCount(), 2);  // not repeated
        // The text contains all chosen accounts, not only the requested ones.
        QCOMPARE(log.count(QtDebugMsg, "查询账号列表M1,M2历史两融账号资产信息失败，失败原因down"),
                 1);
        m_world->link().on(Velmar_MsgType::queryHistoryMarginFundRequest, echo);
        m_reports->GetHistoryMarginFundInfo(m_world->presenter(), {"M1", "M2"}, kDay);
        QCOMPARE(accountsIn(m_world->link().lastRequest()), QStringList{"M2"});
    }

    void failureText_data() {
        QTest::addColumn<int>("report");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("text");
        QTest::newRow("history normal, refused")
            << int(HistoryNormal) << 0 << "查询普通历史资产账号失败，失败原因：why";
        QTest::newRow("history normal, -1")
            << int(HistoryNormal) << -1 << "查询账号列表%1历史普通账号资产信息超时";
        QTest::newRow("history normal, 1")
            << int(HistoryNormal) << 1 << "查询账号列表A,B%2历史普通账号信息失败，失败原因why";
        QTest::newRow("history normal, 2")
            << int(HistoryNormal) << 2 << "查询账号列表A,B%2历史普通账号信息失败，失败原因why";
        QTest::newRow("today normal, refused")
            << int(TodayNormal) << 0 << "查询普通当日资产账号失败，失败原因：why";
        QTest::newRow("today normal, -1")
            << int(TodayNormal) << -1 << "查询账号列表A,B%2当日普通账号资产信息超时";
        QTest::newRow("today normal, 1")
            << int(TodayNormal) << 1 << "查询账号列表A,B%2当日普通账号信息失败，失败原因why";
        QTest::newRow("today normal, -2")
            << int(TodayNormal) << -2 << "查询账号列表A,B%2当日普通账号信息失败，失败原因why";
        QTest::newRow("history margin, refused")
            << int(HistoryMargin) << 0 << "查询账号列表A,B%2历史两融账号资产信息失败，失败原因why";
        QTest::newRow("history margin, -1")
            << int(HistoryMargin) << -1 << "查询账号列表%1历史两融账号资产信息超时";
        QTest::newRow("history margin, 1")
            << int(HistoryMargin) << 1 << "查询账号列表A,B%2历史两融账号资产信息失败，失败原因why";
    }
    void failureText() {
        QFETCH(int, report);
        QFETCH(int, code);
        QFETCH(QString, text);
        const FundReportFacts& facts = factsOf(report);
        // A text that came with a time-out is kept.
        const QVariant body = packRows(
            {{System::requestExeStatus, "9"}, {System::textDescription, "why"}}, {fundRow("A")});
        QCOMPARE(fundFailureText(facts, {"A", "B%2"}, judgeAnswer({facts.msgType, {}}, code, body)),
                 text);
    }

    void answerWithAWrongRowCount_countsAsRefused() {
        m_world->link().on(
            Velmar_MsgType::queryHistoryMarginFundRequest,
            ScriptedReply::rows({fundRow("M1")}, {{System::subGroupNumber, 2000000000}}));
        const LogCapture log;
        QVERIFY(m_reports->GetHistoryMarginFundInfo(m_world->presenter(), {"M1"}, kDay).isEmpty());
        QVERIFY(log.contains(QtDebugMsg, "查询账号列表M1历史两融账号资产信息失败，失败原因"));
        m_reports->GetHistoryMarginFundInfo(m_world->presenter(), {"M1"}, kDay);
        QCOMPARE(m_world->link().requestCount(), 2);
    }

    void sentRequest_timedOut_isAFailureAndNotRepeated() {
        for (const QString& type : {Velmar_MsgType::queryHistoryNormalFundRequest,
                                    Velmar_MsgType::queryTodayNormalFundRequest,
                                    Velmar_MsgType::queryHistoryMarginFundRequest}) {
            m_world->link().on(type, ScriptedReply::timeOut());
        }
        const LogCapture log;
        QVERIFY(m_reports->GetHistoryNormalFundInfo(m_world->presenter(), {"C1"}, kDay, kDay)
                    .isEmpty());
        QVERIFY(log.contains(QtDebugMsg, "查询账号列表C1历史普通账号信息失败，失败原因"));
        QVERIFY(m_reports->GetTodayNormalFundInfo(m_world->presenter(), {"C1"}, kDay).isEmpty());
        QVERIFY(log.contains(QtDebugMsg, "查询账号列表C1当日普通账号信息失败，失败原因"));
        QVERIFY(m_reports->GetHistoryMarginFundInfo(m_world->presenter(), {"M1"}, kDay).isEmpty());
        QVERIFY(log.contains(QtDebugMsg, "查询账号列表M1历史两融账号资产信息失败，失败原因"));
        QVERIFY(!log.contains(QtDebugMsg, "资产信息超时"));
        QCOMPARE(m_world->link().requestCount(), 3);
    }

    void noPresenter_isAFailure() {
        const LogCapture log;
        QVERIFY(m_reports->GetHistoryNormalFundInfo(nullptr, {"C1"}, kDay, kDay).isEmpty());
        QVERIFY(m_reports->GetTodayNormalFundInfo(nullptr, {"C1"}, kDay).isEmpty());
        QVERIFY(m_reports->GetHistoryMarginFundInfo(nullptr, {"M1"}, kDay).isEmpty());
        QVERIFY(log.contains(QtDebugMsg,
                             "查询账号列表M1历史两融账号资产信息失败，失败原因"
                             "queryHistoryMarginFundRequest needs a presenter"));
    }

    void invalidDates_goOutAsEmptyTexts() {
        m_world->link().on(Velmar_MsgType::queryHistoryNormalFundRequest,
                           ScriptedReply::refusal("no date"));
        m_reports->GetHistoryNormalFundInfo(m_world->presenter(), {"C1"}, QDate(), QDate());
        const QVariantMap header = m_world->link().lastRequest().header;
        QCOMPARE(header.value(System::startDate).toString(), QString());
        QCOMPARE(header.value(System::endDate).toString(), QString());
    }

    void margin_invalidDate_isNotHeld() {
        m_world->link().on(Velmar_MsgType::queryHistoryMarginFundRequest, echo);
        for (int call = 1; call <= 2; ++call) {
            QCOMPARE(
                m_reports->GetHistoryMarginFundInfo(m_world->presenter(), {"M1"}, QDate()).keys(),
                QStringList{"M1"});
            QCOMPARE(m_world->link().requestCount(), call);
        }
        QCOMPARE(m_world->link().lastRequest().header.value(System::queryDate).toString(),
                 QString());
    }

    void answer_rowsOfOtherAccounts_comeUnderTheirOwn() {
        const QList<QVariantMap> rows{fundRow("M1"),
                                      fundRow("M2", {{"n", 2}}),
                                      fundRow(""),
                                      {{System::requestExeStatus, RequestExeStatus::success}}};
        const QStringList accounts{"", "M1", "M2"};
        m_world->link().on(Velmar_MsgType::queryTodayNormalFundRequest, ScriptedReply::rows(rows));
        QCOMPARE(m_reports->GetTodayNormalFundInfo(m_world->presenter(), {"C1"}, kDay).keys(),
                 accounts);
        m_world->link().on(Velmar_MsgType::queryHistoryMarginFundRequest,
                           ScriptedReply::rows(rows));
        QCOMPARE(m_reports->GetHistoryMarginFundInfo(m_world->presenter(), {"M1"}, kDay).keys(),
                 accounts);
        m_world->link().clearRequests();
        // The row that nobody requested is held as well.
        const auto held = m_reports->GetHistoryMarginFundInfo(m_world->presenter(), {"M2"}, kDay);
        QCOMPARE(held.keys(), QStringList{"M2"});
        QCOMPARE(held.first().value("n").toInt(), 2);
        QCOMPARE(m_world->link().requestCount(), 0);
    }

    void repeatedAccount_isRequestedAsOftenAndHeldOnce() {
        m_world->link().on(Velmar_MsgType::queryHistoryMarginFundRequest, echo);
        const auto rows =
            m_reports->GetHistoryMarginFundInfo(m_world->presenter(), {"M1", "M1"}, kDay);
        QCOMPARE(rows.keys(), QStringList{"M1"});
        QCOMPARE(accountsIn(m_world->link().lastRequest()), (QStringList{"M1", "M1"}));
    }

    void tenThousandAccounts_areOneRequest() {
        QStringList accounts;
        for (int i = 0; i < 10000; ++i) {
            accounts.append(QStringLiteral("A%1").arg(i));
            m_accounts.types.insert(accounts.last(), FundAccountType::Credit);
        }
        m_world->link().on(Velmar_MsgType::queryHistoryMarginFundRequest, echo);
        QCOMPARE(m_reports->GetHistoryMarginFundInfo(m_world->presenter(), accounts, kDay).size(),
                 10000);
        QCOMPARE(accountsIn(m_world->link().lastRequest()), accounts);
        m_reports->GetHistoryMarginFundInfo(m_world->presenter(), accounts, kDay);
        QCOMPARE(m_world->link().requestCount(), 1);
    }

    void margin_twoCallersAtOnce_sendOneRequest() {
        m_world->link().on(Velmar_MsgType::queryHistoryMarginFundRequest,
                           ScriptedReply::with(echo).held());
        QMap<QString, QVariantMap> results[2];
        std::vector<std::thread> callers;
        for (auto& result : results) {
            callers.emplace_back([this, &result] {
                result = m_reports->GetHistoryMarginFundInfo(m_world->presenter(), {"M1"}, kDay);
            });
        }
        QVERIFY(m_world->link().waitForRequestCount({}, 1));
        m_world->link().release();
        for (std::thread& caller : callers) {
            caller.join();
        }
        QCOMPARE(m_world->link().requestCount(), 1);
        QCOMPARE(results[0].keys(), QStringList{"M1"});
        QCOMPARE(results[0], results[1]);
    }

    void historyNormal_manyCallers_sendOneAfterTheOther() {
        std::atomic<int> answered{0};
        std::atomic<int> overlaps{0};
        ScriptedLink& link = m_world->link();
        link.on(Velmar_MsgType::queryHistoryNormalFundRequest, [&](const QVariant& body) {
            overlaps += link.requestCount() == ++answered ? 0 : 1;
            return echo(body);
        });
        std::vector<std::thread> callers;
        for (int i = 0; i < 4; ++i) {
            callers.emplace_back([this] {
                for (int call = 0; call < 25; ++call) {
                    m_reports->GetHistoryNormalFundInfo(m_world->presenter(), {"C1"}, kDay, kDay);
                }
            });
        }
        for (std::thread& caller : callers) {
            caller.join();
        }
        QCOMPARE(answered.load(), 100);
        QCOMPARE(overlaps.load(), 0);
    }

    void today_runsBesideTheOthers() {
        m_world->link().on(Velmar_MsgType::queryHistoryNormalFundRequest,
                           ScriptedReply::with(echo).held());
        m_world->link().on(Velmar_MsgType::queryHistoryMarginFundRequest,
                           ScriptedReply::with(echo).held());
        m_world->link().on(Velmar_MsgType::queryTodayNormalFundRequest, echo);
        std::thread normal([this] {
            m_reports->GetHistoryNormalFundInfo(m_world->presenter(), {"C1"}, kDay, kDay);
        });
        std::thread margin(
            [this] { m_reports->GetHistoryMarginFundInfo(m_world->presenter(), {"M1"}, kDay); });
        const bool bothWait = m_world->link().waitForRequestCount({}, 2);
        const int rows =
            m_reports->GetTodayNormalFundInfo(m_world->presenter(), {"C1"}, kDay).size();
        m_world->link().release();
        normal.join();
        margin.join();
        QVERIFY(bothWait);
        QCOMPARE(rows, 1);
    }

private:
    AccountTypes m_accounts;
    std::unique_ptr<ReportWorld> m_world;
    std::unique_ptr<FundReports> m_reports;
};

QTEST_GUILESS_MAIN(FundReportsTest)
#include "fund_reports_test.moc"
