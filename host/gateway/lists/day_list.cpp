#include "day_list.h"

#include <QSqlQuery>
#include <limits>

#include "paged_query.h"
#include "server_users.h"
#include "vocabulary/fields.h"

namespace {

constexpr int kMaxPageSize = 5000;
constexpr int kMaxAccounts = 10000;
inline const QString kAccount = QStringLiteral("trading_account");
inline const QString kDay = QStringLiteral("trade_date");

/// The position before the first row of an account's day: five digits of the account's place in the
/// tree, five of the day since 1970, six for the rows of the day.
qint64 positionOf(qint64 seq, int day) {
    constexpr qint64 kRows = 1000000;
    constexpr qint64 kDays = 100000;
    constexpr int kYear = 10000;
    constexpr int kMonth = 100;
    const QDate date(day / kYear, day / kMonth % kMonth, day % kMonth);
    return (seq * kDays + QDate(1970, 1, 1).daysTo(date)) * kRows;
}

/// Rows of one account on consecutive days of its list.
struct Run {
    QString account;
    int firstDay;
    int lastDay;
    qint64 skip;  ///< rows of the first day before those of the run
    qint64 take;
};

/// Walks over the days of a list and collects where the rows of a page are.
class PageFinder {
public:
    explicit PageFinder(const PageRequest& page)
        : m_page(page),
          m_left(page.mode == PageRequest::Mode::All ? std::numeric_limits<qint64>::max()
                                                     : page.count) {}

    void addDay(qint64 seq, const QString& account, int day, qint64 rows) {
        const qint64 start = positionOf(seq, day);
        const qint64 skip = m_page.mode == PageRequest::Mode::Position ? m_page.after - start
                                                                       : m_page.offset - m_total;
        m_total += rows;
        if (skip < rows && m_left > 0) {
            take(account, day, qMax(skip, Q_INT64_C(0)), rows, start);
        }
    }

    qint64 total() const { return m_total; }
    const QVector<Run>& runs() const { return m_runs; }
    /// The position of the page's last row; 0 without rows.
    qint64 lastPosition() const { return m_lastPosition; }

private:
    void take(const QString& account, int day, qint64 skip, qint64 rows, qint64 start) {
        const qint64 taken = qMin(rows - skip, m_left);
        m_left -= taken;
        m_lastPosition = start + skip + taken;
        // Only a page's first day has rows before it, and only its last day rows behind it.
        if (!m_runs.isEmpty() && m_runs.last().account == account) {
            m_runs.last().lastDay = day;
            m_runs.last().take += taken;
        } else {
            m_runs.append({account, day, day, skip, taken});
        }
    }

    const PageRequest m_page;
    qint64 m_left;
    qint64 m_total = 0;
    qint64 m_lastPosition = 0;
    QVector<Run> m_runs;
};

/// One request for a list.
class DayListQuery {
public:
    DayListQuery(const ServerCall& call, const DayList& list) : m_call(call), m_list(list) {}

    HandlerAnswer answer() {
        QString refusal;
        const auto page = PageRequest::of(m_call, kMaxPageSize, &refusal);
        if (!page || !readFields(&refusal)) {
            return HandlerAnswer::refused(refusal);
        }
        PageFinder finder(*page);
        if (!findDays(&finder)) {
            return HandlerAnswer::storeFailed();
        }
        if (page->mode == PageRequest::Mode::All && finder.total() > kMaxPageSize) {
            return HandlerAnswer::refused(
                QStringLiteral("数据共%1条，应分页查询").arg(finder.total()));
        }
        HandlerAnswer answer;
        answer.totalSize = finder.total();
        for (const Run& run : finder.runs()) {
            if (!readRun(run, &answer)) {
                return HandlerAnswer::storeFailed();
            }
        }
        page->addFields(finder.lastPosition(), &answer);
        return answer;
    }

private:
    /// Reads the user, the filters and the optional rows; false with a text for the client.
    bool readFields(QString* refusal) {
        using Kind = PagedFilter::Kind;
        static const QVector<PagedFilter> scope{
            {Kind::OneOf, UserAccount::tradingAccount, kAccount, true, kMaxAccounts},
            {Kind::NotLess, System::startDate, kDay},
            {Kind::NotMore, System::endDate, kDay}};
        m_user = m_call.text(UserAccount::loginUserId);
        if (m_user.isEmpty()) {
            m_user = m_call.subscriptions.user(m_call.session);
        }
        if (!findUser(m_call.store, m_user)) {
            *refusal = QStringLiteral("用户%1不存在").arg(m_user);
            return false;
        }
        QueryConditions filters;
        if (!m_scope.addFilters(m_call, scope, refusal) ||
            !filters.addFilters(m_call, m_list.filters, refusal)) {
            return false;
        }
        m_isCounted = filters.isEmpty();
        m_rows.add(filters);
        readOptional();
        return true;
    }

