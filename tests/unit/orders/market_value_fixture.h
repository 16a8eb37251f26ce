#pragma once

#include <QMap>
#include <QtTest>
#include <functional>
#include <limits>
#include <memory>

#include "client_world.h"
#include "commonquotahandler/common_quota_handler.h"
#include "data_stores.h"
#include "local_platform.h"
#include "lock_rank.h"
#include "market_values.h"
#include "scripted_neighbour.h"
#include "symbol_data_reader.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/tick_fields.h"
#include "vocabulary/values.h"

/// Symbols that a test describes. Filled before any thread reads it.
class ScriptedSymbols final : public SymbolDataReader {
public:
    struct Symbol {
        QString type = MdcSecurityType::StockType;
        int displayFactor = 100;
        QVariantMap details;
    };

    QString symbolOf(const QString& securityID, const QString& exchange) const override {
        return m_ids.value(securityID + '|' + exchange);
    }
    QVariantMap detailsOf(const QString& symbol) const override {
        return m_symbols.value(symbol).details;
    }
    QString securityTypeOf(const QString& symbol) const override {
        return m_symbols.contains(symbol) ? m_symbols.value(symbol).type : QString();
    }
    int displayFactorOf(const QString& symbol) const override {
        return m_symbols.contains(symbol) ? m_symbols.value(symbol).displayFactor : 1;
    }
    QMap<QString, QVariantMap> hongKongRates() const override { return rates; }

    void add(const QString& symbol, const QString& exchange, const Symbol& record) {
        m_symbols.insert(symbol, record);
        m_ids.insert(symbol.section('.', 0, 0) + '|' + exchange, symbol);
    }

    QMap<QString, QVariantMap> rates;

private:
    QMap<QString, Symbol> m_symbols;
    QMap<QString, QString> m_ids;
};

/// Runs a step wherever an update has released one table and not yet locked the next.
class PausingMarketValues final : public MarketValues {
public:
    using MarketValues::MarketValues;

    std::function<void(int gap)> step;  ///< gaps of an update count from 1
    void restart() { m_gap = 0; }

private:
    void betweenLocks() override {
        if (step) {
            step(++m_gap);
        }
    }

    int m_gap = 0;
};

inline QVariantMap positionRow(const QString& account, const QString& id, const QString& exchange,
                               const QVariant& quantity, const QVariant& cost = 0.0) {
    return {{UserAccount::tradingAccount, account},
            {Security::securityID, id},
            {UserAccount::securityExchange, exchange},
            {Security::nominalQty, quantity},
            {Security::omsAverageCost, cost}};
}

/// Market values over a local platform with two accounts, of which a test gives the positions. Its
/// symbols are "600000.SH" and "600001.SH" (display factor 100), the standard bond "888880.SH"
/// (10), the Hong Kong shares "02001.HK" and "08001.HK", the gold contract "AU01.SGE".
struct MarketValueFixture {
    explicit MarketValueFixture(const QList<TestAccount>& accounts = {TestAccount("A1"),
                                                                      TestAccount("A2")},
                                const StaticDbBuilder& data = StaticDbBuilder())
        : world(accounts, data) {
        symbols.add("600000.SH", Exchange::sh, {});
        symbols.add("600001.SH", Exchange::sh, {});
        symbols.add("888880.SH", Exchange::sh, {MdcSecurityType::BondType, 10, {}});
        symbols.add("02001.HK", Exchange::hhk, {MdcSecurityType::StockType, 1, {}});
        symbols.add("08001.HK", Exchange::szhk, {MdcSecurityType::StockType, 1, {}});
        symbols.add("AU01.SGE", Exchange::sge,
                    {MdcSecurityType::SpotType, 1, {{Security::contractMultiplier, 1}}});
        world.login();
        CommonQuotaHandler::instance().Init();
        LocalPlatform::instance().setNeighbourData(neighbour);
        values.loadStandardBonds();
    }
    MarketValueFixture(const MarketValueFixture&) = delete;
    MarketValueFixture& operator=(const MarketValueFixture&) = delete;

    static QStringList subscribed() { return DataStores::tickSubscriptions().symbols(); }
    /// Gives the symbol a last price without a tick reaching the tables.
    static void setPrice(const QString& symbol, const QVariant& price) {
        LocalPlatform::instance().publishTick(symbol, {{TickField::lastPrice, price}}, "feed");
    }
    void rebuild(const QList<QVariantMap>& rows) {
        neighbour->setPositions(rows);
        values.initPosData();
    }
    void tick(const QString& symbol, const QVariant& price) {
        setPrice(symbol, price);
        values.takeTick(symbol);
    }
    void push(const QString& id, const QVariant& quantity, const QVariant& cost = 0.0,
              const QString& exchange = Exchange::sh, const QString& account = "A1") {
        values.slotPositionUpdated(positionRow(account, id, exchange, quantity, cost));
    }
    VelmarMarketValueInfo of(const QString& account = "A1") const {
        return values.GetMarketValueByTradingAccount(account);
    }
    double value(const QString& account = "A1") const { return of(account).marketValue; }

    ClientWorld world;
    ScriptedSymbols symbols;
    const std::shared_ptr<ScriptedNeighbour> neighbour = std::make_shared<ScriptedNeighbour>();
    PausingMarketValues values{symbols};
};
