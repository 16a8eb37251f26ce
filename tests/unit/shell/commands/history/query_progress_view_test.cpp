#include "query_progress_view.h"

#include <QtTest>

#include "vocabulary/fields.h"
#include "vocabulary/own_keys.h"

class QueryProgressViewTest : public QObject {
    Q_OBJECT

private slots:
    void record_ofAQuery_hasFunctionAccountAndPages() {
        const QueryStep step = QueryStep::ofRecord({{OwnKeys::queryId, 3},
                                                    {OwnKeys::queryFunction, "GetHistoryDealList"},
                                                    {UserAccount::tradingAccount, "T000001"},
                                                    {OwnKeys::pagesDone, 4},
                                                    {OwnKeys::pagesTotal, 50}});
        QCOMPARE(step.title, QString("GetHistoryDealList T000001"));
        QCOMPARE(step.done, 4);
        QCOMPARE(step.total, 50);
    }

    void record_withoutATotal_isOfUnknownLength() {
        QCOMPARE(QueryStep::ofRecord({{OwnKeys::pagesDone, 4}}).total, 0);
    }
};

QTEST_APPLESS_MAIN(QueryProgressViewTest)
#include "query_progress_view_test.moc"
