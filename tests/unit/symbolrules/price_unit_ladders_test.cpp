#include <QtTest>

#include "client_world.h"
#include "log_capture.h"
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

    void load_unusableRows_areKeptWithOneWarningEach() {
        const ClientWorld world({}, StaticDbBuilder().section(DictionaryKey::HkStockPriceUnitDict,
                                                              {{"0", "1"},
                                                               {"10", "0.1"},
                                                               {"20", "0"},
                                                               {"30", "-1"},
                                                               {"7", "x"},
                                                               {"abc", "2"},
                                                               {"xyz", "3"},
                                                               {"2147483647", "4"},
                                                               {"2147483648", "5"}}));
        const LogCapture log;
        PriceUnitLadders ladders;
        ladders.load();
        // Bounds that are not an int count as 0, and of those the row with the last key is kept.
        QCOMPARE(
            ladders.hkStockPriceUnitMap(),
            (QMap<int, double>{{0, 3}, {7, 0}, {10, 0.1}, {20, 0}, {30, -1}, {2147483647, 4}}));
        QCOMPARE(log.texts(QtWarningMsg).filter("unusable row of a Hong Kong price ladder").size(),
                 6);
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
