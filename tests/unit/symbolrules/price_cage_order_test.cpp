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

/// A fixture whose server has as many cages as the user, so that only the user's own are in force.
struct OrderFixture : PriceFixture {
    OrderFixture() {
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
        OrderFixture fixture;
        fixture.world.link().onOccurrence(kProfile, 1, userCage(3).held());
        fixture.world.link().onOccurrence(kProfile, 2, userCage(7));
        auto load = fixture.load(refresh);
        QVERIFY(fixture.world.link().waitForRequestCount(kProfile, 1));
        QCOMPARE(fixture.cage.updateUserCageInfo(fixture.presenter, {}, ticksChange(7)), QString());
        QCOMPARE(fixture.ticks(), 7);
        QVERIFY(fixture.releaseProfile());
        QCOMPARE(load.get(), QString());
        QCOMPARE(fixture.ticks(), 7);
        // Not only what was saved: the repeated load's tables are complete.
        QVERIFY(fixture.cage.GetCageIndexMap().contains("1"));
        QVERIFY(fixture.cage.IsCageApply("ETF"));
        QCOMPARE(fixture.world.link().requestCount(kProfile), 2);
        QCOMPARE(fixture.sink.count.load(), 1);
        QCOMPARE(OrderFixture::state(), InitState::Done);
    }

    void load_saveInEachPass_isRepeatedUntilNoneCame() {
        OrderFixture fixture;
        fixture.world.link().onOccurrence(kProfile, 1, userCage(1).held());
        fixture.world.link().onOccurrence(kProfile, 2, userCage(2).held());
        fixture.world.link().onOccurrence(kProfile, 3, userCage(9));
        auto load = fixture.load(false);
        for (int pass = 1; pass <= 2; ++pass) {
            QVERIFY(fixture.world.link().waitForRequestCount(kProfile, pass));
            QCOMPARE(fixture.cage.updateUserCageInfo(fixture.presenter, {}, ticksChange(7 + pass)),
                     QString());
            QVERIFY(fixture.releaseProfile());
        }
        load.wait();
        QCOMPARE(fixture.ticks(), 9);
        QCOMPARE(fixture.world.link().requestCount(kProfile), 3);
        QCOMPARE(fixture.sink.count.load(), 1);
    }

    void load_savedBeforeItBegan_isNotRepeated() {
        OrderFixture fixture;
        fixture.world.link().on(kProfile, userCage(3));
        fixture.cage.initCageMap(fixture.presenter, false);
        QCOMPARE(fixture.cage.updateUserCageInfo(fixture.presenter, {}, ticksChange(7)), QString());
        fixture.world.link().clearRequests();
        fixture.world.link().on(kProfile, userCage(7));
        fixture.cage.initCageMap(fixture.presenter, true);
        QCOMPARE(fixture.world.link().requestCount(kProfile), 1);
    }

    void load_saveThatFailed_doesNotRepeatIt() {
        OrderFixture fixture;
        fixture.world.link().on(kSave, ScriptedReply::refusal("busy"));
        fixture.world.link().onOccurrence(kProfile, 1, userCage(3).held());
        auto load = fixture.load(false);
        QVERIFY(fixture.world.link().waitForRequestCount(kProfile, 1));
        QVERIFY(!fixture.cage.updateUserCageInfo(fixture.presenter, {}, ticksChange(7)).isEmpty());
        QVERIFY(fixture.releaseProfile());
        load.wait();
        QCOMPARE(fixture.ticks(), 3);
        QCOMPARE(fixture.world.link().requestCount(kProfile), 1);
    }

    void repeatedLoad_userQueryFails_keepsTheSavedTables() {
        OrderFixture fixture;
        fixture.world.link().onOccurrence(kProfile, 1, userCage(1));
        fixture.cage.initCageMap(fixture.presenter, false);
        fixture.world.link().onOccurrence(kProfile, 2, userCage(3).held());
        fixture.world.link().onOccurrence(kProfile, 3, ScriptedReply::refusal("busy"));
        auto refresh = fixture.load(true);
        QVERIFY(fixture.world.link().waitForRequestCount(kProfile, 2));
        QCOMPARE(fixture.cage.updateUserCageInfo(fixture.presenter, {}, ticksChange(7)), QString());
        const CageRecords saved = fixture.cage.GetAllCageMap();
        QVERIFY(fixture.releaseProfile());
        // The user's own figures are in force, so there is nothing to notify the user of.
        QCOMPARE(refresh.get(), QString());
        QCOMPARE(fixture.cage.GetAllCageMap(), saved);
        QVERIFY(fixture.cage.GetCageIndexMap().contains("1"));
        QString text = "untouched";
        QVERIFY(fixture.cage.IsGetUserCageInfo(text));
        QCOMPARE(text, QString());
        QCOMPARE(fixture.sink.count.load(), 2);
        QCOMPARE(OrderFixture::state(), InitState::Done);
        QVERIFY(fixture.cage.IsUserCageInfoInited("ETF", text));
        QVERIFY(text.startsWith("查询价格笼子设置失败"));
    }

