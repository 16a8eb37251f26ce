#include "hong_kong_prices.h"

#include <QtTest>
#include <future>

#include "client_world.h"
#include "local_platform.h"
#include "log_capture.h"
#include "post.h"
#include "price_unit_ladders.h"
#include "velmarutils/velmar_init_state_mgr.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "wait_for.h"

namespace {

const QString kRates = Velmar_MsgType::HKStockExchangeRateRequest;
const QString kUnits = Velmar_MsgType::HKPriceUnitRequest;

QVariantMap rateRow(const QString& exchange, const QVariant& buy, const QVariant& sell) {
    return {{UserAccount::securityExchange, exchange},
            {HKSExchgRate::HKSExchgRateBuy, buy},
            {HKSExchgRate::HKSExchgRateSell, sell}};
}

QVariantMap unitRow(const QVariant& upTo, const QVariant& unit) {
    return {{HKSExchgRate::HKLevelUpPrice, upTo}, {HKSExchgRate::HKLevelPrice, unit}};
}

/// The minimum spreads of shares as the Exchange publishes them, upper end and spread in dollars;
/// those of 20 and 50 since August 2025.
const QList<QPair<double, double>> kShareSpreads{
    {0.25, 0.001}, {0.5, 0.005}, {10, 0.01},  {20, 0.01}, {50, 0.02}, {100, 0.05},
    {200, 0.1},    {500, 0.2},   {1000, 0.5}, {2000, 1},  {5000, 2},  {9995, 5}};
const QList<QPair<double, double>> kFundSpreads{{1, 0.001},  {5, 0.002},  {10, 0.005}, {20, 0.01},
                                                {100, 0.02}, {200, 0.05}, {500, 0.1},  {1000, 0.2},
                                                {2000, 0.5}, {9999, 1}};

QList<QVariantMap> unitRows(const QList<QPair<double, double>>& spreads) {
    QList<QVariantMap> rows;
    for (const auto& band : spreads) {
        rows.append(unitRow(band.first, band.second));
    }
    return rows;
}

QMap<QString, QString> dictionary(const QList<QPair<double, double>>& spreads) {
    QMap<QString, QString> values;
    for (const auto& band : spreads) {
        values.insert(QString::number(qRound(band.first * 1000)), QString::number(band.second));
    }
    return values;
}

struct Fixture {
    explicit Fixture(const StaticDbBuilder& data = {}) : world({}, data) {
        presenter->initPresenter();
        ladders.load();
    }
    ~Fixture() {
        if (presenter) {
            presenter->deleteLater();
        }
    }
    Fixture(const Fixture&) = delete;
    Fixture& operator=(const Fixture&) = delete;

    double rate(const QString& exchange, RateSideType side) {
        return prices.GetHKStockRate(presenter, exchange, side);
    }
    double stockUnit(double price) const {
        return prices.GetHKStockPriceUnit(price, MdcSecurityType::StockType);
    }
    double fundUnit(double price) const {
        return prices.GetHKStockPriceUnit(price, MdcSecurityType::FundType);
    }
    ScriptedLink& link() { return world.link(); }

    ClientWorld world;
    const QPointer<RecordingPresenter> presenter = new RecordingPresenter;
    PriceUnitLadders ladders;
    HongKongPrices prices{ladders};
};

}  // namespace

class HongKongPricesTest : public QObject {
    Q_OBJECT

private slots:
    void rates_loaded_haveTheMeanBesideBothSides() {
        Fixture fixture;
        fixture.link().on(
            kRates, ScriptedReply::rows({rateRow("G", 0.90, 0.96), rateRow("S", "0.80", "0.90")}));
        QMap<QString, QVariantMap> rates{{"old", {}}};
        fixture.prices.GetHKStockExchangeRate(fixture.presenter, rates);
        QCOMPARE(QStringList(rates.keys()), (QStringList{"G", "S"}));
        QCOMPARE(rates.value("G").value(HKSExchgRate::HKSExchgRateMid).toDouble(), 0.93);
        QCOMPARE(fixture.rate("G", RateSideType::Mid), 0.93);
        QCOMPARE(fixture.rate("G", RateSideType::Buy), 0.90);
        QCOMPARE(fixture.rate("G", RateSideType::Sell), 0.96);
        QCOMPARE(fixture.rate("S", RateSideType::Mid), 0.85);
        QCOMPARE(fixture.link().requestCount(kRates), 1);
        // An empty request: only its own type.
        QCOMPARE(QStringList(fixture.link().lastRequest(kRates).header.keys()),
                 QStringList{System::msgType});
    }

