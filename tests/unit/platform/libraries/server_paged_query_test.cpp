#include <QtTest>
#include <atomic>
#include <thread>
#include <vector>

#include "platform_fixture.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/values.h"

namespace {

inline const QString kType = QStringLiteral("type.1");
inline const QString kOtherType = QStringLiteral("type.2");
inline const QString kNumber = QStringLiteral("n");

QList<QVariantMap> numbers(int from, int to) {
    QList<QVariantMap> rows;
    for (int i = from; i <= to; ++i) {
        rows.append({{kNumber, i}});
    }
    return rows;
}

QString position(int row) {
    return QStringLiteral("%1").arg(row, 8, 10, QLatin1Char('0'));
}

/// Pages over rows 1 to `count`, by number or by cursor, as the request says.
QVariant pageOf(const QVariant& body, int count) {
    const QVariantMap request = headerOf(body);
    if (request.contains(System::positionStr)) {
        const int from = request.value(System::positionStr).toInt() + 1;
        const int to = qMin(count, from + request.value(System::requestNumber).toInt() - 1);
        const QVariant last = to < from ? request.value(System::positionStr) : position(to);
        return makeAnswer(body, numbers(from, to), {{System::positionStr, last}});
    }
    const int size = request.value(System::pageSize).toInt();
    const int from = (request.value(System::pageNo).toInt() - 1) * size + 1;
    return makeAnswer(body, numbers(from, qMin(count, from + size - 1)),
                      {{System::totalSize, count}});
}

}  // namespace

class ServerPagedQueryTest : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void pages_anyTotal_areCollectedInOrder_data();
    void pages_anyTotal_areCollectedInOrder();
    void pages_request_keepsItsFieldsAndCountsPages();
    void pages_withoutTotal_endAtAShortPage();
    void pages_firstPage_isWhereTheyBegin();
    void pages_maxPages_endsThem();
    void pages_oneFails_givesNothingButTheText_data();
    void pages_oneFails_givesNothingButTheText();
    void pages_thatDoNotEnd_areAnError_data();
    void pages_thatDoNotEnd_areAnError();
    void pages_wrongTotal_isAnError_data();
    void pages_wrongTotal_isAnError();
    void pages_withoutEnd_areGivenUpAtTheMost_data();
    void pages_withoutEnd_areGivenUpAtTheMost();
    void pages_tooManyRows_areGivenUpAtTheMost_data();
    void pages_tooManyRows_areGivenUpAtTheMost();
    void pages_timeOut_isSetForEachRequestAndRestored_data();
    void pages_timeOut_isSetForEachRequestAndRestored();
    void timeOuts_ofTwoThreads_eachKeepsItsOwnAndTheStandingOneReturns_data();
    void timeOuts_ofTwoThreads_eachKeepsItsOwnAndTheStandingOneReturns();
    void timeOuts_ofManyThreads_leaveTheStandingOne();
    void timeOut_setDuringAPage_holdsAtOnceAndStays();
    void positions_thatDoNotMove_areAnError_data();
    void positions_thatDoNotMove_areAnError();
    void anyQuery_badArguments_areRefusedUnsent();
    void anyQuery_withoutPresenter_isAnError();

