#include <QtTest>
#include <functional>
#include <future>

#include "price_cage_script.h"
#include "wait_for.h"

namespace {

const QString kSave = Velmar_MsgType::alterAllUserProfileDataAndSendKafkaRequest;

/// A user's cage "U" with this number of ticks, which the server knows.
ScriptedReply userCage(int ticks) {
    const QString cage =
        QStringLiteral(R"({"U":{"securityType":["1-2-*"],"controlType":2,"%1":%2}})")
            .arg(CageField::userBuyUnit)
            .arg(ticks);
    return ScriptedReply::rows({profileRow(kCageKey, cage), profileRow(kApplyKey, kOneApply)});
}

CageRecords ticksChange(int ticks) {
    return {{"U", {{CageField::userBuyUnit, ticks}}}};
}

/// A room whose server has as many cages as the user, so that only the user's own are in force.
struct OrderRoom : PriceRoom {
    OrderRoom() {
        world.link().on(kConfig, items({{SystemItemName::TagPriceCage, R"({"S":{}})"}}));
        world.link().on(kSave, ScriptedReply::rows({}));
    }
    int ticks() const {
        return cage.GetAllCageMap().value("U").value(CageField::userBuyUnit).toInt();
    }
    std::future<QString> load(bool refresh) {
        return std::async(std::launch::async,
                          [this, refresh] { return cage.initCageMap(presenter, refresh); });
    }
    bool releaseProfile() {
        return waitFor([this] { return world.link().release(kProfile) == 1; });
    }
    static InitState state() {
        return VelmarInitStateMgr::instance().GetInitState(InitTypeCode::PriceCageInfo);
    }
};

}  // namespace

/// Loads of the cage that meet a save, each other, or the end of their presenter.
class PriceCageOrderTest : public QObject {
    Q_OBJECT

private slots:
    void load_saveCameMeanwhile_isRepeatedWithOneSignal_data() {
        QTest::addColumn<bool>("refresh");
        QTest::newRow("first load") << false;
        QTest::newRow("refresh") << true;
    }
    void load_saveCameMeanwhile_isRepeatedWithOneSignal() {
        QFETCH(bool, refresh);
        OrderRoom room;
        room.world.link().onOccurrence(kProfile, 1, userCage(3).held());
        room.world.link().onOccurrence(kProfile, 2, userCage(7));
        auto load = room.load(refresh);
        QVERIFY(room.world.link().waitForRequestCount(kProfile, 1));
        QCOMPARE(room.cage.updateUserCageInfo(room.presenter, {}, ticksChange(7)), QString());
        QCOMPARE(room.ticks(), 7);
        QVERIFY(room.releaseProfile());
        QCOMPARE(load.get(), QString());
        QCOMPARE(room.ticks(), 7);
        // Not only what was saved: the repeated load's tables are complete.
        QVERIFY(room.cage.GetCageIndexMap().contains("1"));
        QVERIFY(room.cage.IsCageApply("ETF"));
        QCOMPARE(room.world.link().requestCount(kProfile), 2);
        QCOMPARE(room.sink.count.load(), 1);
        QCOMPARE(OrderRoom::state(), InitState::Done);
    }

    void load_saveInEachPass_isRepeatedUntilNoneCame() {
        OrderRoom room;
        room.world.link().onOccurrence(kProfile, 1, userCage(1).held());
        room.world.link().onOccurrence(kProfile, 2, userCage(2).held());
        room.world.link().onOccurrence(kProfile, 3, userCage(9));
        auto load = room.load(false);
        for (int pass = 1; pass <= 2; ++pass) {
            QVERIFY(room.world.link().waitForRequestCount(kProfile, pass));
            QCOMPARE(room.cage.updateUserCageInfo(room.presenter, {}, ticksChange(7 + pass)),
                     QString());
            QVERIFY(room.releaseProfile());
        }
        load.wait();
        QCOMPARE(room.ticks(), 9);
        QCOMPARE(room.world.link().requestCount(kProfile), 3);
        QCOMPARE(room.sink.count.load(), 1);
    }

