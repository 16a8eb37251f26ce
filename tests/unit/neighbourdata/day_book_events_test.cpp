#include <atomic>

#include "day_book_fixture.h"

namespace {

const QList<int> kAllEvents{NeighbourEvent::positionsLoaded, NeighbourEvent::positionsReloaded,
                            NeighbourEvent::positionChanged, NeighbourEvent::executionsReloaded,
                            NeighbourEvent::normalDeal,      NeighbourEvent::marginDeal};

struct Heard {
    int id = 0;
    QVariantMap record;
    int rows = 0;
};

QList<Heard> heard(const ProbeLog& log) {
    QList<Heard> list;
    for (const ProbeLog::Call& call : log.calls()) {
        CUnPackMessageCommon unpacker;
        unpacker.SetUnPackMsg(call.body, false);
        list.append({call.type.toInt(), unpacker.GetRowValue(), unpacker.GetRowCount()});
    }
    return list;
}

QList<int> idsOf(const QList<Heard>& list) {
    QList<int> ids;
    for (const Heard& one : list) {
        ids.append(one.id);
    }
    return ids;
}

}  // namespace

class DayBookEventsTest : public QObject {
    Q_OBJECT

private slots:
    void load_publishesOnceWithoutABody();
    void reload_publishesBothReloads();
    void deal_publishesItsRecordAndThePosition_data();
    void deal_publishesItsRecordAndThePosition();
    void deal_ofAccountThatMayNotTrade_publishesNothing();
    void deal_ofFrozenAccount_publishesThePositionOnly();
    void cancelRow_publishesTheDealOnly();
    void refusedRecord_publishesNothing();
    void setPosition_publishesTheNewRow();
    void subscriber_thatAsksBackAtOnce_seesWhatWasAnnounced();
    void events_ofTwoThreads_followTheOrderOfStoring();
    void close_publishesWhatIsStoredBefore();

private:
    static ProbePresenter* listen(const std::function<void(const ProbeLog::Call&)>& onCall = {}) {
        auto* const probe = new ProbePresenter("Test.Probe", onCall);
        for (const int id : kAllEvents) {
            probe->SubEvent(probe->pluginPid(), id, 1);
        }
        probe->initPresenter();
        return probe;
    }
    /// Everything that was published so far has reached the listener.
    static QList<Heard> all(DayBookFixture& f, const ProbePresenter* probe, int count) {
        f.book->awaitPublished();
        probe->log->waitForCount(count);
        return heard(*probe->log);
    }
};

void DayBookEventsTest::load_publishesOnceWithoutABody() {
    DayBookFixture f;
    ProbePresenter* const probe = listen();
    f.load();
    QVERIFY(!f.book->load(&f.error));
    QCOMPARE(idsOf(all(f, probe, 1)), QList<int>{NeighbourEvent::positionsLoaded});
    QVERIFY(!probe->log->calls().front().body.isValid());
    probe->deleteLater();
}

void DayBookEventsTest::reload_publishesBothReloads() {
    DayBookFixture f;
    f.load();
    f.book->awaitPublished();
    ProbePresenter* const probe = listen();
    QVERIFY(f.book->reload(&f.error));
    QCOMPARE(idsOf(all(f, probe, 2)),
             (QList<int>{NeighbourEvent::positionsReloaded, NeighbourEvent::executionsReloaded}));
    f.failure = "gone";
    QVERIFY(!f.book->reload(&f.error));
    QCOMPARE(f.error, QStringLiteral("gone"));
    QCOMPARE(all(f, probe, 2).size(), 2);
    probe->deleteLater();
}

void DayBookEventsTest::deal_publishesItsRecordAndThePosition_data() {
    QTest::addColumn<QString>("account");
    QTest::addColumn<QString>("symbol");
    QTest::addColumn<int>("event");
    QTest::addRow("cash") << "C1"
                          << "600000.SH" << NeighbourEvent::normalDeal;
    QTest::addRow("margin") << "M1"
                            << "600000.SH" << NeighbourEvent::marginDeal;
    QTest::addRow("future") << "F1"
                            << "IF2601.CFE" << 0;
    QTest::addRow("option") << "O1"
                            << "10000001.SH" << 0;
    QTest::addRow("gold") << "G1"
                          << "AU01.SGE" << 0;
}

