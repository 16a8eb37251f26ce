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

/// The page that a request asks for, of so many traders "U0001", "U0002", ...
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

struct Room {
    Room() : presenter(new RecordingPresenter) {
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
    ~Room() { presenter->deleteLater(); }
    Room(const Room&) = delete;
    Room& operator=(const Room&) = delete;

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
        Room room;
        QCOMPARE(room.traders.GetBindTraderListByAccount(room.presenter, "X1", kind),
                 (QStringList{"u2", "u1"}));
        const QVariantMap body{{System::msgType, kBound}, {field, "X1"}};
        QCOMPARE(room.world.link().lastRequest(kBound).header, body);
        room.traders.GetBindTraderListByAccount(room.presenter, "X1", kind);
        QCOMPARE(room.world.link().requestCount(kBound), 2);
    }

    void bound_otherKind_isEmptyAndSendsNothing() {
        Room room;
        const LogCapture log;
        QVERIFY(
            room.traders.GetBindTraderListByAccount(room.presenter, "X1", AccountType::FundAccount)
                .isEmpty());
        QVERIFY(log.contains(QtWarningMsg, "traders are bound to no account of the type"));
        QCOMPARE(room.world.link().requestCount(kBound), 0);
    }

    void bound_failure_isToldAndEmpty_data() {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("line");
        QTest::newRow("time-out") << 0 << "查询账号绑定权限超时。";
        QTest::newRow("failure") << 1 << "查询账号绑定权限失败：断开";
        QTest::newRow("refusal") << 2 << "查询账号绑定权限失败：账号不存在";
    }
    void bound_failure_isToldAndEmpty() {
        QFETCH(int, kind);
        QFETCH(QString, line);
        const ScriptedReply replies[] = {ScriptedReply::timeOut(), ScriptedReply::failure("断开"),
                                         ScriptedReply::refusal("账号不存在")};
        Room room;
        room.world.link().on(kBound, replies[kind]);
        const LogCapture log;
        QVERIFY(room.traders
                    .GetBindTraderListByAccount(room.presenter, "X1", AccountType::TradingAccount)
                    .isEmpty());
        QCOMPARE(log.count(QtWarningMsg, line), 1);
    }

    void load_request_asksForTheOrgansGoodUsersInPages() {
        Room room;
        const int standing = room.presenter->getRequestTimeOut();
        room.traders.GetOrganTraderList(room.presenter);
        const ScriptedLink::Request request = room.world.link().lastRequest(kTraders);
        const QVariantMap body{{System::msgType, kTraders},
                               {UserAccount::organCode, "0101"},
                               {UserAccount::userStatus, UserStatus::good},
                               {System::pageNo, 1},
                               {System::pageSize, 1000}};
        QCOMPARE(request.header, body);
        QCOMPARE(request.timeOutMs, 30000);
        QCOMPARE(room.presenter->getRequestTimeOut(), standing);
    }

    void load_once_servesBothQuestions() {
        Room room;
        QCOMPARE(room.traders.GetOrganTraderList(room.presenter),
                 (QMap<QString, QString>{{"a", "甲"}, {"b", "乙"}}));
        QCOMPARE(room.traders.GetTraderInfoList(room.presenter, QString()),
                 (QList<QVariantMap>{traderRow("a", "甲"), traderRow("b", "乙", "2")}));
        QCOMPARE(room.traders.GetTraderInfoList(room.presenter, "2"),
                 (QList<QVariantMap>{traderRow("b", "乙", "2")}));
        QVERIFY(room.traders.GetTraderInfoList(room.presenter, "3").isEmpty());
        QCOMPARE(room.world.link().requestCount(kTraders), 1);
        QCOMPARE(loadState(), InitState::Done);
    }

    void load_severalPages_takesAll() {
        Room room;
        room.world.link().on(kTraders, [](const QVariant& body) { return pageOf(body, 2200); });
        QCOMPARE(room.traders.GetOrganTraderList(room.presenter).size(), 2200);
        QCOMPARE(room.world.link().requestCount(kTraders), 3);
    }

