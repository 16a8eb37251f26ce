#include "product_reports.h"

#include <QtTest>
#include <functional>
#include <thread>
#include <vector>

#include "log_capture.h"
#include "product_report_facts.h"
#include "report_fixture.h"
#include "vocabulary/fields.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

const QDate kDay(2024, 3, 5);
const QDate kToday(2024, 3, 8);
constexpr int kPageSize = 3000;

enum Report { Appraisement, Profit, Panfen };

const ProductReportFacts& factsOf(int report) {
    return report == Appraisement ? appraisement()
           : report == Profit     ? appraisementProfit()
                                  : panfenFlow();
}

/// The rows numbered `first` up to `first + count` of a product.
QList<QVariantMap> rowsOfProduct(const QString& field, const QString& product, int first,
                                 int count) {
    QList<QVariantMap> rows;
    for (int i = 0; i < count; ++i) {
        rows.append({{field, product}, {"n", first + i}});
    }
    return rows;
}

QList<int> numbersOf(const QList<QVariantMap>& rows) {
    QList<int> numbers;
    for (const QVariantMap& row : rows) {
        numbers.append(row.value("n").toInt());
    }
    return numbers;
}

QStringList productsOf(const QString& field, const QList<QVariantMap>& rows) {
    QStringList products;
    for (const QVariantMap& row : rows) {
        const QString product = row.value(field).toString();
        if (products.isEmpty() || products.last() != product) {
            products.append(product);
        }
    }
    return products;
}

}  // namespace

class ProductReportsTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_world = std::make_unique<ReportWorld>();
        m_reports = std::make_unique<ProductReports>();
    }
    void cleanup() {
        m_reports.reset();
        m_world.reset();
    }

    void request_fields_data() { addReports(); }
    void request_fields() {
        QFETCH(int, report);
        serve(report, {{"P1", 2}});
        query(report, {"P1"});
        const ScriptedLink::Request sent = m_world->link().lastRequest();
        QVariantMap expected{{System::msgType, factsOf(report).msgType}};
        if (report == Panfen) {
            expected.insert(PanfenEquityFlowInfo::ProductRecord, "P1");
            expected.insert(PanfenEquityFlowInfo::OccurredDate, "20240305");
        } else {
            expected.insert(AppraisementInfo::ProductRecord, "P1");
            expected.insert(report == Profit ? System::endTime : System::queryDate, "2024-03-05");
            expected.insert(System::pageSize, kPageSize);
            expected.insert(System::pageNo, 1);
        }
        QCOMPARE(sent.header, expected);
        QVERIFY(sent.rows.isEmpty());
        QCOMPARE(sent.timeOutMs, m_world->presenter()->getRequestTimeOut() * 1000);
    }

    void heldDay_isNotRequestedAgain_data() { addReports(); }
    void heldDay_isNotRequestedAgain() {
        QFETCH(int, report);
        serve(report, {{"P1", 2}, {"P2", 3}});
        const QList<QVariantMap> first = query(report, {"P1", "P2"});
        QCOMPARE(numbersOf(first), (QList<int>{0, 1, 0, 1, 2}));
        QCOMPARE(query(report, {"P1", "P2"}), first);
        QCOMPARE(m_world->link().requestCount(), 2);
        // Held rows come first.
        query(report, {"P3"});
        serve(report, {{"P0", 1}});
        QCOMPARE(productsOf(factsOf(report).productField, query(report, {"P0", "P2"})),
                 (QStringList{"P2", "P0"}));
    }

    void dayWithoutRows_isRequestedAgain_data() { addReports(); }
    void dayWithoutRows_isRequestedAgain() {
        QFETCH(int, report);
        serve(report, {});
        QVERIFY(query(report, {"P1"}).isEmpty());
        QVERIFY(query(report, {"P1"}).isEmpty());
        QCOMPARE(m_world->link().requestCount(), 2);
    }

    void otherDay_isHeldByItself_data() { addReports(); }
    void otherDay_isHeldByItself() {
        QFETCH(int, report);
        serve(report, {{"P1", 2}});
        query(report, {"P1"});
        query(report, {"P1"}, kDay.addDays(1));
        query(report, {"P1"});
        QCOMPARE(m_world->link().requestCount(), 2);
    }

    void page_ofExactlyThePageSize_costsOneMoreRequest_data() { addReports(); }
    void page_ofExactlyThePageSize_costsOneMoreRequest() {
        QFETCH(int, report);
        serve(report, {{"P1", kPageSize}});
        QCOMPARE(query(report, {"P1"}).size(), kPageSize);
        QCOMPARE(m_world->link().requestCount(), report == Panfen ? 1 : 2);
        QCOMPARE(query(report, {"P1"}).size(), kPageSize);
        QCOMPARE(m_world->link().requestCount(), report == Panfen ? 1 : 2);
    }

    void pages_followEachOtherUntilAShortOne() {
        for (const int report : {int(Appraisement), int(Profit)}) {
            m_world->link().clearRequests();
            serve(report, {{"P1", 2 * kPageSize + 1}});
            const QList<int> numbers = numbersOf(query(report, {"P1"}));
            QCOMPARE(numbers.size(), 2 * kPageSize + 1);
            QCOMPARE(numbers.last(), 2 * kPageSize);
            QList<int> pages;
            for (const ScriptedLink::Request& request : m_world->link().requests()) {
                pages.append(request.header.value(System::pageNo).toInt());
            }
            QCOMPARE(pages, (QList<int>{1, 2, 3}));
            QCOMPARE(numbersOf(query(report, {"P1"})), numbers);
        }
    }

    void page_withMoreRowsThanItsSize_isTheLast() {
        m_world->link().on(appraisement().msgType,
                           ScriptedReply::rows(rowsOfProduct(AppraisementInfo::ProductRecord, "P1",
                                                             0, kPageSize + 1)));
        QCOMPARE(query(Appraisement, {"P1"}).size(), kPageSize + 1);
        QCOMPARE(m_world->link().requestCount(), 1);
    }

    void sameFullPageAgain_endsTheProductWithAWarning() {
        const QString type = appraisement().msgType;
        m_world->link().on(type, [](const QVariant& body) {
            const QString product =
                headerOf(body).value(AppraisementInfo::ProductRecord).toString();
            return makeAnswer(body, rowsOfProduct(AppraisementInfo::ProductRecord, product, 0,
                                                  product == "P1" ? kPageSize : 1));
        });
        const LogCapture log;
        // The repeated page is not part of the rows, and the next product is requested.
        QCOMPARE(query(Appraisement, {"P1", "P2"}).size(), kPageSize + 1);
        QCOMPARE(m_world->link().requestCount(), 3);
        QVERIFY(log.contains(QtWarningMsg,
                             "list that does not end, productAccount: P1, Date: 2024-03-05: page 2 "
                             "is the same as the one before"));
        QVERIFY(log.contains(QtDebugMsg, failedLine(Appraisement, "P1") + "page 2 is the same"));
    }

    void timeOuts_countOverTheWholeCall_data() { addReports(); }
    void timeOuts_countOverTheWholeCall() {
        QFETCH(int, report);
        const QString type = factsOf(report).msgType;
        serve(report, {{"P1", 1}, {"P2", 1}, {"P3", 1}});
        // Two for the first product and three for the second: the third is not requested.
        for (const int occurrence : {1, 2, 4, 5, 6}) {
            m_world->link().onOccurrence(type, occurrence, ScriptedReply::timeOut());
        }
        const LogCapture log;
        QCOMPARE(productsOf(factsOf(report).productField, query(report, {"P1", "P2", "P3"})),
                 QStringList{"P1"});
        QCOMPARE(m_world->link().requestCount(), 6);
        const QString name = factsOf(report).function;
        QCOMPARE(log.count(QtDebugMsg, name + " timeout, productAccount: P1, Date: 2024-03-05"), 2);
        QCOMPARE(log.count(QtDebugMsg, name + " timeout, productAccount: P2, Date: 2024-03-05"), 3);
        QCOMPARE(log.count(QtDebugMsg, name + " timeout count >=5, no more query"), 1);
    }

    void fourTimeOuts_areBridged_data() { addReports(); }
    void fourTimeOuts_areBridged() {
        QFETCH(int, report);
        serve(report, {{"P1", 1}});
        for (const int occurrence : {1, 2, 3, 4}) {
            m_world->link().onOccurrence(factsOf(report).msgType, occurrence,
                                         ScriptedReply::timeOut());
        }
        const LogCapture log;
        QCOMPARE(query(report, {"P1"}).size(), 1);
        QVERIFY(!log.contains("timeout count >=5"));
    }

    void timeOut_repeatsTheSamePage() {
        serve(Appraisement, {{"P1", kPageSize + 1}});
        m_world->link().onOccurrence(appraisement().msgType, 2, ScriptedReply::timeOut());
        QCOMPARE(query(Appraisement, {"P1"}).size(), kPageSize + 1);
        const QList<ScriptedLink::Request> sent = m_world->link().requests();
        QCOMPARE(sent.size(), 3);
        QCOMPARE(sent.at(1).header, sent.at(2).header);
    }

    void failedSend_endsTheCallWithAnEmptyReason_data() { addReports(); }
    void failedSend_endsTheCallWithAnEmptyReason() {
        QFETCH(int, report);
        serve(report, {{"P1", 1}, {"P3", 1}});
        m_world->link().onOccurrence(factsOf(report).msgType, 2, ScriptedReply::failure("down"));
        const LogCapture log;
        QCOMPARE(productsOf(factsOf(report).productField, query(report, {"P1", "P2", "P3"})),
                 QStringList{"P1"});
        QCOMPARE(m_world->link().requestCount(), 2);
        QCOMPARE(log.count(QtDebugMsg, failedLine(report, "P2")), 1);
    }

    void refusal_goesOnWithTheNextProduct_data() { addReports(); }
    void refusal_goesOnWithTheNextProduct() {
        QFETCH(int, report);
        serve(report, {{"P1", 1}, {"P3", 1}});
        m_world->link().onOccurrence(factsOf(report).msgType, 2, ScriptedReply::refusal("closed"));
        const LogCapture log;
        QCOMPARE(productsOf(factsOf(report).productField, query(report, {"P1", "P2", "P3"})),
                 (QStringList{"P1", "P3"}));
        QCOMPARE(log.count(QtDebugMsg, failedLine(report, "P2") + "closed"), 1);
    }

    void wrongRowCount_isARefusal_data() { addReports(); }
    void wrongRowCount_isARefusal() {
        QFETCH(int, report);
        m_world->link().on(
            factsOf(report).msgType,
            ScriptedReply::rows(rowsOfProduct(factsOf(report).productField, "P1", 0, 1),
                                {{System::subGroupNumber, -3}}));
        const LogCapture log;
        QVERIFY(query(report, {"P1", "P2"}).isEmpty());
        QCOMPARE(m_world->link().requestCount(), 2);
        QVERIFY(log.contains(QtDebugMsg, failedLine(report, "P2")));
    }

    void laterPageFails_firstPagesAreHeldLikeWholeOnes_data() {
        QTest::addColumn<QString>("kind");
        for (const char* const kind : {"refused", "failed", "timed out"}) {
            QTest::newRow(kind) << kind;
        }
    }
    void laterPageFails_firstPagesAreHeldLikeWholeOnes() {
        QFETCH(QString, kind);
        const QMap<QString, ScriptedReply> replies{{"refused", ScriptedReply::refusal("closed")},
                                                   {"failed", ScriptedReply::failure("down")},
                                                   {"timed out", ScriptedReply::timeOut()}};
        serve(Appraisement, {{"P1", 2 * kPageSize}});
        for (int occurrence = 2; occurrence <= 6; ++occurrence) {
            m_world->link().onOccurrence(appraisement().msgType, occurrence, replies.value(kind));
        }
        const LogCapture log;
        QCOMPARE(query(Appraisement, {"P1"}).size(), kPageSize);
        const int requests = m_world->link().requestCount();
        QCOMPARE(requests, kind == "timed out" ? 6 : 2);
        QCOMPARE(query(Appraisement, {"P1"}).size(), kPageSize);
        QCOMPARE(m_world->link().requestCount(), requests);
        QCOMPARE(log.texts(QtWarningMsg).filter("are held as the whole report"),
                 QStringList{appraisement().function +
                             ", productAccount: P1, Date: 2024-03-05: the rows from page 2 on are "
                             "lost; those before it are held as the whole report"});
    }

    void firstPageFails_hasNoWarningOfALoss() {
        serve(Appraisement, {{"P1", 1}});
        m_world->link().onOccurrence(appraisement().msgType, 1, ScriptedReply::refusal("closed"));
        const LogCapture log;
        QVERIFY(query(Appraisement, {"P1"}).isEmpty());
        QVERIFY(!log.contains("are held as the whole report"));
    }

    void rowsOfTwoProducts_underOneKey_areHeldTogether() {
        // The answers for both products name a third one, and the rows of both are its report.
        m_world->link().on(appraisementProfit().msgType, [](const QVariant& body) {
            const bool isFirst =
                headerOf(body).value(AppraisementInfo::ProductRecord).toString() == "P1";
            return makeAnswer(
                body, rowsOfProduct(AppraisementInfo::ProductRecord, "other", isFirst ? 0 : 2, 2),
                {{AppraisementInfo::ProductRecord, "P9"}});
        });
        QCOMPARE(numbersOf(query(Profit, {"P1", "P2"})), (QList<int>{0, 1, 2, 3}));
        m_world->link().clearRequests();
        QCOMPARE(numbersOf(query(Profit, {"P9"})), (QList<int>{0, 1, 2, 3}));
        QCOMPARE(m_world->link().requestCount(), 0);
    }

    void strayRow_ofAProductThatIsHeld_leavesItsListAlone() {
        const QString field = AppraisementInfo::ProductRecord;
        serve(Appraisement, {{"P2", 3}});
        QCOMPARE(query(Appraisement, {"P2"}).size(), 3);
        m_world->link().on(appraisement().msgType,
                           ScriptedReply::rows(rowsOfProduct(field, "P1", 0, 1) +
                                               rowsOfProduct(field, "P2", 7, 1)));
        QCOMPARE(numbersOf(query(Appraisement, {"P1"})), (QList<int>{0, 7}));
        QCOMPARE(numbersOf(query(Appraisement, {"P2"})), (QList<int>{0, 1, 2}));
        QCOMPARE(numbersOf(query(Appraisement, {"P1"})), QList<int>{0});
    }

    void strayRow_ofAProductThatTheCallRequestsToo_isHeldWithItsRows() {
        const QString field = AppraisementInfo::ProductRecord;
        m_world->link().on(appraisement().msgType, [field](const QVariant& body) {
            const QString product = headerOf(body).value(field).toString();
            return makeAnswer(body, product == "P1" ? rowsOfProduct(field, "P2", 7, 1)
                                                    : rowsOfProduct(field, "P2", 0, 2));
        });
        QCOMPARE(numbersOf(query(Appraisement, {"P1", "P2"})), (QList<int>{7, 0, 1}));
        QCOMPARE(numbersOf(query(Appraisement, {"P2"})), (QList<int>{7, 0, 1}));
    }

    void today_clearsAllProductsAndDays() {
        for (const int report : {int(Appraisement), int(Profit)}) {
            serve(report, {{"P1", 1}, {"P2", 1}});
            query(report, {"P1", "P2"});
            query(report, {"P2"}, kDay.addDays(1));
            m_world->link().clearRequests();
            query(report, {"P1"}, kDay, kDay);
            QCOMPARE(m_world->link().requestCount(), 1);
            query(report, {"P2"});
            query(report, {"P2"}, kDay.addDays(1));
            QCOMPARE(m_world->link().requestCount(), 3);
            // What the clearing call fetched itself is held.
            query(report, {"P1"});
            QCOMPARE(m_world->link().requestCount(), 3);
        }
    }

    void clearing_leavesTheOtherReportAlone() {
        serve(Appraisement, {{"P1", 1}});
        serve(Profit, {{"P1", 1}});
        query(Appraisement, {"P1"});
        query(Profit, {"P1"});
        query(Appraisement, {}, kDay, kDay);
        m_world->link().clearRequests();
        query(Profit, {"P1"});
        QCOMPARE(m_world->link().requestCount(), 0);
        query(Appraisement, {"P1"});
        QCOMPARE(m_world->link().requestCount(), 1);
    }

    void noAccountAndNoDay_returnsBeforeTheClearing() {
        serve(Appraisement, {{"P1", 1}});
        serve(Profit, {{"P1", 1}});
        query(Appraisement, {"P1"});
        query(Profit, {"P1"});
        m_world->link().clearRequests();
        // Both days are invalid, so they are equal. The profit report has no such test.
        QVERIFY(query(Appraisement, {}, QDate(), QDate()).isEmpty());
        QVERIFY(query(Profit, {}, QDate(), QDate()).isEmpty());
        QVERIFY(query(Panfen, {}, QDate(), QDate()).isEmpty());
        query(Appraisement, {"P1"});
        QCOMPARE(m_world->link().requestCount(), 0);
        query(Profit, {"P1"});
        QCOMPARE(m_world->link().requestCount(), 1);
    }

    void accountWithoutADay_isRequestedWithAnEmptyText_data() { addReports(); }
    void accountWithoutADay_isRequestedWithAnEmptyText() {
        QFETCH(int, report);
        m_world->link().on(factsOf(report).msgType, ScriptedReply::refusal("no day"));
        const LogCapture log;
        QVERIFY(query(report, {"P1", ""}, QDate(), kToday).isEmpty());
        QCOMPARE(m_world->link().requestCount(), 2);
        QCOMPARE(m_world->link().lastRequest().header.value(factsOf(report).dayField).toString(),
                 QString());
        QCOMPARE(log.count(QtDebugMsg, factsOf(report).function +
                                           " error, productAccount: P1, Date: , reason: no day"),
                 1);
    }

    void appraisement_rowIsHeldUnderItsOwnProduct() {
        m_world->link().on(
            appraisement().msgType,
            ScriptedReply::rows(rowsOfProduct(AppraisementInfo::ProductRecord, "other", 0, 2),
                                {{AppraisementInfo::ProductRecord, "P1"}}));
        QCOMPARE(query(Appraisement, {"P1"}).size(), 2);
        m_world->link().clearRequests();
        QCOMPARE(query(Appraisement, {"other"}).size(), 2);
        QCOMPARE(m_world->link().requestCount(), 0);
        query(Appraisement, {"P1"});
        QCOMPARE(m_world->link().requestCount(), 1);
    }

    void profit_rowIsHeldUnderTheAnswersProductAndGetsTheRequests() {
        m_world->link().on(
            appraisementProfit().msgType,
            ScriptedReply::rows(rowsOfProduct(AppraisementInfo::ProductRecord, "other", 0, 2),
                                {{AppraisementInfo::ProductRecord, "P9"}}));
        const QList<QVariantMap> rows = query(Profit, {"P1"});
        QCOMPARE(rows, rowsOfProduct(AppraisementInfo::ProductRecord, "P1", 0, 2));
        m_world->link().clearRequests();
        QCOMPARE(query(Profit, {"P9"}), rows);
        QCOMPARE(m_world->link().requestCount(), 0);
    }

    void rowWithoutAProduct_isReturnedButNotHeld_data() { addReports(); }
    void rowWithoutAProduct_isReturnedButNotHeld() {
        QFETCH(int, report);
        m_world->link().on(factsOf(report).msgType, ScriptedReply::rows({{{"n", 4}}}));
        QCOMPARE(numbersOf(query(report, {"P1"})), QList<int>{4});
        m_world->link().clearRequests();
        query(report, {""});
        QCOMPARE(m_world->link().requestCount(), 1);
    }

    void repeatedProduct_countsOnce_data() { addReports(); }
    void repeatedProduct_countsOnce() {
        QFETCH(int, report);
        serve(report, {{"P1", 2}});
        QCOMPARE(query(report, {"P1", "P1", "P1"}).size(), 2);
        QCOMPARE(m_world->link().requestCount(), 1);
        QCOMPARE(query(report, {"P1", "P1"}).size(), 2);
        QCOMPARE(query(report, {"P1"}).size(), 2);
    }

    void tenThousandProducts_areRequestedInTheirOrder() {
        QMap<QString, int> counts;
        QStringList products;
        for (int i = 9999; i >= 0; --i) {
            products.append(QStringLiteral("P%1").arg(i));
            counts.insert(products.last(), 1);
        }
        serve(Panfen, counts);
        QCOMPARE(productsOf(PanfenEquityFlowInfo::ProductRecord, query(Panfen, products)),
                 products);
        QCOMPARE(query(Panfen, products).size(), 10000);
        QCOMPARE(m_world->link().requestCount(), 10000);
    }

    void twoCallersAtOnce_holdEachRowOnce_data() { addReports(); }
    void twoCallersAtOnce_holdEachRowOnce() {
        QFETCH(int, report);
        const int count = report == Panfen ? 2 : kPageSize + 2;
        serve(report, {{"P1", count}});
        const ScriptedReply held = ScriptedReply::with(m_serve).held();
        // Both have sent their first request before either gets an answer.
        m_world->link().onOccurrence(factsOf(report).msgType, 1, held);
        m_world->link().onOccurrence(factsOf(report).msgType, 2, held);
        QList<QVariantMap> results[2];
        std::vector<std::thread> callers;
        for (auto& result : results) {
            callers.emplace_back([&, this] { result = query(report, {"P1"}); });
        }
        const bool bothWait = m_world->link().waitForRequestCount({}, 2);
        m_world->link().release();
        for (std::thread& caller : callers) {
            caller.join();
        }
        QVERIFY(bothWait);
        QCOMPARE(results[0].size(), count);
        QCOMPARE(results[0], results[1]);
        QCOMPARE(query(report, {"P1"}), results[0]);
    }

    void appraisement_logsEachRequestedProduct() {
        serve(Appraisement, {{"P1", 1}});
        serve(Profit, {{"P1", 1}});
        const LogCapture log;
        query(Appraisement, {"P1"});
        query(Appraisement, {"P1"});
        query(Profit, {"P1"});
        QCOMPARE(log.texts(QtDebugMsg).filter("产品备案码:"), QStringList{"产品备案码: P1 3000"});
    }

    void noPresenter_returnsWhatIsHeld_data() { addReports(); }
    void noPresenter_returnsWhatIsHeld() {
        QFETCH(int, report);
        serve(report, {{"P1", 2}});
        query(report, {"P1"});
        const LogCapture log;
        QCOMPARE(queryWith(nullptr, report, {"P1", "P2", "P3"}, kDay, kToday).size(), 2);
        QCOMPARE(log.count(QtDebugMsg, failedLine(report, "P2")), 1);
        QVERIFY(!log.contains(failedLine(report, "P3")));
    }

    void closingPresenter_endsTheCall() {
        // The presenter closes while its first request is under way.
        serve(Appraisement, {{"P1", kPageSize + 1}});
        ZnPresenterClass* const presenter = m_world->presenter();
        m_world->link().on(appraisement().msgType, ScriptedReply::with(m_serve).held());
        QList<QVariantMap> rows;
        std::thread caller([&, this] {
            rows = queryWith(presenter, Appraisement, {"P1", "P2"}, kDay, kToday);
        });
        const bool isSent = m_world->link().waitForRequestCount({}, 1);
        m_world->whileClosing([&] { caller.join(); });
        QVERIFY(isSent);
        QVERIFY(rows.isEmpty());
        QCOMPARE(m_world->link().requestCount(), 1);
    }

    void closingPresenter_announcesNoRequest() {
        serve(Appraisement, {{"P1", 1}});
        ZnPresenterClass* const presenter = m_world->presenter();
        const LogCapture log;
        m_world->whileClosing([&, this] {
            QVERIFY(queryWith(presenter, Appraisement, {"P1"}, kDay, kToday).isEmpty());
        });
        QVERIFY(!log.contains("产品备案码:"));
        QCOMPARE(m_world->link().requestCount(), 0);
    }