void DayBookEventsTest::deal_publishesItsRecordAndThePosition() {
    QFETCH(QString, account);
    QFETCH(QString, symbol);
    QFETCH(int, event);
    DayBookFixture f;
    f.load();
    f.book->awaitPublished();
    ProbePresenter* const probe = listen();
    QVERIFY2(f.deal(account, symbol, OrderSide::buy, 3, 2.0), qPrintable(f.error));
    QList<Heard> events = all(f, probe, event ? 2 : 1);
    if (event) {
        QVERIFY(!events.isEmpty());
        const Heard deal = events.takeFirst();
        QCOMPARE(deal.id, event);
        QCOMPARE(deal.rows, 1);  // the header row alone
        QCOMPARE(deal.record, f.book->executions({}, 0, -1, nullptr).first());
    }
    QCOMPARE(events.size(), 1);
    QCOMPARE(events.first().id, NeighbourEvent::positionChanged);
    QCOMPARE(events.first().rows, 1);
    QCOMPARE(events.first().record, f.position(account, symbol));
    probe->deleteLater();
}

void DayBookEventsTest::deal_ofAccountThatMayNotTrade_publishesNothing() {
    DayBookFixture f;
    f.load();
    f.book->awaitPublished();
    ProbePresenter* const probe = listen();
    QVERIFY(f.deal("V1", "600000.SH", OrderSide::buy, 3, 2.0));
    QVERIFY(f.deal("C1", "600000.SH", OrderSide::buy, 3, 2.0));
    for (const Heard& event : all(f, probe, 2)) {
        QCOMPARE(event.record.value(UserAccount::tradingAccount).toString(), QStringLiteral("C1"));
    }
    QCOMPARE(f.book->executionCount("V1"), 1);
    probe->deleteLater();
}

void DayBookEventsTest::deal_ofFrozenAccount_publishesThePositionOnly() {
    DayBookFixture f;
    f.load();
    f.book->awaitPublished();
    ProbePresenter* const probe = listen();
    QVERIFY(f.deal("Z1", "600000.SH", OrderSide::buy, 3, 2.0));
    QCOMPARE(idsOf(all(f, probe, 1)), QList<int>{NeighbourEvent::positionChanged});
    probe->deleteLater();
}

void DayBookEventsTest::cancelRow_publishesTheDealOnly() {
    DayBookFixture f;
    f.load();
    f.book->awaitPublished();
    ProbePresenter* const probe = listen();
    QVERIFY(f.deal("C1", "600000.SH", OrderSide::buy, 0, 0,
                   {{UserAccount::ExchangeExecType, EntrustType::cancelOrder}}));
    QVERIFY(f.deal("C1", "600000.SH", OrderSide::buy, 3, 2.0));
    QCOMPARE(idsOf(all(f, probe, 3)),
             (QList<int>{NeighbourEvent::normalDeal, NeighbourEvent::normalDeal,
                         NeighbourEvent::positionChanged}));
    probe->deleteLater();
}

void DayBookEventsTest::refusedRecord_publishesNothing() {
    DayBookFixture f;
    f.load();
    f.book->awaitPublished();
    ProbePresenter* const probe = listen();
    QVERIFY(!f.deal("C1", "600000.SH", "3", 3, 2.0));
    QVERIFY(!f.book->setPosition({{UserAccount::tradingAccount, "C1"}}, &f.error));
    QVERIFY(f.deal("O1", "10000001.SH", OrderSide::buy, 3, 2.0));
    QCOMPARE(all(f, probe, 1).size(), 1);
    probe->deleteLater();
}