    void olderLoad_afterANewerRefresh_changesNothing_data() {
        QTest::addColumn<bool>("answers");
        QTest::newRow("older one succeeds") << true;
        QTest::newRow("older one's query fails") << false;
    }
    void olderLoad_afterANewerRefresh_changesNothing() {
        QFETCH(bool, answers);
        OrderFixture fixture;
        fixture.world.link().onOccurrence(
            kProfile, 1, (answers ? userCage(3) : ScriptedReply::refusal("busy")).held());
        fixture.world.link().onOccurrence(kProfile, 2, userCage(7));
        auto older = fixture.load(false);
        QVERIFY(fixture.world.link().waitForRequestCount(kProfile, 1));
        QCOMPARE(fixture.cage.initCageMap(fixture.presenter, true), QString());
        const CageRecords refreshed = fixture.cage.GetAllCageMap();
        QCOMPARE(fixture.ticks(), 7);
        QCOMPARE(fixture.cage.getCageUpdateTime(), QTime(9, 30, 15));
        fixture.clock.m_now = fixture.clock.m_now.addSecs(60);
        QVERIFY(fixture.releaseProfile());
        QCOMPARE(older.get(), QString());
        QCOMPARE(fixture.cage.GetAllCageMap(), refreshed);
        QCOMPARE(fixture.cage.getCageUpdateTime(), QTime(9, 30, 15));
        QString text = "untouched";
        QVERIFY(fixture.cage.IsUserCageInfoInited("ETF", text));
        QCOMPARE(text, QString("untouched"));
        QCOMPARE(OrderFixture::state(), InitState::Done);
        QCOMPARE(fixture.sink.count.load(), 2);
    }

    void newerRefreshThatFailed_doesNotStopTheOlderLoad() {
        OrderFixture fixture;
        fixture.world.link().onOccurrence(kProfile, 1, userCage(3).held());
        fixture.world.link().onOccurrence(kProfile, 2, ScriptedReply::refusal("busy"));
        PriceCage cage(fixture.identity, fixture.clock, fixture.sink, CageBuiltIn{});
        fixture.world.link().on(kConfig, items({}));
        auto older = std::async(std::launch::async,
                                [&] { return cage.initCageMap(fixture.presenter, false); });
        QVERIFY(fixture.world.link().waitForRequestCount(kProfile, 1));
        QVERIFY(!cage.initCageMap(fixture.presenter, true).isEmpty());
        QVERIFY(cage.GetAllCageMap().isEmpty());
        QVERIFY(fixture.releaseProfile());
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
        OrderFixture fixture;
        fixture.world.link().on(kProfile, userCage(3));
        fixture.world.link().onOccurrence(heldType, 1, ScriptedReply::never());
        fixture.runOnPresenter([&] { fixture.cage.initCageMap(fixture.presenter, false); });
        QVERIFY(fixture.world.link().waitForRequestCount(heldType, 1));
        fixture.presenter->deleteLater();
        QVERIFY(fixture.presenter.isNull());
        // Neither ended nor replaced by the local sources.
        QCOMPARE(OrderFixture::state(), InitState::Running);
        QCOMPARE(fixture.sink.count.load(), 0);
        QVERIFY(fixture.cage.GetAllCageMap().isEmpty());
        QVERIFY(fixture.cage.getCageUpdateTime().isNull());
        const OwnedPresenter next;
        QCOMPARE(fixture.cage.initCageMap(next.presenter, false), QString());
        QCOMPARE(fixture.ticks(), 3);
        QCOMPARE(fixture.sink.count.load(), 1);
        QCOMPARE(OrderFixture::state(), InitState::Done);
        // It is continued only once.
        QCOMPARE(fixture.cage.initCageMap(next.presenter, false),
                 QStringLiteral("当前状态不可重新初始化价格笼子配置！"));
    }

    void refresh_presenterClosesMeanwhile_leavesTheTables() {
        OrderFixture fixture;
        fixture.world.link().onOccurrence(kProfile, 1, userCage(3));
        fixture.cage.initCageMap(fixture.presenter, false);
        fixture.world.link().onOccurrence(kProfile, 2, ScriptedReply::never());
        std::promise<QString> answer;
        fixture.runOnPresenter(
            [&] { answer.set_value(fixture.cage.initCageMap(fixture.presenter, true)); });
        QVERIFY(fixture.world.link().waitForRequestCount(kProfile, 2));
        fixture.presenter->deleteLater();
        QCOMPARE(answer.get_future().get(), QStringLiteral("当前状态不可重新初始化价格笼子配置！"));
        QCOMPARE(fixture.ticks(), 3);
        QCOMPARE(fixture.sink.count.load(), 1);
        QString text = "untouched";
        QVERIFY(fixture.cage.IsGetUserCageInfo(text));
        QCOMPARE(text, QString());
    }

    void load_presenterAlreadyClosing_isNotBegun() {
        OrderFixture fixture;
        fixture.world.link().on(kProfile, userCage(3));
        std::promise<bool> closing;
        fixture.runOnPresenter([&] {
            fixture.presenter->deleteLater();  // from its own thread, so it returns at once
            const bool isClosing = waitFor([&] { return fixture.presenter->isClosing(); });
            fixture.cage.initCageMap(fixture.presenter, false);
            closing.set_value(isClosing);
        });
        QVERIFY(closing.get_future().get());
        QCOMPARE(OrderFixture::state(), InitState::None);
        QCOMPARE(fixture.world.link().requestCount(), 0);
        const OwnedPresenter next;
        fixture.cage.initCageMap(next.presenter, false);
        QCOMPARE(fixture.ticks(), 3);
    }
};

QTEST_GUILESS_MAIN(PriceCageOrderTest)
#include "price_cage_order_test.moc"