private:
    QList<QVariantMap> query(bool byPosition, int pageSize, int firstPage = 1, int maxPages = 0,
                             int timeOutMs = 0) {
        m_error = QStringLiteral("old");
        return byPosition
                   ? VelmarUtils::QueryDatasFromServerByPos(m_presenter, kType, {{"key", "kept"}},
                                                            m_error, pageSize, {}, timeOutMs)
                   : VelmarUtils::QueryDatasFromServerByPage(m_presenter, kType, {{"key", "kept"}},
                                                             m_error, pageSize, firstPage, maxPages,
                                                             timeOutMs);
    }
    /// Any thread.
    void queryOf(const QString& type, bool byPosition, int timeOutMs) const {
        QString error;
        if (byPosition) {
            VelmarUtils::QueryDatasFromServerByPos(m_presenter, type, {}, error, 10, {}, timeOutMs);
        } else {
            VelmarUtils::QueryDatasFromServerByPage(m_presenter, type, {}, error, 10, 1, 0,
                                                    timeOutMs);
        }
    }
    void serve(int count) {
        link().on(kType, [count](const QVariant& body) { return pageOf(body, count); });
    }
    /// Serves rows and positions, but no total.
    void serveWithoutTotal(int count) {
        link().on(kType, [count](const QVariant& body) {
            const QVariant page = pageOf(body, count);
            return makeAnswer(body, rowsOf(page),
                              {{System::positionStr, headerOf(page).value(System::positionStr)}});
        });
    }
    ScriptedLink& link() { return *m_platform->link; }

    std::unique_ptr<PlatformFixture> m_platform;
    ProbePresenter* m_presenter = nullptr;  // disposed of by the platform
    QString m_error;
};

void ServerPagedQueryTest::init() {
    m_platform = std::make_unique<PlatformFixture>();
    m_presenter = new ProbePresenter;
    m_presenter->initPresenter();
}

void ServerPagedQueryTest::cleanup() {
    m_platform.reset();
}

void ServerPagedQueryTest::pages_anyTotal_areCollectedInOrder_data() {
    QTest::addColumn<bool>("byPosition");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("requests");
    QTest::newRow("pages, none") << false << 0 << 1;
    QTest::newRow("pages, one short") << false << 9 << 1;
    QTest::newRow("pages, one full") << false << 10 << 1;
    QTest::newRow("pages, one row over") << false << 11 << 2;
    QTest::newRow("pages, many") << false << 95 << 10;
    QTest::newRow("positions, none") << true << 0 << 1;
    QTest::newRow("positions, one short") << true << 9 << 1;
    QTest::newRow("positions, one full costs one more") << true << 10 << 2;
    QTest::newRow("positions, one row over") << true << 11 << 2;
    QTest::newRow("positions, many") << true << 95 << 10;
}

void ServerPagedQueryTest::pages_anyTotal_areCollectedInOrder() {
    QFETCH(bool, byPosition);
    QFETCH(int, count);
    QFETCH(int, requests);
    serve(count);
    QCOMPARE(query(byPosition, 10), numbers(1, count));
    QCOMPARE(m_error, QString());
    QCOMPARE(link().requestCount(kType), requests);
}

void ServerPagedQueryTest::pages_request_keepsItsFieldsAndCountsPages() {
    serve(25);
    query(false, 10);
    query(true, 10);
    const QList<ScriptedLink::Request> requests = link().requests(kType);
    QCOMPARE(requests.size(), 6);
    for (int i = 0; i < 3; ++i) {
        const QVariantMap byPage{{System::msgType, kType},
                                 {"key", "kept"},
                                 {System::pageNo, i + 1},
                                 {System::pageSize, 10}};
        QCOMPARE(requests.at(i).header, byPage);
        const QVariantMap byPosition{{System::msgType, kType},
                                     {"key", "kept"},
                                     {System::positionStr, i ? position(i * 10) : QString()},
                                     {System::requestNumber, 10}};
        QCOMPARE(requests.at(i + 3).header, byPosition);
    }
}

void ServerPagedQueryTest::pages_withoutTotal_endAtAShortPage() {
    link().on(kType,
              [](const QVariant& body) { return makeAnswer(body, rowsOf(pageOf(body, 25))); });
    QCOMPARE(query(false, 10), numbers(1, 25));
    QCOMPARE(m_error, QString());
    QCOMPARE(link().requestCount(kType), 3);
}

void ServerPagedQueryTest::pages_firstPage_isWhereTheyBegin() {
    serve(25);
    QCOMPARE(query(false, 10, 2), numbers(11, 25));
    QCOMPARE(link().requestCount(kType), 2);
    QVERIFY(query(false, 10, 9).isEmpty());
    QCOMPARE(m_error, QString());
    QCOMPARE(link().requestCount(kType), 3);
}