void DayBookEventsTest::setPosition_publishesTheNewRow() {
    DayBookFixture f;
    f.load();
    f.book->awaitPublished();
    ProbePresenter* const probe = listen();
    QVERIFY(f.book->setPosition({{UserAccount::tradingAccount, "F1"},
                                 {Security::symbol, "IF2601.CFE"},
                                 {Security::nominalQty, -2},
                                 {Security::omsAverageCost, 4000.0}},
                                &f.error));
    const auto events = all(f, probe, 1);
    QCOMPARE(idsOf(events), QList<int>{NeighbourEvent::positionChanged});
    QCOMPARE(events.first().record, f.position("F1", "IF2601.CFE"));
    QCOMPARE(events.first().record.value(Security::nominalQty).toDouble(), -2.0);
    probe->deleteLater();
}

void DayBookEventsTest::subscriber_thatAsksBackAtOnce_seesWhatWasAnnounced() {
    DayBookFixture f;
    LocalPlatform::instance().setNeighbourData(
        std::shared_ptr<NeighbourData>(f.book.get(), [](NeighbourData*) {}));
    f.load();
    f.book->awaitPublished();
    std::atomic<int> late{0};
    std::atomic<int> missing{0};
    ProbePresenter* const probe = listen([&](const ProbeLog::Call& call) {
        CUnPackMessageCommon unpacker;
        unpacker.SetUnPackMsg(call.body, false);
        const QVariantMap record = unpacker.GetRowValue();
        if (call.type.toInt() == NeighbourEvent::normalDeal) {
            const QVariantMap filter{{Security::execID, record.value(Security::execID)}};
            missing += f.book->executions(filter, 0, -1, nullptr).size() == 1 ? 0 : 1;
        } else if (call.type.toInt() == NeighbourEvent::positionChanged) {
            late += f.quantity("C1", "000001.SZ") < record.value(Security::nominalQty).toDouble()
                        ? 1
                        : 0;
        }
    });
    constexpr int kDeals = 300;
    for (int i = 0; i < kDeals; ++i) {
        QVERIFY(f.deal("C1", "000001.SZ", OrderSide::buy, 100, 1.0));
    }
    QCOMPARE(all(f, probe, 2 * kDeals).size(), 2 * kDeals);
    QCOMPARE(late.load(), 0);
    QCOMPARE(missing.load(), 0);
    LocalPlatform::instance().setNeighbourData(nullptr);
    probe->deleteLater();
}

void DayBookEventsTest::events_ofTwoThreads_followTheOrderOfStoring() {
    DayBookFixture f;
    f.load();
    f.book->awaitPublished();
    ProbePresenter* const probe = listen();
    constexpr int kDeals = 500;
    const auto buy = [&f] {
        for (int i = 0; i < kDeals; ++i) {
            QString error;
            f.book->putDeal(dealRecord("C2", "000001.SZ", OrderSide::buy, 100, 1.0), &error);
        }
    };
    std::thread first(buy);
    std::thread second(buy);
    first.join();
    second.join();
    const auto events = all(f, probe, 4 * kDeals);
    QCOMPARE(events.size(), 4 * kDeals);
    const auto stored = f.book->executions({}, 0, -1, nullptr);
    for (int i = 0; i < 2 * kDeals; ++i) {
        QCOMPARE(events.at(2 * i).record.value(Security::execID),
                 stored.at(i).value(Security::execID));
        QCOMPARE(events.at(2 * i + 1).record.value(Security::nominalQty).toDouble(), i + 1.0);
    }
    probe->deleteLater();
}

void DayBookEventsTest::close_publishesWhatIsStoredBefore() {
    DayBookFixture f;
    ProbePresenter* const probe = listen();
    f.load();
    for (int i = 0; i < 200; ++i) {
        QVERIFY(f.deal("O1", "10000001.SH", OrderSide::buy, 1, 1.0));
    }
    f.book->close();
    QVERIFY(probe->log->waitForCount(201));
    probe->deleteLater();
}

QTEST_GUILESS_MAIN(DayBookEventsTest)
#include "day_book_events_test.moc"
