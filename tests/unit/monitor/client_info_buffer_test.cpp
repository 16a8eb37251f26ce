#include <QRegularExpression>
#include <QTimer>
#include <QtTest>

#include "client_info_buffer.h"
#include "log_capture.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "wait_for.h"

namespace {

constexpr int kNever = 3600000;  // a window that no test waits for
constexpr int kSoon = 10;

/// Records what it is handed over.
class RecordingOutlet final : public ClientInfoOutlet {
public:
    bool isClientInfoTaken() const override {
        ++questions;
        return isTaken;
    }
    void clientInfoCollected() override { ++collected; }
    void uploadClientInfo(const QList<QVariantMap>& items) override {
        waitingAtUpload = collected - records.size();
        QStringList values;
        for (const QVariantMap& item : items) {
            values.append(item.value(System::itemValue).toString());
        }
        batches.append(values);
        records.append(items);
    }

    bool isTaken = true;
    mutable int questions = 0;
    int collected = 0;
    int waitingAtUpload = 0;     ///< collected and not yet handed over, when the last batch came
    QList<QStringList> batches;  ///< the items' values
    QList<QVariantMap> records;  ///< all items
};

struct Fixture {
    explicit Fixture(int window, int most = ClientInfoBuffer::mostKept)
        : buffer(&owner, outlet, window, most) {}

    void collect(const QString& value, const QVariantMap& further = {}) {
        QVariantMap item = further;
        item.insert(System::itemValue, value);
        buffer.slotClientInfoCollect(item);
    }

    RecordingOutlet outlet;
    QObject owner;
    ClientInfoBuffer buffer;
};

/// Whether a text is a time of day between two moments, of which the later one may be after
/// midnight.
bool isTimeBetween(const QString& text, const QTime& from, const QTime& to) {
    static const QRegularExpression form(R"(^\d\d:\d\d:\d\d\.\d\d\d$)");
    const QTime time = QTime::fromString(text, "hh:mm:ss.zzz");
    const bool isInside = from <= to ? from <= time && time <= to : from <= time || time <= to;
    return form.match(text).hasMatch() && isInside;
}

}  // namespace

class ClientInfoBufferTest : public QObject {
    Q_OBJECT

private slots:
    void item_builtFromArguments_hasEveryField() {
        const QVariantMap expected{{System::itemType, ClinetInfoUpload::NetStatusInfo},
                                   {System::itemValue, "gate"},
                                   {System::itemValueEx, "more"},
                                   {System::operType, 1},
                                   {System::timeStamp, "09:30:01.250"},
                                   {Strategy::logTriggerTime, 7}};
        QCOMPARE(clientInfoItem(ClinetInfoUpload::NetStatusInfo, "gate", "more", 1,
                                QTime(9, 30, 1, 250), 7),
                 expected);
    }

    void item_builtWithoutATime_hasTheTimeOfDay() {
        const QTime before = QTime::currentTime();
        const QVariantMap item = clientInfoItem("a", "b", "c", {}, QTime(), 0);
        QVERIFY(
            isTimeBetween(item.value(System::timeStamp).toString(), before, QTime::currentTime()));
    }

    void collect_itemWithoutATime_getsTheTimeOfDay() {
        Fixture fixture(kNever);
        const QTime before = QTime::currentTime();
        fixture.collect("a");
        fixture.buffer.UploadAllClientInfo();
        QCOMPARE(fixture.outlet.records.size(), 1);
        QVERIFY(isTimeBetween(fixture.outlet.records.first().value(System::timeStamp).toString(),
                              before, QTime::currentTime()));
    }

    void collect_itemWithATime_isRewritten_data() {
        QTest::addColumn<QVariant>("time");
        QTest::addColumn<QString>("text");
        QTest::newRow("in the form") << QVariant("09:30:01.250") << "09:30:01.250";
        QTest::newRow("without milliseconds") << QVariant("09:30:01") << "09:30:01.000";
        QTest::newRow("a time") << QVariant(QTime(9, 30, 1, 5)) << "09:30:01.005";
        QTest::newRow("date and time")
            << QVariant(QDateTime(QDate(2026, 1, 5), QTime(9, 30, 1, 5))) << "09:30:01.005";
        QTest::newRow("no time") << QVariant("nonsense") << "";
        QTest::newRow("out of range") << QVariant("25:00:00.000") << "";
        QTest::newRow("empty") << QVariant("") << "";
    }
    void collect_itemWithATime_isRewritten() {
        QFETCH(QVariant, time);
        QFETCH(QString, text);
        Fixture fixture(kNever);
        fixture.collect("a", {{System::timeStamp, time}});
        fixture.buffer.UploadAllClientInfo();
        QCOMPARE(fixture.outlet.records.size(), 1);
        const QVariantMap sent = fixture.outlet.records.first();
        QVERIFY(sent.contains(System::timeStamp));
        QCOMPARE(sent.value(System::timeStamp).toString(), text);
    }

