#include "trader_table.h"

#include <QtTest>
#include <thread>

#include "client_world.h"
#include "host_msg_type.h"
#include "log_capture.h"
#include "thread_hand_over.h"
#include "velmarutils/velmar_init_state_mgr.h"
#include "vocabulary/fields.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

inline const QString kBound = Velmar_MsgType::getSysUserTradingPermRequest;
inline const QString kTraders = Quindar_MsgType::quant_GetUserRequest;

QVariantMap traderRow(const QString& id, const QString& name, const QString& type = "1") {
    return {
        {UserAccount::userID, id}, {UserAccount::userName, name}, {UserAccount::userType, type}};
}

/// The requested page of `total` traders "U0001", "U0002", ...
QVariant pageOf(const QVariant& body, int total) {
    const QVariantMap header = headerOf(body);
    const int size = header.value(System::pageSize).toInt();
    const int first = (header.value(System::pageNo).toInt() - 1) * size;
    QList<QVariantMap> rows;
    for (int i = first; i < qMin(first + size, total); ++i) {
        const QString id = QStringLiteral("U%1").arg(i + 1, 4, 10, QLatin1Char('0'));
        rows.append(traderRow(id, "交易员" + id));
    }
    return makeAnswer(body, rows, {{System::totalSize, total}});
}

struct Fixture {
    Fixture() : presenter(new RecordingPresenter) {
        presenter->initPresenter();
        world.link().on(HostMsgType::login,
                        ScriptedReply::rows(
                            {{{UserAccount::userID, "tester"}, {UserAccount::organCode, "0101"}}}));
        world.login();
        world.link().on(kTraders, [](const QVariant& body) {
            return makeAnswer(body, {traderRow("b", "乙", "2"), traderRow("a", "甲")});
        });
        world.link().on(kBound, ScriptedReply::rows({{{UserAccount::userID, "u2"}},
                                                     {{UserAccount::userID, "u1"}},
                                                     {{UserAccount::userID, "u2"}}}));
    }
    ~Fixture() { presenter->deleteLater(); }
    Fixture(const Fixture&) = delete;
    Fixture& operator=(const Fixture&) = delete;

    ClientWorld world;
    const QPointer<RecordingPresenter> presenter;
    TraderTable traders;
};

InitState loadState() {
    return VelmarInitStateMgr::instance().GetInitState(InitTypeCode::AllTraderList);
}

}  // namespace

class TraderTableTest : public QObject {
    Q_OBJECT

private slots:
    void bound_eachKind_hasAFieldOfItsOwn_data() {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("field");
        QTest::newRow("product") << AccountType::ProductAccount << UserAccount::productAccount;
        QTest::newRow("trading") << AccountType::TradingAccount << UserAccount::tradingAccount;
        QTest::newRow("investor") << AccountType::InvestAccount << UserAccount::investorAccount;
    }
    void bound_eachKind_hasAFieldOfItsOwn() {
        QFETCH(QString, kind);
        QFETCH(QString, field);
        Fixture fixture;
        QCOMPARE(fixture.traders.GetBindTraderListByAccount(fixture.presenter, "X1", kind),
                 (QStringList{"u2", "u1"}));
        const QVariantMap body{{System::msgType, kBound}, {field, "X1"}};
        QCOMPARE(fixture.world.link().lastRequest(kBound).header, body);
        fixture.traders.GetBindTraderListByAccount(fixture.presenter, "X1", kind);
        QCOMPARE(fixture.world.link().requestCount(kBound), 2);
    }

    void bound_otherKind_isEmptyAndSendsNothing() {
        Fixture fixture;
        const LogCapture log;
        QVERIFY(fixture.traders
                    .GetBindTraderListByAccount(fixture.presenter, "X1", AccountType::FundAccount)
                    .isEmpty());
        QVERIFY(log.contains(QtWarningMsg,
                             "GetBindTraderListByAccount does not support the account type"));
        QCOMPARE(fixture.world.link().requestCount(kBound), 0);
    }