    void load_savedBeforeItBegan_isNotRepeated() {
        OrderRoom room;
        room.world.link().on(kProfile, userCage(3));
        room.cage.initCageMap(room.presenter, false);
        QCOMPARE(room.cage.updateUserCageInfo(room.presenter, {}, ticksChange(7)), QString());
        room.world.link().clearRequests();
        room.world.link().on(kProfile, userCage(7));
        room.cage.initCageMap(room.presenter, true);
        QCOMPARE(room.world.link().requestCount(kProfile), 1);
    }

    void load_saveThatFailed_doesNotRepeatIt() {
        OrderRoom room;
        room.world.link().on(kSave, ScriptedReply::refusal("busy"));
        room.world.link().onOccurrence(kProfile, 1, userCage(3).held());
        auto load = room.load(false);
        QVERIFY(room.world.link().waitForRequestCount(kProfile, 1));
        QVERIFY(!room.cage.updateUserCageInfo(room.presenter, {}, ticksChange(7)).isEmpty());
        QVERIFY(room.releaseProfile());
        load.wait();
        QCOMPARE(room.ticks(), 3);
        QCOMPARE(room.world.link().requestCount(kProfile), 1);
    }

    void repeatedLoad_userQueryFails_keepsTheSavedTables() {
        OrderRoom room;
        room.world.link().onOccurrence(kProfile, 1, userCage(1));
        room.cage.initCageMap(room.presenter, false);
        room.world.link().onOccurrence(kProfile, 2, userCage(3).held());
        room.world.link().onOccurrence(kProfile, 3, ScriptedReply::refusal("busy"));
        auto refresh = room.load(true);
        QVERIFY(room.world.link().waitForRequestCount(kProfile, 2));
        QCOMPARE(room.cage.updateUserCageInfo(room.presenter, {}, ticksChange(7)), QString());
        const CageRecords saved = room.cage.GetAllCageMap();
        QVERIFY(room.releaseProfile());
        // The user's own figures are in force, so there is nothing to notify the user of.
        QCOMPARE(refresh.get(), QString());
        QCOMPARE(room.cage.GetAllCageMap(), saved);
        QVERIFY(room.cage.GetCageIndexMap().contains("1"));
        QString text = "untouched";
        QVERIFY(room.cage.IsGetUserCageInfo(text));
        QCOMPARE(text, QString());
        QCOMPARE(room.sink.count.load(), 2);
        QCOMPARE(OrderRoom::state(), InitState::Done);
        QVERIFY(room.cage.IsUserCageInfoInited("ETF", text));
        QVERIFY(text.startsWith("查询价格笼子设置失败"));
    }

    void olderLoad_afterANewerRefresh_changesNothing_data() {
        QTest::addColumn<bool>("answers");
        QTest::newRow("older one succeeds") << true;
        QTest::newRow("older one's query fails") << false;
    }
    void olderLoad_afterANewerRefresh_changesNothing() {
        QFETCH(bool, answers);
        OrderRoom room;
        room.world.link().onOccurrence(
            kProfile, 1, (answers ? userCage(3) : ScriptedReply::refusal("busy")).held());
        room.world.link().onOccurrence(kProfile, 2, userCage(7));
        auto older = room.load(false);
        QVERIFY(room.world.link().waitForRequestCount(kProfile, 1));
        QCOMPARE(room.cage.initCageMap(room.presenter, true), QString());
        const CageRecords refreshed = room.cage.GetAllCageMap();
        QCOMPARE(room.ticks(), 7);
        QCOMPARE(room.cage.getCageUpdateTime(), QTime(9, 30, 15));
        room.clock.m_now = room.clock.m_now.addSecs(60);
        QVERIFY(room.releaseProfile());
        QCOMPARE(older.get(), QString());
        QCOMPARE(room.cage.GetAllCageMap(), refreshed);
        QCOMPARE(room.cage.getCageUpdateTime(), QTime(9, 30, 15));
        QString text = "untouched";
        QVERIFY(room.cage.IsUserCageInfoInited("ETF", text));
        QCOMPARE(text, QString("untouched"));
        QCOMPARE(OrderRoom::state(), InitState::Done);
        QCOMPARE(room.sink.count.load(), 2);
    }

