#pragma once

#include <QSet>
#include <QThread>
#include <deque>

#include "history_fixture.h"

/// One reply of the server to a request for a page.
enum class PageReply { TimeOut, Failure, Refusal, WrongCount, Rows };

/// What the server replies to the requests for one page, one after the other.
struct PageScript {
    QList<PageReply> replies;
    QList<QVariantMap> rows;
    QVariant total;  ///< of the last reply; invalid when the header lacks it
    QVariant count;  ///< the row count of PageReply::WrongCount

    PageReply last() const { return replies.last(); }
    ScriptedReply reply(int attempt) const {
        QVariantMap header;
        if (total.isValid()) {
            header.insert(System::totalSize, total);
        }
        switch (replies.at(attempt)) {
            case PageReply::TimeOut:
                return ScriptedReply::timeOut();
            case PageReply::Failure:
                return ScriptedReply::failure("line down");
            case PageReply::Refusal:
                return ScriptedReply::refusal("refused");
            case PageReply::WrongCount:
                header.insert(System::subGroupNumber, count);
                break;
            case PageReply::Rows:
                break;
        }
        return ScriptedReply::rows(rows, header);
    }
};

/// The replies to the query of one run of days: to the probe, then to the pages.
struct RunScript {
    QString account;
    QDate first;
    QDate last;
    PageScript probe;
    QList<PageScript> pages;  ///< from page 1 on; empty when one page is all
    QSet<int> asked;          ///< the pages that are requested, by the model
};

/// Replies by the scripts of the runs, which it expects one after the other. Everything else is
/// refused and counted.
class FaultServer {
public:
    void expect(const RunScript& run) {
        m_runs.push_back({run, 0, {}});
        m_runs.back().open = run.probe.replies.size();
        for (const int page : run.asked) {
            m_runs.back().open += run.pages.at(page - 1).replies.size();
        }
    }
    /// To be called for one request at a time.
    ScriptedReply reply(const ScriptedLink::Request& request) {
        if (m_runs.empty() || !isOf(request, m_runs.front().script)) {
            return unexpected();
        }
        Run& run = m_runs.front();
        // Key 0 is the probe, which is asked for until its last reply.
        const int page = run.sent.value(0) < run.script.probe.replies.size()
                             ? 0
                             : request.header.value(System::pageNo).toInt();
        if (page > 0 && !run.script.asked.contains(page)) {
            return unexpected();
        }
        const PageScript script = page == 0 ? run.script.probe : run.script.pages.at(page - 1);
        const int attempt = run.sent[page]++;
        if (attempt >= script.replies.size()) {
            return unexpected();
        }
        if (--run.open == 0) {
            m_runs.pop_front();
        }
        return script.reply(attempt);
    }
    /// Whether each scripted reply was fetched, and nothing else.
    bool isDone() const { return m_runs.empty() && m_unexpected == 0; }

private:
    struct Run {
        RunScript script;
        int open = 0;
        QMap<int, int> sent;
    };

    static bool isOf(const ScriptedLink::Request& request, const RunScript& run) {
        const auto number = [](const QDate& day) { return day.toString("yyyyMMdd").toInt(); };
        return request.header.value(UserAccount::tradingAccount).toString() == run.account &&
               request.header.value(System::startDate) == number(run.first) &&
               request.header.value(System::endDate) == number(run.last);
    }
    ScriptedReply unexpected() {
        ++m_unexpected;
        return ScriptedReply::refusal("not scripted");
    }

    std::deque<Run> m_runs;
    int m_unexpected = 0;
};

/// The cache as it must be after the scripted runs. Of a row that several blocks bring, the one of
/// any of them may be held, since blocks are merged in no order.
class FanOutModel {
public:
    /// Columns of a scripted row for the model: where it belongs, and what becomes of it.
    static inline const QString kDay = "model.day";        ///< a QDate, or none
    static inline const QString kIsKept = "model.isKept";  ///< a bool
    static inline const QString kKey = "model.key";
    static inline const QString kLeaveQty = "model.leaveQty";  ///< a double, or none

    using Versions = QList<QVariantMap>;

    explicit FanOutModel(int pageSize) : m_pageSize(pageSize) {}

    /// The runs of days of an account without rows.
    QList<QPair<QDate, QDate>> missing(const QString& account, const QDate& first,
                                       const QDate& last) const {
        QList<QPair<QDate, QDate>> runs;
        bool isOpen = false;
        for (QDate day = first; day <= last; day = day.addDays(1)) {
            const bool isMissing = !m_held.value(account).contains(day);
            if (isMissing && isOpen) {
                runs.last().second = day;
            } else if (isMissing) {
                runs.append({day, day});
            }
            isOpen = isMissing;
        }
        return runs;
    }

