#include "history_questions.h"

#include <QJsonArray>
#include <QLocale>
#include <algorithm>
#include <cstdio>
#include <limits>

#include "account_lists.h"
#include "facade_questions.h"
#include "history_columns.h"
#include "history_export.h"
#include "output.h"
#include "request_watch.h"
#include "row_target.h"
#include "row_writer.h"
#include "trade_calendar.h"
#include "vocabulary/values.h"
#include "znbusinessdata/c_business_data_base.h"
#include "zndatabase/c_data_base.h"

namespace {

using Outcome = HistoryExport::Outcome;

constexpr int kPageSize = 1000;
constexpr int kTradeWeek = 5;
/// Holidays do not close the exchanges for longer.
constexpr int kDaysWithTradeWeek = 30;
constexpr int kCalendarDays = 30;

inline const QString kDayFormat = QStringLiteral("yyyyMMdd");

/// The functions of the client. An answer that comes after an interrupt is dropped: the interrupt
/// made the requests behind it fail.
FacadeAsk askingUntilInterrupt(WatchedClient& watched) {
    return [ask = watched.asking()](const FacadeFunction& function, const QStringList& arguments,
                                    QJsonObject* answer) {
        return ask(function, arguments, answer) && !InterruptWatch::hasCome();
    };
}

/// The functions of the running client, and its range of days.
struct HistorySession {
    explicit HistorySession(WatchedClient& watched)
        : facade(watched.client.facade(), askingUntilInterrupt(watched)),
          today(CBusinessDataBase::GetInstance()->getCurrentBusinessDateTime().date()) {}

    /// The trade days of a range, yyyyMMdd; false with a text.
    bool tradeDays(const QDate& from, const QDate& to, const QString& exchange, QStringList* days,
                   QString* error) {
        const QJsonObject answer =
            facade.call(QStringLiteral("GetTradeDates"),
                        {from.toString(kDayFormat), to.toString(kDayFormat), exchange});
        for (const auto& day : answer.value(QLatin1String("result")).toArray()) {
            days->append(day.toString());
        }
        *error = answer.value(QLatin1String("out"))
                     .toArray()
                     .at(0)
                     .toObject()
                     .value(QLatin1String("value"))
                     .toString();
        if (!error->isEmpty()) {
            *error = QStringLiteral("the trade days were not received: %1").arg(*error);
        }
        return error->isEmpty() && !facade.interrupted();
    }

