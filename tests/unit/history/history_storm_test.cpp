#include <QLoggingCategory>
#include <QThread>
#include <QtTest>
#include <algorithm>
#include <atomic>
#include <future>
#include <thread>
#include <vector>

#include "asset_delivery.h"
#include "deal_statistics.h"
#include "fund_reports.h"
#include "history_fixture.h"
#include "history_lists.h"
#include "history_records.h"
#include "product_report_facts.h"
#include "product_reports.h"
#include "report_fixture.h"

namespace {

using Rows = QList<QVariantMap>;

constexpr int kCallers = 20;
constexpr int kDays = 6;
constexpr int kRowsOfDay = 10;
constexpr int kOrdersPage = 1000;
const QDate kFirst(2020, 3, 2);
inline const QString kDelivery = Velmar_MsgType::queryHistoryAssetDeliveryRequest;
inline const QString kNormalFund = Velmar_MsgType::queryHistoryNormalFundRequest;
inline const QString kTodayFund = Velmar_MsgType::queryTodayNormalFundRequest;
inline const QString kMarginFund = Velmar_MsgType::queryHistoryMarginFundRequest;

QString textOf(const QDate& day) {
    return day.toString("yyyyMMdd");
}

QDate dayOf(const QVariantMap& request, const QString& field) {
    return QDate::fromString(request.value(field).toString(), "yyyyMMdd");
}

Rows ordersOf(const QString& account, const QDate& day) {
    Rows rows;
    for (int i = 0; i < kRowsOfDay; ++i) {
        rows.append(entrustRow(account, textOf(day), QStringLiteral("O%1").arg(i)));
    }
    return rows;
}

/// Each page is a day, so that a day is entered as a whole: a caller takes a day with any row for
/// held.
QVariant ordersByDay(const QVariant& body) {
    const QVariantMap request = headerOf(body);
    const QString account = request.value(UserAccount::tradingAccount).toString();
    const QDate first = dayOf(request, System::startDate);
    const qint64 days = first.daysTo(dayOf(request, System::endDate)) + 1;
    Rows rows = ordersOf(account, first.addDays(request.value(System::pageNo).toInt() - 1));
    if (request.contains(Security::orderID)) {
        rows = rows.mid(request.value(Security::orderID).toString().midRef(1).toInt(), 1);
    }
    return makeAnswer(body, rows, {{System::totalSize, days * kOrdersPage}});
}

/// Rows for each day of the request, in one page.
ScriptedReply::Function daily(
    const std::function<QVariantMap(const QString&, const QString&)>& row) {
    return [row](const QVariant& body) {
        const QVariantMap request = headerOf(body);
        const QString account = request.value(UserAccount::tradingAccount).toString();
        Rows rows;
        for (QDate day = dayOf(request, System::startDate); day <= dayOf(request, System::endDate);
             day = day.addDays(1)) {
            for (int i = 0; i < kRowsOfDay; ++i) {
                rows.append(row(account, textOf(day)));
                rows.last().insert(Security::execID, i);
            }
        }
        return makeAnswer(body, rows, {{System::totalSize, rows.size()}});
    };
}

QVariantMap dealOf(const QString& account, const QString& day) {
    return dealRow(account, day, "O1", {});
}

QVariantMap statisticOf(const QString&, const QString& day) {
    return {{UserAccount::tradeDate, day}, {Security::cumQty, 3}, {Security::avgPx, 5}};
}

QVariantMap deliveryOf(const QString&, const QString& day) {
    return {{UserAccount::tradeDate, day},
            {System::businessDate, day},
            {AssetDeliver::BusinessTime, "093015"}};
}

QVariant fundsOfEach(const QVariant& body) {
    Rows rows = rowsOf(body);
    const QVariantMap request = headerOf(body);
    for (QVariantMap& row : rows) {
        row.insert(System::requestExeStatus, RequestExeStatus::success);
        row.insert("of", request.value(System::queryDate));
    }
    return makeAnswer(body, rows);
}

ScriptedReply::Function productRows(const ProductReportFacts& report) {
    return [&report](const QVariant& body) {
        const QVariantMap request = headerOf(body);
        const QVariant product = request.value(report.productField);
        Rows rows;
        for (int i = 0; i < kRowsOfDay; ++i) {
            rows.append(
                {{report.productField, product}, {"n", i}, {"of", request.value(report.dayField)}});
        }
        return makeAnswer(body, rows, {{report.productField, product}});
    };
}

QMap<QString, ScriptedReply::Function> wholeServer() {
    return {{kEntrusts, ordersByDay},
            {kDeals, daily(dealOf)},
            {kStatistics, daily(statisticOf)},
            {kDelivery, daily(deliveryOf)},
            {kNormalFund, fundsOfEach},
            {kTodayFund, fundsOfEach},
            {kMarginFund, fundsOfEach},
            {appraisement().msgType, productRows(appraisement())},
            {appraisementProfit().msgType, productRows(appraisementProfit())},
            {panfenFlow().msgType, productRows(panfenFlow())}};
}

/// In an order that does not depend on which products were held.
Rows byProduct(Rows rows, const ProductReportFacts& report) {
    std::stable_sort(rows.begin(), rows.end(), [&](const QVariantMap& one, const auto& other) {
        return one.value(report.productField).toString() <
               other.value(report.productField).toString();
    });
    return rows;
}

/// The caches that callers share, and what each caller asks of them.
class Caches {
public:
    Caches() {
        m_types.types = {{"A1", FundAccountType::Cash},
                         {"A2", FundAccountType::Cash},
                         {"A3", FundAccountType::Credit},
                         {"A4", FundAccountType::Credit}};
    }