    void readOptional() {
        m_count = m_list.count;
        if (!m_list.condition.isEmpty()) {
            m_rows.add(m_list.condition);
        }
        for (const OptionalRows& rows : m_list.optional) {
            if (m_call.text(rows.field) != QLatin1String("1")) {
                m_rows.add(rows.otherRows);
                m_count += QStringLiteral(" - ") + rows.count;
            }
        }
    }

    /// The statement for each account's days with their numbers of rows.
    QString daysWith(QueryConditions* conditions) const {
        *conditions = m_scope;
        if (m_isCounted) {
            return QStringLiteral("SELECT %1, %2, %3 AS row_count FROM history_day%4")
                .arg(kAccount, kDay, m_count, conditions->where());
        }
        conditions->add(m_rows);
        QString rows = m_list.table + conditions->where();
        if (!m_list.groupBy.isEmpty()) {
            rows = QStringLiteral("(SELECT DISTINCT %1, %2, %3 FROM %4)")
                       .arg(kAccount, kDay, m_list.groupBy, rows);
        }
        return QStringLiteral("SELECT %1, %2, COUNT(*) AS row_count FROM %3 GROUP BY %1, %2")
            .arg(kAccount, kDay, rows);
    }

    bool findDays(PageFinder* finder) const {
        QueryConditions conditions;
        const QString sql =
            QStringLiteral(
                "SELECT t.seq, d.trading_account, d.trade_date, d.row_count FROM (%1) d"
                " JOIN trading_account t ON t.trading_account = d.trading_account"
                " JOIN account_authority o ON o.trading_account = d.trading_account"
                " AND o.user_id = ? WHERE d.row_count > 0 ORDER BY t.seq, d.trade_date")
                .arg(daysWith(&conditions));
        return m_call.store.select(
            sql, conditions.values + QVariantList{m_user}, [finder](const QSqlQuery& query) {
                finder->addDay(query.value(0).toLongLong(), query.value(1).toString(),
                               query.value(2).toInt(), query.value(3).toLongLong());
            });
    }

    bool readRun(const Run& run, HandlerAnswer* answer) const {
        QueryConditions conditions;
        conditions.add(QStringLiteral("trading_account = ? AND trade_date BETWEEN ? AND ?"),
                       {run.account, run.firstDay, run.lastDay});
        conditions.add(m_rows);
        const QString group =
            m_list.groupBy.isEmpty()
                ? QString()
                : QStringLiteral(" GROUP BY %1, %2, %3").arg(kAccount, kDay, m_list.groupBy);
        const QString sql =
            QStringLiteral("SELECT %1 FROM %2%3%4 ORDER BY %5, %6, %7 LIMIT ? OFFSET ?")
                .arg(columnList(m_list.columns), m_list.table, conditions.where(), group, kAccount,
                     kDay, m_list.order);
        return m_call.store.select(
            sql, conditions.values + QVariantList{run.take, run.skip},
            [&](const QSqlQuery& query) { answer->rows.append(recordOf(query, m_list.columns)); });
    }

    const ServerCall& m_call;
    const DayList& m_list;
    QString m_user;
    QueryConditions m_scope;   // accounts and dates
    QueryConditions m_rows;    // of the rows themselves
    QString m_count;           // an expression over history_day
    bool m_isCounted = false;  // whether history_day counts just the rows that are wanted
};

}  // namespace

HandlerAnswer answerByDay(const ServerCall& call, const DayList& list) {
    return DayListQuery(call, list).answer();
}