void ServerPagedQueryTest::pages_maxPages_endsThem() {
    serve(95);
    QCOMPARE(query(false, 10, 1, 3), numbers(1, 30));
    QCOMPARE(m_error, QString());
    QCOMPARE(link().requestCount(kType), 3);
}

void ServerPagedQueryTest::pages_oneFails_givesNothingButTheText_data() {
    QTest::addColumn<bool>("byPosition");
    QTest::addColumn<int>("outcome");
    QTest::addColumn<QString>("text");
    for (const bool byPosition : {false, true}) {
        const QByteArray mode = byPosition ? "positions, " : "pages, ";
        QTest::newRow(mode + "failure") << byPosition << 0 << "the line is cut";
        QTest::newRow(mode + "refusal") << byPosition << 1 << "not yours";
        QTest::newRow(mode + "time-out") << byPosition << 2 << "time-out";
        QTest::newRow(mode + "garbage") << byPosition << 3 << "garbage";
        QTest::newRow(mode + "cut short") << byPosition << 4 << "cut short";
    }
}

void ServerPagedQueryTest::pages_oneFails_givesNothingButTheText() {
    QFETCH(bool, byPosition);
    QFETCH(int, outcome);
    QFETCH(QString, text);
    const ScriptedReply replies[] = {
        ScriptedReply::failure("the line is cut"), ScriptedReply::refusal("not yours"),
        ScriptedReply::timeOut(), ScriptedReply::garbage(),
        ScriptedReply::rows(numbers(11, 15), {{System::subGroupNumber, 10}})};
    serve(95);
    link().onOccurrence(kType, 2, replies[outcome]);
    QVERIFY(query(byPosition, 10).isEmpty());
    QVERIFY2(m_error.contains(text), qPrintable(m_error));
    QCOMPARE(link().requestCount(kType), 2);
}

void ServerPagedQueryTest::pages_thatDoNotEnd_areAnError_data() {
    QTest::addColumn<int>("held");
    QTest::addColumn<QVariant>("total");
    QTest::addColumn<int>("requests");
    QTest::newRow("first page empty before the total") << 0 << QVariant(100) << 1;
    QTest::newRow("empty page before the total") << 20 << QVariant(100) << 3;
    QTest::newRow("short page before the total") << 25 << QVariant(100) << 3;
}

void ServerPagedQueryTest::pages_thatDoNotEnd_areAnError() {
    QFETCH(int, held);
    QFETCH(QVariant, total);
    QFETCH(int, requests);
    link().on(kType, [held, total](const QVariant& body) {
        return makeAnswer(body, rowsOf(pageOf(body, held)), {{System::totalSize, total}});
    });
    QVERIFY(query(false, 10).isEmpty());
    QVERIFY2(m_error.contains("does not end"), qPrintable(m_error));
    QCOMPARE(link().requestCount(kType), requests);

    // A server that ignores the page number.
    for (const QVariantMap& header : {QVariantMap(), QVariantMap{{System::totalSize, 1000000}}}) {
        link().clearRequests();
        link().on(kType, ScriptedReply::rows(numbers(1, 10), header));
        QVERIFY(query(false, 10).isEmpty());
        QVERIFY2(m_error.contains("same page"), qPrintable(m_error));
        QCOMPARE(link().requestCount(kType), 2);
    }
}

void ServerPagedQueryTest::pages_wrongTotal_isAnError_data() {
    QTest::addColumn<int>("held");
    QTest::addColumn<QVariant>("total");
    QTest::addColumn<int>("requests");
    QTest::addColumn<int>("rows");
    QTest::newRow("0 beside a full page") << 95 << QVariant(0) << 1 << 0;
    QTest::newRow("below what came, full page") << 95 << QVariant(15) << 2 << 0;
    QTest::newRow("negative") << 95 << QVariant(-1) << 1 << 0;
    QTest::newRow("negative beside a short page") << 5 << QVariant(-1) << 1 << 0;
    QTest::newRow("no number") << 95 << QVariant("many") << 1 << 0;
    QTest::newRow("as a text") << 25 << QVariant("25") << 3 << 25;
    QTest::newRow("empty text") << 25 << QVariant(QString()) << 3 << 25;
    // A page that is not full is the last one, whatever the total is.
    QTest::newRow("0 beside a short page") << 5 << QVariant(0) << 1 << 5;
}