    /// All queries of a caller, each caller beginning with another one; the results by query.
    std::vector<Rows> resultsOf(ZnPresenterClass* presenter, int caller) {
        const QStringList accounts = m_types.types.keys();
        const QStringList chosen{accounts.at(caller % 4), accounts.at((caller + 1) % 4)};
        const QDate first = kFirst.addDays(caller % 3);
        return resultsOf(presenter, chosen, first, first.addDays(1 + caller % (kDays - 3)), caller);
    }

    std::vector<Rows> resultsOf(ZnPresenterClass* presenter, const QStringList& accounts,
                                const QDate& first, const QDate& last, int firstQuery) {
        const QDate today = firstQuery % 2 == 0 ? first : last;
        const QStringList all = m_types.types.keys();
        const std::vector<std::function<Rows()>> queries{
            [&] { return m_lists.GetHistoryEntrustList(presenter, accounts, first, last); },
            [&] { return m_lists.GetHistoryDealList(presenter, accounts, first, last); },
            [&] {
                return m_statistics.GetHistoryDealStatisticsList(presenter, accounts, first, last);
            },
            [&] {
                Rows rows;
                m_delivery.GetHistoryAssetDeliveryReports(presenter, accounts, first, last, rows);
                return rows;
            },
            [&] { return m_funds.GetHistoryNormalFundInfo(presenter, all, first, last); },
            [&] { return m_funds.GetTodayNormalFundInfo(presenter, all, first).values(); },
            [&] { return m_funds.GetHistoryMarginFundInfo(presenter, all, first).values(); },
            [&] {
                return byProduct(
                    m_products.GetHistoryAppraisementInfo(presenter, accounts, first, today),
                    appraisement());
            },
            [&] {
                return byProduct(
                    m_products.GetHistoryAppraisementProfitInfo(presenter, accounts, first, today),
                    appraisementProfit());
            },
            [&] {
                return byProduct(m_products.GetHistoryPanfenFlowInfo(presenter, accounts, first),
                                 panfenFlow());
            },
            [&] {
                QString error;
                return HistoryRecords().queryHistoryEntrustRecordList(presenter, accounts.first(),
                                                                      first, last, error);
            },
            [&] {
                // A held order has columns that the server's does not have.
                const QVariantMap order = m_lists.GetHistoryEntrustByTradeDateAndOrderID(
                    presenter, first, "O3", accounts.first());
                return Rows{{{Security::orderID, order.value(Security::orderID)}}};
            }};
        std::vector<Rows> results(queries.size());
        for (size_t i = 0; i < queries.size(); ++i) {
            const size_t query = (i + static_cast<size_t>(firstQuery)) % queries.size();
            results[query] = queries[query]();
        }
        return results;
    }

    /// Everything that is held.
    std::vector<Rows> held(const QStringList& accounts, const QDate& first, const QDate& last) {
        std::vector<Rows> rows = resultsOf(nullptr, accounts, first, last, 0);
        rows.pop_back();  // one order is a row even when it is not found
        return rows;
    }

private:
    DottedSymbols m_symbols;
    AccountTypes m_types;
    HistoryLists m_lists{m_symbols};
    DealStatistics m_statistics{m_symbols};
    AssetDelivery m_delivery{m_symbols};
    FundReports m_funds{m_types};
    ProductReports m_products;
};

}  // namespace

