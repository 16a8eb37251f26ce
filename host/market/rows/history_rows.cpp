#include "history_rows.h"

#include <algorithm>

#include "quote_fields.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

// The number of orders after which every mix of outcome and number of deals has occurred once.
constexpr int kRound = 40;
constexpr int kOrderRowsOfRound = 48;
constexpr int kDealRowsOfRound = 82;
constexpr int kOrdersOfOthers = 240;
constexpr int kCashAccounts = 10;
constexpr int kCreditAccounts = 5;
constexpr int kBatch = 4000;
constexpr int kPoolSize = 400;

const QString kDraft = QStringLiteral(R"(
INSERT INTO temp.draft
WITH RECURSIVE
    p(first, behind, orders, days, pool_size, seed, account_no, shanghai, shenzhen) AS (
        SELECT ?, ?, ?, ?, ?, ?, ?, ?, ?),
    number(n) AS (
        SELECT first FROM p UNION ALL SELECT n + 1 FROM number, p WHERE n + 1 < behind),
    raw AS (
        SELECT n, n % 10 AS kind, ((n + 1) * 2654435761 + seed * 40503 + (account_no - 1) * 2246822519)
                   & 4294967295 AS h,
               n * days / orders AS day, n * days % orders * 14000 / orders AS second, p.*
        FROM number, p),
    drawn AS (
        SELECT raw.*, 400 * (1 + (h >> 7) % 25) AS qty,
               CASE WHEN h & 1 THEN 1 ELSE -1 END AS direction,
               close + tick * ((h >> 9) % 41 - 20) AS price,
               tick, exchange, security_id, trade_date, midnight
        FROM raw
        JOIN temp.pool ON pool.i = (h >> 5) % pool_size
        JOIN temp.trade_day ON trade_day.i = day)
SELECT n, trade_date, printf('%d%05d', trade_date, account_no), kind,
       CASE WHEN kind < 2 THEN 0 WHEN kind = 2 THEN 1 ELSE n / 10 % 4 + 1 END,
       kind IN (0, 2), exchange, security_id,
       CASE exchange WHEN '1' THEN shanghai ELSE shenzhen END,
       CASE direction WHEN 1 THEN CASE (h >> 13) % 4 WHEN 0 THEN ? ELSE ? END
           ELSE CASE (h >> 13) % 4 WHEN 0 THEN ? ELSE ? END END, (h >> 3) % 8 = 0, qty,
       CASE WHEN kind < 2 THEN 0 WHEN kind = 2 THEN qty / 2 ELSE qty END,
       price, price - direction * tick * ((h >> 11) % 2),
       midnight + 1000 * (second + CASE WHEN second < 7200 THEN 34200 ELSE 39600 END)
FROM drawn ORDER BY n
)");

// c is 0 for the order itself, 1 for the request to cancel it.
const QString kOrders = QStringLiteral(R"(
INSERT INTO history_order
SELECT ?, trade_date, printf('%s%08d', order_no, 2 * n + c),
       CASE c WHEN 0 THEN '' ELSE printf('%s%08d', order_no, 2 * n) END,
       printf('C%s%08d', order_no, 2 * n + c), CASE c WHEN 0 THEN '0' ELSE 'F' END,
       security_account, exchange, security_id, side,
       CASE is_market WHEN 1 THEN '1' ELSE '2' END,
       CASE is_market WHEN 0 THEN ''
           ELSE CASE exchange WHEN '1' THEN 'SH5CANCEL' ELSE 'SZ5CANCEL' END END,
       CASE WHEN c THEN '2' WHEN kind = 0 THEN '4' WHEN kind = 1 THEN '8' WHEN kind = 2 THEN '5'
           ELSE '2' END,
       qty, price / 10000.0, CASE c WHEN 0 THEN cum ELSE 0 END,
       CASE WHEN c = 0 AND cum > 0 THEN deal_price / 10000.0 ELSE 0.0 END,
       CASE WHEN c = 0 AND cancelled THEN qty - cum ELSE 0 END,
       time + 5000 * c, CASE WHEN kind = 1 THEN '可用资金不足' ELSE '' END
FROM temp.draft CROSS JOIN (SELECT 0 AS c UNION ALL SELECT 1) WHERE c = 0 OR cancelled
)");