    FacadeQuestions facade;
    const QDate today;
};

/// What a command ended with: nothing, or a text and its exit code.
struct Fault {
    QString text;
    ExitCode code = Failed;
};

Fault noAccount(const char* what, const QString& account, const QStringList& known) {
    Fault fault{QStringLiteral("no %1 is called '%2'").arg(QLatin1String(what), account),
                WrongUsage};
    const QStringList close = closeNames(account, known);
    if (!close.isEmpty()) {
        fault.text += QStringLiteral("; similar names: %1").arg(close.join(QStringLiteral(", ")));
    }
    return fault;
}

/// Brings a client up for some work that prints or writes by itself.
template <class Work>
ExitCode runClient(const ShellOptions& options, Work&& work,
                   const RequestWatch& requests = RequestWatch()) {
    if (const ExitCode fault = openHome(options)) {
        return fault;
    }
    ProgressBar progress(stderr);
    Client::Options prepared = clientOptions(options);
    prepared.wrapLink = requests.wrap();
    WatchedClient watched(prepared, showOnStderr(progress));
    if (!watched.start()) {
        return Failed;
    }
    const ExitCode code = work(watched);
    watched.client.stop();
    return code;
}

QString rowsText(qint64 rows) {
    return rows == 1 ? QStringLiteral("1 row") : QStringLiteral("%1 rows").arg(rows);
}

/// Says on stderr why a list is not complete, and what was written all the same.
ExitCode reportFault(const Outcome& outcome, const RowTarget& target, qint64 rows) {
    QString text = outcome.isInterrupted ? QStringLiteral("interrupted") : outcome.fault;
    if (target.isFile() && rows == 0) {
        text += QStringLiteral("; %1 was not written").arg(target.name());
    } else if (target.isFile()) {
        text += QStringLiteral("; %1 has the first %2").arg(target.name(), rowsText(rows));
    } else {
        text += rows == 1 ? QStringLiteral("; the first row was printed")
                          : QStringLiteral("; the first %1 rows were printed").arg(rows);
    }
    if (!outcome.isInterrupted) {
        text += QStringLiteral("; see the log");
    }
    printError(text);
    return Failed;
}

/// Writes rows to where the options want them, with their number at the end; the hint for a list
/// without rows goes to stderr.
template <class Fill>
ExitCode writeRows(const ShellOptions& options, const QString& list, const QString& days,
                   Fill&& fill, const QString& emptyHint = QString()) {
    RowTarget target(options.history.outFile);
    if (!target.open()) {
        printError(target.error());
        return WrongUsage;
    }
    RowWriter writer(options.history.format, historyColumns(list),
                     target.isFile() ? std::numeric_limits<int>::max() : columnsOfOutput(),
                     [&target](const QByteArray& bytes) { return target.put(bytes); });
    Outcome outcome;
    if (writer.begin()) {
        outcome = fill(writer);
    }
    // A file without a row of a list that failed would only replace a better one.
    const bool isKept = outcome.isComplete() || writer.count() > 0;
    if (!writer.end() || (isKept && !target.keep())) {
        printError(target.error());
        return Failed;
    }
    if (!outcome.isComplete()) {
        return reportFault(outcome, target, writer.count());
    }
    if (writer.count() == 0 && !emptyHint.isEmpty()) {
        printError(emptyHint);
    }
    const QString summary = rowsText(writer.count()) + days;
    if (target.isFile()) {
        printTo(stdout, QStringLiteral("%1 in %2").arg(summary, target.name()));
    } else if (options.history.format == RowFormat::Table) {
        printTo(stdout, summary);
    } else {
        printTo(stderr, summary);
    }
    return Well;
}

/// The days of the options; the last trade week up to --to or today by default.
bool rangeOf(const ShellOptions& options, HistorySession& session, QDate* from, QDate* to,
             Fault* fault) {
    *to = options.history.to.isValid() ? options.history.to : session.today;
    *from = options.history.from;
    if (!from->isValid()) {
        QStringList days;
        if (!session.tradeDays(to->addDays(1 - kDaysWithTradeWeek), *to, Exchange::sh, &days,
                               &fault->text)) {
            return false;
        }
        const QString first = days.value(std::max(0, days.size() - kTradeWeek));
        *from = QDate::fromString(first, kDayFormat);
        if (!from->isValid()) {
            fault->text = QStringLiteral(
                              "the calendar has no trade day before %1; --from and --to "
                              "set the days")
                              .arg(to->toString(Qt::ISODate));
            return false;
        }
        *to = options.history.to.isValid() ? *to : QDate::fromString(days.last(), kDayFormat);
    }
    fault->code = WrongUsage;
    return HistoryOptionWords::isRangeGood(*from, *to, &fault->text);
}

/// Whether one of the accounts is a margin account. Those that are neither cash nor margin accounts
/// are added to `others`.
bool hasMarginAccount(FacadeQuestions& facade, const QStringList& accounts, QStringList* others) {
    bool found = false;
    for (const QString& account : accounts) {
        const QJsonValue record = facade.ask(QStringLiteral("GetAccountInfoByTradingAccount"),
                                             {account, QStringLiteral("false")});
        const QString type = AccountRecord::text(record.toObject(), "fundAccountType");
        found = found || type == FundAccountType::Credit;
        if (!type.isEmpty() && type != FundAccountType::Credit && type != FundAccountType::Cash) {
            others->append(account);
        }
    }
    return found;
}

/// The first names, with the number of the others.
QString shortList(const QStringList& names) {
    constexpr int kShown = 10;
    const QString shown = QStringList(names.mid(0, kShown)).join(QStringLiteral(", "));
    return names.size() > kShown
               ? QStringLiteral("%1 and %2 more").arg(shown).arg(names.size() - kShown)
               : shown;
}

/// Names the accounts that a list of funds leaves out.
void reportOtherAccounts(const QStringList& accounts) {
    if (!accounts.isEmpty()) {
        printError(QStringLiteral("neither cash nor margin accounts, without funds: %1")
                       .arg(shortList(accounts)));
    }
}

/// A page of the size that means "all rows up to a limit" is not a page.
int pageSize() {
    const int limit =
        CDataBase::GetInstance()
            ->GetStaticCfgValue(QStringLiteral("ProductReports"), QStringLiteral("MaxNum"))
            .toInt();
    return limit == kPageSize ? kPageSize - 1 : kPageSize;
}

bool makeRequest(const ShellOptions& options, HistorySession& session, HistoryRequest* request,
                 Fault* fault) {
    const bool isOfProducts = options.list == QLatin1String("appraisement");
    const bool isOfFunds = options.list == QLatin1String("funds");
    const QStringList known = isOfProducts
                                  ? CBusinessDataBase::GetInstance()->GetProductAccountList()
                                  : Client::platformAccounts();
    for (const QString& account : options.history.accounts) {
        if (!known.contains(account)) {
            *fault = noAccount(isOfProducts ? "product" : "account", account, known);
            return false;
        }
    }
    request->list = options.list;
    request->accounts = options.history.accounts.isEmpty() ? known : options.history.accounts;
    request->today = session.today;
    request->pageSize = pageSize();
    if (request->accounts.isEmpty()) {
        fault->text =
            QStringLiteral("the login has no %1")
                .arg(isOfProducts ? QStringLiteral("products") : QStringLiteral("accounts"));
        return false;
    }
    if (!rangeOf(options, session, &request->from, &request->to, fault)) {
        return false;
    }
    fault->code = Failed;
    if (isOfFunds) {
        QStringList others;
        request->hasMarginAccount = hasMarginAccount(session.facade, request->accounts, &others);
        reportOtherAccounts(others);
    }
    return (!isOfFunds && !isOfProducts) ||
           session.tradeDays(request->from, request->to, Exchange::sh, &request->tradeDays,
                             &fault->text);
}

ExitCode failed(const HistorySession& session, const Fault& fault) {
    if (session.facade.interrupted()) {
        printError(QStringLiteral("interrupted"));
        return Failed;
    }
    printError(fault.text);
    return fault.code;
}

QString rangeText(const QDate& from, const QDate& to) {
    return QStringLiteral(", %1 to %2").arg(from.toString(Qt::ISODate), to.toString(Qt::ISODate));
}

bool isDefaultRange(const ShellOptions& options) {
    return !options.history.from.isValid() && !options.history.to.isValid();
}

ExitCode listHistory(const ShellOptions& options, WatchedClient& watched, RequestWatch& requests) {
    HistorySession session(watched);
    HistoryRequest request;
    Fault fault;
    if (!makeRequest(options, session, &request, &fault)) {
        return failed(session, fault);
    }
    return writeRows(
        options, request.list, rangeText(request.from, request.to),
        [&](RowWriter& writer) {
            ProgressBar bar(stderr, QStringLiteral("history %1").arg(request.list));
            const auto onProgress = [&bar](qint64 done, qint64 total) {
                constexpr qint64 kPercent = 100;
                bar.show(static_cast<int>(total > 0 ? done * kPercent / total : 1),
                         total > 0 ? kPercent : 1);
            };
            const auto takeLost = [&requests] { return requests.takeLost(); };
            Outcome outcome =
                HistoryExport(session.facade, writer, onProgress, takeLost).run(request);
            bar.clear();
            return outcome;
        },
        isDefaultRange(options)
            ? QStringLiteral("the last trade days have no rows; --from and --to set other days, "
                             "--clock another today")
            : QString());
}

/// Says on stderr that a range has years whose holidays are not published.
void reportUnpublished(const QDate& from, const QDate& to, const QDate& today) {
    TradeCalendar calendar;
    QString error;
    if (!calendar.load(&error)) {
        printError(error);
        return;
    }
    if (from.year() < calendar.firstYear()) {
        printError(QStringLiteral("the calendar begins with %1").arg(calendar.firstYear()));
    }
    if (to.year() > calendar.lastYear()) {
        printError(QStringLiteral("holidays are published up to %1: later trade days are "
                                  "provisional, every weekday up to the end of %2")
                       .arg(calendar.lastYear())
                       .arg(std::max(today.year(), calendar.lastYear()) + 1));
    }
}

ExitCode listCalendar(const ShellOptions& options, WatchedClient& watched) {
    HistorySession session(watched);
    const HistoryOptions& given = options.history;
    QDate from = given.from;
    if (!from.isValid()) {
        from = given.to.isValid() ? given.to.addDays(1 - kCalendarDays) : session.today;
    }
    const QDate to = given.to.isValid() ? given.to : from.addDays(kCalendarDays - 1);
    QStringList days;
    Fault fault;
    if (!HistoryOptionWords::isRangeGood(from, to, &fault.text)) {
        fault.code = WrongUsage;
        return failed(session, fault);
    }
    if (!session.tradeDays(from, to, options.list, &days, &fault.text)) {
        return failed(session, fault);
    }
    reportUnpublished(from, to, session.today);
    return writeRows(
        options, QStringLiteral("calendar"), rangeText(from, to), [&days](RowWriter& writer) {
            for (const QString& day : days) {
                const QDate date = QDate::fromString(day, kDayFormat);
                writer.add({{QStringLiteral("tradeDate"), day},
                            {QStringLiteral("weekday"), QLocale::c().dayName(date.dayOfWeek())}});
            }
            return Outcome();
        });
}

/// One answer: a plain text for a terminal and files of it, or one row.
ExitCode writeItem(const ShellOptions& options, const QString& list, const QString& plain,
                   const QJsonObject& row) {
    if (options.history.format != RowFormat::Table) {
        return writeRows(options, list, QString(), [&row](RowWriter& writer) {
            writer.add(row);
            return Outcome();
        });
    }
    RowTarget target(options.history.outFile);
    const bool isOpen = target.open();
    if (!isOpen || !target.put((printable(plain) + QLatin1Char('\n')).toUtf8()) || !target.keep()) {
        printError(target.error());
        return isOpen ? Failed : WrongUsage;
    }
    return Well;
}

}  // namespace

