#pragma once

#include <mutex>

#include "price_fixture.h"
#include "risk_message_sink.h"
#include "risk_notice_waiver.h"
#include "shared_settings.h"
#include "symbol_risk_flags.h"
#include "velmarutils/velmar_utils.h"

/// The rule that a message about risk-warning symbols quotes.
inline const QString kBuyLimitRule = QStringLiteral(
    "根据交易所相关规定，投资者当日通过竞价交易、大宗交易和盘后定价交易"
    "累计买入的单只风险警示股票，当日累计买入数量（含已申报但未成交、未"
    "撤销部分），不得超过50万股，投资者以本人名义开立的多个普通证券账户"
    "与信用证券账户的买入数量将合并计算。违者将被交易所采取相应监管措施"
    "或纪律处分。");

/// A security of the reference data.
inline void addRiskSecurity(StaticDbBuilder& data, const QString& symbol, const QString& exchange,
                            const QVariantMap& fields = {}) {
    QVariantMap record{{Security::symbol, symbol},
                       {Security::securityID, symbol.section('.', 0, 0)},
                       {UserAccount::securityExchange, exchange}};
    for (auto it = fields.cbegin(); it != fields.cend(); ++it) {
        record.insert(it.key(), it.value());
    }
    data.reference("security", symbol, record);
}

/// 600001.SH and so on.
inline QString riskSymbol(int number) {
    return QStringLiteral("%1.SH").arg(600000 + number);
}

/// The securities 600001.SH to 600009.SH.
inline StaticDbBuilder nineSecurities() {
    StaticDbBuilder data;
    for (int number = 1; number <= 9; ++number) {
        addRiskSecurity(data, riskSymbol(number), Exchange::sh);
    }
    return data;
}

/// A row about a security of the exchange in Shanghai.
inline QVariantMap riskRow(const QString& symbol, const QVariantMap& fields = {}) {
    QVariantMap row{{Security::securityID, symbol.section('.', 0, 0)},
                    {UserAccount::securityExchange, Exchange::sh}};
    for (auto it = fields.cbegin(); it != fields.cend(); ++it) {
        row.insert(it.key(), it.value());
    }
    return row;
}

inline QVariantMap stRow(const QString& symbol, const QString& text) {
    return riskRow(symbol, {{Security::STFlag, true}, {Security::riskRemindInfo, text}});
}

inline QVariantMap delistRow(const QString& symbol, const QVariant& date, const QString& text) {
    return riskRow(symbol, {{Security::delistFlag, true},
                            {Security::delistDate, date},
                            {Security::riskRemindInfo, text}});
}

inline QVariantMap typeRow(const QString& symbol, const QVariant& type) {
    return riskRow(symbol, {{SymbolRiskType::riskFlagType, type}});
}

/// Keeps the messages; counts those that were raised under a lock.
class RecordingRiskSink final : public RiskMessageSink {
public:
    void raiseRiskMessage(const QString& text) override {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_texts.append(text);
        m_underLock += HeldLocks::any() ? 1 : 0;
    }
    QStringList texts() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_texts;
    }
    /// The messages since the last call.
    QStringList take() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        QStringList texts;
        texts.swap(m_texts);
        return texts;
    }
    int underLock() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_underLock;
    }

private:
    mutable std::mutex m_mutex;  // guards both
    QStringList m_texts;
    int m_underLock = 0;
};

/// The risk flags with a platform of their own, on 2026-03-10 at the beginning.
struct RiskFixture {
    explicit RiskFixture(const StaticDbBuilder& data = nineSecurities()) : world({}, data) {
        world.login();
        world.link().clearRequests();
        waiver.open(&owner);
        waiver.load();
    }
    RiskFixture(const RiskFixture&) = delete;
    RiskFixture& operator=(const RiskFixture&) = delete;

    static QString file() {
        return VelmarUtils::GetUserCfgFileDir() + QStringLiteral("riskNoticeSymbol.cfg");
    }
    /// A value as it is in the file.
    static QString saved(const QString& key) {
        return SharedSettings(file(), nullptr).lockedValue(key).toString();
    }
    /// Loads the symbols of each risk type through a presenter.
    void loadTypes(const QList<QVariantMap>& rows) {
        world.link().on(Velmar_MsgType::QueryRiskSecurityFlagInfoRequest,
                        ScriptedReply::rows(rows));
        flags.InitSymbolRiskTypeInfo(owned.presenter);
    }

    ClientWorld world;
    QObject owner;
    StandingClock clock;
    RecordingRiskSink sink;
    SymbolIdentity identity;
    RiskNoticeWaiver waiver{clock};
    SymbolRiskFlags flags{identity, waiver, clock, sink};
    // Last, so that it is disposed of before the companions that its thread may use.
    const OwnedPresenter owned;
};
