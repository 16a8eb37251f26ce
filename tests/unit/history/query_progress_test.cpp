#include "query_progress.h"

#include <QElapsedTimer>
#include <QtTest>
#include <thread>

#include "history_fixture.h"
#include "history_lists.h"
#include "history_records.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/own_keys.h"
#include "wait_for.h"

class QueryProgressTest : public QObject {
    Q_OBJECT

private:
    /// The records of the events so far, after all that were published have arrived.
    static QList<QVariantMap> eventsOf(HistoryWorld& world) {
        // Events arrive in order, so the end mark is the last one.
        VelmarUtils::SendEventMsg(world.presenter, kEndMark, QVariant());
        const auto ended = [&] {
            const auto events = world.presenter->events();
            return !events.isEmpty() && events.last().id == kEndMark;
        };
        if (!waitFor(ended)) {
            QTest::qFail("the end mark did not arrive", __FILE__, __LINE__);
        }
        QList<QVariantMap> records;
        for (const RecordingPresenter::Event& event : world.presenter->events()) {
            if (event.id != kEndMark) {
                records.append(headerOf(event.body));
            }
        }
        return records;
    }

    static void subscribe(HistoryWorld& world) {
        world.presenter->SubEvent(
            world.presenter->pluginPid(),
            VelmarUtils::GetTorviEventMsgIdByStr(OwnKeys::historyQueryProgress), 1);
        world.presenter->SubEvent(world.presenter->pluginPid(), kEndMark, 1);
    }

    /// With no rows configured as the largest page, a page size of 0 is the largest one.
    static void call(const QString& function, ZnPresenterClass* presenter) {
        const QDate day(2026, 1, 5);
        const FakeSymbols symbols;
        HistoryLists lists(symbols);
        const HistoryRecords records;
        QVariantMap params;
        QString error;
        if (function == "GetHistoryDealExportList") {
            records.GetHistoryDealExportList(presenter, {"A1"}, day, day, error);
        } else if (function == "GetHistoryEntrustExportList") {
            records.GetHistoryEntrustExportList(presenter, {"A1"}, day, day, error);
        } else if (function == "GetHistoryDealGatherRecordList") {
            records.GetHistoryDealGatherRecordList(presenter, params, day, day, 10);
        } else if (function == "GetHistoryDealRecordList") {
            records.GetHistoryDealRecordList(presenter, params, day, day);
        } else if (function == "GetHistoryEntrustRecordList") {
            records.GetHistoryEntrustRecordList(presenter, params, day, day);
        } else if (function == "GetHistoryDealList") {
            lists.GetHistoryDealList(presenter, {"A1"}, day, day);
        } else {
            lists.GetHistoryEntrustList(presenter, {"A1"}, day, day);
        }
    }

    static constexpr int kEndMark = 0x71234;

private slots:
    void pages_withinAHundredMs_publishOnce() {
        HistoryWorld world;
        subscribe(world);
        std::atomic<qint64> now{0};
        QueryProgress progress(world.presenter, "GetSomething", [&now] { return now.load(); });
        progress.beginPart("A1", QDate(2026, 1, 5), QDate(2026, 1, 6));
        progress.setPages(50);
        const QList<qint64> times{0, 50, 99, 100, 101, 199, 200, 250, 950, 951, 1049, 1050};
        for (const qint64 time : times) {
            now = time;
            progress.pageDone();
        }
        const QList<QVariantMap> events = eventsOf(world);
        QStringList done;
        for (const QVariantMap& event : events) {
            done.append(event.value(OwnKeys::pagesDone).toString());
        }
        QCOMPARE(done, (QStringList{"4", "7", "9", "12"}));
        const QVariantMap expected{{OwnKeys::queryId, events.first().value(OwnKeys::queryId)},
                                   {OwnKeys::queryFunction, "GetSomething"},
                                   {UserAccount::tradingAccount, "A1"},
                                   {System::startDate, 20260105},
                                   {System::endDate, 20260106},
                                   {OwnKeys::pagesDone, 4},
                                   {OwnKeys::pagesTotal, 50}};
        QCOMPARE(events.first(), expected);
        QVERIFY(events.first().value(OwnKeys::queryId).toLongLong() > 0);
    }

    void parts_countTheirOwnPages_queriesHaveTheirOwnIds() {
        HistoryWorld world;
        subscribe(world);
        std::atomic<qint64> now{0};
        const auto clock = [&now] { return now.load(); };
        QueryProgress one(world.presenter, "one", clock);
        QueryProgress two(world.presenter, "two", clock);
        one.beginPart("A1", QDate(2026, 1, 5), QDate(2026, 1, 5));
        one.pageDone();
        one.beginPart("A2", QDate(2026, 1, 6), QDate(2026, 1, 6));
        two.beginPart("A3", QDate(2026, 1, 7), QDate(2026, 1, 7));
        now = 100;
        one.pageDone();
        two.pageDone();
        const QList<QVariantMap> events = eventsOf(world);
        QCOMPARE(valuesOf(events, UserAccount::tradingAccount), (QStringList{"A2", "A3"}));
        QCOMPARE(valuesOf(events, OwnKeys::pagesDone), (QStringList{"1", "1"}));
        QCOMPARE(valuesOf(events, OwnKeys::pagesTotal), (QStringList{"0", "0"}));
        QVERIFY(events.at(0).value(OwnKeys::queryId) != events.at(1).value(OwnKeys::queryId));
    }

    void pages_ofSeveralThreadsAtOneTime_publishOnce() {
        HistoryWorld world;
        subscribe(world);
        QueryProgress progress(world.presenter, "GetSomething", [] { return qint64(100); });
        progress.beginPart("A1", QDate(2026, 1, 5), QDate(2026, 1, 5));
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&progress] {
                for (int page = 0; page < 100; ++page) {
                    progress.pageDone();
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        QCOMPARE(eventsOf(world).size(), 1);
    }

    void event_ofAnExportedFunction_hasItsName_data() {
        QTest::addColumn<QString>("function");
        for (const char* const function :
             {"GetHistoryDealExportList", "GetHistoryEntrustExportList",
              "GetHistoryDealGatherRecordList", "GetHistoryDealRecordList",
              "GetHistoryEntrustRecordList", "GetHistoryDealList", "GetHistoryEntrustList"}) {
            QTest::newRow(function) << QString(function);
        }
    }
    void event_ofAnExportedFunction_hasItsName() {
        QFETCH(QString, function);
        HistoryWorld world;
        subscribe(world);
        for (const QString& type : {kDeals, kEntrusts}) {
            world.link().on(type, pagesOf({}));
            world.link().onOccurrence(type, 1, ScriptedReply::rows({}).held());
        }
        std::thread caller([&] { call(function, world.presenter); });
        const bool asked = waitFor([&world] { return world.link().heldCount() == 1; });
        // Events are published from then on.
        QElapsedTimer timer;
        timer.start();
        const bool isLate = waitFor([&timer] { return timer.hasExpired(110); });
        world.link().release();
        caller.join();
        QVERIFY(asked && isLate);
        QCOMPARE(valuesOf(eventsOf(world), OwnKeys::queryFunction), QStringList{function});
    }

    void query_withoutPresenter_publishesNothing() {
        QueryProgress progress(nullptr, "GetSomething", [] { return qint64(1000); });
        const LogCapture log;
        progress.pageDone();
        QVERIFY(log.texts().isEmpty());
    }
};

QTEST_GUILESS_MAIN(QueryProgressTest)
#include "query_progress_test.moc"
