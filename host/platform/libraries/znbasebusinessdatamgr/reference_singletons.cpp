#include <QSet>
#include <mutex>

#include "data_log.h"
#include "reference_field.h"
#include "reference_table.h"
#include "znbasebusinessdatamgr/zn_bond_data_mgr.h"
#include "znbasebusinessdatamgr/zn_etf_data_handler.h"
#include "znbasebusinessdatamgr/zn_gold_etf_data_mgr.h"
#include "znbasebusinessdatamgr/zn_new_stock_data_handler.h"
#include "znbasebusinessdatamgr/zn_rqt_base_data_handler.h"
#include "znbasebusinessdatamgr/zn_system_setting_data_mgr.h"

// The classes that plug-ins know; each is a name for a table of ReferenceTable.

ZnEtfDataHandler& ZnEtfDataHandler::instance() {
    static auto* const handler = new ZnEtfDataHandler;
    return *handler;
}

bool ZnEtfDataHandler::load() {
    return ReferenceTable::of(ReferenceKind::Etf).load();
}

bool ZnEtfDataHandler::IsEtfRedemptionSymbol(const QString& symbol) {
    return ReferenceTable::of(ReferenceKind::Etf).contains(symbol);
}

QVariantMap ZnEtfDataHandler::getEtfRedemptionSymbolInfo(const QString& symbol) {
    return ReferenceTable::of(ReferenceKind::Etf).record(symbol);
}

ZnBondDataMgr& ZnBondDataMgr::instance() {
    static auto* const manager = new ZnBondDataMgr;
    return *manager;
}

bool ZnBondDataMgr::load() {
    return ReferenceTable::of(ReferenceKind::Bond).load();
}

QString ZnBondDataMgr::GetSingelBondBaseInfo(const QString& symbol, stuBaseInfo& out) {
    const QVariantMap bond = ReferenceTable::of(ReferenceKind::Bond).record(symbol);
    if (bond.isEmpty()) {
        return QStringLiteral("no bond is called %1").arg(symbol);
    }
    out.symbol = symbol;
    out.stockInterest = bond.value(ReferenceField::accruedInterest).toDouble();
    return QStringLiteral("0");
}

ZnGoldEtfDataMgr* ZnGoldEtfDataMgr::instance() {
    static auto* const manager = new ZnGoldEtfDataMgr;
    return manager;
}

bool ZnGoldEtfDataMgr::load(int, int) {
    return ReferenceTable::of(ReferenceKind::Gold).load();
}

QVariantMap ZnGoldEtfDataMgr::GetGoldSecurityInfoBySymbol(const QString& symbol) {
    return ReferenceTable::of(ReferenceKind::Gold).record(symbol);
}

ZnSystemSettingDataMgr& ZnSystemSettingDataMgr::instance() {
    static auto* const manager = new ZnSystemSettingDataMgr;
    return *manager;
}

bool ZnSystemSettingDataMgr::init() {
    return ReferenceTable::of(ReferenceKind::Setting).load();
}

ZnRqtBaseDataHandler& ZnRqtBaseDataHandler::instance() {
    static auto* const handler = new ZnRqtBaseDataHandler;
    return *handler;
}

void ZnRqtBaseDataHandler::initData(DataType type) {
    if (type != Symbols) {
        qCWarning(lcPlatformStaticData) << "unknown kind of securities lending data:" << int(type);
        return;
    }
    ReferenceTable::of(ReferenceKind::Rqt).load();
}

bool ZnRqtBaseDataHandler::IsSymbolPortfolioRqt(const QString& symbol) {
    return ReferenceTable::of(ReferenceKind::Rqt).contains(symbol);
}

QVariantMap ZnRqtBaseDataHandler::GetRqtSymbolDetail(const QString& symbol) {
    return ReferenceTable::of(ReferenceKind::Rqt).record(symbol);
}

namespace {

struct QuotaAccounts {
    std::mutex lock;  // guards the accounts
    QSet<QString> accounts;
};

QuotaAccounts& quotaAccounts() {
    static auto* const instance = new QuotaAccounts;
    return *instance;
}

}  // namespace

ZnNewStockDataHandler& ZnNewStockDataHandler::instance() {
    static auto* const handler = new ZnNewStockDataHandler;
    return *handler;
}

void ZnNewStockDataHandler::SetTradingAccount(const QStringList& tradingAccounts) {
    const std::lock_guard<std::mutex> guard(quotaAccounts().lock);
    quotaAccounts().accounts = QSet<QString>(tradingAccounts.cbegin(), tradingAccounts.cend());
}

void ZnNewStockDataHandler::init(DataType type) {
    QSet<QString> accounts;
    switch (type) {
        case Issues:
            ReferenceTable::of(ReferenceKind::NewStock).load();
            return;
        case Quotas: {
            const std::lock_guard<std::mutex> guard(quotaAccounts().lock);
            accounts = quotaAccounts().accounts;
        }
            ReferenceTable::of(ReferenceKind::Quota).loadOfAccounts(accounts);
            return;
    }
    qCWarning(lcPlatformStaticData) << "unknown kind of new share data:" << int(type);
}

QVariantMap ZnNewStockDataHandler::GetNewStockDetailInfo(const QString& symbol) {
    return ReferenceTable::of(ReferenceKind::NewStock).record(symbol);
}

QVariantMap ZnNewStockDataHandler::GetNewStockDetailInfoBySubId(const QString& subscribeId) {
    return ReferenceTable::of(ReferenceKind::NewStock)
        .recordWith(ReferenceField::subscribeId, subscribeId);
}