// The part after the last deal reports that the rest was cancelled, of every other order without
// deals by the counter itself.
const QString kDeals = QStringLiteral(R"(
INSERT INTO history_deal
SELECT account, trade_date, order_id, printf('E%08d%d', n, k), security_account, exchange,
       security_id, side,
       CASE WHEN k < deals THEN '0' WHEN kind = 0 AND n / 10 % 2 THEN 'I' ELSE '4' END, '2',
       last_qty,
       px / 10000.0, last_qty * px / 10000.0, last_qty * px * 25 / 10000000 / 100.0,
       time + 1000 * (k + 1)
FROM (
    SELECT ? AS account, *, printf('%s%08d', order_no, 2 * n) AS order_id,
           CASE WHEN k < deals THEN deal_price ELSE 0 END AS px,
           CASE WHEN k = deals THEN qty - cum
               WHEN k = deals - 1 THEN cum - cum / 100 / deals * 100 * k
               ELSE cum / 100 / deals * 100 END AS last_qty
    FROM temp.draft CROSS JOIN temp.part WHERE k < deals + cancelled)
)");

// An order with a filled quantity has deals, so the orders give the securities that were dealt in.
const QString kDays = QStringLiteral(R"(
INSERT INTO history_day
SELECT o.trading_account, o.trade_date, o.rows, COALESCE(d.rows, 0), o.cancels,
       COALESCE(d.cancels, 0), COALESCE(d.inner_cancels, 0), o.deal_groups
FROM (SELECT trading_account, trade_date, COUNT(*) AS rows, SUM(entrust_type = 'F') AS cancels,
             COUNT(DISTINCT CASE WHEN cum_qty > 0
                 THEN security_exchange || security_id || side END) AS deal_groups
      FROM history_order WHERE trading_account = ? GROUP BY trade_date) AS o
LEFT JOIN (SELECT trade_date, COUNT(*) AS rows, SUM(exchange_exec_type = '4') AS cancels,
                  SUM(exchange_exec_type = 'I') AS inner_cancels
           FROM history_deal WHERE trading_account = ? GROUP BY trade_date) AS d USING(trade_date)
ORDER BY o.trade_date
)");

bool isTradedByCash(const QVariantMap& security) {
    const QString type = security.value(MDCFieldDefine::mdcSecurityType).toString();
    const QString exchange = security.value(UserAccount::securityExchange).toString();
    return (type == MdcSecurityType::StockType || type == MdcSecurityType::FundType) &&
           (exchange == Exchange::sh || exchange == Exchange::sz);
}

QString securityAccountOf(const AccountTree::TradingAccount& account, const QString& exchange) {
    const auto& all = account.securityAccounts;
    const auto found = std::find_if(
        all.cbegin(), all.cend(),
        [&exchange](const AccountTree::SecurityAccount& one) { return one.exchange == exchange; });
    return found == all.cend() ? QString() : found->account;
}

/// At most kPoolSize of the securities, evenly spread.
QList<QVariantList> poolOf(const QList<QVariantMap>& securities) {
    QVector<const QVariantMap*> traded;
    for (const QVariantMap& one : securities) {
        if (isTradedByCash(one)) {
            traded.append(&one);
        }
    }
    QList<QVariantList> pool;
    const int size = qMin(kPoolSize, traded.size());
    for (int i = 0; i < size; ++i) {
        const QVariantMap& one = *traded.at(static_cast<int>(qint64(i) * traded.size() / size));
        pool.append({i, one.value(UserAccount::securityExchange), one.value(Security::securityID),
                     qRound64(one.value(QuoteField::previousClose).toDouble() * 10000),
                     qRound64(one.value(QuoteField::priceTick).toDouble() * 10000)});
    }
    return pool;
}

}  // namespace

