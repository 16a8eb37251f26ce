#include <rapidcheck.h>

#include <QtTest>
#include <atomic>
#include <limits>
#include <thread>
#include <vector>

#include "client_world.h"
#include "log_capture.h"
#include "quantity_rules.h"
#include "symbol_identity.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "znbasebusinessdatamgr/zn_bond_data_mgr.h"
#include "znbasebusinessdatamgr/zn_etf_data_handler.h"
#include "zncore/zn_core.h"

namespace {

QVariantMap record(const QString& exchange, const QString& type, const QString& subType) {
    return {{UserAccount::securityExchange, exchange},
            {MDCFieldDefine::mdcSecurityType, type},
            {MDCFieldDefine::mdcSubSecurityType, subType}};
}

StaticDbBuilder symbols() {
    return StaticDbBuilder()
        .section("StepQtyRule", {{"3", "10"}})
        .section("MinQtyRule", {{"3", "10"}})
        .reference("security", "STOCK.SH", record("1", "2", "02001"))
        .reference("security", "STOCK.SZ", record("2", "2", "02001"))
        .reference("security", "STOCK.BJ", record("B", "2", "02300"))
        .reference("security", "FUND.SH", record("1", "8", "08100"))
        .reference("security", "FUND.SZ", record("2", "8", "08100"))
        .reference("security", "OPTION.SH", record("1", "6", "06100"))
        .reference("security", "BOND.SH", record("1", "3", "03200"))
        .reference("security", "BARE.SH", record("1", "3", "03200"))
        .reference("security", "REPO.SH",
                   record("1", "3", MdcSubSecurityType::BondRepurchaseTypeList.at(0)))
        .reference("security", "REPO2.SH",
                   record("1", "3", MdcSubSecurityType::BondRepurchaseTypeList.at(1)))
        .reference("bond", "BOND.SH", {{"accruedInterest", 25.0}})
        // A bond only by its redemption record, with a record in the bond data.
        .reference("etf", "REDEEM.SH", record("1", "3", "03200"))
        .reference("bond", "REDEEM.SH", {{"accruedInterest", 25.0}});
}

QVariantMap someFees() {
    using namespace ETFTradeSetting;
    return {{EtfTrade_ETFBuyFee_SH, 0.25},    {EtfTrade_ETFBuyFee_SZ, 1.0},
            {EtfTrade_StockBuyFee_SH, 0.125}, {EtfTrade_StockTransferFee_SH, 0.125},
            {EtfTrade_StockBuyFee_SZ, 0.5},   {EtfTrade_StockTransferFee_SZ, 0.5}};
}

void saveFees(bool enabled, const QString& text) {
    ZnCore::instance()->saveSetting(ETFTradeSetting::EtfTrade_FeeEnable, enabled);
    ZnCore::instance()->saveSetting(ETFTradeSetting::EtfTrade_FeeSettings, text);
}

QString feeText() {
    QString error;
    return VelmarUtils::TransMap2Str(someFees(), error);
}

}  // namespace

class EntrustAmountTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_world = std::make_unique<ClientWorld>(QList<TestAccount>(), symbols());
        QVERIFY(ZnBondDataMgr::instance().load());
        QVERIFY(ZnEtfDataHandler::instance().load());
        m_rules = std::make_unique<QuantityRules>(m_identity);
        m_rules->initSymbolQtyRules();
    }
    void cleanup() {
        m_rules.reset();
        m_world.reset();
    }

    void qty_eachBranch_withFeesOrWithout_data() {
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<double>("amount");
        QTest::addColumn<double>("price");
        QTest::addColumn<int>("multiplier");
        QTest::addColumn<qint64>("plain");
        QTest::addColumn<qint64>("withFee");
        const auto row = [](const char* symbol, double amount, double price, int multiplier,
                            qint64 plain, qint64 withFee) {
            QTest::newRow(qPrintable(QString("%1 %2 %3").arg(symbol).arg(amount).arg(price)))
                << symbol << amount << price << multiplier << plain << withFee;
        };
        row("STOCK.SH", 10000, 10, 1, 1000, 800);
        row("STOCK.SZ", 10000, 10, 1, 1000, 500);
        row("STOCK.SH", 20000, 10, 2, 1000, 800);
        // Not an exchange of A shares, so without fees.
        row("STOCK.BJ", 10000, 10, 1, 1000, 1000);
        row("FUND.SH", 10000, 10, 1, 1000, 800);
        row("FUND.SZ", 16000, 10, 1, 1600, 800);
        row("OPTION.SH", 10000, 10, 1, 1000, 1000);
        // A buyer pays the accrued interest too, unless the bond data lacks the bond. No bond
        // has fees.
        row("BOND.SH", 10000, 100, 1, 80, 80);
        row("BARE.SH", 10000, 100, 1, 100, 100);
        row("BOND.SH", 20000, 100, 2, 80, 80);
        row("REPO.SH", 10000, 0, 0, 100, 100);
        row("REPO.SH", 10000, 55, 7, 100, 100);
        row("REPO2.SH", 10000, 55, 7, 100, 100);
        row("STOCK.SH", 10000, 0, 1, 0, 0);
        row("STOCK.SH", 10000, 1e-11, 1, 0, 0);
        row("STOCK.SH", 10000, 1e-10, 1, 0, 0);
        row("STOCK.SH", 10000, -10, 1, 0, 0);
        row("STOCK.SH", 1999, 10, 1, 100, 100);
        row("STOCK.SH", 999, 10, 1, 0, 0);
        row("STOCK.SH", 10000, 10, 0, 0, 0);
        row("STOCK.SH", std::numeric_limits<double>::quiet_NaN(), 10, 1, 0, 0);
        row("STOCK.SH", 10000, std::numeric_limits<double>::quiet_NaN(), 1, 0, 0);
        row("STOCK.SH", std::numeric_limits<double>::infinity(), 10, 1, 0, 0);
        row("STOCK.SH", 1e30, 1, 1, 9223372036854775800, 9223372036854775800);
    }
    void qty_eachBranch_withFeesOrWithout() {
        QFETCH(QString, symbol);
        QFETCH(double, amount);
        QFETCH(double, price);
        QFETCH(int, multiplier);
        QFETCH(qint64, plain);
        QFETCH(qint64, withFee);
        saveFees(true, feeText());
        m_rules->slotTradeFeeSettingChanged();
        const auto qty = [&](bool fee) {
            return m_rules->CalcEntrustQty(amount, price, symbol, multiplier, fee);
        };
        QCOMPARE(qty(false), plain);
        QCOMPARE(qty(true), withFee);
    }

    void qty_bondOfAnotherSource_isBoughtByItsPriceAlone() {
        QCOMPARE(m_identity.GetSecurityTypeBySymbol("REDEEM.SH"), MdcSecurityType::BondType);
        stuBaseInfo bond;
        QCOMPARE(ZnBondDataMgr::instance().GetSingelBondBaseInfo("REDEEM.SH", bond), QString("0"));
        QCOMPARE(bond.stockInterest, 25.0);
        QCOMPARE(m_rules->CalcEntrustQty(10000, 100, "REDEEM.SH", 1, false), qint64(100));
    }

    void fees_beforeTheyAreLoadedAndWhenOff_count0() {
        const auto qty = [this] { return m_rules->CalcEntrustQty(10000, 10, "STOCK.SH", 1, true); };
        QCOMPARE(qty(), qint64(1000));
        saveFees(true, feeText());
        QCOMPARE(qty(), qint64(1000));
        m_rules->slotTradeFeeSettingChanged();
        QCOMPARE(qty(), qint64(800));
        saveFees(false, feeText());
        m_rules->slotTradeFeeSettingChanged();
        QCOMPARE(qty(), qint64(1000));
    }

    void fees_changedWhileOthersCalculate_areTheOldOrTheNewOnes() {
        const LogCapture quiet;
        saveFees(true, feeText());
        m_rules->slotTradeFeeSettingChanged();
        std::atomic<int> wrong{0};
        std::vector<std::thread> readers;
        for (int i = 0; i < 2; ++i) {
            readers.emplace_back([this, &wrong] {
                for (int round = 0; round < 300; ++round) {
                    const qint64 qty = m_rules->CalcEntrustQty(10000, 10, "STOCK.SH", 1, true);
                    wrong += qty == 800 || qty == 1000 ? 0 : 1;
                }
            });
        }
        for (int round = 0; round < 10; ++round) {
            saveFees(round % 2 == 1, feeText());
            m_rules->slotTradeFeeSettingChanged();
        }
        for (std::thread& reader : readers) {
            reader.join();
        }
        QCOMPARE(wrong, 0);
        QCOMPARE(m_rules->CalcEntrustQty(10000, 10, "STOCK.SH", 1, true), qint64(800));
    }

    void fees_missingRate_countsAs0() {
        saveFees(true, R"({"EtfTrade_StockBuyFee_SH":0.25})");
        m_rules->slotTradeFeeSettingChanged();
        QCOMPARE(m_rules->CalcEntrustQty(10000, 10, "STOCK.SH", 1, true), qint64(800));
        QCOMPARE(m_rules->CalcEntrustQty(10000, 10, "FUND.SH", 1, true), qint64(1000));
    }

    void fees_badText_isLoggedAndLeavesNoFees() {
        saveFees(true, feeText());
        m_rules->slotTradeFeeSettingChanged();
        saveFees(true, "no record");
        LogCapture log;
        m_rules->slotTradeFeeSettingChanged();
        QCOMPARE(log.count(QtInfoMsg,
                           "ZnBusinessDataManager::slotTradeFeeSettingChanged "
                           "转换交易费率设置失败！"),
                 1);
        QCOMPARE(m_rules->CalcEntrustQty(10000, 10, "STOCK.SH", 1, true), qint64(1000));
    }

    void amount_repoAndOther_areCalculatedByTheirRules() {
        QCOMPARE(m_rules->CalcEntrustAmount(10, 300, "STOCK.SH", 2), 6000.0);
        QCOMPARE(m_rules->CalcEntrustAmount(10, 300, "REPO.SH", 2), 30000.0);
        QCOMPARE(m_rules->CalcEntrustAmount(10, 0.5, "BOND.SH", 1), 5.0);
    }

    void oddLots_anyStepMinimumAndQuantity_areOnTheStep() {
        const auto rowsOf = [](int value) {
            return QMap<QString, QString>{{"2", QString::number(value)}};
        };
        m_rules.reset();
        m_world.reset();
        const LogCapture quiet;  // every case loads its rules and logs them
        QVERIFY(rc::check("odd lots", [&] {
            const int step = *rc::gen::inRange(1, 400);
            const int min = step * *rc::gen::inRange(1, 5);
            const ClientWorld world(
                {},
                symbols().section("StepQtyRule", rowsOf(step)).section("MinQtyRule", rowsOf(min)));
            QuantityRules rules(m_identity);
            rules.initSymbolQtyRules();
            for (int i = 0; i < 50; ++i) {
                const qint64 qty = *rc::gen::inRange(1, 20000);
                for (const auto type :
                     {CustomOddLotType::Down, CustomOddLotType::Nearest, CustomOddLotType::Up}) {
                    const auto brought = [&](qint64 of) {
                        return rules.GetQtyByOddLotType("STOCK.SH", type, of, false);
                    };
                    const qint64 got = brought(qty);
                    RC_ASSERT(got % step == 0);
                    RC_ASSERT(got == 0 || got >= min);
                    RC_ASSERT(brought(qty + 1) >= got);
                    RC_ASSERT(brought(got) == got);
                }
                const auto down =
                    rules.GetQtyByOddLotType("STOCK.SH", CustomOddLotType::Down, qty, false);
                const auto up =
                    rules.GetQtyByOddLotType("STOCK.SH", CustomOddLotType::Up, qty, false);
                RC_ASSERT(down <= qty && up >= qty);
                RC_ASSERT(qty < min || up - down <= step);
                RC_ASSERT(rules.GetQtyByOddLotType("STOCK.SH", CustomOddLotType::ByFlag, qty,
                                                   true) == down);
                RC_ASSERT(rules.GetQtyByOddLotType("STOCK.SH", CustomOddLotType::ByFlag, qty,
                                                   false) == up);
            }
        }));
    }

    void qty_moneyForOneLot_buysOneLotAtEveryPrice() {
        int tooFew = 0;
        for (int cents = 500; cents <= 10000; ++cents) {
            // A lot of 100 costs as many units of money as the price has cents.
            tooFew += m_rules->CalcEntrustQty(cents, cents / 100.0, "STOCK.SH", 1, false) != 100;
        }
        QCOMPARE(tooFew, 0);
        QCOMPARE(m_rules->CalcEntrustQty(519.00, 5.19, "STOCK.SH", 1, false), qint64(100));
    }

    void qty_moneyForExactlySomeLots_buysThemAndACentLessDoesNot() {
        QVERIFY(rc::check("exact money", [this] {
            const int cents = *rc::gen::inRange(1, 100000);
            const int multiplier = *rc::gen::inRange(1, 50);
            const int lots = *rc::gen::inRange(1, 1000);
            const double price = cents / 100.0;
            const auto qty = [&](double amount) {
                return m_rules->CalcEntrustQty(amount, price, "STOCK.SH", multiplier, false);
            };
            const double cost =
                m_rules->CalcEntrustAmount(price, lots * 100, "STOCK.SH", multiplier);
            RC_ASSERT(qty(cost) == lots * 100);
            // A hundredth of the cheapest unit.
            RC_ASSERT(qty(cost - price * multiplier / 100) == (lots - 1) * 100);
        }));
    }

    void qty_anyMoney_isTheWholeLotsThatItPays() {
        QVERIFY(rc::check("whole lots", [this] {
            const qint64 cents = *rc::gen::inRange(1, 100000);
            const qint64 amount = *rc::gen::inRange(1, 1000000000);
            const qint64 multiplier = *rc::gen::inRange(1, 50);
            const qint64 lots = amount * 100 / (cents * 100 * multiplier);
            RC_ASSERT(m_rules->CalcEntrustQty(static_cast<double>(amount),
                                              static_cast<double>(cents) / 100.0, "STOCK.SH",
                                              static_cast<int>(multiplier), false) == lots * 100);
        }));
    }

private:
    const SymbolIdentity m_identity{};
    std::unique_ptr<ClientWorld> m_world;
    std::unique_ptr<QuantityRules> m_rules;
};

QTEST_GUILESS_MAIN(EntrustAmountTest)
#include "entrust_amount_test.moc"
