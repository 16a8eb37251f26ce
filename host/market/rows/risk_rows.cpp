#include "risk_rows.h"

#include "sample_market.h"
#include "vocabulary/fields.h"
#include "vocabulary/own_keys.h"
#include "vocabulary/values.h"

namespace {

// Clients take version 0 for the one that they have at start, so the first is 1.
constexpr int kNoticeVersion = 1;
// One share in this many has the risk. The rows of both risk types together are more than a page of
// a thousand in a market of the standard size.
constexpr int kBreakingIssueEvery = 7;
constexpr int kBrokenNetEvery = 9;
// Of the shares without a flag.
constexpr int kInvestigatedEvery = 211;
constexpr int kMonitoredEvery = 13;
constexpr int kMonitoredOfFirst = 40;
constexpr int kMonitoredOfSecond = 6;

using Rows = QList<TableRow>;

/// The text of a share's notice; empty for a share without one.
QString remindInfo(const QString& flag, int number) {
    if (flag == StFlag::IsST) {
        return number % 2 == 0
                   ? QStringLiteral("已被实施其他风险警示，请及时关注上市公司公告，审慎理性投资。")
                   : QStringLiteral(
                         "因内部控制被出具否定意见，已被实施其他风险警示，请注意相关风险。");
    }
    if (flag == StFlag::IsStarST) {
        return QStringLiteral("已被实施退市风险警示，股票存在终止上市风险，请审慎理性投资。");
    }
    return number % kInvestigatedEvery == kInvestigatedEvery - 1
               ? QStringLiteral("所属公司因涉嫌信息披露违法违规已被立案调查，请注意投资风险。")
               : QString();
}

class RiskRows {
public:
    Rows make(const QList<QVariantMap>& securities) {
        for (const QVariantMap& security : securities) {
            // Only shares of the mainland have the flag.
            if (security.contains(Security::STFlag) &&
                !security.value(System::deleteFlag).toBool()) {
                addNotice(security);
                addType(security);
                addMonitored(security);
                ++m_shares;
            }
        }
        m_rows.append({QStringLiteral("data_version"), {1, OwnKeys::riskInfoItem, kNoticeVersion}});
        return std::move(m_rows);
    }

private:
    void addNotice(const QVariantMap& security) {
        const QString flag = security.value(Security::STFlag).toString();
        const QString text = remindInfo(flag, m_shares);
        if (text.isEmpty()) {
            return;
        }
        m_rows.append(
            {QStringLiteral("risk_notice"),
             {++m_notices, security.value(Security::securityID),
              security.value(UserAccount::securityExchange), flag != StFlag::Normal ? 1 : 0,
              security.value(Security::delistFlag).toBool() ? 1 : 0,
              security.value(Security::delistDate).toString(), text}});
    }

    void addType(const QVariantMap& security) {
        const auto add = [&](int type) {
            m_rows.append({QStringLiteral("risk_type"),
                           {++m_types, security.value(Security::securityID),
                            security.value(UserAccount::securityExchange), type}});
        };
        if (m_shares % kBreakingIssueEvery == 2) {
            add(SymbolRiskType::BreakingIssuePrice);
        }
        if (m_shares % kBrokenNetEvery == 4) {
            add(SymbolRiskType::BrokenNetPrice);
        }
    }

    void addMonitored(const QVariantMap& security) {
        if (m_shares % kMonitoredEvery != 1 || m_monitored >= kMonitoredOfFirst) {
            return;
        }
        ++m_monitored;
        addMonitored(SampleLogin::user, security);
        if (m_monitored <= kMonitoredOfSecond) {
            addMonitored(SampleLogin::secondUser, security);
        }
    }

    /// Some of them by their symbol alone.
    void addMonitored(const QString& userId, const QVariantMap& security) {
        const bool bySymbol = m_monitored % 5 == 0;
        m_rows.append(
            {QStringLiteral("key_monitor"),
             {userId, m_monitored,
              bySymbol ? QString() : security.value(Security::securityID).toString(),
              bySymbol ? QString() : security.value(UserAccount::securityExchange).toString(),
              security.value(Security::symbol)}});
    }

    Rows m_rows;
    int m_shares = 0;
    int m_notices = 0;
    int m_types = 0;
    int m_monitored = 0;
};

}  // namespace

QList<TableRow> makeRiskRows(const QList<QVariantMap>& securities) {
    return RiskRows().make(securities);
}