void ServerPagedQueryTest::pages_wrongTotal_isAnError() {
    QFETCH(int, held);
    QFETCH(QVariant, total);
    QFETCH(int, requests);
    QFETCH(int, rows);
    link().on(kType, [held, total](const QVariant& body) {
        return makeAnswer(body, rowsOf(pageOf(body, held)), {{System::totalSize, total}});
    });
    QCOMPARE(query(false, 10), numbers(1, rows));
    QCOMPARE(m_error.contains("garbage"), rows == 0);
    QCOMPARE(m_error.isEmpty(), rows > 0);
    QCOMPARE(link().requestCount(kType), requests);
}

void ServerPagedQueryTest::pages_withoutEnd_areGivenUpAtTheMost_data() {
    QTest::addColumn<bool>("byPosition");
    QTest::addColumn<int>("mostPages");
    QTest::addColumn<int>("rows");
    QTest::newRow("pages") << false << 10 << 0;
    QTest::newRow("pages, just enough") << false << 11 << 100;
    QTest::newRow("positions") << true << 10 << 0;
    QTest::newRow("positions, just enough") << true << 11 << 100;
}

void ServerPagedQueryTest::pages_withoutEnd_areGivenUpAtTheMost() {
    QFETCH(bool, byPosition);
    QFETCH(int, mostPages);
    QFETCH(int, rows);
    m_platform.reset();
    m_platform = std::make_unique<PlatformFixture>(
        [mostPages](LocalPlatform::Options& options) { options.mostPages = mostPages; });
    m_presenter = new ProbePresenter;
    m_presenter->initPresenter();
    serveWithoutTotal(100);
    QCOMPARE(query(byPosition, 10), numbers(1, rows));
    QCOMPARE(m_error.contains("does not end"), rows == 0);
    QCOMPARE(link().requestCount(kType), mostPages);
}

void ServerPagedQueryTest::pages_tooManyRows_areGivenUpAtTheMost_data() {
    QTest::addColumn<bool>("byPosition");
    QTest::addColumn<int>("mostRows");
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("requests");
    QTest::newRow("pages") << false << 30 << 0 << 3;
    QTest::newRow("pages, within a page") << false << 35 << 0 << 4;
    QTest::newRow("pages, just enough") << false << 101 << 100 << 11;
    QTest::newRow("positions") << true << 30 << 0 << 3;
    QTest::newRow("positions, just enough") << true << 101 << 100 << 11;
}

void ServerPagedQueryTest::pages_tooManyRows_areGivenUpAtTheMost() {
    QFETCH(bool, byPosition);
    QFETCH(int, mostRows);
    QFETCH(int, rows);
    QFETCH(int, requests);
    QCOMPARE(LocalPlatform::Options().mostRows, 10000000);
    m_platform.reset();
    m_platform = std::make_unique<PlatformFixture>(
        [mostRows](LocalPlatform::Options& options) { options.mostRows = mostRows; });
    m_presenter = new ProbePresenter;
    m_presenter->initPresenter();
    serveWithoutTotal(100);
    QCOMPARE(query(byPosition, 10), numbers(1, rows));
    QCOMPARE(m_error.contains("does not end"), rows == 0);
    QCOMPARE(link().requestCount(kType), requests);
}