    void load_noRows_isDoneWithoutData() {
        Room room;
        room.world.link().on(kTraders, ScriptedReply::rows({}));
        QVERIFY(room.traders.GetOrganTraderList(room.presenter).isEmpty());
        QCOMPARE(loadState(), InitState::DoneWithoutData);
        room.traders.GetOrganTraderList(room.presenter);
        QCOMPARE(room.world.link().requestCount(kTraders), 1);
    }

    void load_failure_leavesTheTableEmptyAndIsNotRepeated() {
        for (const ScriptedReply& reply : {ScriptedReply::timeOut(), ScriptedReply::failure("断开"),
                                           ScriptedReply::refusal("不")}) {
            Room room;
            room.world.link().onOccurrence(kTraders, 1, reply);
            const LogCapture log;
            QVERIFY(room.traders.GetOrganTraderList(room.presenter).isEmpty());
            QVERIFY(log.contains(QtDebugMsg, "the traders are not loaded"));
            QCOMPARE(loadState(), InitState::Failed);
            QVERIFY(room.traders.GetOrganTraderList(room.presenter).isEmpty());
            QVERIFY(room.traders.GetTraderInfoList(room.presenter, QString()).isEmpty());
            QCOMPARE(room.world.link().requestCount(kTraders), 1);
        }
    }

    void load_closingPresenterCutsItShort_staysFailedForEveryPresenter() {
        Room room;
        room.world.link().on(kTraders, ScriptedReply::never());
        const QPointer<RecordingPresenter> closing = new RecordingPresenter("Test.Closing");
        closing->initPresenter();
        QMap<QString, QString> names{{"none", "yet"}};
        // On the presenter's own thread, so that a presenter that goes waits for the question.
        runOnThreadOf(closing.data(), [&] { names = room.traders.GetOrganTraderList(closing); });
        const bool sent = room.world.link().waitForRequestCount(kTraders, 1);
        closing->deleteLater();
        QVERIFY(sent);
        QVERIFY(!closing);
        QVERIFY(names.isEmpty());
        QCOMPARE(loadState(), InitState::Failed);
        room.world.link().on(kTraders, [](const QVariant& body) { return pageOf(body, 3); });
        QVERIFY(room.traders.GetOrganTraderList(room.presenter).isEmpty());
        QVERIFY(room.traders.GetTraderInfoList(room.presenter, QString()).isEmpty());
        QCOMPARE(room.world.link().requestCount(kTraders), 1);
    }

    void load_secondPageFails_leavesNothing() {
        Room room;
        room.world.link().on(kTraders, [](const QVariant& body) { return pageOf(body, 1200); });
        room.world.link().onOccurrence(kTraders, 2, ScriptedReply::refusal("不"));
        QVERIFY(room.traders.GetTraderInfoList(room.presenter, QString()).isEmpty());
        QCOMPARE(loadState(), InitState::Failed);
    }

    void load_whileItRuns_othersSeeTheTableAsItIs() {
        Room room;
        room.world.link().on(kTraders, ScriptedReply::with([](const QVariant& body) {
                                           return pageOf(body, 3);
                                       }).held());
        QMap<QString, QString> loaded;
        std::thread loader([&] { loaded = room.traders.GetOrganTraderList(room.presenter); });
        const bool sent = room.world.link().waitForRequestCount(kTraders, 1);
        const auto names = room.traders.GetOrganTraderList(room.presenter);
        const auto rows = room.traders.GetTraderInfoList(room.presenter, QString());
        room.world.link().release();
        loader.join();
        QVERIFY(sent);
        QVERIFY(names.isEmpty());
        QVERIFY(rows.isEmpty());
        QCOMPARE(loaded.size(), 3);
        QCOMPARE(room.world.link().requestCount(kTraders), 1);
    }

    void load_withoutPresenter_isNotClaimed() {
        Room room;
        const LogCapture log;
        QVERIFY(room.traders.GetOrganTraderList(nullptr).isEmpty());
        QVERIFY(log.contains(QtWarningMsg, "the traders are not loaded: PresenterClass is null"));
        QCOMPARE(loadState(), InitState::None);
        QCOMPARE(room.traders.GetOrganTraderList(room.presenter).size(), 2);
        QCOMPARE(room.traders.GetOrganTraderList(nullptr).size(), 2);
    }
};

QTEST_GUILESS_MAIN(TraderTableTest)
#include "trader_table_test.moc"
