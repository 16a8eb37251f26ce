#include "multi_thread_query_helper.h"

#include <QtTest>
#include <atomic>
#include <thread>

#include "asset_delivery_sink.h"
#include "log_capture.h"
#include "report_fixture.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

inline const QString kType = QStringLiteral("someListRequest");
inline const QString kName = QStringLiteral("some list");
inline const QString kTimeOutLine =
    QStringLiteral("some list query time out, msgType = someListRequest");
inline const QString kLimitLine =
    QStringLiteral("someListRequest timeout count >=5, no more query");
inline const QString kFailedLine =
    QStringLiteral("some list query failed, msgType = someListRequest, error info = ");
inline const QString kFinishedLine =
    QStringLiteral("some list query finished, msgType = someListRequest");

QList<QVariantMap> numbered(int first, int count) {
    QList<QVariantMap> rows;
    for (int i = 0; i < count; ++i) {
        rows.append({{"n", first + i}});
    }
    return rows;
}

/// A list of `total` rows by cursor; the cursor is the number of rows so far.
ScriptedReply::Function byPosition(int total) {
    return [total](const QVariant& body) {
        const QVariantMap request = headerOf(body);
        const int first = request.value(System::positionStr).toInt();
        const int count = qMin(total - first, request.value(System::requestNumber).toInt());
        return makeAnswer(body, numbered(first, count),
                          {{System::positionStr, QString::number(first + count)}});
    };
}

ScriptedReply::Function byNumber(int total) {
    return [total](const QVariant& body) {
        const QVariantMap request = headerOf(body);
        const int size = request.value(System::pageSize).toInt();
        const int first = (request.value(System::pageNo).toInt() - 1) * size;
        return makeAnswer(body, numbered(first, qBound(0, total - first, size)),
                          {{System::totalSize, total}});
    };
}

class RecordingSink : public AssetDeliverySink {
public:
    void QueryAssetDileveryResponse(const QString& msgType, const QVariantMap& finalRequest,
                                    const QString& reqExeStatus,
                                    const QList<QVariantMap>& response) override {
        ++calls;
        type = msgType;
        request = finalRequest;
        status = reqExeStatus;
        rows = response;
    }

    int calls = 0;
    QString type;
    QVariantMap request;
    QString status;
    QList<QVariantMap> rows;
};

const QVariantMap kByPosition{
    {System::positionStr, ""}, {System::requestNumber, 10}, {System::startDate, "20240101"}};
const QVariantMap kByNumber{{System::pageNo, 1}, {System::pageSize, 10}};

}  // namespace

class MultiThreadQueryHelperTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_world = std::make_unique<ReportWorld>();
        m_sink = RecordingSink();
    }
    void cleanup() { m_world.reset(); }

    void byPosition_pagesFollowTheCursorUntilAShortOne() {
        link().on(kType, byPosition(25));
        const LogCapture log;
        run(kByPosition);
        QCOMPARE(m_sink.calls, 1);
        QCOMPARE(m_sink.type, kType);
        QCOMPARE(m_sink.status, RequestExeStatus::success);
        QCOMPARE(m_sink.rows, numbered(0, 25));
        QCOMPARE(sentValues(System::positionStr), (QStringList{"", "10", "20"}));
        // The request as it is at the end, with its other fields.
        QVariantMap expected = kByPosition;
        expected.insert(System::positionStr, "25");
        QCOMPARE(m_sink.request, expected);
        QCOMPARE(log.count(QtDebugMsg, kFinishedLine), 1);
    }

    void byPosition_request_hasItsFieldsTheTypeAndTheStandingTimeOut() {
        link().on(kType, byPosition(1));
        m_world->presenter()->setRequestTimeOut(6);
        run(kByPosition);
        QVariantMap expected = kByPosition;
        expected.insert(System::msgType, kType);
        QCOMPARE(link().lastRequest().header, expected);
        QCOMPARE(link().lastRequest().timeOutMs, 6000);
        QCOMPARE(m_world->presenter()->getRequestTimeOut(), 6);
    }

    void byPosition_fullLastPage_costsOneMoreRequest() {
        link().on(kType, byPosition(20));
        run(kByPosition);
        QCOMPARE(link().requestCount(), 3);
        QCOMPARE(m_sink.rows.size(), 20);
        QCOMPARE(m_sink.status, RequestExeStatus::success);
    }

    void byPosition_noRows_isASuccess() {
        link().on(kType, byPosition(0));
        run(kByPosition);
        QCOMPARE(link().requestCount(), 1);
        QVERIFY(m_sink.rows.isEmpty());
        QCOMPARE(m_sink.status, RequestExeStatus::success);
    }

    void byPosition_cursorThatRepeats_isAFailure_data() {
        QTest::addColumn<QStringList>("cursors");
        QTest::addColumn<int>("requests");
        QTest::newRow("stands") << QStringList{"a", "a"} << 2;
        QTest::newRow("comes back") << QStringList{"a", "b", "a"} << 3;
        QTest::newRow("never moves") << QStringList{""} << 1;
        QTest::newRow("missing") << QStringList{QString()} << 1;
    }
    void byPosition_cursorThatRepeats_isAFailure() {
        QFETCH(QStringList, cursors);
        QFETCH(int, requests);
        for (int i = 0; i < cursors.size(); ++i) {
            const QVariantMap header{{System::positionStr, cursors.at(i)}};
            link().onOccurrence(kType, i + 1, ScriptedReply::rows(numbered(i * 10, 10), header));
        }
        const LogCapture log;
        QVariantMap request = kByPosition;
        request.insert(UserAccount::tradingAccount, "A1");
        request.insert(System::startDate, "20260105");
        request.insert(System::endDate, "20260109");
        run(request);
        QCOMPARE(link().requestCount(), requests);
        QCOMPARE(m_sink.calls, 1);
        QVERIFY(m_sink.rows.isEmpty());
        QVERIFY(m_sink.status != RequestExeStatus::success);
        QVERIFY(m_sink.status != RequestExeStatus::timeout);
        QVERIFY(log.contains(QtWarningMsg,
                             "the list of someListRequest does not end, tradingAccount: A1, "
                             "startDate: 20260105, endDate: 20260109: the position"));
        QCOMPARE(log.count(QtDebugMsg, kFailedLine + m_sink.status), 1);
    }

    void byPosition_sameFullPageWithANewCursor_isAFailure() {
        std::atomic<int> cursor{0};
        link().on(kType, [&cursor](const QVariant& body) {
            return makeAnswer(body, numbered(0, 10), {{System::positionStr, ++cursor}});
        });
        run(kByPosition);
        QCOMPARE(link().requestCount(), 2);
        QVERIFY(m_sink.status.contains("a page is the same as the one before"));
        QVERIFY(m_sink.rows.isEmpty());
    }

    void byPosition_endsBelowItsTotal_isAFailure_data() {
        QTest::addColumn<QVariant>("total");
        QTest::addColumn<bool>("isFailure");
        QTest::newRow("more rows") << QVariant(16) << true;
        QTest::newRow("more than 32 bits") << QVariant(20000000000LL) << true;
        QTest::newRow("the rows") << QVariant(15) << false;
        QTest::newRow("fewer rows") << QVariant(3) << false;
        QTest::newRow("negative") << QVariant(-5) << false;
        QTest::newRow("no number") << QVariant("many") << false;
    }
    void byPosition_endsBelowItsTotal_isAFailure() {
        QFETCH(QVariant, total);
        QFETCH(bool, isFailure);
        link().on(kType, [total](const QVariant& body) {
            const int first = headerOf(body).value(System::positionStr).toInt();
            return makeAnswer(body, numbered(first, qMin(10, 15 - first)),
                              {{System::positionStr, first + 10}, {System::totalSize, total}});
        });
        const LogCapture log;
        run(kByPosition);
        QCOMPARE(link().requestCount(), 2);
        QCOMPARE(m_sink.rows.size(), isFailure ? 0 : 15);
        QCOMPARE(m_sink.status == RequestExeStatus::success, !isFailure);
        QCOMPARE(m_sink.status.contains("it ends after 15 rows, the total is "), isFailure);
        QCOMPARE(log.contains(QtWarningMsg, "it ends after 15 rows"), isFailure);
    }

    void byPosition_withoutAPageSize_endsAtTheFirstEmptyPage() {
        const QVariantMap header{{System::positionStr, "x"}};
        link().onOccurrence(kType, 1, ScriptedReply::rows(numbered(0, 1), header));
        link().onOccurrence(kType, 2, ScriptedReply::rows({}, {{System::positionStr, "y"}}));
        run({{System::positionStr, ""}});
        QCOMPARE(link().requestCount(), 2);
        QCOMPARE(m_sink.rows.size(), 1);
    }

    void byNumber_pagesFollowUntilTheTotal_data() {
        QTest::addColumn<int>("total");
        QTest::addColumn<int>("requests");
        QTest::newRow("nothing") << 0 << 1;
        QTest::newRow("one page") << 10 << 1;
        QTest::newRow("one row more") << 11 << 2;
        QTest::newRow("three pages") << 30 << 3;
    }
    void byNumber_pagesFollowUntilTheTotal() {
        QFETCH(int, total);
        QFETCH(int, requests);
        link().on(kType, byNumber(total));
        run(kByNumber);
        QCOMPARE(m_sink.status, RequestExeStatus::success);
        QCOMPARE(m_sink.rows, numbered(0, total));
        QCOMPARE(link().requestCount(), requests);
        QCOMPARE(m_sink.request.value(System::pageNo).toInt(), requests + 1);
    }

    void byNumber_laterFirstPage_countsThePagesItFetched() {
        link().on(kType, [](const QVariant& body) {
            const int page = headerOf(body).value(System::pageNo).toInt();
            return makeAnswer(body, numbered(page * 10, 10), {{System::totalSize, 20}});
        });
        run({{System::pageNo, 3}, {System::pageSize, 10}});
        QCOMPARE(sentValues(System::pageNo), (QStringList{"3", "4"}));
        QCOMPARE(m_sink.request.value(System::pageNo).toInt(), 5);
        QCOMPARE(m_sink.status, RequestExeStatus::success);
    }

    void byNumber_withoutAPageSize_sendsNone() {
        link().on(kType, ScriptedReply::rows(numbered(0, 1), {{System::totalSize, 1}}));
        run({{System::pageNo, 1}});
        QCOMPARE(link().requestCount(), 1);
        QCOMPARE(link().lastRequest().header,
                 (QVariantMap{{System::pageNo, 1}, {System::msgType, kType}}));
        QCOMPARE(m_sink.status, RequestExeStatus::success);
        // One that the request has goes out as it is.
        run({{System::pageNo, 1}, {System::pageSize, "5"}});
        QCOMPARE(link().lastRequest().header.value(System::pageSize), QVariant("5"));
    }

    void byNumber_listThatDoesNotEnd_isAFailure() {
        // An empty page below a total beyond 32 bits, and the same full page again.
        link().on(kType, ScriptedReply::rows({}, {{System::totalSize, 20000000000LL}}));
        run(kByNumber);
        QCOMPARE(link().requestCount(), 1);
        QVERIFY(m_sink.status.contains("page 1 is empty, the total is 20000000000"));
        link().on(kType, ScriptedReply::rows(numbered(0, 10), {{System::totalSize, 2000000000}}));
        run(kByNumber);
        QCOMPARE(link().requestCount(), 3);
        QVERIFY(m_sink.status.contains("page 2 is the same as the one before"));
        QVERIFY(m_sink.rows.isEmpty());
    }

    void byNumber_negativeTotal_endsAfterOnePage() {
        link().on(kType, ScriptedReply::rows(numbered(0, 9), {{System::totalSize, -5}}));
        run(kByNumber);
        QCOMPARE(link().requestCount(), 1);
        QCOMPARE(m_sink.rows.size(), 9);
        // Whether a full page is the last one is unknown.
        link().on(kType, ScriptedReply::rows(numbered(0, 10), {{System::totalSize, -5}}));
        run(kByNumber);
        QCOMPARE(link().requestCount(), 2);
        QVERIFY(m_sink.rows.isEmpty());
        QCOMPARE(m_sink.status, QString("the total \"-5\" is unusable"));
    }

    void bothPagingFields_goByPosition() {
        link().on(kType, byPosition(12));
        QVariantMap request = kByPosition;
        request.insert(System::pageNo, 1);
        run(request);
        QCOMPARE(m_sink.rows, numbered(0, 12));
        QCOMPARE(sentValues(System::pageNo), (QStringList{"1", "1"}));
    }

    void noPagingField_repeatsTheRequestUntilAFailure() {
        // Even the same answer each time does not end it.
        link().on(kType, ScriptedReply::rows(numbered(0, 3)));
        link().onOccurrence(kType, 30, ScriptedReply::refusal("enough"));
        run({{"a", 1}});
        QCOMPARE(link().requestCount(), 30);
        QCOMPARE(link().requests().first().header, link().lastRequest().header);
        QCOMPARE(m_sink.status, QString("enough"));
        QVERIFY(m_sink.rows.isEmpty());
        QCOMPARE(m_sink.request, (QVariantMap{{"a", 1}}));
    }

    void noPagingField_repeatsTheRequestUntilTheFifthTimeOut() {
        link().on(kType, ScriptedReply::rows(numbered(0, 3)));
        for (const int occurrence : {2, 4, 6, 8, 10}) {
            link().onOccurrence(kType, occurrence, ScriptedReply::timeOut());
        }
        run({});
        QCOMPARE(link().requestCount(), 10);
        QCOMPARE(m_sink.status, RequestExeStatus::timeout);
    }

    void fiveTimeOuts_inTheWholeTask_endIt() {
        // Successes in between do not reset the count.
        link().on(kType, byPosition(100));
        for (const int occurrence : {1, 3, 5, 6, 8}) {
            link().onOccurrence(kType, occurrence, ScriptedReply::timeOut());
        }
        const LogCapture log;
        run(kByPosition);
        QCOMPARE(link().requestCount(), 8);
        QCOMPARE(m_sink.calls, 1);
        QCOMPARE(m_sink.status, RequestExeStatus::timeout);
        QVERIFY(m_sink.rows.isEmpty());
        QCOMPARE(m_sink.request.value(System::startDate).toString(), QString("20240101"));
        QCOMPARE(log.count(QtDebugMsg, kTimeOutLine), 5);
        QCOMPARE(log.count(QtDebugMsg, kLimitLine), 1);
        QCOMPARE(log.count(QtDebugMsg, kFinishedLine), 1);
    }

    void fourTimeOuts_areBridgedWithTheSameRequest() {
        link().on(kType, byPosition(12));
        for (const int occurrence : {1, 2, 4, 5}) {
            link().onOccurrence(kType, occurrence, ScriptedReply::timeOut());
        }
        const LogCapture log;
        run(kByPosition);
        QCOMPARE(sentValues(System::positionStr), (QStringList{"", "", "", "10", "10", "10"}));
        QCOMPARE(m_sink.rows, numbered(0, 12));
        QVERIFY(!log.contains(kLimitLine));
    }

    void failure_endsTheTaskWithTheText_data() {
        QTest::addColumn<bool>("isRefusal");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("status");
        QTest::newRow("failed send") << false << "down"
                                     << "down";
        QTest::newRow("refusal") << true << "closed"
                                 << "closed";
        // A text that reads like a status must not be taken for it.
        QTest::newRow("refusal that reads like a success") << true << "0"
                                                           << "failed: 0";
        QTest::newRow("refusal that reads like a time-out")
            << true << RequestExeStatus::timeout << "failed: " + RequestExeStatus::timeout;
        QTest::newRow("refusal without a text") << true << ""
                                                << "";
    }
    void failure_endsTheTaskWithTheText() {
        QFETCH(bool, isRefusal);
        QFETCH(QString, text);
        QFETCH(QString, status);
        link().on(kType, byPosition(100));
        link().onOccurrence(
            kType, 2, isRefusal ? ScriptedReply::refusal(text) : ScriptedReply::failure(text));
        const LogCapture log;
        run(kByPosition);
        QCOMPARE(link().requestCount(), 2);
        QCOMPARE(m_sink.calls, 1);
        QCOMPARE(m_sink.status, status);
        QVERIFY(m_sink.rows.isEmpty());
        QCOMPARE(log.count(QtDebugMsg, kFailedLine + text), 1);
        QCOMPARE(log.count(QtDebugMsg, kFinishedLine), 1);
    }

    void wrongRowCount_isAFailure() {
        link().on(kType, ScriptedReply::rows(numbered(0, 1), {{System::subGroupNumber, 2}}));
        run(kByPosition);
        QVERIFY(m_sink.status.contains("holds 1 rows, its row count is \"2\""));
        QVERIFY(m_sink.rows.isEmpty());
    }

    void noPresenter_isAFailure() {
        const LogCapture log;
        MultiThreadQueryHelper(nullptr, kType, kByPosition, kName, m_sink).run();
        QCOMPARE(m_sink.calls, 1);
        QVERIFY(m_sink.status.contains("needs a presenter"));
        QCOMPARE(log.count(QtDebugMsg, kFailedLine + m_sink.status), 1);
    }

    void closingPresenter_handsOverNothing() {
        link().on(kType, ScriptedReply::with(byPosition(100)).held());
        ZnPresenterClass* const presenter = m_world->presenter();
        std::thread task(
            [&] { MultiThreadQueryHelper(presenter, kType, kByPosition, kName, m_sink).run(); });
        const bool isSent = link().waitForRequestCount(kType, 1);
        m_world->whileClosing([&] { task.join(); });
        QVERIFY(isSent);
        QCOMPARE(m_sink.calls, 0);
        QCOMPARE(link().requestCount(), 1);
    }

private:
    ScriptedLink& link() { return m_world->link(); }

    void run(const QVariantMap& request) {
        m_sink = RecordingSink();
        MultiThreadQueryHelper(m_world->presenter(), kType, request, kName, m_sink).run();
    }

    QStringList sentValues(const QString& field) {
        QStringList values;
        for (const ScriptedLink::Request& request : link().requests()) {
            values.append(request.header.value(field).toString());
        }
        return values;
    }

    std::unique_ptr<ReportWorld> m_world;
    RecordingSink m_sink;
};

QTEST_GUILESS_MAIN(MultiThreadQueryHelperTest)
#include "multi_thread_query_helper_test.moc"
