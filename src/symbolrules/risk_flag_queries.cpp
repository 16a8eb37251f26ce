#include <QThread>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

#include "data_query.h"
#include "load_step.h"
#include "log.h"
#include "symbol_identity.h"
#include "symbol_risk_flags.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "znbusinessdata/c_business_data_base.h"

// The lists of symbols that are requested from the server. A failed request is logged where it is
// sent and leaves the list in memory.

namespace {

constexpr unsigned long kPauseForOtherLoadMs = 10;

QVariantMap ofLoginUser() {
    return {{UserAccount::loginUserId, CBusinessDataBase::GetInstance()->GetLoginAccount()}};
}

QString symbolOf(const SymbolIdentity& identity, const QVariantMap& row) {
    return identity.GetSymbolBySecurityIDAndExchange(
        row.value(Security::securityID).toString(),
        row.value(UserAccount::securityExchange).toString());
}

/// The risk type of a row, when it is a whole number that an int can hold. QVariant would make
/// another type of the rest: 4294967297 and true would become 1, and 1.5 would become 2.
std::optional<int> riskTypeOf(const QVariant& value) {
    bool isNumber = false;
    const double number = value.toDouble(&isNumber);
    const bool fits = isNumber && value.type() != QVariant::Bool && number == std::trunc(number) &&
                      number >= std::numeric_limits<int>::min() &&
                      number <= std::numeric_limits<int>::max();
    return fits ? std::optional<int>(static_cast<int>(number)) : std::nullopt;
}

}  // namespace

void SymbolRiskFlags::InitSymbolRiskTypeInfo(ZnPresenterClass* presenter) {
    if (m_riskTypeInited != 0) {
        return;
    }
    std::unique_lock<std::mutex> load(m_riskTypeLoadLock, std::defer_lock);
    if (!load.try_lock()) {
        qCDebug(lcSymbolRules) << "InitSymbolRiskTypeInfo waits for the request that is under way";
        // That request's presenter may stay longer than this one.
        do {
            if (LoadStep::isClosing(presenter)) {
                return;
            }
            QThread::msleep(kPauseForOtherLoadMs);
        } while (!load.try_lock());
    }
    if (m_riskTypeInited == 0 && queryRiskTypes(presenter)) {
        m_riskTypeInited = 1;
    }
}

bool SymbolRiskFlags::queryRiskTypes(ZnPresenterClass* presenter) {
    const ServerReply reply =
        queryPages(presenter, Velmar_MsgType::QueryRiskSecurityFlagInfoRequest, ofLoginUser());
    if (!reply.isAnswered()) {
        return false;
    }
    TypeTables tables;
    int unknown = 0;
    int withoutType = 0;
    for (const QVariantMap& row : reply.rows) {
        const QString symbol = symbolOf(m_identity, row);
        if (symbol.isEmpty()) {
            ++unknown;
            continue;
        }
        const std::optional<int> type = riskTypeOf(row.value(SymbolRiskType::riskFlagType));
        if (!type) {
            ++withoutType;
            continue;
        }
        tables.m_riskTypeMap[*type].insert(symbol);
    }
    qCDebug(lcSymbolRules) << "risk types:" << reply.rows.size() << "rows," << unknown
                           << "of symbols without product data";
    if (withoutType > 0) {
        qCWarning(lcSymbolRules) << "risk types:" << withoutType
                                 << "rows without a whole number as their type are left out";
    }
    const auto types = m_riskTypeLock.write();
    std::swap(*types, tables);
    return true;
}

void SymbolRiskFlags::InitKeyMonitorSymbols(ZnPresenterClass* presenter) {
    const ServerReply reply =
        queryRows(presenter, Velmar_MsgType::QueryMonitorSymbolsRequest, ofLoginUser());
    if (!reply.isAnswered()) {
        return;
    }
    MonitorTables tables;
    int unknown = 0;
    for (const QVariantMap& row : reply.rows) {
        QString symbol = symbolOf(m_identity, row);
        if (symbol.isEmpty()) {
            symbol = row.value(Security::symbol).toString();
        }
        if (symbol.isEmpty()) {
            ++unknown;
            continue;
        }
        tables.m_keyMonitorSymbols.insert(symbol);
    }
    qCDebug(lcSymbolRules) << "key-monitor symbols:" << reply.rows.size() << "rows," << unknown
                           << "without a symbol";
    const auto monitored = m_keyMonitorLock.write();
    std::swap(*monitored, tables);
}

bool SymbolRiskFlags::IsSymbolKeyMonitor(const QString& symbol) const {
    const auto monitored = m_keyMonitorLock.read();
    return monitored->m_keyMonitorSymbols.contains(symbol);
}

bool SymbolRiskFlags::isOfType(const QString& symbol, int riskType) const {
    const auto types = m_riskTypeLock.read();
    const auto found = types->m_riskTypeMap.constFind(riskType);
    return found != types->m_riskTypeMap.cend() && found->contains(symbol);
}

bool SymbolRiskFlags::IsSymbolBreakingIssuePrice(const QString& symbol) const {
    return isOfType(symbol, SymbolRiskType::BreakingIssuePrice);
}

bool SymbolRiskFlags::IsSymbolBrokenNetPrice(const QString& symbol) const {
    return isOfType(symbol, SymbolRiskType::BrokenNetPrice);
}