    void rates_exchangeTwice_keepTheLaterRow() {
        Fixture fixture;
        fixture.link().on(kRates,
                          ScriptedReply::rows({rateRow("G", 0.5, 0.5), rateRow("G", 0.9, 0.9)}));
        QCOMPARE(fixture.rate("G", RateSideType::Mid), 0.9);
    }

    void rates_unknownExchangeFieldOrSide_areZero() {
        Fixture fixture;
        fixture.link().on(kRates, ScriptedReply::rows({{{UserAccount::securityExchange, "G"},
                                                        {HKSExchgRate::HKSExchgRateSell, 0.9}}}));
        QCOMPARE(fixture.rate("G", RateSideType::Sell), 0.9);
        QCOMPARE(fixture.rate("G", RateSideType::Mid), 0.45);
        QCOMPARE(fixture.rate("G", RateSideType::Buy), 0.0);
        QCOMPARE(fixture.rate("X", RateSideType::Sell), 0.0);
        QCOMPARE(fixture.rate("G", static_cast<RateSideType>(3)), 0.0);
        QCOMPARE(fixture.rate("G", static_cast<RateSideType>(-1)), 0.0);
    }

    void rates_failedLoad_staysFailedAndIsNotRepeated_data() {
        QTest::addColumn<int>("kind");
        QTest::newRow("refused") << 0;
        QTest::newRow("failed") << 1;
        QTest::newRow("timed out") << 2;
        QTest::newRow("garbage") << 3;
    }
    void rates_failedLoad_staysFailedAndIsNotRepeated() {
        QFETCH(int, kind);
        const ScriptedReply replies[] = {ScriptedReply::refusal("no rates"),
                                         ScriptedReply::failure("broken"), ScriptedReply::timeOut(),
                                         ScriptedReply::garbage()};
        Fixture fixture;
        fixture.link().on(kRates, replies[kind]);
        fixture.prices.initHKExchangeRate(fixture.presenter);
        QCOMPARE(VelmarInitStateMgr::instance().GetInitState(InitTypeCode::HkExchangeRate),
                 InitState::Failed);
        fixture.link().on(kRates, ScriptedReply::rows({rateRow("G", 0.9, 0.9)}));
        QCOMPARE(fixture.rate("G", RateSideType::Mid), 0.0);
        QMap<QString, QVariantMap> rates;
        fixture.prices.GetHKStockExchangeRate(fixture.presenter, rates);
        QVERIFY(rates.isEmpty());
        QCOMPARE(fixture.link().requestCount(kRates), 1);
    }

