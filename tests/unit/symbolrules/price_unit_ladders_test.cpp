#include <QtTest>

#include "client_world.h"
#include "price_unit_ladders.h"
#include "vocabulary/names.h"

class PriceUnitLaddersTest : public QObject {
    Q_OBJECT

private slots:
    void load_bothSections_fillTheirOwnLadder() {
        const ClientWorld world({},
                                StaticDbBuilder()
                                    .section(DictionaryKey::HkStockPriceUnitDict,
                                             {{"0", "0.001"}, {"10", "0.01"}, {"200", "0.2"}})
                                    .section(DictionaryKey::HkFundPriceUnitDict, {{"5", "0.005"}}));
        PriceUnitLadders ladders;
        ladders.load();
        QCOMPARE(ladders.hkStockPriceUnitMap(),
                 (QMap<int, double>{{0, 0.001}, {10, 0.01}, {200, 0.2}}));
        QCOMPARE(ladders.hkFundPriceUnitMap(), (QMap<int, double>{{5, 0.005}}));
    }

    void load_keysThatAreNoNumbers_becomeZeroAndTheLaterOneStays() {
        const ClientWorld world(
            {}, StaticDbBuilder().section(DictionaryKey::HkStockPriceUnitDict,
                                          {{"0", "1"}, {"abc", "2"}, {"xyz", "3"}, {"7", "x"}}));
        PriceUnitLadders ladders;
        ladders.load();
        QCOMPARE(ladders.hkStockPriceUnitMap(), (QMap<int, double>{{0, 3}, {7, 0}}));
    }

    void load_noSection_givesEmptyLadders() {
        const ClientWorld world;
        PriceUnitLadders ladders;
        ladders.load();
        QVERIFY(ladders.hkStockPriceUnitMap().isEmpty());
        QVERIFY(ladders.hkFundPriceUnitMap().isEmpty());
    }
};

QTEST_GUILESS_MAIN(PriceUnitLaddersTest)
#include "price_unit_ladders_test.moc"
