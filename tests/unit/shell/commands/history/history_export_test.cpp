#include "history_export.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

#include "facade_recorder.h"
#include "history_columns.h"

Q_DECLARE_METATYPE(RowFormat)

namespace {

/// Answers pages of a list of `total` rows, and records the arguments of all calls.
class Pages : public FacadeRecorder {
public:
    int total = 0;
    int lostPage = 0;   ///< this page has no answer
    int emptyPage = 0;  ///< this page has no rows
    int shortBy = 0;    ///< rows that the last page lacks
    QList<QStringList> arguments;

protected:
    void reply(const QString& name, const QStringList& given, QJsonObject* answer) override {
        arguments.append(given);
        if (!name.endsWith("RecordList")) {
            FacadeRecorder::reply(name, given, answer);
            answer->insert(
                "out", QJsonArray{QJsonObject{{"parameter", 4}, {"value", results.value("out")}}});
            return;
        }
        const QJsonObject params = QJsonDocument::fromJson(given.first().toUtf8()).object();
        const int page = params.value("pageNo").toInt();
        const int size = params.value("pageSize").toInt();
        if (page == lostPage) {
            answer->insert("result", QJsonArray());
            return;
        }
        QJsonArray rows{QJsonObject{{"totalSize", QString::number(total)}}};
        for (int i = (page - 1) * size; i < qMin(page * size, total - shortBy) && page != emptyPage;
             ++i) {
            rows.append(QJsonObject{{"orderID", QString::number(i)}, {"tradeDate", "20260105"}});
        }
        answer->insert("result", rows);
    }
};

HistoryRequest request(const QString& list) {
    HistoryRequest made;
    made.list = list;
    made.accounts = QStringList{"T1", "T2"};
    made.from = QDate(2026, 1, 5);
    made.to = QDate(2026, 1, 9);
    made.today = QDate(2026, 2, 1);
    made.tradeDays = QStringList{"20260105", "20260106"};
    made.pageSize = 10;
    return made;
}

}  // namespace

class HistoryExportTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QString error;
        QVERIFY2(m_library.load(facadeLibraryFile(), &error), qPrintable(error));
    }

    void orders_severalPages_areWrittenInTheirOrder() {
        Pages pages;
        pages.total = 25;
        const auto outcome = run(pages, request("orders"));
        QVERIFY2(outcome.isComplete(), qPrintable(outcome.fault));
        QCOMPARE(pages.calls,
                 QStringList({"GetHistoryEntrustRecordList", "GetHistoryEntrustRecordList",
                              "GetHistoryEntrustRecordList"}));
        QCOMPARE(m_rows.size(), 25);
        QCOMPARE(m_rows.last().toObject().value("orderID").toString(), QString("24"));
        const QJsonObject params =
            QJsonDocument::fromJson(pages.arguments.at(1).first().toUtf8()).object();
        QCOMPARE(params.value("tradingAccount").toString(), QString("T1,T2"));
        QCOMPARE(params.value("pageNo").toInt(), 2);
        QCOMPARE(pages.arguments.at(1).mid(1), QStringList({"2026-01-05", "2026-01-09"}));
        QCOMPARE(m_progress, QStringList({"10/25", "20/25", "25/25"}));
    }

    void deals_fullLastPage_isNotFollowedByAnother() {
        Pages pages;
        pages.total = 20;
        QVERIFY(run(pages, request("deals")).isComplete());
        QCOMPARE(pages.calls.size(), 2);
        QCOMPARE(pages.calls.first(), QString("GetHistoryDealRecordList"));
    }

    void deals_noRows_isAWholeEmptyList() {
        Pages pages;
        QVERIFY(run(pages, request("deals")).isComplete());
        QCOMPARE(pages.calls.size(), 1);
        QVERIFY(m_rows.isEmpty());
    }

    void interrupt_betweenPages_leavesAClosedListOfTheFirstOnes_data() {
        QTest::addColumn<RowFormat>("format");
        QTest::newRow("json") << RowFormat::Json;
        QTest::newRow("csv") << RowFormat::Csv;
    }
    void interrupt_betweenPages_leavesAClosedListOfTheFirstOnes() {
        QFETCH(RowFormat, format);
        Pages pages;
        pages.total = 1000;
        pages.interruptAfter = 3;
        const auto outcome = run(pages, request("orders"), format);
        QVERIFY(outcome.isInterrupted);
        if (format == RowFormat::Json) {
            QCOMPARE(m_rows.size(), 30);
        } else {
            QCOMPARE(m_bytes.count("\r\n"), 31);
            QVERIFY(m_bytes.endsWith("\r\n"));
        }
    }

    void pageThatIsNotReceived_isNamed_andTheFirstOnesStay_data() {
        QTest::addColumn<int>("lost");
        QTest::addColumn<int>("empty");
        QTest::newRow("no answer") << 3 << 0;
        QTest::newRow("no rows below the total") << 0 << 3;
    }
    void pageThatIsNotReceived_isNamed_andTheFirstOnesStay() {
        QFETCH(int, lost);
        QFETCH(int, empty);
        Pages pages;
        pages.total = 100;
        pages.lostPage = lost;
        pages.emptyPage = empty;
        const auto outcome = run(pages, request("orders"));
        QCOMPARE(outcome.fault, QString("page 3 was not received"));
        QVERIFY(!outcome.isInterrupted);
        QCOMPARE(m_rows.size(), 20);
    }

    void rows_fewerThanTheTotal_areAFault() {
        Pages pages;
        pages.total = 25;
        pages.shortBy = 2;
        QCOMPARE(run(pages, request("orders")).fault,
                 QString("23 rows were received, the total is 25"));
        QCOMPARE(m_rows.size(), 23);
    }

    void delivery_longRange_isRequestedIn30Days() {
        Pages pages;
        pages.results = {{"out", QJsonArray{QJsonObject{{"execID", "E1"}}}}};
        HistoryRequest wide = request("delivery");
        wide.to = wide.from.addDays(30);
        QVERIFY(run(pages, wide).isComplete());
        QCOMPARE(pages.calls,
                 QStringList({"GetHistoryAssetDeliveryReports", "GetHistoryAssetDeliveryReports"}));
        QCOMPARE(pages.arguments.at(0),
                 QStringList({"[\"T1\",\"T2\"]", "2026-01-05", "2026-02-03"}));
        QCOMPARE(pages.arguments.at(1),
                 QStringList({"[\"T1\",\"T2\"]", "2026-02-04", "2026-02-04"}));
        QCOMPARE(m_rows.size(), 2);
        QCOMPARE(m_rows.first().toObject().value("execID").toString(), QString("E1"));
    }

    void statistics_rows_areThoseOfTheResult() {
        Pages pages;
        pages.results = {
            {"GetHistoryDealStatisticsList", QJsonArray{QJsonObject{{"symbol", "600000.SH"}}}}};
        QVERIFY(run(pages, request("statistics")).isComplete());
        QCOMPARE(pages.calls, QStringList("GetHistoryDealStatisticsList"));
        QCOMPARE(m_rows.size(), 1);
    }

    void funds_withAMarginAccount_askForEachTradeDayToo() {
        Pages pages;
        pages.results = {
            {"GetHistoryNormalFundInfo", QJsonArray{QJsonObject{{"tradingAccount", "T1"}}}},
            {"GetHistoryMarginFundInfo",
             QJsonObject{{"T2", QJsonObject{{"tradingAccount", "T2"}}}}}};
        HistoryRequest both = request("funds");
        QVERIFY(run(pages, both).isComplete());
        QCOMPARE(pages.calls, QStringList("GetHistoryNormalFundInfo"));
        QCOMPARE(m_rows.size(), 1);
        both.hasMarginAccount = true;
        QVERIFY(run(pages, both).isComplete());
        QCOMPARE(pages.calls.mid(2),
                 QStringList({"GetHistoryMarginFundInfo", "GetHistoryMarginFundInfo"}));
        QCOMPARE(pages.arguments.last(), QStringList({"[\"T1\",\"T2\"]", "2026-01-06"}));
        QCOMPARE(m_rows.size(), 3);
        QCOMPARE(m_rows.last().toObject().value("tradingAccount").toString(), QString("T2"));
    }

    void part_thatIsNotWhole_isNamed_andItsRowsAreLeftOut_data() {
        QTest::addColumn<QString>("list");
        for (const char* list : {"delivery", "statistics", "funds", "appraisement"}) {
            QTest::newRow(list) << list;
        }
    }
    void part_thatIsNotWhole_isNamed_andItsRowsAreLeftOut() {
        QFETCH(QString, list);
        const QJsonArray row{QJsonObject{{"tradingAccount", "T1"}}};
        Pages pages;
        pages.results = {{"out", row},
                         {"GetHistoryDealStatisticsList", row},
                         {"GetHistoryNormalFundInfo", row},
                         {"GetHistoryAppraisementInfo", row}};
        HistoryRequest wide = request(list);
        wide.to = wide.from.addDays(70);
        m_lost = {{"before the list"}, {}, {"T2, 2026-02-04 to 2026-03-05"}};
        const auto outcome = run(pages, wide);
        const QString parts = list == "appraisement" ? "4" : "3";
        QCOMPARE(outcome.fault, "section 2 of " + parts +
                                    " was not received whole: T2, 2026-02-04 to 2026-03-05 is "
                                    "missing");
        QCOMPARE(pages.calls.size(), 2);
        QCOMPARE(m_rows.size(), 1);
    }

    void appraisement_eachDayAndProduct_isAPart() {
        Pages pages;
        pages.results = {{"GetHistoryAppraisementInfo", QJsonArray{QJsonObject()}}};
        QVERIFY(run(pages, request("appraisement")).isComplete());
        QCOMPARE(pages.calls.size(), 4);
        QCOMPARE(pages.arguments.at(1), QStringList({"[\"T2\"]", "2026-01-05", "2026-02-01"}));
        QCOMPARE(m_progress.last(), QString("4/4"));
    }

    void everyList_hasColumnsWithDifferentNames() {
        for (const QString& list : historyLists()) {
            QSet<QString> names;
            const QVector<RowColumn> columns = historyColumns(list);
            for (const RowColumn& column : columns) {
                names.insert(QString(column.key).section('/', -1));
            }
            QVERIFY2(columns.size() > 3, qPrintable(list));
            QCOMPARE(names.size(), columns.size());
        }
    }

