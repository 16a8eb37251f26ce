#include "fund_book.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QSqlQuery>

namespace {

int numberOf(const QDate& date) {
    return date.toString(QStringLiteral("yyyyMMdd")).toInt();
}

/// Columns: the account's index, then those of fundColumns().
FundDay fundDayOf(const QSqlQuery& query) {
    int column = 0;
    const auto next = [&] { return query.value(column++).toLongLong(); };
    FundDay day;
    day.account = static_cast<int>(next());
    day.date = static_cast<int>(next());
    for (qint64* figure : {&day.bought, &day.sold, &day.fee, &day.transfer, &day.balance,
                           &day.valueChange, &day.valueTransfer, &day.marketValue}) {
        *figure = next();
    }
    return day;
}

const QString& fundColumns() {
    static const QString columns = QStringLiteral(
        "j.key, f.trade_date, f.bought, f.sold, f.fee, f.transfer, f.balance, f.value_change,"
        " f.value_transfer, f.market_value");
    return columns;
}

// The row that a day begins with: its own, or the last one before it.
inline const QString kRowOfDay = QStringLiteral(
    "(SELECT MAX(trade_date) FROM fund_day WHERE trading_account = j.value AND trade_date <= ?)");

}  // namespace

FundDay FundDay::carriedTo(int day) const {
    FundDay later = *this;
    if (day > date) {
        later.date = day;
        later.bought = later.sold = later.fee = later.transfer = 0;
        later.valueChange = later.valueTransfer = 0;
    }
    return later;
}

FundBook::FundBook(const MarketStore& store, const QStringList& accounts)
    : m_store(store), m_count(accounts.size()), m_accounts(listOf(accounts)) {}

QString FundBook::listOf(const QStringList& texts) {
    const QJsonDocument document(QJsonArray::fromStringList(texts));
    return QString::fromUtf8(document.toJson(QJsonDocument::Compact));
}

bool FundBook::read(const QDate& from, const QDate& to, QVector<FundDay>* days) const {
    const QString sql =
        QStringLiteral(
            "SELECT %1 FROM json_each(?) j CROSS JOIN fund_day f ON f.trading_account = j.value"
            " AND f.trade_date >= COALESCE(%2, ?) AND f.trade_date <= ?"
            " ORDER BY j.key, f.trade_date")
            .arg(fundColumns(), kRowOfDay);
    const int first = numberOf(from);
    return m_store.select(sql, {m_accounts, first, first, numberOf(to)},
                          [days](const QSqlQuery& query) { days->append(fundDayOf(query)); });
}

bool FundBook::readDay(const QDate& day, QVector<FundDay>* days) const {
    const QString sql = QStringLiteral(
                            "SELECT %1 FROM json_each(?) j CROSS JOIN fund_day f"
                            " ON f.trading_account = j.value AND f.trade_date = %2 ORDER BY j.key")
                            .arg(fundColumns(), kRowOfDay);
    const int number = numberOf(day);
    return m_store.select(sql, {m_accounts, number}, [&](const QSqlQuery& query) {
        days->append(fundDayOf(query).carriedTo(number));
    });
}

bool FundBook::readDebts(const QDate& day, QVector<MarginDebt>* debts) const {
    constexpr qint64 kRateUnits = 10000;
    constexpr qint64 kDaysOfYear = 360;
    debts->fill({}, m_count);
    return m_store.select(
        QStringLiteral("SELECT j.key, d.financed, d.shorted, d.yearly_rate, d.since"
                       " FROM json_each(?) j CROSS JOIN margin_debt d"
                       " ON d.trading_account = j.value"),
        {m_accounts}, [&](const QSqlQuery& query) {
            const QDate since =
                QDate::fromString(query.value(4).toString(), QStringLiteral("yyyyMMdd"));
            MarginDebt& debt = (*debts)[query.value(0).toInt()];
            const qint64 days = since.daysTo(day);
            if (days < 0) {
                return;
            }
            debt.financed = query.value(1).toLongLong();
            debt.shorted = query.value(2).toLongLong();
            debt.interest = (debt.financed + debt.shorted) * query.value(3).toLongLong() * days /
                            (kRateUnits * kDaysOfYear);
        });
}

bool FundBook::readProfits(const QDate& day, QVector<FundProfit>* profits) const {
    profits->fill({}, m_count);
    const QString sql = QStringLiteral(
        "SELECT j.key, SUM(p * (f.trade_date = ?)), SUM(p * (f.trade_date >= ?)), SUM(p)"
        " FROM json_each(?) j CROSS JOIN (SELECT trading_account, trade_date,"
        " value_change + sold - bought - fee AS p FROM fund_day) f"
        " ON f.trading_account = j.value AND f.trade_date BETWEEN ? AND ? GROUP BY j.key");
    return m_store.select(sql,
                          {numberOf(day), numberOf({day.year(), day.month(), 1}), m_accounts,
                           numberOf({day.year(), 1, 1}), numberOf(day)},
                          [profits](const QSqlQuery& query) {
                              (*profits)[query.value(0).toInt()] = {query.value(1).toLongLong(),
                                                                    query.value(2).toLongLong(),
                                                                    query.value(3).toLongLong()};
                          });
}