/// Many callers at once on the same caches.
class HistoryStormTest : public QObject {
    Q_OBJECT

private:
    static void serve(ScriptedLink& link) {
        const auto server = wholeServer();
        for (auto type = server.cbegin(); type != server.cend(); ++type) {
            link.on(type.key(), type.value());
        }
    }

private slots:
    void initTestCase() { QLoggingCategory::setFilterRules("velmar.*=false"); }

    void callersOnTheSameAccounts_getWhatALoneCallerGets() {
        ReportWorld world;
        serve(world.link());
        world.presenter()->setRequestTimeOut(17);
        Caches shared;
        std::promise<void> start;
        const std::shared_future<void> started = start.get_future().share();
        std::vector<std::future<std::vector<Rows>>> callers;
        for (int caller = 0; caller < kCallers; ++caller) {
            callers.push_back(std::async(std::launch::async, [&, caller] {
                started.wait();
                return shared.resultsOf(world.presenter(), caller);
            }));
        }
        start.set_value();
        std::vector<std::vector<Rows>> results;
        for (auto& caller : callers) {
            results.push_back(caller.get());
        }
        for (int caller = 0; caller < kCallers; ++caller) {
            Caches own;
            const std::vector<Rows> expected = own.resultsOf(world.presenter(), caller);
            for (size_t query = 0; query < expected.size(); ++query) {
                QVERIFY2(!expected[query].isEmpty(), qPrintable(QString::number(query)));
                QVERIFY2(results[size_t(caller)][query] == expected[query],
                         qPrintable(QStringLiteral("caller %1, query %2").arg(caller).arg(query)));
            }
        }
        QCOMPARE(world.presenter()->getRequestTimeOut(), 17);
    }

    void presenterClosesMeanwhile_allReturnAndAbortedBlocksMergeNothing() {
        // Each block of orders has two pages; the second one never comes.
        const QDate last = kFirst.addDays(2 * QThread::idealThreadCount() - 1);
        ReportWorld world;
        const QStringList types = wholeServer().keys();
        for (const QString& type : types) {
            world.link().on(type, ScriptedReply::with(wholeServer().value(type)).held());
        }
        std::atomic<int> unanswered{0};
        world.link().onEach(kEntrusts, [&unanswered](const ScriptedLink::Request& request) {
            const bool isSecond = request.header.value(System::pageNo).toInt() % 2 == 0;
            if (!isSecond) {
                return ScriptedReply::with(ordersByDay);
            }
            const bool isHeld = request.header.value(UserAccount::tradingAccount) == "A1";
            unanswered += isHeld ? 0 : 1;
            return isHeld ? ScriptedReply::never() : ScriptedReply::timeOut();
        });
        world.presenter()->setRequestTimeOut(3600);
        ZnPresenterClass* const presenter = world.presenter();
        Caches shared;
        std::atomic<int> ended{0};
        std::vector<std::thread> callers;
        for (int caller = 0; caller < kCallers; ++caller) {
            callers.emplace_back([&, caller] {
                const QStringList accounts{caller % 2 == 0 ? "A1" : "A2", "A3"};
                shared.resultsOf(presenter, accounts, kFirst, last, caller);
                ++ended;
            });
        }
        // Every kind of query is under way, and pages were asked for again.
        const bool isUnderWay = waitFor(
            [&] {
                return unanswered >= 4 &&
                       std::all_of(types.cbegin(), types.cend(), [&](const auto& type) {
                           return world.link().requestCount(type) > 0;
                       });
            },
            20000);
        const int endedBefore = ended;
        bool isEnded = false;
        world.whileClosing([&] {
            isEnded = waitFor([&] { return ended == kCallers; }, 20000);
            for (std::thread& caller : callers) {
                caller.join();
            }
        });
        QVERIFY(isUnderWay);
        QCOMPARE(endedBefore, 0);
        QVERIFY(isEnded);
        for (const Rows& rows : shared.held({"A1", "A2", "A3", "A4"}, kFirst, last)) {
            QVERIFY(rows.isEmpty());
        }
    }
};

QTEST_GUILESS_MAIN(HistoryStormTest)
#include "history_storm_test.moc"
