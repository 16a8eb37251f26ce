#include <rapidcheck.h>

#include <QLoggingCategory>
#include <QtTest>

#include "fan_out_model.h"
#include "history_lists.h"

namespace {

const QDate kFirst(2026, 1, 5);
constexpr int kDays = 5;
constexpr int kMostTimeOuts = 5;

/// What differs between deals and orders.
struct Family {
    bool isDeals;
    int pageSize;
    const QString& type;
    QList<QVariantMap> fullPage;
};

struct Mark {
    QVariant type;
    QVariant status;
    bool isKept;
};

void setIfValid(QVariantMap* row, const QString& field, const QVariant& value) {
    if (value.isValid()) {
        row->insert(field, value);
    }
}

QVariantMap rowWith(const Family& family, const QString& account, const QVariant& day,
                    const QDate& parsedDay, const QString& order, const Mark& mark, int version) {
    QVariantMap row =
        family.isDeals ? dealRow(account, {}, order, "E") : entrustRow(account, {}, order);
    row.remove(UserAccount::tradeDate);
    row.remove(UserAccount::ExchangeExecStat);
    setIfValid(&row, UserAccount::tradeDate, day);
    if (family.isDeals) {
        setIfValid(&row, UserAccount::ExchangeExecType, mark.type);
        setIfValid(&row, UserAccount::ExchangeExecStat, mark.status);
    } else {
        setIfValid(&row, Security::entrustType, mark.type);
        row.insert(Security::orderQty, 1000 + version);
        row.insert(FanOutModel::kLeaveQty, 500.0 + version);
    }
    row.insert("version", version);
    row.insert(FanOutModel::kDay, parsedDay);
    row.insert(FanOutModel::kIsKept, mark.isKept);
    row.insert(FanOutModel::kKey, family.isDeals ? order + "E" : order);
    return row;
}

QString textOf(const QDate& day) {
    return day.toString("yyyyMMdd");
}

Family familyOf(bool isDeals) {
    Family family{isDeals, isDeals ? 2000 : 1000, isDeals ? kDeals : kEntrusts, {}};
    const Mark plain{"0", ExchangeExeStat::filled, true};
    for (int i = 0; i < family.pageSize; ++i) {
        family.fullPage.append(rowWith(family, "A1", textOf(kFirst), kFirst,
                                       QStringLiteral("F%1").arg(i, 4, 10, QChar('0')), plain, 0));
    }
    return family;
}

Mark anyMark(const Family& family) {
    if (family.isDeals) {
        const QString filled = ExchangeExeStat::filled;
        return *rc::gen::weightedElement<Mark>({{8, {"0", filled, true}},
                                                {1, {EntrustType::CancelOrder, filled, true}},
                                                {1, {EntrustType::cancelOrder, filled, false}},
                                                {1, {ExchangeExeType::innerCancel, filled, false}},
                                                {1, {"0", "1", false}},
                                                {1, {"0", QVariant(), false}}});
    }
    return *rc::gen::weightedElement<Mark>({{6, {"0", {}, true}},
                                            {1, {QVariant(), {}, true}},
                                            {1, {EntrustType::cancelOrder, {}, true}},
                                            {2, {EntrustType::CancelOrder, {}, false}}});
}

QVariantMap anyRow(const Family& family, const QString& account) {
    // A day before and after those that are asked for, too.
    const QDate day = kFirst.addDays(*rc::gen::inRange(-1, kDays + 1));
    const QVariant form = *rc::gen::weightedElement<QVariant>({{12, textOf(day)},
                                                               {2, textOf(day).toInt()},
                                                               {1, day.toString(Qt::ISODate)},
                                                               {1, ""},
                                                               {1, "20260230"},
                                                               {1, QVariant()}});
    const bool isDay = form.toString() == textOf(day);
    const QString owner =
        *rc::gen::weightedElement<QString>({{10, account}, {1, "A1"}, {1, "A2"}, {1, ""}});
    const QString order = *rc::gen::element<QString>("O1", "O2", "O3");
    return rowWith(family, owner, form, isDay ? day : QDate(), order, anyMark(family),
                   *rc::gen::inRange(1, 1000));
}

QList<QVariantMap> anyRows(const Family& family, const QString& account) {
    QList<QVariantMap> rows;
    const int count = *rc::gen::weightedElement<int>({{2, 0}, {3, 1}, {3, 2}, {3, 4}});
    for (int i = 0; i < count; ++i) {
        rows.append(anyRow(family, account));
    }
    return rows;
}

QVariant wrongCount(int rows) {
    return *rc::gen::element<QVariant>(rows + 1, -1, 1.5, "many", "", true, 2000000000);
}

PageScript anyProbe(const Family& family, const QString& account, int pages) {
    PageScript probe;
    const int timeOuts = *rc::gen::weightedElement<int>({{20, 0}, {2, 1}, {1, 4}, {1, 5}});
    for (int i = 0; i < timeOuts; ++i) {
        probe.replies.append(PageReply::TimeOut);
    }
    if (timeOuts < kMostTimeOuts) {
        probe.replies.append(*rc::gen::weightedElement<PageReply>({{20, PageReply::Rows},
                                                                   {1, PageReply::Failure},
                                                                   {1, PageReply::Refusal},
                                                                   {1, PageReply::WrongCount}}));
    }
    probe.rows = anyRows(family, account);
    probe.count = wrongCount(probe.rows.size());
    if (pages == 0) {
        probe.total = *rc::gen::element<QVariant>(0, 1, family.pageSize, "2", -5, QVariant());
    } else {
        const qlonglong total =
            (pages - 1) * family.pageSize + *rc::gen::inRange(1, family.pageSize + 1);
        probe.total = *rc::gen::element<QVariant>(total, QString::number(total));
    }
    return probe;
}

PageScript anyPage(const Family& family, const QString& account, const QVariant& total,
                   bool isFull) {
    PageScript page;
    // Each of them costs a pause.
    const int faults = *rc::gen::weightedElement<int>({{60, 0}, {2, 1}, {1, 2}});
    for (int i = 0; i < faults; ++i) {
        page.replies.append(*rc::gen::element(PageReply::TimeOut, PageReply::Failure));
    }
    page.replies.append(*rc::gen::weightedElement<PageReply>(
        {{10, PageReply::Rows}, {2, PageReply::Refusal}, {1, PageReply::WrongCount}}));
    page.rows = isFull ? family.fullPage : anyRows(family, account);
    page.count = wrongCount(page.rows.size());
    page.total = *rc::gen::weightedElement<QVariant>(
        {{10, total}, {2, QVariant()}, {1, 1}, {1, -1}, {1, 2000000000}});
    return page;
}

RunScript anyRun(const Family& family, const QString& account, const QPair<QDate, QDate>& days) {
    RunScript run;
    run.account = account;
    run.first = days.first;
    run.last = days.second;
    const int pages = *rc::gen::weightedElement<int>({{4, 0}, {2, 2}, {2, 3}, {1, 5}, {1, 6}});
    run.probe = anyProbe(family, account, pages);
    const bool repeats = *rc::gen::weightedElement<bool>({{15, false}, {1, true}});
    if (run.probe.last() == PageReply::Rows) {
        for (int page = 0; page < pages; ++page) {
            run.pages.append(
                anyPage(family, account, run.probe.total, repeats && *rc::gen::inRange(0, 3) > 0));
        }
    }
    return run;
}

QList<QVariantMap> list(const Family& family, HistoryLists* lists, ZnPresenterClass* presenter,
                        const QStringList& accounts, const QDate& first, const QDate& last) {
    return family.isDeals ? lists->GetHistoryDealList(presenter, accounts, first, last)
                          : lists->GetHistoryEntrustList(presenter, accounts, first, last);
}

/// One call with scripts for every query that it makes: whether it returned what the model holds.
bool callMatches(const Family& family, HistoryWorld* world, HistoryLists* lists,
                 FanOutModel* model) {
    const QStringList accounts = *rc::gen::elementOf(
        std::vector<QStringList>{{"A1"}, {"A2"}, {"A1", "A2"}, {"A2", "A1"}, {"A1", "A1"}});
    const QDate first = kFirst.addDays(*rc::gen::inRange(0, kDays));
    const QDate last = first.addDays(*rc::gen::inRange(0, int(first.daysTo(kFirst)) + kDays));
    FaultServer server;
    QList<FanOutModel::Versions> expected;
    for (const QString& account : accounts) {
        for (const auto& days : model->missing(account, first, last)) {
            RunScript run = anyRun(family, account, days);
            model->apply(&run);
            server.expect(run);
        }
        expected += model->rowsOf(account, first, last);
    }
    world->link().onEach(family.type, [&server](const ScriptedLink::Request& request) {
        return server.reply(request);
    });
    const auto rows = list(family, lists, world->presenter, accounts, first, last);
    world->link().forget(family.type);
    return areVersionsOf(rows, expected) && server.isDone();
}

/// Whether the cache holds what the model holds, also for other accounts and days.
bool cacheMatches(const Family& family, HistoryLists* lists, const FanOutModel& model) {
    const QDate first = kFirst.addDays(-10);
    const QDate last = kFirst.addDays(kDays + 10);
    QList<FanOutModel::Versions> expected;
    const QStringList accounts{"A1", "A2", ""};
    for (const QString& account : accounts) {
        expected += model.rowsOf(account, first, last);
    }
    // Nothing is asked for without a presenter.
    return areVersionsOf(list(family, lists, nullptr, accounts, first, last), expected);
}

}  // namespace

class FanOutPropertyTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QLoggingCategory::setFilterRules("velmar.*=false"); }

    void anyFaultsByPage_cacheIsThatOfTheModel_data() {
        QTest::addColumn<bool>("isDeals");
        QTest::newRow("deals") << true;
        QTest::newRow("orders") << false;
    }
    void anyFaultsByPage_cacheIsThatOfTheModel() {
        QFETCH(bool, isDeals);
        const Family family = familyOf(isDeals);
        HistoryWorld world;
        QVERIFY(rc::check("cache of the fan-out", [&] {
            HistoryLists lists(world.symbols);
            FanOutModel model(family.pageSize);
            const int calls = *rc::gen::inRange(1, 4);
            for (int call = 0; call < calls; ++call) {
                RC_ASSERT(callMatches(family, &world, &lists, &model));
                RC_ASSERT(cacheMatches(family, &lists, model));
            }
        }));
    }
};

QTEST_GUILESS_MAIN(FanOutPropertyTest)
#include "fan_out_property_test.moc"
