#include "symbol_risk_flags.h"

#include <utility>

#include "clock.h"
#include "log.h"
#include "risk_message_sink.h"
#include "risk_messages.h"
#include "risk_notice_waiver.h"
#include "symbol_identity.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"

// What follows from the records of the reference data and from the risk notices; the lists that
// are requested from the server are in risk_flag_queries.cpp.

namespace {

// Shares with the mark that were listed before this day are not in the growth tier. Texts of this
// form compare as dates.
inline const QString kGrowthTierSince = QStringLiteral("20250713");
constexpr int kNoGrowth = 0;
constexpr int kBeforeGrowthTier = 1;
constexpr int kGrowthTier = 2;

}  // namespace

void SymbolRiskFlags::slotNoticeSymbolChanged(const QList<QVariantMap>& noticeInfoList) {
    NoticeTables tables;
    tables.m_riskNoticeReady = true;
    for (const QVariantMap& row : noticeInfoList) {
        addNotice(row, tables);
    }
    const int stCount = tables.m_riskStSymbols.size();
    const int delistCount = tables.m_delistDateMap.size();
    {
        const auto notices = m_riskLock.write();
        std::swap(*notices, tables);
    }
    qCDebug(lcSymbolRules).noquote()
        << QStringLiteral("初始化/更新风险警示股，ST（*ST）%1条，退市股票%2条")
               .arg(QString::number(stCount), QString::number(delistCount));
}

void SymbolRiskFlags::addNotice(const QVariantMap& row, NoticeTables& tables) const {
    const QString securityID = row.value(Security::securityID).toString();
    const QString exchange = row.value(UserAccount::securityExchange).toString();
    const QString symbol = m_identity.GetSymbolBySecurityIDAndExchange(securityID, exchange);
    if (symbol.isEmpty()) {
        qCDebug(lcSymbolRules).noquote()
            << QStringLiteral("风险警示股过滤主产品库不存在代码：%1.%2").arg(securityID, exchange);
        return;
    }
    if (row.value(Security::STFlag).toBool()) {
        tables.m_riskStSymbols.insert(symbol);
    }
    if (row.value(Security::delistFlag).toBool()) {
        const QString text = row.value(Security::delistDate).toString();
        const QDate date = QDate::fromString(text, DateTimeFormatString::TRANS_DATE_FROMAT);
        // Without a date there is nothing to count the remaining days from, so the symbol keeps the
        // server's text.
        if (date.isValid()) {
            tables.m_delistDateMap.insert(symbol, date);
        } else {
            qCWarning(lcSymbolRules) << "the risk notice of" << symbol
                                     << "has a last trading day that is not a date:" << text;
        }
    }
    tables.m_riskRemindMap.insert(symbol, row.value(Security::riskRemindInfo).toString());
}

bool SymbolRiskFlags::CheckSymbolRiskInfo(const QStringList& symbols, const QString& moduleName) {
    RiskFindings findings;
    QStringList reportedBefore;
    bool isReported = false;
    {
        // For writing and until the file is written: a symbol that two threads check at once is
        // reported once, and the file gets the sets in their order.
        const auto notices = m_riskLock.write();
        if (!notices->m_riskNoticeReady) {
            return false;
        }
        const QDate today = m_clock.today();
        const QSet<QString> waived = m_waiver.symbolsOn(today);
        const bool takesBreakers = isInstruction(moduleName);
        QSet<QString> reported;
        for (const QString& symbol : symbols) {
            if (waived.contains(symbol) || reported.contains(symbol)) {
                reportedBefore.append(symbol);
            } else if (findRisks(symbol, *notices, takesBreakers, today, findings)) {
                reported.insert(symbol);
            }
        }
        isReported = !reported.isEmpty();
        if (isReported) {
            m_waiver.addSymbols(reported);
        }
    }
    for (const QString& symbol : qAsConst(reportedBefore)) {
        qCDebug(lcSymbolRules) << "ZnBusinessDataManager::CheckSymbolRiskInfo" << symbol
                               << "已被告警过！";
    }
    const QStringList messages = riskMessages(findings, moduleName);
    for (const QString& message : messages) {
        m_sink.raiseRiskMessage(message);
    }
    return isReported;
}

bool SymbolRiskFlags::findRisks(const QString& symbol, const NoticeTables& notices,
                                bool takesBreakers, const QDate& today,
                                RiskFindings& findings) const {
    const bool isBreaking =
        takesBreakers && (IsSymbolBreakingIssuePrice(symbol) || IsSymbolBrokenNetPrice(symbol));
    if (isBreaking) {
        findings.breakers.append(symbol);
    }
    const bool isSt = notices.m_riskStSymbols.contains(symbol);
    const auto delist = notices.m_delistDateMap.constFind(symbol);
    const auto remind = notices.m_riskRemindMap.constFind(symbol);
    if (isSt) {
        findings.stSymbols.append(symbol);
    }
    // The coming end of trading takes the place of the server's text.
    if (!isSt && delist != notices.m_delistDateMap.cend()) {
        findings.reminders.append({symbol, delistReminder(*delist, today)});
        return true;
    }
    if (remind != notices.m_riskRemindMap.cend()) {
        findings.reminders.append({symbol, *remind});
        return true;
    }
    return isBreaking || isSt;
}

bool SymbolRiskFlags::IsSymbolInST(const QString& symbol) const {
    const QString flag = stFlagOf(symbol);
    return flag == StFlag::IsST || flag == StFlag::IsStarST;
}

QString SymbolRiskFlags::GetSymbolStType(const QString& symbol, QString& text) const {
    QString flag = stFlagOf(symbol);
    if (flag.isEmpty() || flag == StFlag::Normal) {
        return StFlag::Normal;
    }
    const QString warning = stTypeText(flag, m_identity.GetFirstSecurityExchangeBySymbol(symbol));
    if (!warning.isEmpty()) {
        text = warning;
    }
    return flag;
}

QString SymbolRiskFlags::stFlagOf(const QString& symbol) const {
    return m_identity.GetSecurityDetailsBySymbol(symbol).value(Security::STFlag).toString();
}

int SymbolRiskFlags::GetScienTechGrowFlagBySymbol(const QString& symbol) const {
    const QVariantMap details = m_identity.GetSecurityDetailsBySymbol(symbol);
    if (details.value(UserAccount::securityExchange).toString() != Exchange::sh) {
        return kNoGrowth;
    }
    const bool isNewIssue = details.value(MDCFieldDefine::mdcSubSecurityType).toString() ==
                            MdcSubSecurityType::Asharenewsharesbid;
    const QString name =
        details.value(isNewIssue ? NewStock::securityName : Security::chineseName).toString();
    const QString listed = details.value(Security::ListingDate).toString();
    qCDebug(lcSymbolRules) << "ZnBusinessDataManager::GetScienTechGrowFlagBySymbol" << symbol
                           << isNewIssue << name << listed;
    const auto ofServer = details.constFind(Security::ScienTechGrowFlag);
    if (ofServer != details.cend()) {
        return ofServer->toBool() ? kGrowthTier : kNoGrowth;
    }
    if (!name.endsWith(QStringLiteral("-U")) || listed.isEmpty()) {
        return kNoGrowth;
    }
    return listed >= kGrowthTierSince ? kGrowthTier : kBeforeGrowthTier;
}
