#include <QSet>
#include <mutex>

#include "data_log.h"
#include "never_destroyed.h"
#include "reference_field.h"
#include "reference_table.h"
#include "znbasebusinessdatamgr/zn_bond_data_mgr.h"
#include "znbasebusinessdatamgr/zn_etf_data_handler.h"
#include "znbasebusinessdatamgr/zn_gold_etf_data_mgr.h"
#include "znbasebusinessdatamgr/zn_new_stock_data_handler.h"
#include "znbasebusinessdatamgr/zn_rqt_base_data_handler.h"
#include "znbasebusinessdatamgr/zn_system_setting_data_mgr.h"

// The classes that plug-ins see; each reads one ReferenceTable.

ZnEtfDataHandler& ZnEtfDataHandler::instance() {
    return neverDestroyed([] { return new ZnEtfDataHandler; });
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
    return neverDestroyed([] { return new ZnBondDataMgr; });
}

bool ZnBondDataMgr::load() {
    return ReferenceTable::of(ReferenceKind::Bond).load();
}

QString ZnBondDataMgr::GetSingelBondBaseInfo(const QString& symbol, stuBaseInfo& out) {
    const QVariantMap bond = ReferenceTable::of(ReferenceKind::Bond).record(symbol);
    if (bond.isEmpty()) {
        return QStringLiteral("no bond has the symbol %1").arg(symbol);
    }
    out.symbol = symbol;
    out.stockInterest = bond.value(ReferenceField::accruedInterest).toDouble();
    return QStringLiteral("0");
}

ZnGoldEtfDataMgr* ZnGoldEtfDataMgr::instance() {
    return &neverDestroyed([] { return new ZnGoldEtfDataMgr; });
}

bool ZnGoldEtfDataMgr::load(int, int) {
    return ReferenceTable::of(ReferenceKind::Gold).load();
}

QVariantMap ZnGoldEtfDataMgr::GetGoldSecurityInfoBySymbol(const QString& symbol) {
    return ReferenceTable::of(ReferenceKind::Gold).record(symbol);
}

ZnSystemSettingDataMgr& ZnSystemSettingDataMgr::instance() {
    return neverDestroyed([] { return new ZnSystemSettingDataMgr; });
}

bool ZnSystemSettingDataMgr::init() {
    return ReferenceTable::of(ReferenceKind::Setting).load();
}

ZnRqtBaseDataHandler& ZnRqtBaseDataHandler::instance() {
    return neverDestroyed([] { return new ZnRqtBaseDataHandler; });
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
    return neverDestroyed<QuotaAccounts>();
}

}  // namespace

ZnNewStockDataHandler& ZnNewStockDataHandler::instance() {
    return neverDestroyed([] { return new ZnNewStockDataHandler; });
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