    void bound_failure_isLoggedAndEmpty_data() {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("line");
        QTest::newRow("time-out") << 0 << "查询账号绑定权限超时。";
        QTest::newRow("failure") << 1 << "查询账号绑定权限失败：断开";
        QTest::newRow("refusal") << 2 << "查询账号绑定权限失败：账号不存在";
    }
    void bound_failure_isLoggedAndEmpty() {
        QFETCH(int, kind);
        QFETCH(QString, line);
        const ScriptedReply replies[] = {ScriptedReply::timeOut(), ScriptedReply::failure("断开"),
                                         ScriptedReply::refusal("账号不存在")};
        Fixture fixture;
        fixture.world.link().on(kBound, replies[kind]);
        const LogCapture log;
        QVERIFY(
            fixture.traders
                .GetBindTraderListByAccount(fixture.presenter, "X1", AccountType::TradingAccount)
                .isEmpty());
        QCOMPARE(log.count(QtDebugMsg, line), 1);
    }

    void load_request_queriesTheOrganisationsGoodUsersInPages() {
        Fixture fixture;
        const int standing = fixture.presenter->getRequestTimeOut();
        fixture.traders.GetOrganTraderList(fixture.presenter);
        const ScriptedLink::Request request = fixture.world.link().lastRequest(kTraders);
        const QVariantMap body{{System::msgType, kTraders},
                               {UserAccount::organCode, "0101"},
                               {UserAccount::userStatus, UserStatus::good},
                               {System::pageNo, 1},
                               {System::pageSize, 1000}};
        QCOMPARE(request.header, body);
        QCOMPARE(request.timeOutMs, 30000);
        QCOMPARE(fixture.presenter->getRequestTimeOut(), standing);
    }

    void load_once_servesBothFunctions() {
        Fixture fixture;
        QCOMPARE(fixture.traders.GetOrganTraderList(fixture.presenter),
                 (QMap<QString, QString>{{"a", "甲"}, {"b", "乙"}}));
        QCOMPARE(fixture.traders.GetTraderInfoList(fixture.presenter, QString()),
                 (QList<QVariantMap>{traderRow("a", "甲"), traderRow("b", "乙", "2")}));
        QCOMPARE(fixture.traders.GetTraderInfoList(fixture.presenter, "2"),
                 (QList<QVariantMap>{traderRow("b", "乙", "2")}));
        QVERIFY(fixture.traders.GetTraderInfoList(fixture.presenter, "3").isEmpty());
        QCOMPARE(fixture.world.link().requestCount(kTraders), 1);
        QCOMPARE(loadState(), InitState::Done);
    }

    void load_severalPages_loadsAll() {
        Fixture fixture;
        fixture.world.link().on(kTraders, [](const QVariant& body) { return pageOf(body, 2200); });
        QCOMPARE(fixture.traders.GetOrganTraderList(fixture.presenter).size(), 2200);
        QCOMPARE(fixture.world.link().requestCount(kTraders), 3);
    }

    void load_noRows_isDoneWithoutData() {
        Fixture fixture;
        fixture.world.link().on(kTraders, ScriptedReply::rows({}));
        QVERIFY(fixture.traders.GetOrganTraderList(fixture.presenter).isEmpty());
        QCOMPARE(loadState(), InitState::DoneWithoutData);
        fixture.traders.GetOrganTraderList(fixture.presenter);
        QCOMPARE(fixture.world.link().requestCount(kTraders), 1);
    }