ExitCode runHistory(const ShellOptions& options) {
    RequestWatch requests;
    return runClient(
        options, [&](WatchedClient& watched) { return listHistory(options, watched, requests); },
        requests);
}

ExitCode runCalendar(const ShellOptions& options) {
    return runClient(options,
                     [&](WatchedClient& watched) { return listCalendar(options, watched); });
}

ExitCode runAnnouncement(const ShellOptions& options) {
    return runClient(options, [&](WatchedClient& watched) {
        HistorySession session(watched);
        const QString text =
            session.facade.ask(QStringLiteral("GetSystemAnnoucement"), {QStringLiteral("true")})
                .toString();
        if (text.isEmpty()) {
            return failed(session, {QStringLiteral("the server has no announcement, or did not "
                                                   "answer; see the log")});
        }
        return writeItem(options, QStringLiteral("announcement"), text,
                         {{QStringLiteral("announcement"), text}});
    });
}

ExitCode runAnnualReport(const ShellOptions& options) {
    return runClient(options, [&](WatchedClient& watched) {
        HistorySession session(watched);
        const QJsonObject answer = session.facade.call(QStringLiteral("GetAnnualReport"), {});
        const QJsonObject report = answer.value(QLatin1String("result")).toObject();
        if (report.isEmpty()) {
            const QString error = answer.value(QLatin1String("out"))
                                      .toArray()
                                      .at(0)
                                      .toObject()
                                      .value(QLatin1String("value"))
                                      .toString();
            return failed(
                session,
                {error.isEmpty() ? QStringLiteral("the server has no annual report") : error});
        }
        return writeRows(options, QStringLiteral("report"), QString(), [&](RowWriter& writer) {
            if (options.history.format == RowFormat::Json) {
                writer.add(report);
                return Outcome();
            }
            for (auto field = report.constBegin(); field != report.constEnd(); ++field) {
                writer.add({{QStringLiteral("field"), field.key().section(QLatin1Char('/'), -1)},
                            {QStringLiteral("value"), cellText(field.value())}});
            }
            return Outcome();
        });
    });
}

ExitCode runConfig(const ShellOptions& options) {
    return runClient(options, [&](WatchedClient& watched) {
        HistorySession session(watched);
        const QString value =
            session.facade.ask(QStringLiteral("getSysConfigValue"), {options.item}).toString();
        if (value.isEmpty()) {
            return failed(session,
                          {QStringLiteral("the server has no value for '%1', or did not answer; "
                                          "see the log")
                               .arg(options.item)});
        }
        return writeItem(
            options, QStringLiteral("config"), value,
            {{QStringLiteral("item"), options.item}, {QStringLiteral("value"), value}});
    });
}

ExitCode runSubscribe(const ShellOptions& options) {
    return runClient(options, [&](WatchedClient& watched) {
        HistorySession session(watched);
        const bool stands = session.facade
                                .ask(QStringLiteral("SubscribePushMsgFromServer"),
                                     {options.item, QStringLiteral("{}"), NetGateType::TradeGate})
                                .toBool();
        if (!stands) {
            return failed(
                session,
                {QStringLiteral("'%1' was not subscribed; see the log").arg(options.item)});
        }
        printTo(stdout, QStringLiteral("subscribed to %1").arg(options.item));
        return Well;
    });
}
