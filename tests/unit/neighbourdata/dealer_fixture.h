#pragma once

#include <QDateTime>
#include <QVariantMap>
#include <QVector>
#include <memory>

#include "dealer.h"
#include "fake_clock.h"
#include "fake_desk.h"
#include "quantity_sections.h"
#include "static_db_builder.h"
#include "temp_home.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

/// When each case begins.
inline const QDateTime kMorning(QDate(2026, 1, 5), QTime(10, 0));

/// What orders on a security must keep to, written down apart from the database.
struct DealerRules {
    const char* symbol;
    const char* id;
    QString exchange;
    QString type;
    QString subType;
    double close;
    double tick;
    double upper;
    double lower;
    qint64 step;
    qint64 least;
    qint64 most;
    double unit;
    double rate;
    bool nextDay;
    QVariantMap more;
};

inline const QVector<DealerRules>& dealerMarket() {
    using namespace MdcSecurityType;
    static const QString etf = MdcSubSecurityType::TradingopenindexfundETF;
    static const QString convertible = MdcSubSecurityType::Convertiblebond;
    static const QString science = MdcSubSecurityType::ScienTechInnovateBoard;
    static const QVariantMap lotOfOne{{Security::LotSize, 1}};
    static const auto contract = [](double multiplier) {
        return QVariantMap{{Security::LotSize, 1}, {Security::contractMultiplier, multiplier}};
    };
    static const QVector<DealerRules> all{
        {"600000.SH",
         "600000",
         Exchange::sh,
         StockType,
         "02001",
         10,
         0.01,
         11,
         9,
         100,
         100,
         1000000,
         1,
         1,
         true,
         {}},
        {"1.SZ",
         "1",
         Exchange::sz,
         StockType,
         "02001",
         2.51,
         0.01,
         2.52,
         2.5,
         100,
         100,
         1000000,
         1,
         1,
         true,
         {}},
        {"688001.SH",
         "688001",
         Exchange::sh,
         StockType,
         science,
         88.88,
         0.01,
         106.66,
         71.1,
         1,
         200,
         100000,
         1,
         1,
         true,
         {}},
        {"113001.SH",
         "113001",
         Exchange::sh,
         BondType,
         convertible,
         120.5,
         0.001,
         144.6,
         96.4,
         10,
         10,
         1000000,
         1,
         1,
         false,
         {}},
        {"10001.SH",
         "10001",
         Exchange::sh,
         BondType,
         "03100",
         100.123,
         0.001,
         0,
         0,
         1000,
         1000,
         100000000,
         1,
         1,
         false,
         {}},
        {"510010.SH",
         "510010",
         Exchange::sh,
         FundType,
         etf,
         1.234,
         0.001,
         1.357,
         1.111,
         100,
         100,
         1000000,
         1,
         1,
         true,
         {}},
        {"2001.HK",
         "2001",
         Exchange::hhk,
         StockType,
         "02400",
         9.99,
         0.01,
         0,
         0,
         500,
         500,
         1500000,
         1,
         (0.8964 + 0.9518) / 2,
         false,
         {{Security::LotSize, 500}}},
        {"IF2601.CFE", "IF2601", Exchange::cffex, FuturesType, "05200", 4000, 0.2, 4400, 3600, 1, 1,
         20, 300, 1, false, contract(300)},
        {"90001.SH", "90001", Exchange::sh, OptionType, "06100", 0.1234, 0.0001, 0, 0, 1, 1, 50,
         10000, 1, false, contract(10000)},
        {"AU01.SGE", "AU01", Exchange::sge, SpotType, "09100", 800, 0.01, 1040, 560, 1, 1, 10000,
         10, 1, false, lotOfOne},
    };
    return all;
}

inline const DealerRules* rulesOf(const QString& symbol) {
    for (const DealerRules& one : dealerMarket()) {
        if (symbol == QLatin1String(one.symbol)) {
            return &one;
        }
    }
    return nullptr;
}

inline QVariantMap recordOf(const DealerRules& one) {
    QVariantMap record = one.more;
    record.insert(Security::symbol, QLatin1String(one.symbol));
    record.insert(Security::securityID, QLatin1String(one.id));
    record.insert(UserAccount::securityExchange, one.exchange);
    record.insert(MDCFieldDefine::mdcSecurityType, one.type);
    record.insert(MDCFieldDefine::mdcSubSecurityType, one.subType);
    record.insert("PreClosePx", one.close);
    record.insert("PriceTick", one.tick);
    record.insert("MaxPx", one.upper);
    record.insert("MinPx", one.lower);
    return record;
}

