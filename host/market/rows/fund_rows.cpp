#include "fund_rows.h"

#include <algorithm>

#include "price_samples.h"
#include "quote_fields.h"
#include "trade_calendar.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

const QString kEnd = QStringLiteral(R"(
INSERT INTO temp.fund_end
SELECT t.trading_account, CAST(ROUND(c.cash * 100) AS INTEGER),
       COALESCE((SELECT SUM(p.nominal_qty * q.price) FROM position p
                 JOIN temp.quote q ON q.exchange = p.security_exchange
                                  AND q.security_id = p.security_id
                 WHERE p.trading_account = t.trading_account), 0) / 100
FROM trading_account t JOIN opening_cash c USING(trading_account)
)");

// Odd sides buy, even ones sell. Reports of a cancelled rest are no deals.
const QString kFlow = QStringLiteral(R"(
INSERT INTO temp.flow
SELECT trading_account, trade_date, COUNT(*), SUM(buys * amount), SUM((1 - buys) * amount),
       SUM(fee), SUM((2 * buys - 1) * qty * price) / 100
FROM (
    SELECT d.trading_account, d.trade_date, CAST(d.side AS INTEGER) % 2 AS buys,
           CAST(d.last_amount * 100 + 0.5 AS INTEGER) AS amount,
           CAST(d.execution_commission * 100 + 0.5 AS INTEGER) AS fee, d.last_qty AS qty,
           COALESCE(q.price, CAST(d.last_px * 10000 + 0.5 AS INTEGER)) AS price
    FROM history_deal d
    LEFT JOIN temp.quote q ON q.exchange = d.security_exchange AND q.security_id = d.security_id
    WHERE d.exchange_exec_type = '0')
GROUP BY trading_account, trade_date
)");

// Counted back from the end. Transfers are whole ten thousands of yuan, a million fen.
const QString kDays = QStringLiteral(R"(
INSERT INTO fund_day
WITH
    day AS (
        SELECT f.*,
               e.cash - COALESCE(SUM(f.sold - f.bought - f.fee) OVER later, 0) AS cash,
               e.value - COALESCE(SUM(f.value_change) OVER later, 0) AS value
        FROM temp.flow f JOIN temp.fund_end e USING(trading_account)
        WINDOW later AS (PARTITION BY f.trading_account ORDER BY f.trade_date DESC
                         ROWS BETWEEN UNBOUNDED PRECEDING AND 1 PRECEDING)),
    lowest AS (
        SELECT trading_account, MAX(trade_date) AS last,
               MIN(MIN(cash, cash - sold + bought + fee)) AS cash,
               MIN(MIN(value, value - value_change)) AS value
        FROM day GROUP BY trading_account),
    more AS (
        SELECT trading_account, last, (MAX(0, -cash) + 999999) / 1000000 * 1000000 AS cash,
               (MAX(0, -value) + 999999) / 1000000 * 1000000 AS value
        FROM lowest)
SELECT d.trading_account, d.trade_date, d.deals, d.bought, d.sold, d.fee,
       CASE WHEN d.trade_date = m.last THEN -m.cash ELSE 0 END,
       CASE WHEN d.trade_date = m.last THEN d.cash ELSE d.cash + m.cash END,
       d.value_change,
       CASE WHEN d.trade_date = m.last THEN -m.value ELSE 0 END,
       CASE WHEN d.trade_date = m.last THEN d.value ELSE d.value + m.value END
FROM day d JOIN more m USING(trading_account)
ORDER BY d.trading_account, d.trade_date
)");

const QString kOpening = QStringLiteral(R"(
INSERT INTO fund_day
SELECT e.trading_account, ?, 0, 0, 0, 0, 0,
       COALESCE(f.balance - f.transfer - f.sold + f.bought + f.fee, e.cash), 0, 0,
       COALESCE(f.market_value - f.value_change - f.value_transfer, e.value)
FROM temp.fund_end e
LEFT JOIN fund_day f ON f.trading_account = e.trading_account AND f.trade_date =
    (SELECT MIN(trade_date) FROM fund_day WHERE trading_account = e.trading_account)
)");

// Debts of ten to sixty percent of what the account has, in whole ten thousands of yuan; every
// fifth account has none.
const QString kDebts = QStringLiteral(R"(
INSERT INTO margin_debt
SELECT trading_account, since, financed, CASE number % 3 WHEN 0 THEN financed / 5 ELSE 0 END, 835
FROM (
    SELECT trading_account, ? AS since, number,
           CASE number % 5 WHEN 4 THEN 0
               ELSE (cash + value) / 100 * (10 + number * 13 % 40) / 1000000 * 1000000 END
               AS financed
    FROM (
        SELECT t.trading_account, ROW_NUMBER() OVER (ORDER BY t.seq) AS number, e.cash, e.value
        FROM trading_account t JOIN temp.fund_end e USING(trading_account)
        WHERE t.fund_account_type = ?))
ORDER BY trading_account
)");

/// What one unit of a position counts, in yuan: contracts with their multiplier, shares of Hong
/// Kong at the middle rate. Futures are settled every day, so they count nothing.
double unitPrice(const QVariantMap& security) {
    constexpr int kGramsPerKilogram = 1000;
    const QString type = security.value(MDCFieldDefine::mdcSecurityType).toString();
    if (type == MdcSecurityType::FuturesType) {
        return 0;
    }
    double price = security.value(QuoteField::previousClose).toDouble() *
                   security.value(Security::contractMultiplier, 1).toInt();
    if (type == MdcSecurityType::SpotType) {
        price *= kGramsPerKilogram;
    }
    for (const QVariantMap& rate : PriceSamples::hongKongRates()) {
        if (rate.value(UserAccount::securityExchange) ==
            security.value(UserAccount::securityExchange)) {
            price *= (rate.value(HKSExchgRate::HKSExchgRateBuy).toDouble() +
                      rate.value(HKSExchgRate::HKSExchgRateSell).toDouble()) /
                     2;
        }
    }
    return price;
}

bool writeQuotes(MarketFile& file, const QList<QVariantMap>& securities) {
    constexpr int kTenThousandths = 10000;
    return std::all_of(securities.cbegin(), securities.cend(),
                       [&file](const QVariantMap& security) {
                           return file.insert(QStringLiteral("temp.quote"),
                                              {security.value(UserAccount::securityExchange),
                                               security.value(Security::securityID),
                                               qRound64(unitPrice(security) * kTenThousandths)});
                       });
}

}  // namespace

bool writeFundRows(MarketFile& file, const QList<QVariantMap>& securities, const QDate& opening) {
    return file.runSchema(QStringLiteral("funds.sql")) && writeQuotes(file, securities) &&
           file.execute(kEnd) && file.execute(kFlow) && file.execute(kDays) &&
           file.execute(kOpening, {dayNumber(opening)}) &&
           file.execute(kDebts, {dayNumber(opening), FundAccountType::Credit});
}