private:
    static void addReports() {
        QTest::addColumn<int>("report");
        QTest::newRow("appraisement") << int(Appraisement);
        QTest::newRow("profit") << int(Profit);
        QTest::newRow("panfen") << int(Panfen);
    }

    static QString failedLine(int report, const QString& product) {
        return factsOf(report).function + " error, productAccount: " + product +
               ", Date: 2024-03-05, reason: ";
    }

    /// Answers the report with that many rows for each product, by page.
    void serve(int report, const QMap<QString, int>& counts) {
        const QString field = factsOf(report).productField;
        m_serve = [field, counts](const QVariant& body) {
            const QVariantMap request = headerOf(body);
            const QString product = request.value(field).toString();
            const int count = counts.value(product);
            const int first = (request.value(System::pageNo, 1).toInt() - 1) * kPageSize;
            const int page =
                request.contains(System::pageSize) ? qMin(count - first, kPageSize) : count;
            return makeAnswer(body, rowsOfProduct(field, product, first, page), {{field, product}});
        };
        m_world->link().on(factsOf(report).msgType, m_serve);
    }

    QList<QVariantMap> query(int report, const QStringList& products, const QDate& date = kDay,
                             const QDate& currentDate = kToday) {
        return queryWith(m_world->presenter(), report, products, date, currentDate);
    }
    QList<QVariantMap> queryWith(ZnPresenterClass* presenter, int report,
                                 const QStringList& products, const QDate& date,
                                 const QDate& currentDate) {
        switch (report) {
            case Appraisement:
                return m_reports->GetHistoryAppraisementInfo(presenter, products, date,
                                                             currentDate);
            case Profit:
                return m_reports->GetHistoryAppraisementProfitInfo(presenter, products, date,
                                                                   currentDate);
            default:
                return m_reports->GetHistoryPanfenFlowInfo(presenter, products, date);
        }
    }

    std::unique_ptr<ReportWorld> m_world;
    std::unique_ptr<ProductReports> m_reports;
    ScriptedReply::Function m_serve;
};

QTEST_GUILESS_MAIN(ProductReportsTest)
#include "product_reports_test.moc"