/// A static database of the securities above, and desks to deal on. A test class derives from it.
class DealerWorld {
protected:
    DealerWorld() {
        m_database = m_home.filePath("static.db");
        StaticDbBuilder builder;
        for (const DealerRules& one : dealerMarket()) {
            builder.reference("security", QLatin1String(one.symbol), recordOf(one));
        }
        builder.reference("gold", "AU01.SGE", {{GoldTrade::TradeUnitQty, 10}});
        // What must not be dealt.
        DealerRules repo = dealerMarket().at(3);
        repo.symbol = "204001.SH";
        repo.id = "204001";
        repo.subType = "03310";
        builder.reference("security", "204001.SH", recordOf(repo));
        DealerRules gone = dealerMarket().first();
        gone.symbol = "600050.SH";
        gone.more = QVariantMap{{System::deleteFlag, true}};
        builder.reference("security", "600050.SH", recordOf(gone));
        DealerRules unpriced = dealerMarket().first();
        unpriced.symbol = "600051.SH";
        unpriced.close = 0;
        builder.reference("security", "600051.SH", recordOf(unpriced));
        builder.referenceText("security", "600052.SH", "not a record");
        builder
            .section(QuantitySection::step, {{"*", "100"},
                                             {"02200", "1"},
                                             {"03200", "10"},
                                             {"3", "1000"},
                                             {"6", "1"},
                                             {"5", "1"},
                                             {"9", "1"}})
            .section(QuantitySection::min, {{"*", "100"},
                                            {"02200", "200"},
                                            {"03200", "10"},
                                            {"3", "1000"},
                                            {"6", "1"},
                                            {"5", "1"},
                                            {"9", "1"}})
            .section(QuantitySection::max, {{"*", "1000000"},
                                            {"02200", "100000"},
                                            {"02200_orderType:1", "50000"},
                                            {"3", "100000000"},
                                            {"03200", "1000000"},
                                            {"05200", "20"},
                                            {"6", "50"},
                                            {"9", "10000"}})
            .write(m_database);
    }
    void restartClock() { m_clock = std::make_unique<FakeClock>(kMorning); }
    Dealer::Options options(quint32 seed = 7) const {
        Dealer::Options given;
        given.seed = seed;
        given.staticDatabaseFile = m_database;
        given.clock = m_clock->function();
        return given;
    }
    std::shared_ptr<FakeDesk> desk() const {
        auto made = std::make_shared<FakeDesk>();
        for (const DealerRules& one : dealerMarket()) {
            made->setFigures(QLatin1String(one.symbol), {one.unit, one.rate, one.nextDay});
        }
        return made;
    }
    /// One account of each kind.
    std::shared_ptr<FakeDesk> fullDesk() const {
        auto made = desk();
        const QStringList shares{Exchange::sh, Exchange::sz, Exchange::hhk};
        made->addAccount("T1", FundAccountType::Cash, shares, 2000000);
        made->addAccount("T2", FundAccountType::Credit, shares, 300000);
        made->addAccount("T3", FundAccountType::Future, {Exchange::cffex}, 9000000);
        made->addAccount("T4", FundAccountType::Option, {Exchange::sh}, 100000);
        made->addAccount("T5", FundAccountType::Metal, {Exchange::sge}, 500000);
        made->addHolding("T1", "600000.SH", Exchange::sh, 12345);
        made->addHolding("T1", "688001.SH", Exchange::sh, 1500);
        made->addHolding("T1", "2001.HK", Exchange::hhk, 5200);
        made->addHolding("T2", "113001.SH", Exchange::sh, 505);
        made->addHolding("T2", "204001.SH", Exchange::sh, 1000);
        made->addHolding("T3", "IF2601.CFE", Exchange::cffex, 3);
        made->addHolding("T5", "AU01.SGE", Exchange::sge, 90);
        return made;
    }

    TempHome m_home;
    QString m_database;
    std::unique_ptr<FakeClock> m_clock;
};
