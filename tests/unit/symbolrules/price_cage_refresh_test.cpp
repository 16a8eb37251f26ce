#include <QtTest>
#include <future>

#include "local_platform.h"
#include "price_cage_script.h"
#include "wait_for.h"

/// Loads of the cage after the first one.
class PriceCageRefreshTest : public QObject {
    Q_OBJECT

private slots:
    void refresh_failed_leavesTheTablesWithoutASignal() {
        PriceRoom room(CageBuiltIn{});
        room.world.link().on(kProfile, ScriptedReply::rows({profileRow(kCageKey, kOneCage),
                                                            profileRow(kApplyKey, kOneApply)}));
        QCOMPARE(room.cage.initCageMap(room.presenter, false), QString());
        QCOMPARE(room.sink.count.load(), 1);
        const CageRecords before = room.cage.GetAllCageMap();
        QCOMPARE(room.cage.getCageUpdateTime(), QTime(9, 30, 15));
        room.clock.m_now = room.clock.m_now.addSecs(60);
        room.world.link().on(kProfile, ScriptedReply::refusal("closed"));
        QVERIFY(!room.cage.initCageMap(room.presenter, true).isEmpty());
        QCOMPARE(room.cage.GetAllCageMap(), before);
        QCOMPARE(room.cage.getCageUpdateTime(), QTime(9, 30, 15));
        QVERIFY(room.cage.IsCageApply("ETF"));
        QCOMPARE(sourceText(room.cage), QString());
        QCOMPARE(room.sink.count.load(), 1);
        QCOMPARE(VelmarInitStateMgr::instance().GetInitState(InitTypeCode::PriceCageInfo),
                 InitState::Done);
    }

    void refresh_succeeded_replacesTheTablesWithASignal() {
        PriceRoom room;
        room.cage.initCageMap(room.presenter, false);
        // The refresh has to forget this cage of the symbol.
        QCOMPARE(room.cage.GetCageMapBySymbol("600000.SH"), room.cage.GetAllCageMap().value("1"));
        room.world.link().on(kConfig,
                             items({{SystemItemName::TagPriceCage,
                                     R"({"N":{"securityType":["1-*-*"],"controlType":1}})"}}));
        room.clock.m_now = room.clock.m_now.addSecs(60);
        room.world.link().on(kProfile, ScriptedReply::rows({}));
        QCOMPARE(room.cage.initCageMap(room.presenter, true), QString());
        QCOMPARE(room.sink.count.load(), 2);
        QCOMPARE(QStringList(room.cage.GetAllCageMap().keys()), QStringList{"N"});
        QCOMPARE(room.cage.GetCageMapBySymbol("600000.SH"), room.cage.GetAllCageMap().value("N"));
        QCOMPARE(room.cage.getCageUpdateTime(), QTime(9, 31, 15));
    }

    void refresh_underWay_leavesTheOldTablesInForce() {
        PriceRoom room;
        room.cage.initCageMap(nullptr, false);
        const CageRecords before = room.cage.GetAllCageMap();
        QCOMPARE(room.cage.GetCageMapBySymbol("600000.SH"), before.value("1"));
        room.world.link().on(kProfile, ScriptedReply::rows({profileRow(kCageKey, kOneCage),
                                                            profileRow(kApplyKey, kOneApply)})
                                           .held());
        room.world.link().on(kConfig, items({{SystemItemName::TagPriceCage, R"({"S":{}})"}}));
        const auto refresh = std::async(std::launch::async,
                                        [&room] { room.cage.initCageMap(room.presenter, true); });
        QVERIFY(room.world.link().waitForRequestCount(kProfile, 1));
        QCOMPARE(room.cage.GetAllCageMap(), before);
        QCOMPARE(room.cage.GetCageMapBySymbol("600000.SH"), before.value("1"));
        QVERIFY(room.cage.IsCageApply("ETF"));
        QVERIFY(!room.cage.GetCageIndexMap().isEmpty());
        // The request is still pending, so none of the questions waited for it.
        QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 1);
        QVERIFY(waitFor([&] { return room.world.link().release(kProfile) == 1; }));
        refresh.wait();
        QCOMPARE(QStringList(room.cage.GetAllCageMap().keys()), QStringList{"U"});
        QCOMPARE(room.cage.GetCageMapBySymbol("600000.SH"), room.cage.GetAllCageMap().value("U"));
    }

    void refresh_userQueryFailsServerDefaultWorks_givesANotice() {
        PriceRoom room;
        room.world.link().on(kConfig, items({{SystemItemName::TagPriceCage, kOneCage},
                                             {SystemItemName::TagPriceCageApply, kOneApply}}));
        QCOMPARE(room.cage.initCageMap(room.presenter, true),
                 QStringLiteral("价格笼子应用设置:当前使用后台默认配置\n价格笼子参数设置:"));
        room.world.link().on(kProfile, ScriptedReply::rows({}));
        QCOMPARE(room.cage.initCageMap(room.presenter, true), QString());
    }
};

QTEST_GUILESS_MAIN(PriceCageRefreshTest)
#include "price_cage_refresh_test.moc"