    void collect_itemWithoutAType_travelsUnchanged() {
        Fixture fixture(kNever);
        const QVariantMap item{{"any", 5}, {System::timeStamp, "10:00:00.000"}};
        fixture.buffer.slotClientInfoCollect(item);
        fixture.buffer.UploadAllClientInfo();
        QCOMPARE(fixture.outlet.records, QList<QVariantMap>{item});
    }

    void collect_firstItem_namesTheOwnerAndStartsTheWindow() {
        Fixture fixture(kNever);
        fixture.owner.setObjectName("before");
        QVERIFY(!fixture.owner.findChild<QTimer*>());
        fixture.collect("a");
        QCOMPARE(fixture.owner.objectName(), QString("clientInfoUploadBuffer"));
        const auto* const timer = fixture.owner.findChild<QTimer*>();
        QVERIFY(timer);
        QVERIFY(timer->isActive());
        QCOMPARE(timer->interval(), kNever);
        QVERIFY(fixture.outlet.batches.isEmpty());
    }

    void standingWindow_isFifteenSeconds() {
        QCOMPARE(ClientInfoBuffer::windowMs, 15000);
        RecordingOutlet outlet;
        QObject owner;
        ClientInfoBuffer buffer(&owner, outlet);
        buffer.slotClientInfoCollect({});
        const auto* const timer = owner.findChild<QTimer*>();
        QVERIFY(timer);
        QCOMPARE(timer->interval(), 15000);
    }

    void window_items_goTogetherInOrder() {
        Fixture fixture(kSoon);
        fixture.collect("a");
        fixture.collect("b");
        fixture.collect("c");
        QVERIFY(fixture.outlet.batches.isEmpty());
        QVERIFY(waitFor([&] { return !fixture.outlet.batches.isEmpty(); }));
        QCOMPARE(fixture.outlet.batches, (QList<QStringList>{{"a", "b", "c"}}));
        fixture.collect("d");
        QVERIFY(waitFor([&] { return fixture.outlet.batches.size() == 2; }));
        QCOMPARE(fixture.outlet.batches.last(), QStringList{"d"});
    }

    void urgentItem_earlierOnesWaiting_goesAloneAtOnce_data() {
        QTest::addColumn<QVariant>("trigger");
        QTest::addColumn<bool>("isUrgent");
        QTest::newRow("1") << QVariant(1) << true;
        QTest::newRow("text 1") << QVariant("1") << true;
        QTest::newRow("negative") << QVariant(-1) << true;
        QTest::newRow("0") << QVariant(0) << false;
        QTest::newRow("text 0") << QVariant("0") << false;
        QTest::newRow("no number") << QVariant("soon") << false;
    }
    void urgentItem_earlierOnesWaiting_goesAloneAtOnce() {
        QFETCH(QVariant, trigger);
        QFETCH(bool, isUrgent);
        Fixture fixture(kNever);
        fixture.collect("early");
        fixture.collect("now", {{Strategy::logTriggerTime, trigger}});
        QCOMPARE(fixture.outlet.batches,
                 isUrgent ? QList<QStringList>{{"now"}} : QList<QStringList>{});
        fixture.collect("late");
        fixture.buffer.UploadAllClientInfo();
        QCOMPARE(fixture.outlet.batches.last(),
                 isUrgent ? (QStringList{"early", "late"}) : (QStringList{"early", "now", "late"}));
    }

    void uploadAll_beforeAnyItem_doesNothing() {
        Fixture fixture(kNever);
        fixture.buffer.UploadAllClientInfo();
        fixture.buffer.slotClientInfoTimeOut();
        QVERIFY(fixture.outlet.batches.isEmpty());
        QVERIFY(fixture.owner.children().isEmpty());
    }

    void uploadAll_itemsWaiting_sendsThemAndTheNextItemStartsAWindow() {
        Fixture fixture(kSoon);
        fixture.collect("a");
        fixture.buffer.UploadAllClientInfo();
        QCOMPARE(fixture.outlet.batches, (QList<QStringList>{{"a"}}));
        fixture.collect("b");
        QVERIFY(waitFor([&] { return fixture.outlet.batches.size() > 1; }));
        QCOMPARE(fixture.outlet.batches, (QList<QStringList>{{"a"}, {"b"}}));
    }

    void uploadAll_nothingWaiting_handsAnEmptyListOver() {
        Fixture fixture(kNever);
        fixture.collect("a");
        fixture.buffer.UploadAllClientInfo();
        fixture.buffer.UploadAllClientInfo();
        QCOMPARE(fixture.outlet.batches, (QList<QStringList>{{"a"}, {}}));
    }