private:
    HistoryExport::Outcome run(Pages& pages, const HistoryRequest& request,
                               RowFormat format = RowFormat::Json) {
        m_bytes.clear();
        m_progress.clear();
        FacadeQuestions facade(m_library, pages.function());
        RowWriter writer(format, historyColumns(request.list), 80, [this](const QByteArray& part) {
            m_bytes += part;
            return true;
        });
        writer.begin();
        const auto onProgress = [this](qint64 done, qint64 total) {
            m_progress.append(QString("%1/%2").arg(done).arg(total));
        };
        const auto takeLost = [this] {
            return m_lost.isEmpty() ? QStringList() : m_lost.takeFirst();
        };
        auto outcome = HistoryExport(facade, writer, onProgress, takeLost).run(request);
        writer.end();
        const QJsonDocument document = QJsonDocument::fromJson(m_bytes);
        m_rows = document.array();
        if (format == RowFormat::Json && !document.isArray()) {
            qWarning() << "no list:" << m_bytes;
            m_rows = QJsonArray{QJsonValue()};
        }
        return outcome;
    }

    FacadeLibrary m_library;
    QByteArray m_bytes;
    QJsonArray m_rows;
    QStringList m_progress;
    QList<QStringList> m_lost;  // what each question for it answers
};

QTEST_GUILESS_MAIN(HistoryExportTest)
#include "history_export_test.moc"