    void rates_loadUnderWay_areZeroAtOnceWithoutARequest() {
        Fixture fixture;
        fixture.link().on(kRates, ScriptedReply::rows({rateRow("G", 0.9, 0.9)}).held());
        auto first = std::async(std::launch::async,
                                [&fixture] { return fixture.rate("G", RateSideType::Mid); });
        QVERIFY(fixture.link().waitForRequestCount(kRates, 1));
        QCOMPARE(fixture.rate("G", RateSideType::Mid), 0.0);
        QMap<QString, QVariantMap> rates{{"old", {}}};
        fixture.prices.GetHKStockExchangeRate(fixture.presenter, rates);
        QVERIFY(rates.isEmpty());
        // The request is still pending, so nobody waited for it.
        QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 1);
        QCOMPARE(fixture.link().requestCount(kRates), 1);
        QVERIFY(waitFor([&] { return fixture.link().release(kRates) == 1; }));
        QCOMPARE(first.get(), 0.9);
        QCOMPARE(fixture.rate("G", RateSideType::Mid), 0.9);
        QCOMPARE(fixture.link().requestCount(kRates), 1);
    }

    void rates_noPresenter_areEmptyWithoutARequest() {
        Fixture fixture;
        fixture.link().on(kRates, ScriptedReply::rows({rateRow("G", 0.9, 0.9)}));
        QMap<QString, QVariantMap> rates{{"old", {}}};
        fixture.prices.GetHKStockExchangeRate(nullptr, rates);
        QVERIFY(rates.isEmpty());
        QCOMPARE(fixture.prices.GetHKStockRate(nullptr, "G", RateSideType::Mid), 0.0);
        QCOMPARE(fixture.link().requestCount(kRates), 0);
        // The step is still to be claimed.
        QCOMPARE(fixture.rate("G", RateSideType::Mid), 0.9);
    }

    void units_load_asksForStocksThenFunds() {
        Fixture fixture;
        fixture.link().onOccurrence(kUnits, 1, ScriptedReply::rows({unitRow(0.25, 0.1)}));
        fixture.link().onOccurrence(kUnits, 2, ScriptedReply::rows({unitRow("0.25", "0.2")}));
        fixture.prices.initHKPriceUnit(fixture.presenter);
        QList<int> requested;
        for (const ScriptedLink::Request& request : fixture.link().requests(kUnits)) {
            requested.append(request.header.value(HKSExchgRate::HKPriceUnitType).toInt());
        }
        QCOMPARE(requested, (QList<int>{2, 8}));
        QCOMPARE(fixture.stockUnit(0.2), 0.1);
        QCOMPARE(fixture.fundUnit(0.2), 0.2);
        fixture.prices.initHKPriceUnit(fixture.presenter);
        QCOMPARE(fixture.link().requestCount(kUnits), 2);
    }

    void units_loadUnderWay_comeFromTheBuiltInLadder() {
        Fixture fixture(StaticDbBuilder()
                            .section(DictionaryKey::HkStockPriceUnitDict, {{"250", "0.3"}})
                            .section(DictionaryKey::HkFundPriceUnitDict, {{"250", "0.4"}}));
        fixture.link().on(kUnits, ScriptedReply::rows({unitRow(0.25, 0.1)}).held());
        const auto load = std::async(
            std::launch::async, [&fixture] { fixture.prices.initHKPriceUnit(fixture.presenter); });
        QVERIFY(fixture.link().waitForRequestCount(kUnits, 1));
        QCOMPARE(fixture.stockUnit(0.2), 0.3);
        QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 1);
        QVERIFY(waitFor([&] { return fixture.link().release(kUnits) == 1; }));
        // The ladder of funds is requested after the ladder of shares.
        QVERIFY(fixture.link().waitForRequestCount(kUnits, 2));
        QCOMPARE(fixture.stockUnit(0.2), 0.1);
        QCOMPARE(fixture.fundUnit(0.2), 0.4);
        QVERIFY(waitFor([&] { return fixture.link().release(kUnits) == 1; }));
        load.wait();
        QCOMPARE(fixture.fundUnit(0.2), 0.1);
    }

    void units_stocksClaimedElsewhere_fundsAreStillLoaded() {
        Fixture fixture;
        VelmarInitStateMgr::instance().StartInit(InitTypeCode::HkPriceUnitInfo +
                                                 MdcSecurityType::StockType);
        fixture.link().on(kUnits, ScriptedReply::rows({unitRow(0.25, 0.2)}));
        fixture.prices.initHKPriceUnit(fixture.presenter);
        QCOMPARE(fixture.link().requestCount(kUnits), 1);
        QCOMPARE(fixture.fundUnit(0.2), 0.2);
        QCOMPARE(fixture.stockUnit(0.2), 0.001);
    }

    void units_failedOrEmptyAnswer_leaveTheBuiltInLadder_data() {
        QTest::addColumn<bool>("refused");
        QTest::newRow("refused") << true;
        QTest::newRow("no rows") << false;
    }
    void units_failedOrEmptyAnswer_leaveTheBuiltInLadder() {
        QFETCH(bool, refused);
        Fixture fixture(StaticDbBuilder()
                            .section(DictionaryKey::HkStockPriceUnitDict, {{"250", "0.3"}})
                            .section(DictionaryKey::HkFundPriceUnitDict, {{"250", "0.4"}}));
        fixture.link().on(kUnits,
                          refused ? ScriptedReply::refusal("none") : ScriptedReply::rows({}));
        fixture.prices.initHKPriceUnit(fixture.presenter);
        for (const QString& type : {MdcSecurityType::StockType, MdcSecurityType::FundType}) {
            QCOMPARE(
                VelmarInitStateMgr::instance().GetInitState(InitTypeCode::HkPriceUnitInfo + type),
                InitState::Failed);
        }
        QCOMPARE(fixture.stockUnit(0.2), 0.3);
        QCOMPARE(fixture.fundUnit(0.2), 0.4);
    }

    void units_inexactBounds_areRoundedToThousandths() {
        Fixture fixture;
        // 0.57 and 1.005 dollars are a little less than 570 and 1005 thousandths as doubles.
        fixture.link().on(kUnits, ScriptedReply::rows({unitRow(0.57, 0.1), unitRow(1.005, 0.2)}));
        fixture.prices.initHKPriceUnit(fixture.presenter);
        QCOMPARE(fixture.stockUnit(0.57), 0.1);
        QCOMPARE(fixture.stockUnit(0.571), 0.2);
        QCOMPARE(fixture.stockUnit(1.005), 0.2);
    }

    void rates_presenterClosesMeanwhile_areLoadedByTheNextOne() {
        Fixture fixture;
        fixture.link().onOccurrence(kRates, 1, ScriptedReply::never());
        fixture.link().on(kRates, ScriptedReply::rows({rateRow("G", 0.9, 0.9)}));
        invokeOn(fixture.presenter,
                 [&fixture] { fixture.prices.initHKExchangeRate(fixture.presenter); });
        QVERIFY(fixture.link().waitForRequestCount(kRates, 1));
        fixture.presenter->deleteLater();
        QCOMPARE(VelmarInitStateMgr::instance().GetInitState(InitTypeCode::HkExchangeRate),
                 InitState::Running);
        auto* const next = new RecordingPresenter;
        next->initPresenter();
        QCOMPARE(fixture.prices.GetHKStockRate(next, "G", RateSideType::Mid), 0.9);
        QVERIFY(VelmarInitStateMgr::instance().IsInited(InitTypeCode::HkExchangeRate));
        fixture.prices.initHKExchangeRate(next);
        QCOMPARE(fixture.link().requestCount(kRates), 2);
        next->deleteLater();
    }

    void units_presenterClosesMeanwhile_areLoadedByTheNextOne_data() {
        QTest::addColumn<int>("occurrence");
        QTest::addColumn<QList<int>>("requested");
        // Once the presenter is closing the second load is not begun.
        QTest::newRow("during the shares") << 1 << QList<int>{2, 2, 8};
        QTest::newRow("during the funds") << 2 << QList<int>{2, 8, 8};
    }
    void units_presenterClosesMeanwhile_areLoadedByTheNextOne() {
        QFETCH(int, occurrence);
        QFETCH(QList<int>, requested);
        Fixture fixture;
        fixture.link().on(kUnits, ScriptedReply::rows({unitRow(0.25, 0.1)}));
        fixture.link().onOccurrence(kUnits, occurrence, ScriptedReply::never());
        invokeOn(fixture.presenter,
                 [&fixture] { fixture.prices.initHKPriceUnit(fixture.presenter); });
        QVERIFY(fixture.link().waitForRequestCount(kUnits, occurrence));
        fixture.presenter->deleteLater();
        QCOMPARE(fixture.stockUnit(0.2), occurrence == 1 ? 0.001 : 0.1);
        QCOMPARE(fixture.fundUnit(0.2), 0.001);
        auto* const next = new RecordingPresenter;
        next->initPresenter();
        fixture.prices.initHKPriceUnit(next);
        QCOMPARE(fixture.stockUnit(0.2), 0.1);
        QCOMPARE(fixture.fundUnit(0.2), 0.1);
        QList<int> types;
        for (const ScriptedLink::Request& request : fixture.link().requests(kUnits)) {
            types.append(request.header.value(HKSExchgRate::HKPriceUnitType).toInt());
        }
        QCOMPARE(types, requested);
        next->deleteLater();
    }

    void units_unusableRow_isKeptWithOneWarning_data() {
        QTest::addColumn<QVariant>("bound");
        QTest::addColumn<QVariant>("unit");
        QTest::addColumn<double>("unitAtOne");
        QTest::addColumn<bool>("warns");
        QTest::newRow("usable") << QVariant(5.0) << QVariant(0.2) << 0.2 << false;
        // The largest bound that an int can hold in thousandths.
        QTest::newRow("largest") << QVariant(2147483.647) << QVariant(0.2) << 0.9 << false;
        QTest::newRow("too large") << QVariant(2147483.648) << QVariant(0.2) << 0.9 << true;
        QTest::newRow("infinite") << QVariant(std::numeric_limits<double>::infinity())
                                  << QVariant(0.2) << 0.9 << true;
        QTest::newRow("bound is not a number") << QVariant("much") << QVariant(0.2) << 0.9 << true;
        QTest::newRow("bound missing") << QVariant() << QVariant(0.2) << 0.9 << true;
        QTest::newRow("unit 0") << QVariant(5.0) << QVariant(0) << 0.0 << true;
        QTest::newRow("unit negative") << QVariant(5.0) << QVariant(-0.2) << -0.2 << true;
        QTest::newRow("unit is not a number") << QVariant(5.0) << QVariant("x") << 0.0 << true;
        QTest::newRow("both") << QVariant("much") << QVariant("x") << 0.9 << true;
    }
    void units_unusableRow_isKeptWithOneWarning() {
        QFETCH(QVariant, bound);
        QFETCH(QVariant, unit);
        QFETCH(double, unitAtOne);
        QFETCH(bool, warns);
        Fixture fixture;
        // A row whose bound counts as 0 leaves a price of 1 to this one.
        fixture.link().onOccurrence(kUnits, 1,
                                    ScriptedReply::rows({unitRow(bound, unit), unitRow(6.0, 0.9)}));
        const LogCapture log;
        fixture.prices.initHKPriceUnit(fixture.presenter);
        QCOMPARE(log.texts(QtWarningMsg).filter("unusable row").size(), warns ? 1 : 0);
        QCOMPARE(fixture.stockUnit(1.0), unitAtOne);
    }

    void unit_otherType_usesTheLadderOfSharesOnceItsOwnStepIsDone() {
        Fixture fixture(
            StaticDbBuilder().section(DictionaryKey::HkStockPriceUnitDict, {{"250", "0.3"}}));
        fixture.link().onOccurrence(kUnits, 1, ScriptedReply::rows({unitRow(0.25, 0.1)}));
        fixture.link().onOccurrence(kUnits, 2, ScriptedReply::rows({unitRow(0.25, 0.2)}));
        const auto unit = [&fixture] { return fixture.prices.GetHKStockPriceUnit(0.2, "5"); };
        QCOMPARE(unit(), 0.3);
        // Loading the shares does not count as loading this type.
        fixture.prices.initHKPriceUnit(fixture.presenter);
        QCOMPARE(fixture.stockUnit(0.2), 0.1);
        QCOMPARE(unit(), 0.3);
        VelmarInitStateMgr::instance().FinishInit(InitTypeCode::HkPriceUnitInfo + "5", true, true);
        QCOMPARE(unit(), 0.1);
    }

    void unit_emptyLadder_isOneThousandth() {
        const Fixture fixture;
        QCOMPARE(fixture.stockUnit(12.0), 0.001);
        QCOMPARE(fixture.fundUnit(12.0), 0.001);
    }

    void unit_everyBoundOfTheSpreadTable_belongsToTheBandBelow_data() {
        QTest::addColumn<bool>("fund");
        QTest::addColumn<double>("price");
        QTest::addColumn<double>("unit");
        const auto addRows = [](bool fund, const QList<QPair<double, double>>& spreads) {
            for (int i = 0; i < spreads.size(); ++i) {
                const double bound = spreads.at(i).first;
                const double unit = spreads.at(i).second;
                // Above the highest bound its own spread goes on.
                const double next = i + 1 < spreads.size() ? spreads.at(i + 1).second : unit;
                const QByteArray name =
                    QByteArray(fund ? "fund " : "share ") + QByteArray::number(bound);
                QTest::newRow(name + " below") << fund << bound - unit << unit;
                QTest::newRow(name + " at") << fund << bound << unit;
                QTest::newRow(name + " above") << fund << bound + next << next;
            }
        };
        addRows(false, kShareSpreads);
        addRows(true, kFundSpreads);
        QTest::newRow("2025: 15") << false << 15.0 << 0.01;
        QTest::newRow("2025: 35") << false << 35.0 << 0.02;
        QTest::newRow("far above") << false << 1e6 << 5.0;
    }
    void unit_everyBoundOfTheSpreadTable_belongsToTheBandBelow() {
        QFETCH(bool, fund);
        QFETCH(double, price);
        QFETCH(double, unit);
        Fixture fixture(StaticDbBuilder()
                            .section(DictionaryKey::HkStockPriceUnitDict, dictionary(kShareSpreads))
                            .section(DictionaryKey::HkFundPriceUnitDict, dictionary(kFundSpreads)));
        const auto unitNow = [&] {
            return fund ? fixture.fundUnit(price) : fixture.stockUnit(price);
        };
        QCOMPARE(unitNow(), unit);
        // The same from the server.
        fixture.link().onOccurrence(kUnits, 1, ScriptedReply::rows(unitRows(kShareSpreads)));
        fixture.link().onOccurrence(kUnits, 2, ScriptedReply::rows(unitRows(kFundSpreads)));
        fixture.prices.initHKPriceUnit(fixture.presenter);
        QVERIFY(VelmarInitStateMgr::instance().IsInited(
            InitTypeCode::HkPriceUnitInfo +
            (fund ? MdcSecurityType::FundType : MdcSecurityType::StockType)));
        QCOMPARE(unitNow(), unit);
    }
};

QTEST_GUILESS_MAIN(HongKongPricesTest)
#include "hong_kong_prices_test.moc"
