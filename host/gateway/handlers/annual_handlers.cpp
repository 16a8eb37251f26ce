#include <QMap>
#include <QSqlQuery>
#include <algorithm>
#include <numeric>

#include "fund_book.h"
#include "handler_families.h"
#include "report_fields.h"
#include "server_users.h"
#include "vocabulary/fields.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

/// What a user's accounts did in a year, in fen.
struct YearFigures {
    int year = 0;
    int accounts = 0;
    int tradeDays = 0;
    qint64 orders = 0;
    qint64 deals = 0;
    qint64 bought = 0;
    qint64 sold = 0;
    qint64 fee = 0;
    qint64 transfer = 0;  ///< money and securities from outside
    qint64 openingAsset = 0;
    qint64 closingAsset = 0;
    QMap<int, qint64> profits;  ///< by month
};

/// A query over a table's rows of the user's accounts in the year.
class YearQuery {
public:
    YearQuery(const MarketStore& store, const QString& user, int year)
        : m_store(store), m_values{year * kYearUnit, year * kYearUnit + kLastDay, user} {}

    bool read(const QString& columns, const QString& table, const QString& rest,
              const std::function<void(const QSqlQuery&)>& onRow) const {
        const QString sql =
            QStringLiteral(
                "SELECT %1 FROM account_authority o CROSS JOIN %2 f"
                " ON f.trading_account = o.trading_account AND f.trade_date BETWEEN ? AND ?"
                " WHERE o.user_id = ? %3")
                .arg(columns, table, rest);
        return m_store.select(sql, m_values, onRow);
    }

private:
    // A day is the number yyyymmdd.
    static constexpr int kYearUnit = 10000;
    static constexpr int kLastDay = 1231;

    const MarketStore& m_store;
    const QVariantList m_values;
};

bool readSums(const YearQuery& query, YearFigures* figures) {
    return query.read(QStringLiteral("COUNT(DISTINCT CASE WHEN f.deals > 0 THEN f.trade_date END),"
                                     " SUM(f.deals), SUM(f.bought), SUM(f.sold), SUM(f.fee),"
                                     " SUM(f.transfer + f.value_transfer)"),
                      QStringLiteral("fund_day"), {}, [figures](const QSqlQuery& row) {
                          figures->tradeDays = row.value(0).toInt();
                          figures->deals = row.value(1).toLongLong();
                          figures->bought = row.value(2).toLongLong();
                          figures->sold = row.value(3).toLongLong();
                          figures->fee = row.value(4).toLongLong();
                          figures->transfer = row.value(5).toLongLong();
                      });
}

/// The assets at both ends of the year, in the first and the last row of each account.
bool readAssets(const YearQuery& query, YearFigures* figures) {
    const auto readEdge = [&](const QString& edge, qint64* asset) {
        figures->accounts = 0;
        // SQLite takes the other columns from the row of the smallest or largest date.
        return query.read(edge + QStringLiteral("(f.trade_date), f.balance + f.market_value"),
                          QStringLiteral("fund_day"), QStringLiteral("GROUP BY f.trading_account"),
                          [figures, asset](const QSqlQuery& row) {
                              ++figures->accounts;
                              *asset += row.value(1).toLongLong();
                          });
    };
    return readEdge(QStringLiteral("MIN"), &figures->openingAsset) &&
           readEdge(QStringLiteral("MAX"), &figures->closingAsset);
}

bool readMonths(const YearQuery& query, YearFigures* figures) {
    return query.read(
        QStringLiteral("f.trade_date / 100 % 100, SUM(f.value_change + f.sold - f.bought - f.fee)"),
        QStringLiteral("fund_day"), QStringLiteral("GROUP BY 1"), [figures](const QSqlQuery& row) {
            figures->profits.insert(row.value(0).toInt(), row.value(1).toLongLong());
        });
}

bool readOrders(const YearQuery& query, YearFigures* figures) {
    return query.read(QStringLiteral("SUM(f.entrust_type <> '%1')").arg(EntrustType::CancelOrder),
                      QStringLiteral("history_order"), {}, [figures](const QSqlQuery& row) {
                          figures->orders = row.value(0).toLongLong();
                      });
}

/// The figures of the last year of the store. False when it cannot be read.
bool readYear(const MarketStore& store, const QString& user, YearFigures* figures) {
    if (!store.select(
            QStringLiteral("SELECT MAX(trade_date) / 10000 FROM fund_day"), {},
            [figures](const QSqlQuery& query) { figures->year = query.value(0).toInt(); })) {
        return false;
    }
    const YearQuery query(store, user, figures->year);
    return readSums(query, figures) && readAssets(query, figures) && readMonths(query, figures) &&
           readOrders(query, figures);
}

/// One row with the figures of the user's accounts in the last year of the market.
HandlerAnswer annualReport(const ServerCall& call) {
    const QString userId = call.text(UserAccount::userID);
    const auto user = findUser(call.store, userId);
    if (!user) {
        return HandlerAnswer::refused(QStringLiteral("用户%1不存在").arg(userId));
    }
    YearFigures year;
    if (!readYear(call.store, userId, &year)) {
        return HandlerAnswer::storeFailed();
    }
    const auto best = std::max_element(year.profits.cbegin(), year.profits.cend());
    const bool hasMonth = best != year.profits.cend();
    const qint64 profit = std::accumulate(year.profits.cbegin(), year.profits.cend(), qint64(0));
    HandlerAnswer answer;
    answer.rows.append({{UserAccount::userID, userId},
                        {UserAccount::userName, user->record.value(UserAccount::userName)},
                        {ReportField::year, year.year},
                        {ReportField::accountCount, year.accounts},
                        {ReportField::tradeDayCount, year.tradeDays},
                        {ReportField::orderCount, year.orders},
                        {ReportField::dealCount, year.deals},
                        {ReportField::boughtAmount, FundBook::yuan(year.bought)},
                        {ReportField::soldAmount, FundBook::yuan(year.sold)},
                        {ReportField::turnover, FundBook::yuan(year.bought + year.sold)},
                        {ReportField::fee, FundBook::yuan(year.fee)},
                        {ReportField::transfer, FundBook::yuan(year.transfer)},
                        {ReportField::openingAsset, FundBook::yuan(year.openingAsset)},
                        {ReportField::totalAsset, FundBook::yuan(year.closingAsset)},
                        {ReportField::bestMonth, hasMonth ? best.key() : 0},
                        {ReportField::bestMonthProfit, FundBook::yuan(hasMonth ? *best : 0)},
                        {AppraisementInfo::benefitTotal, FundBook::yuan(profit)}});
    return answer;
}

}  // namespace

void addAnnualHandlers(ServerHandlers& handlers) {
    handlers.insert(Velmar_MsgType::getAnnualReportRequest, annualReport);
}