void ServerPagedQueryTest::pages_timeOut_isSetForEachRequestAndRestored_data() {
    QTest::addColumn<bool>("byPosition");
    QTest::addColumn<int>("timeOutMs");
    QTest::addColumn<int>("sentMs");
    QTest::newRow("pages, standing") << false << 0 << 7000;
    QTest::newRow("pages, longer") << false << 30000 << 30000;
    QTest::newRow("pages, rounded up") << false << 1500 << 2000;
    QTest::newRow("positions, standing") << true << 0 << 7000;
    QTest::newRow("positions, longer") << true << 30000 << 30000;
}

void ServerPagedQueryTest::pages_timeOut_isSetForEachRequestAndRestored() {
    QFETCH(bool, byPosition);
    QFETCH(int, timeOutMs);
    QFETCH(int, sentMs);
    m_presenter->setRequestTimeOut(7);
    std::atomic<int> during{0};
    link().on(kType, [this, &during](const QVariant& body) {
        during = m_presenter->getRequestTimeOut();
        return pageOf(body, 15);
    });
    QCOMPARE(query(byPosition, 10, 1, 0, timeOutMs), numbers(1, 15));
    for (const ScriptedLink::Request& request : link().requests(kType)) {
        QCOMPARE(request.timeOutMs, sentMs);
    }
    QCOMPARE(during.load() * 1000, sentMs);
    QCOMPARE(m_presenter->getRequestTimeOut(), 7);
    link().on(kType, ScriptedReply::timeOut());
    query(byPosition, 10, 1, 0, timeOutMs);
    QCOMPARE(m_presenter->getRequestTimeOut(), 7);
}

void ServerPagedQueryTest::timeOuts_ofTwoThreads_eachKeepsItsOwnAndTheStandingOneReturns_data() {
    QTest::addColumn<bool>("byPosition");
    QTest::addColumn<QString>("endsFirst");
    QTest::newRow("pages, first ends first") << false << kType;
    QTest::newRow("pages, second ends first") << false << kOtherType;
    QTest::newRow("positions, first ends first") << true << kType;
    QTest::newRow("positions, second ends first") << true << kOtherType;
}

void ServerPagedQueryTest::timeOuts_ofTwoThreads_eachKeepsItsOwnAndTheStandingOneReturns() {
    QFETCH(bool, byPosition);
    QFETCH(QString, endsFirst);
    const bool firstEndsFirst = endsFirst == kType;
    m_presenter->setRequestTimeOut(7);
    for (const QString& type : {kType, kOtherType}) {
        link().on(type, ScriptedReply::with([](const QVariant& body) {
                            return pageOf(body, 15);
                        }).held());
    }
    QStringList seen;
    const auto note = [&] { seen.append(QString::number(m_presenter->getRequestTimeOut())); };
    std::thread first([&] { queryOf(kType, byPosition, 30000); });
    const bool firstSent = link().waitForRequestCount(kType, 1);
    note();
    std::thread second([&] { queryOf(kOtherType, byPosition, 20000); });
    const bool secondSent = link().waitForRequestCount(kOtherType, 1);
    note();
    // The query that continues first requests its second page while the other's first page waits.
    link().release(endsFirst);
    const bool wentOn = link().waitForRequestCount(endsFirst, 2);
    link().release(endsFirst);
    (firstEndsFirst ? first : second).join();
    note();
    link().on(firstEndsFirst ? kOtherType : kType,
              [](const QVariant& body) { return pageOf(body, 15); });
    link().release();
    (firstEndsFirst ? second : first).join();
    note();
    QVERIFY(firstSent && secondSent && wentOn);
    QCOMPARE(seen, (QStringList{"30", "20", firstEndsFirst ? "20" : "30", "7"}));
    for (const ScriptedLink::Request& request : link().requests()) {
        QCOMPARE(request.timeOutMs, request.type == kType ? 30000 : 20000);
    }
    QCOMPARE(link().requestCount(), 4);
}