    void window_nobodyTakesItems_keepsThemAndStartsAnew() {
        Fixture fixture(kSoon);
        fixture.outlet.isTaken = false;
        fixture.collect("a");
        fixture.collect("b");
        // Several windows end.
        QVERIFY(waitFor([&] { return fixture.outlet.questions >= 3; }));
        fixture.collect("c");
        QVERIFY(fixture.outlet.batches.isEmpty());
        fixture.outlet.isTaken = true;
        QVERIFY(waitFor([&] { return !fixture.outlet.batches.isEmpty(); }));
        QCOMPARE(fixture.outlet.batches, (QList<QStringList>{{"a", "b", "c"}}));
    }

    void urgentItem_nobodyTakesItems_waitsLikeAnyOther() {
        Fixture fixture(kNever);
        fixture.outlet.isTaken = false;
        fixture.collect("a");
        fixture.collect("now", {{Strategy::logTriggerTime, 1}});
        fixture.buffer.UploadAllClientInfo();
        QVERIFY(fixture.outlet.batches.isEmpty());
        fixture.outlet.isTaken = true;
        fixture.buffer.UploadAllClientInfo();
        QCOMPARE(fixture.outlet.batches, (QList<QStringList>{{"a", "now"}}));
    }

    void items_handedOver_wereCountedBefore() {
        Fixture fixture(kNever);
        fixture.collect("a");
        QCOMPARE(fixture.outlet.collected, 1);
        fixture.collect("now", {{Strategy::logTriggerTime, 1}});
        QCOMPARE(fixture.outlet.waitingAtUpload, 2);
        fixture.buffer.UploadAllClientInfo();
        QCOMPARE(fixture.outlet.waitingAtUpload, 1);
        QCOMPARE(fixture.outlet.collected, 2);
    }

    void fullBuffer_nobodyTakesItems_keepsTheOldOnesAndWarnsOnce() {
        constexpr int kMost = 3;
        Fixture fixture(kNever, kMost);
        fixture.outlet.isTaken = false;
        for (const char* value : {"a", "b", "c"}) {
            fixture.collect(value);
        }
        const LogCapture log;
        fixture.collect("d");
        fixture.collect("now", {{Strategy::logTriggerTime, 1}});
        fixture.buffer.UploadAllClientInfo();
        fixture.collect("e");
        QCOMPARE(log.texts(QtWarningMsg),
                 QStringList{"client information: further items are dropped, since 3 of them wait "
                             "and no presenter takes them"});
        QCOMPARE(fixture.outlet.collected, kMost);
        fixture.outlet.isTaken = true;
        fixture.buffer.UploadAllClientInfo();
        QCOMPARE(fixture.outlet.batches, (QList<QStringList>{{"a", "b", "c"}}));
    }

    void fullBuffer_handedOver_takesItemsAndWarnsAgain() {
        Fixture fixture(kNever, 1);
        fixture.outlet.isTaken = false;
        fixture.collect("a");
        fixture.collect("dropped");
        fixture.outlet.isTaken = true;
        fixture.buffer.UploadAllClientInfo();
        fixture.outlet.isTaken = false;
        fixture.collect("b");
        const LogCapture log;
        fixture.collect("dropped");
        QCOMPARE(log.texts(QtWarningMsg).size(), 1);
        fixture.outlet.isTaken = true;
        fixture.buffer.UploadAllClientInfo();
        QCOMPARE(fixture.outlet.batches, (QList<QStringList>{{"a"}, {"b"}}));
    }

    void fullBuffer_somebodyTakesItems_takesMoreUntilTheWindowEnds() {
        Fixture fixture(kNever, 1);
        const LogCapture log;
        fixture.collect("a");
        fixture.collect("b");
        fixture.collect("now", {{Strategy::logTriggerTime, 1}});
        fixture.buffer.UploadAllClientInfo();
        QCOMPARE(fixture.outlet.batches, (QList<QStringList>{{"now"}, {"a", "b"}}));
        QCOMPARE(log.texts(QtWarningMsg), QStringList());
    }

    void standingLimit_isAHundredThousandItems() {
        QCOMPARE(ClientInfoBuffer::mostKept, 100000);
        RecordingOutlet outlet;
        outlet.isTaken = false;
        QObject owner;
        ClientInfoBuffer buffer(&owner, outlet, kNever);
        const QVariantMap item{{System::timeStamp, "10:00:00.000"}};
        for (int i = 0; i <= ClientInfoBuffer::mostKept; ++i) {
            buffer.slotClientInfoCollect(item);
        }
        QCOMPARE(outlet.collected, ClientInfoBuffer::mostKept);
    }
};

QTEST_GUILESS_MAIN(ClientInfoBufferTest)
#include "client_info_buffer_test.moc"