    /// Merges what the run brings and notes in it which pages are asked for.
    void apply(RunScript* run) {
        if (run->probe.last() != PageReply::Rows) {
            return;
        }
        if (run->pages.isEmpty()) {
            merge({run->probe.rows});
            return;
        }
        QList<QList<QVariantMap>> blocks;
        const int pages = run->pages.size();
        const int threads = QThread::idealThreadCount();
        int first = 1;
        for (int block = 0; block < qMin(threads, pages); ++block) {
            const int length = pages / threads + (block < pages % threads ? 1 : 0);
            QList<QVariantMap> rows;
            if (isWhole(run, first, first + length - 1, &rows)) {
                blocks.append(rows);
            }
            first += length;
        }
        merge(blocks);
    }

    /// The rows of an account for the days, by day and key.
    QList<Versions> rowsOf(const QString& account, const QDate& first, const QDate& last) const {
        QList<Versions> rows;
        const auto days = m_held.value(account);
        for (auto day = days.cbegin(); day != days.cend(); ++day) {
            if (day.key() >= first && day.key() <= last) {
                rows += day->values();
            }
        }
        return rows;
    }

private:
    /// Reads the pages of a block; false when it gets nowhere, and is merged without a row.
    bool isWhole(RunScript* run, int firstPage, int lastPage, QList<QVariantMap>* rows) const {
        QList<QVariantMap> before;
        for (int page = firstPage; page <= lastPage; ++page) {
            const PageScript& script = run->pages.at(page - 1);
            run->asked.insert(page);
            if (script.last() != PageReply::Rows) {
                continue;  // a hole
            }
            const bool isUsable = script.total.isValid() && script.total.toLongLong() >= 0;
            const qint64 total = (isUsable ? script.total : run->probe.total).toLongLong();
            if (script.rows.isEmpty()) {
                return total <= qint64(page - 1) * m_pageSize;  // the list has become shorter
            }
            if (script.rows == before) {
                return false;
            }
            before = script.rows;
            *rows += script.rows;
        }
        return true;
    }

    void merge(const QList<QList<QVariantMap>>& blocks) {
        QMap<QString, QMap<QDate, QMap<QString, Versions>>> merged;
        for (const QList<QVariantMap>& block : blocks) {
            QMap<QString, QMap<QDate, QMap<QString, QVariantMap>>> latest;
            for (QVariantMap row : block) {
                const QDate day = row.value(kDay).toDate();
                if (!row.value(kIsKept).toBool() || !day.isValid()) {
                    continue;
                }
                row.insert(Security::symbol,
                           row.value(Security::securityID).toString() + "." +
                               row.value(UserAccount::securityExchange).toString());
                if (row.contains(kLeaveQty)) {
                    row.insert(Security::leaveQty, row.value(kLeaveQty));
                }
                latest[row.value(UserAccount::tradingAccount).toString()][day]
                      [row.value(kKey).toString()] = row;
            }
            for (auto account = latest.cbegin(); account != latest.cend(); ++account) {
                for (auto day = account->cbegin(); day != account->cend(); ++day) {
                    for (auto row = day->cbegin(); row != day->cend(); ++row) {
                        merged[account.key()][day.key()][row.key()].append(row.value());
                    }
                }
            }
        }
        for (auto account = merged.cbegin(); account != merged.cend(); ++account) {
            for (auto day = account->cbegin(); day != account->cend(); ++day) {
                for (auto row = day->cbegin(); row != day->cend(); ++row) {
                    m_held[account.key()][day.key()][row.key()] = row.value();
                }
            }
        }
    }

    const int m_pageSize;
    QMap<QString, QMap<QDate, QMap<QString, Versions>>> m_held;
};

/// Whether each row is one of the versions at its place.
inline bool areVersionsOf(const QList<QVariantMap>& rows,
                          const QList<FanOutModel::Versions>& expected) {
    if (rows.size() != expected.size()) {
        qWarning() << rows.size() << "rows instead of" << expected.size();
        return false;
    }
    for (int i = 0; i < rows.size(); ++i) {
        if (!expected.at(i).contains(rows.at(i))) {
            qWarning() << "row" << i << "is" << rows.at(i) << "instead of" << expected.at(i);
            return false;
        }
    }
    return true;
}
