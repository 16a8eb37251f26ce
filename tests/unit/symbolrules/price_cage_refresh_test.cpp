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
        PriceFixture fixture(CageBuiltIn{});
        fixture.world.link().on(kProfile, ScriptedReply::rows({profileRow(kCageKey, kOneCage),
                                                               profileRow(kApplyKey, kOneApply)}));
        QCOMPARE(fixture.cage.initCageMap(fixture.presenter, false), QString());
        QCOMPARE(fixture.sink.count.load(), 1);
        const CageRecords before = fixture.cage.GetAllCageMap();
        QCOMPARE(fixture.cage.getCageUpdateTime(), QTime(9, 30, 15));
        fixture.clock.m_now = fixture.clock.m_now.addSecs(60);
        fixture.world.link().on(kProfile, ScriptedReply::refusal("closed"));
        QVERIFY(!fixture.cage.initCageMap(fixture.presenter, true).isEmpty());
        QCOMPARE(fixture.cage.GetAllCageMap(), before);
        QCOMPARE(fixture.cage.getCageUpdateTime(), QTime(9, 30, 15));
        QVERIFY(fixture.cage.IsCageApply("ETF"));
        QCOMPARE(sourceText(fixture.cage), QString());
        QCOMPARE(fixture.sink.count.load(), 1);
        QCOMPARE(VelmarInitStateMgr::instance().GetInitState(InitTypeCode::PriceCageInfo),
                 InitState::Done);
    }

    void refresh_succeeded_replacesTheTablesWithASignal() {
        PriceFixture fixture;
        fixture.cage.initCageMap(fixture.presenter, false);
        // The refresh has to forget this cage of the symbol.
        QCOMPARE(fixture.cage.GetCageMapBySymbol("600000.SH"),
                 fixture.cage.GetAllCageMap().value("1"));
        fixture.world.link().on(kConfig,
                                items({{SystemItemName::TagPriceCage,
                                        R"({"N":{"securityType":["1-*-*"],"controlType":1}})"}}));
        fixture.clock.m_now = fixture.clock.m_now.addSecs(60);
        fixture.world.link().on(kProfile, ScriptedReply::rows({}));
        QCOMPARE(fixture.cage.initCageMap(fixture.presenter, true), QString());
        QCOMPARE(fixture.sink.count.load(), 2);
        QCOMPARE(QStringList(fixture.cage.GetAllCageMap().keys()), QStringList{"N"});
        QCOMPARE(fixture.cage.GetCageMapBySymbol("600000.SH"),
                 fixture.cage.GetAllCageMap().value("N"));
        QCOMPARE(fixture.cage.getCageUpdateTime(), QTime(9, 31, 15));
    }

    void refresh_underWay_leavesTheOldTablesInForce() {
        PriceFixture fixture;
        fixture.cage.initCageMap(nullptr, false);
        const CageRecords before = fixture.cage.GetAllCageMap();
        QCOMPARE(fixture.cage.GetCageMapBySymbol("600000.SH"), before.value("1"));
        fixture.world.link().on(kProfile, ScriptedReply::rows({profileRow(kCageKey, kOneCage),
                                                               profileRow(kApplyKey, kOneApply)})
                                              .held());
        fixture.world.link().on(kConfig, items({{SystemItemName::TagPriceCage, R"({"S":{}})"}}));
        const auto refresh = std::async(
            std::launch::async, [&fixture] { fixture.cage.initCageMap(fixture.presenter, true); });
        QVERIFY(fixture.world.link().waitForRequestCount(kProfile, 1));
        QCOMPARE(fixture.cage.GetAllCageMap(), before);
        QCOMPARE(fixture.cage.GetCageMapBySymbol("600000.SH"), before.value("1"));
        QVERIFY(fixture.cage.IsCageApply("ETF"));
        QVERIFY(!fixture.cage.GetCageIndexMap().isEmpty());
        // The request is still pending, so none of the questions waited for it.
        QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 1);
        QVERIFY(waitFor([&] { return fixture.world.link().release(kProfile) == 1; }));
        refresh.wait();
        QCOMPARE(QStringList(fixture.cage.GetAllCageMap().keys()), QStringList{"U"});
        QCOMPARE(fixture.cage.GetCageMapBySymbol("600000.SH"),
                 fixture.cage.GetAllCageMap().value("U"));
    }

    void refresh_userQueryFailsServerDefaultWorks_givesANotice() {
        PriceFixture fixture;
        fixture.world.link().on(kConfig, items({{SystemItemName::TagPriceCage, kOneCage},
                                                {SystemItemName::TagPriceCageApply, kOneApply}}));
        QCOMPARE(fixture.cage.initCageMap(fixture.presenter, true),
                 QStringLiteral("价格笼子应用设置:当前使用后台默认配置\n价格笼子参数设置:"));
        fixture.world.link().on(kProfile, ScriptedReply::rows({}));
        QCOMPARE(fixture.cage.initCageMap(fixture.presenter, true), QString());
    }
};

QTEST_GUILESS_MAIN(PriceCageRefreshTest)
#include "price_cage_refresh_test.moc"
