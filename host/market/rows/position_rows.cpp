#include <QHash>
#include <QSet>

#include "market_random.h"
#include "quote_fields.h"
#include "server_rows.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

// The standard bond that repos are counted in.
inline const QString kStandardBond = QStringLiteral("888880");

using Records = QList<QVariantMap>;

class PositionWriter {
public:
    PositionWriter(quint32 seed, const Records& securities) : m_random(seed + 3) {
        for (const QVariantMap& one : securities) {
            const QString type = one.value(MDCFieldDefine::mdcSecurityType).toString();
            const QString subType = one.value(MDCFieldDefine::mdcSubSecurityType).toString();
            if (!MdcSubSecurityType::BondRepurchaseTypeList.contains(subType)) {
                m_pools[keyOf(one.value(UserAccount::securityExchange).toString(), kindOf(type))]
                    .append(&one);
            }
        }
    }

    void add(const AccountTree::TradingAccount& account, QList<TableRow>* rows) {
        const QString& kind = account.binding.fundAccountType;
        QSet<QString> exchanges;
        for (const AccountTree::SecurityAccount& one : account.securityAccounts) {
            if (exchanges.contains(one.exchange)) {
                continue;
            }
            exchanges.insert(one.exchange);
            addOfExchange(account.account, one, kind == FundAccountType::Option, rows);
        }
        const bool shares = kind == FundAccountType::Cash || kind == FundAccountType::Credit;
        if (shares && m_random.below(4) == 0) {
            rows->append({QStringLiteral("position"),
                          {account.account, Exchange::sh, kStandardBond,
                           account.securityAccounts.first().account, 1000 * m_random.between(1, 50),
                           100.0}});
        }
    }

private:
    /// Options are held by accounts of their own; everything else of an exchange by any.
    static QString kindOf(const QString& type) {
        return type == MdcSecurityType::OptionType ? QStringLiteral("option")
                                                   : QStringLiteral("other");
    }
    static QString keyOf(const QString& exchange, const QString& kind) {
        return exchange + QLatin1Char('|') + kind;
    }

    void addOfExchange(const QString& account, const AccountTree::SecurityAccount& at, bool options,
                       QList<TableRow>* rows) {
        const auto pool = m_pools.value(
            keyOf(at.exchange, options ? QStringLiteral("option") : QStringLiteral("other")));
        QSet<QString> held;
        for (int left = pool.isEmpty() ? 0 : m_random.between(2, 9); left > 0; --left) {
            const QVariantMap& one = *pool.at(m_random.below(pool.size()));
            const QString id = one.value(Security::securityID).toString();
            if (held.contains(id)) {
                continue;
            }
            held.insert(id);
            const int lot = qMax(1, one.value(Security::LotSize, 100).toInt());
            const double close = one.value(QuoteField::previousClose).toDouble();
            // Bought at 80 to 120 percent of the last close, to four decimals.
            const double cost =
                static_cast<double>(qRound64(close * m_random.between(80, 120) * 100)) / 10000;
            rows->append(
                {QStringLiteral("position"),
                 {account, at.exchange, id, at.account, lot * m_random.between(1, 200), cost}});
        }
    }

    MarketRandom m_random;
    QHash<QString, QVector<const QVariantMap*>> m_pools;
};

}  // namespace

QList<TableRow> makePositionRows(quint32 seed, const AccountTree& tree, const Records& securities) {
    QList<TableRow> rows;
    PositionWriter writer(seed, securities);
    for (const AccountTree::TradingAccount& account : tree.accounts) {
        writer.add(account, &rows);
    }
    return rows;
}