    void newerRefreshThatFailed_doesNotStopTheOlderLoad() {
        OrderRoom room;
        room.world.link().onOccurrence(kProfile, 1, userCage(3).held());
        room.world.link().onOccurrence(kProfile, 2, ScriptedReply::refusal("busy"));
        PriceCage cage(room.identity, room.clock, room.sink, CageBuiltIn{});
        room.world.link().on(kConfig, items({}));
        auto older =
            std::async(std::launch::async, [&] { return cage.initCageMap(room.presenter, false); });
        QVERIFY(room.world.link().waitForRequestCount(kProfile, 1));
        QVERIFY(!cage.initCageMap(room.presenter, true).isEmpty());
        QVERIFY(cage.GetAllCageMap().isEmpty());
        QVERIFY(room.releaseProfile());
        // The user's own figures are in force after all.
        QCOMPARE(older.get(), QString());
        QCOMPARE(cage.GetAllCageMap().value("U").value(CageField::userBuyUnit).toInt(), 3);
        QVERIFY(cage.getCageUpdateTime().isValid());
        QString text;
        QVERIFY(cage.IsUserCageInfoInited(QString(), text));
        QVERIFY2(text.isEmpty(), qPrintable(text));
    }

    void load_presenterClosesMeanwhile_isContinuedByTheNextOne_data() {
        QTest::addColumn<QString>("heldType");
        QTest::newRow("while the user's record is read") << kProfile;
        QTest::newRow("while the server's defaults are read") << kConfig;
    }
    void load_presenterClosesMeanwhile_isContinuedByTheNextOne() {
        QFETCH(QString, heldType);
        OrderRoom room;
        room.world.link().on(kProfile, userCage(3));
        room.world.link().onOccurrence(heldType, 1, ScriptedReply::never());
        room.runOnPresenter([&] { room.cage.initCageMap(room.presenter, false); });
        QVERIFY(room.world.link().waitForRequestCount(heldType, 1));
        room.presenter->deleteLater();
        QVERIFY(room.presenter.isNull());
        // Neither ended nor replaced by the local sources.
        QCOMPARE(OrderRoom::state(), InitState::Running);
        QCOMPARE(room.sink.count.load(), 0);
        QVERIFY(room.cage.GetAllCageMap().isEmpty());
        QVERIFY(room.cage.getCageUpdateTime().isNull());
        const RoomPresenter next;
        QCOMPARE(room.cage.initCageMap(next.presenter, false), QString());
        QCOMPARE(room.ticks(), 3);
        QCOMPARE(room.sink.count.load(), 1);
        QCOMPARE(OrderRoom::state(), InitState::Done);
        // It is continued only once.
        QCOMPARE(room.cage.initCageMap(next.presenter, false),
                 QStringLiteral("当前状态不可重新初始化价格笼子配置！"));
    }

    void refresh_presenterClosesMeanwhile_leavesTheTables() {
        OrderRoom room;
        room.world.link().onOccurrence(kProfile, 1, userCage(3));
        room.cage.initCageMap(room.presenter, false);
        room.world.link().onOccurrence(kProfile, 2, ScriptedReply::never());
        std::promise<QString> answer;
        room.runOnPresenter([&] { answer.set_value(room.cage.initCageMap(room.presenter, true)); });
        QVERIFY(room.world.link().waitForRequestCount(kProfile, 2));
        room.presenter->deleteLater();
        QCOMPARE(answer.get_future().get(), QStringLiteral("当前状态不可重新初始化价格笼子配置！"));
        QCOMPARE(room.ticks(), 3);
        QCOMPARE(room.sink.count.load(), 1);
        QString text = "untouched";
        QVERIFY(room.cage.IsGetUserCageInfo(text));
        QCOMPARE(text, QString());
    }

    void load_presenterAlreadyClosing_isNotBegun() {
        OrderRoom room;
        room.world.link().on(kProfile, userCage(3));
        std::promise<bool> closing;
        room.runOnPresenter([&] {
            room.presenter->deleteLater();  // from its own thread, so it returns at once
            const bool isClosing = waitFor([&] { return room.presenter->isClosing(); });
            room.cage.initCageMap(room.presenter, false);
            closing.set_value(isClosing);
        });
        QVERIFY(closing.get_future().get());
        QCOMPARE(OrderRoom::state(), InitState::None);
        QCOMPARE(room.world.link().requestCount(), 0);
        const RoomPresenter next;
        room.cage.initCageMap(next.presenter, false);
        QCOMPARE(room.ticks(), 3);
    }
};

QTEST_GUILESS_MAIN(PriceCageOrderTest)
#include "price_cage_order_test.moc"