HistoryRows::HistoryRows(quint32 seed, int orders, const AccountTree& tree,
                         const QList<QVariantMap>& securities,
                         const QVector<TradeCalendar::Day>& days)
    : m_seed(seed), m_days(days), m_pool(poolOf(securities)) {
    const int rounded = (orders + kRound - 1) / kRound * kRound;
    if (rounded == 0 || m_days.isEmpty() || m_pool.isEmpty()) {
        return;
    }
    const QString& sell = SideUnion::normalSideList.at(1);
    const QStringList cashSides{SideUnion::normalBuy, SideUnion::normalBuy, sell, sell};
    const QStringList& margin = SideUnion::marginOrderSideList;
    const QStringList creditSides{SideUnion::financingBuy, margin.at(0), margin.at(3),
                                  margin.at(1)};
    int cash = 0;
    int credit = 0;
    for (int i = 0; i < tree.accounts.size(); ++i) {
        const AccountTree::TradingAccount& one = tree.accounts.at(i);
        const bool isCash = one.binding.fundAccountType == FundAccountType::Cash;
        const bool isCredit = one.binding.fundAccountType == FundAccountType::Credit;
        if ((isCash && cash < kCashAccounts) || (isCredit && credit < kCreditAccounts)) {
            const bool isFirst = isCash && cash == 0;
            m_accounts.append({i + 1, one.account, securityAccountOf(one, Exchange::sh),
                               securityAccountOf(one, Exchange::sz),
                               isCash ? cashSides : creditSides,
                               isFirst ? rounded : qMin(rounded, kOrdersOfOthers)});
            ++(isCash ? cash : credit);
        }
    }
}

int HistoryRows::rowCount() const {
    int rows = 0;
    for (const Account& one : m_accounts) {
        rows += one.orders / kRound * (kOrderRowsOfRound + kDealRowsOfRound) +
                qMin(one.orders, m_days.size());
    }
    return rows;
}

bool HistoryRows::write(MarketFile& file, const OnRows& onRows) const {
    return m_accounts.isEmpty() ||
           (prepare(file) &&
            std::all_of(m_accounts.cbegin(), m_accounts.cend(),
                        [&](const Account& one) { return writeAccount(file, one, onRows); }));
}

bool HistoryRows::prepare(MarketFile& file) const {
    if (!file.runSchema(QStringLiteral("history.sql"))) {
        return false;
    }
    for (int i = 0; i < m_days.size(); ++i) {
        const QDate& date = m_days.at(i).date;
        // Midnight in Shanghai, which has no summer time.
        const qint64 midnight = (QDate(1970, 1, 1).daysTo(date) * 86400 - 8 * 3600) * qint64(1000);
        if (!file.insert(QStringLiteral("temp.trade_day"), {i, dayNumber(date), midnight})) {
            return false;
        }
    }
    return std::all_of(m_pool.cbegin(), m_pool.cend(), [&file](const QVariantList& one) {
        return file.insert(QStringLiteral("temp.pool"), one);
    });
}

bool HistoryRows::draft(MarketFile& file, const Account& account, int from, int to) const {
    QVariantList values{from,
                        to,
                        account.orders,
                        m_days.size(),
                        m_pool.size(),
                        m_seed,
                        account.number,
                        account.shanghai,
                        account.shenzhen};
    for (const QString& side : account.sides) {
        values.append(side);
    }
    return file.execute(QStringLiteral("DELETE FROM temp.draft")) && file.execute(kDraft, values);
}

bool HistoryRows::writeAccount(MarketFile& file, const Account& account,
                               const OnRows& onRows) const {
    int rows = 0;
    const auto write = [&](const QString& statement, const QVariantList& values) {
        return file.execute(statement, values, &rows) && onRows(rows);
    };
    for (int from = 0; from < account.orders; from += kBatch) {
        const int to = qMin(from + kBatch, account.orders);
        if (!draft(file, account, from, to) || !write(kOrders, {account.account}) ||
            !write(kDeals, {account.account})) {
            return false;
        }
    }
    return write(kDays, {account.account, account.account});
}
