#pragma once

#include <QPointer>
#include <QtTest>
#include <atomic>
#include <mutex>
#include <thread>

#include "client_world.h"
#include "clock.h"
#include "hong_kong_prices.h"
#include "lock_rank.h"
#include "post.h"
#include "price_cage.h"
#include "price_cage_sink.h"
#include "price_rules.h"
#include "price_unit_ladders.h"
#include "symbol_identity.h"
#include "velmarutils/velmar_init_state_mgr.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"

/// The symbols of the price tests, one of each kind, and the suffixes of exchanges.
inline StaticDbBuilder priceData() {
    StaticDbBuilder data;
    const auto add = [&data](const QString& symbol, const QString& exchange, const QString& type,
                             const QString& subType) {
        data.reference("security", symbol,
                       {{Security::symbol, symbol},
                        {Security::securityID, symbol.section('.', 0, 0)},
                        {UserAccount::securityExchange, exchange},
                        {MDCFieldDefine::mdcSecurityType, type},
                        {MDCFieldDefine::mdcSubSecurityType, subType}});
    };
    using namespace MdcSubSecurityType;
    add("600000.SH", Exchange::sh, MdcSecurityType::StockType, "02001");
    add("688001.SH", Exchange::sh, MdcSecurityType::StockType, ScienTechInnovateBoard);
    add("000001.SZ", Exchange::sz, MdcSecurityType::StockType, "02001");
    add("300001.SZ", Exchange::sz, MdcSecurityType::StockType, Gemstock);
    add("920001.BJ", Exchange::bj, MdcSecurityType::StockType, BjSelectedStock);
    add("510050.SH", Exchange::sh, MdcSecurityType::FundType, TradingopenindexfundETF);
    add("159001.SZ", Exchange::sz, MdcSecurityType::FundType, TradingopenindexfundETF);
    add("113001.SH", Exchange::sh, MdcSecurityType::BondType, Convertiblebond);
    add("113002.SH", Exchange::sh, MdcSecurityType::BondType, DirectedConBond);
    add("019001.SH", Exchange::sh, MdcSecurityType::BondType, "03100");
    add("204001.SH", Exchange::sh, MdcSecurityType::BondType, Pledgetypetreasurybondrepurchase);
    add("202001.SH", Exchange::sh, MdcSecurityType::BondType, Thecorporatebondpledgedrepo);
    add("02001.HK", Exchange::hhk, MdcSecurityType::StockType, HKSharesTypeList.at(0));
    add("08001.HK", Exchange::szhk, MdcSecurityType::StockType, HKSharesTypeList.at(1));
    add("02801.HK", Exchange::hhk, MdcSecurityType::FundType, HKSharesTypeList.at(2));
    add("09001.HK", Exchange::HkStockCirculation, MdcSecurityType::StockType, HStcokCirculation);
    add("10000001.SH", Exchange::sh, MdcSecurityType::OptionType, "06100");
    add("IF2601.CFE", Exchange::cffex, MdcSecurityType::FuturesType, "05100");
    // Symbols without a suffix.
    add("600001", Exchange::sh, MdcSecurityType::StockType, "02001");
    add("02002", Exchange::hhk, MdcSecurityType::StockType, HKSharesTypeList.at(0));
    data.section(DictionaryKey::Markert2SymbolPost, {{Exchange::sh, SymbolPost::sh},
                                                     {Exchange::sz, SymbolPost::sz},
                                                     {Exchange::hhk, SymbolPost::hk}});
    data.section(DictionaryKey::HkStockPriceUnitDict, {{"250", "0.001"}, {"500", "0.005"}});
    data.section(DictionaryKey::HkFundPriceUnitDict, {{"1000", "0.001"}, {"5000", "0.002"}});
    return data;
}

class StandingClock final : public Clock {
public:
    QDateTime now() const override { return m_now; }
    QDateTime m_now{QDate(2026, 3, 10), QTime(9, 30, 15)};
};

/// Counts its calls, and keeps what a caller could read during the last one.
class CountingSink final : public PriceCageSink {
public:
    struct Moment {
        InitState state = InitState::None;
        bool underLock = true;
        CageRecords cages;
    };

    void priceCageInfoFinishInit() override {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_last.state = VelmarInitStateMgr::instance().GetInitState(InitTypeCode::PriceCageInfo);
        m_last.underLock = HeldLocks::any();
        m_last.cages = cage->GetAllCageMap();
        ++count;
    }
    Moment last() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_last;
    }

    const PriceCage* cage = nullptr;
    std::atomic<int> count{0};

private:
    mutable std::mutex m_mutex;  // guards m_last
    Moment m_last;
};

/// A presenter that is disposed of with this object.
struct OwnedPresenter {
    OwnedPresenter() { presenter->initPresenter(); }
    ~OwnedPresenter() {
        if (presenter) {
            presenter->deleteLater();
        }
    }
    OwnedPresenter(const OwnedPresenter&) = delete;
    OwnedPresenter& operator=(const OwnedPresenter&) = delete;

    // A platform that closes disposes of its presenters too.
    const QPointer<RecordingPresenter> presenter = new RecordingPresenter;
};

/// The price companions with a platform of their own and a presenter to send through.
struct PriceFixture {
    explicit PriceFixture(const CageBuiltIn& builtIn = CageBuiltIn::standard(),
                          const StaticDbBuilder& data = priceData())
        : world({}, data), cage(identity, clock, sink, builtIn) {
        world.login();
        world.link().clearRequests();
        ladders.load();
        sink.cage = &cage;
    }
    PriceFixture(const PriceFixture&) = delete;
    PriceFixture& operator=(const PriceFixture&) = delete;

    /// Queues a functor on the presenter's object thread, which a closing presenter waits for.
    template <class Functor>
    void runOnPresenter(Functor functor) {
        invokeOn(presenter, std::move(functor));
    }

    ClientWorld world;
    StandingClock clock;
    CountingSink sink;
    SymbolIdentity identity;
    PriceUnitLadders ladders;
    HongKongPrices hongKong{ladders};
    PriceCage cage;
    PriceRules prices{identity, hongKong, cage};
    // Last, so that it is disposed of before the companions that its thread may use.
    const OwnedPresenter owned;
    const QPointer<RecordingPresenter>& presenter = owned.presenter;
};