void ServerPagedQueryTest::timeOuts_ofManyThreads_leaveTheStandingOne() {
    constexpr int kThreads = 4;
    constexpr int kQueries = 25;
    m_presenter->setRequestTimeOut(7);
    serve(15);
    std::vector<std::thread> threads;
    for (int t = 1; t <= kThreads; ++t) {
        threads.emplace_back([this, t] {
            for (int i = 0; i < kQueries; ++i) {
                queryOf(kType, i % 2 == 0, t * 10000);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    QCOMPARE(m_presenter->getRequestTimeOut(), 7);
    QMap<int, int> sent;
    for (const ScriptedLink::Request& request : link().requests(kType)) {
        ++sent[request.timeOutMs];
    }
    for (int t = 1; t <= kThreads; ++t) {
        QCOMPARE(sent.value(t * 10000), 2 * kQueries);
    }
}

void ServerPagedQueryTest::timeOut_setDuringAPage_holdsAtOnceAndStays() {
    m_presenter->setRequestTimeOut(7);
    std::atomic<int> during{0};
    link().on(kType, [this, &during](const QVariant& body) {
        m_presenter->setRequestTimeOut(12);
        during = m_presenter->getRequestTimeOut();
        return pageOf(body, 15);
    });
    QCOMPARE(query(false, 10, 1, 0, 30000), numbers(1, 15));
    QCOMPARE(during.load(), 12);
    QCOMPARE(m_presenter->getRequestTimeOut(), 12);
    for (const ScriptedLink::Request& request : link().requests(kType)) {
        QCOMPARE(request.timeOutMs, 30000);
    }
}

void ServerPagedQueryTest::positions_thatDoNotMove_areAnError_data() {
    QTest::addColumn<QStringList>("positions");
    QTest::addColumn<int>("requests");
    QTest::newRow("none") << QStringList{QString()} << 1;
    QTest::newRow("always the same") << QStringList{"00000010", "00000010"} << 2;
    QTest::newRow("in a circle") << QStringList{"00000010", "00000020", "00000010"} << 3;
}

void ServerPagedQueryTest::positions_thatDoNotMove_areAnError() {
    QFETCH(QStringList, positions);
    QFETCH(int, requests);
    for (int i = 0; i < positions.size(); ++i) {
        link().onOccurrence(kType, i + 1,
                            ScriptedReply::rows(numbers(i * 10 + 1, i * 10 + 10),
                                                {{System::positionStr, positions.at(i)}}));
    }
    QVERIFY(query(true, 10).isEmpty());
    QVERIFY2(m_error.contains("does not end"), qPrintable(m_error));
    QCOMPARE(link().requestCount(kType), requests);
}

void ServerPagedQueryTest::anyQuery_badArguments_areRefusedUnsent() {
    for (const auto& arguments : {qMakePair(0, 1), qMakePair(-1, 1), qMakePair(10, 0)}) {
        QVERIFY(query(false, arguments.first, arguments.second).isEmpty());
        QVERIFY2(m_error.contains(kType), qPrintable(m_error));
    }
    QVERIFY(query(true, 0).isEmpty());
    QVERIFY2(m_error.contains(kType), qPrintable(m_error));
    QCOMPARE(link().requestCount(), 0);
}

void ServerPagedQueryTest::anyQuery_withoutPresenter_isAnError() {
    for (const int timeOutMs : {0, 30000}) {
        m_error.clear();
        QVERIFY(VelmarUtils::QueryDatasFromServerByPage(nullptr, kType, {}, m_error, 10, 1, 0,
                                                        timeOutMs)
                    .isEmpty());
        QVERIFY2(m_error.contains("presenter"), qPrintable(m_error));
        m_error.clear();
        QVERIFY(
            VelmarUtils::QueryDatasFromServerByPos(nullptr, kType, {}, m_error, 10, "0", timeOutMs)
                .isEmpty());
        QVERIFY2(m_error.contains("presenter"), qPrintable(m_error));
    }
    QCOMPARE(link().requestCount(), 0);
}

QTEST_GUILESS_MAIN(ServerPagedQueryTest)
#include "server_paged_query_test.moc"