    void load_failure_leavesTheTableEmptyAndIsNotRepeated() {
        for (const ScriptedReply& reply : {ScriptedReply::timeOut(), ScriptedReply::failure("断开"),
                                           ScriptedReply::refusal("不")}) {
            Fixture fixture;
            fixture.world.link().onOccurrence(kTraders, 1, reply);
            const LogCapture log;
            QVERIFY(fixture.traders.GetOrganTraderList(fixture.presenter).isEmpty());
            QVERIFY(log.contains(QtDebugMsg, "the traders are not loaded"));
            QCOMPARE(loadState(), InitState::Failed);
            QVERIFY(fixture.traders.GetOrganTraderList(fixture.presenter).isEmpty());
            QVERIFY(fixture.traders.GetTraderInfoList(fixture.presenter, QString()).isEmpty());
            QCOMPARE(fixture.world.link().requestCount(kTraders), 1);
        }
    }

    void load_interruptedByAClosingPresenter_staysFailedForEveryPresenter() {
        Fixture fixture;
        fixture.world.link().on(kTraders, ScriptedReply::never());
        const QPointer<RecordingPresenter> closing = new RecordingPresenter("Test.Closing");
        closing->initPresenter();
        QMap<QString, QString> names{{"none", "yet"}};
        // On the presenter's own thread, so that disposing of the presenter waits for the call.
        runOnThreadOf(closing.data(), [&] { names = fixture.traders.GetOrganTraderList(closing); });
        const bool sent = fixture.world.link().waitForRequestCount(kTraders, 1);
        closing->deleteLater();
        QVERIFY(sent);
        QVERIFY(!closing);
        QVERIFY(names.isEmpty());
        QCOMPARE(loadState(), InitState::Failed);
        fixture.world.link().on(kTraders, [](const QVariant& body) { return pageOf(body, 3); });
        QVERIFY(fixture.traders.GetOrganTraderList(fixture.presenter).isEmpty());
        QVERIFY(fixture.traders.GetTraderInfoList(fixture.presenter, QString()).isEmpty());
        QCOMPARE(fixture.world.link().requestCount(kTraders), 1);
    }

    void load_secondPageFails_leavesNothing() {
        Fixture fixture;
        fixture.world.link().on(kTraders, [](const QVariant& body) { return pageOf(body, 1200); });
        fixture.world.link().onOccurrence(kTraders, 2, ScriptedReply::refusal("不"));
        QVERIFY(fixture.traders.GetTraderInfoList(fixture.presenter, QString()).isEmpty());
        QCOMPARE(loadState(), InitState::Failed);
    }

    void load_whileItRuns_othersSeeTheTableAsItIs() {
        Fixture fixture;
        fixture.world.link().on(kTraders, ScriptedReply::with([](const QVariant& body) {
                                              return pageOf(body, 3);
                                          }).held());
        QMap<QString, QString> loaded;
        std::thread loader([&] { loaded = fixture.traders.GetOrganTraderList(fixture.presenter); });
        const bool sent = fixture.world.link().waitForRequestCount(kTraders, 1);
        const auto names = fixture.traders.GetOrganTraderList(fixture.presenter);
        const auto rows = fixture.traders.GetTraderInfoList(fixture.presenter, QString());
        fixture.world.link().release();
        loader.join();
        QVERIFY(sent);
        QVERIFY(names.isEmpty());
        QVERIFY(rows.isEmpty());
        QCOMPARE(loaded.size(), 3);
        QCOMPARE(fixture.world.link().requestCount(kTraders), 1);
    }

    void load_withoutPresenter_isNotStarted() {
        Fixture fixture;
        const LogCapture log;
        QVERIFY(fixture.traders.GetOrganTraderList(nullptr).isEmpty());
        QVERIFY(log.contains(QtWarningMsg, "the traders are not loaded: PresenterClass is null"));
        QCOMPARE(loadState(), InitState::None);
        QCOMPARE(fixture.traders.GetOrganTraderList(fixture.presenter).size(), 2);
        QCOMPARE(fixture.traders.GetOrganTraderList(nullptr).size(), 2);
    }
};

QTEST_GUILESS_MAIN(TraderTableTest)
#include "trader_table_test.moc"
