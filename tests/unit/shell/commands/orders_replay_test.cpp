#include "orders_replay.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>
#include <limits>

#include "facade_recorder.h"
#include "order_cross_check.h"
#include "test_paths.h"

namespace {

constexpr int kWide = std::numeric_limits<int>::max();

QString successorsOf(const QString& status) {
    return QMap<QString, QString>{{"0", "1|2"}, {"1", "1|2"}}.value(status);
}

/// Decides as the cross-check does, unless a test wants the opposite.
class Answers final : public FacadeRecorder {
public:
    bool isOpposite = false;

protected:
    void reply(const QString&, const QStringList& arguments, QJsonObject* answer) override {
        const auto record = [&arguments](int index) {
            return QJsonDocument::fromJson(arguments.at(index).toUtf8()).object().toVariantMap();
        };
        const QVariantMap stored = record(0);
        const auto verdict = OrderCrossCheck::judge(
            stored, record(1), successorsOf(stored.value("orderStatus").toString()));
        answer->insert("result", OrderCrossCheck::isStored(verdict) != isOpposite);
    }
};

RecordFile updates(const QByteArray& csvRows) {
    return parseRecords("orderID,orderStatus,cumQty,cancelledQty\n" + csvRows);
}

QJsonObject update(const CommandAnswer& answer, int index) {
    return answer.json.toObject().value("updates").toArray().at(index).toObject();
}

}  // namespace

class OrdersReplayTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QString error;
        QVERIFY2(m_library.load(facadeLibraryFile(), &error), qPrintable(error));
    }

    void updates_inTheirOrder_leaveTheStoredRecord() {
        Answers answers;
        const CommandAnswer answer = replay(answers,
                                            "A,0,0,0\n"
                                            "B,2,5,0\n"
                                            "A,1,100,0\n"
                                            "A,1,100,0\n"
                                            "A,1,50,0\n"
                                            "A,0,200,0\n"
                                            "A,2,200,0\n");
        QVERIFY(!answer.isFault);
        const QList<QPair<bool, QString>> expected{
            {true, "first report of the order"},
            {true, "first report of the order"},
            {true, "status '0' to '1' is listed"},
            {false, "same status '1', nothing more dealt or cancelled"},
            {false, "a quantity shrinks: 50 dealt, 0 cancelled, stored are 100 dealt, 0 cancelled"},
            {false, "status '1' to '0' is not listed"},
            {true, "status '1' to '2' is listed"}};
        const QStringList stored{"0", "5", "100", "100", "100", "100", "200"};
        for (int i = 0; i < expected.size(); ++i) {
            QCOMPARE(update(answer, i).value("line").toInt(), i + 2);
            QCOMPARE(update(answer, i).value("isStored").toBool(), expected.at(i).first);
            QCOMPARE(update(answer, i).value("reason").toString(), expected.at(i).second);
            QCOMPARE(update(answer, i).value("stored").toObject().value("cumQty").toString(),
                     stored.at(i));
        }
        // A first report is stored without asking.
        QVERIFY(update(answer, 0).value("answer").isNull());
        QCOMPARE(answers.calls.size(), 5);
        QVERIFY(answer.lines.contains("7 updates of 2 orders, 4 stored"));
        QVERIFY2(answer.lines.at(4).contains("replaced"), qPrintable(answer.lines.at(4)));
        QVERIFY2(answer.lines.at(5).contains("refused"), qPrintable(answer.lines.at(5)));
    }

    void updateWithoutOrderId_isNotStored() {
        Answers answers;
        const CommandAnswer answer = replay(answers, ",0,0,0\n,0,0,0\n");
        QVERIFY(answers.calls.isEmpty());
        QCOMPARE(update(answer, 1).value("reason").toString(), QString("no order id"));
        QVERIFY(!update(answer, 1).value("isStored").toBool());
    }

    void answerThatTheReasonDoubts_countsAndIsCalledUnclear() {
        Answers answers;
        answers.isOpposite = true;
        const CommandAnswer answer = replay(answers, "A,1,100,0\nA,1,50,0\n");
        QVERIFY(update(answer, 1).value("reason").toString().startsWith("unclear: "));
        QCOMPARE(update(answer, 1).value("stored").toObject().value("cumQty").toString(),
                 QString("50"));
    }

    void badLine_isNamedAndTheRestGoesOn() {
        Answers answers;
        const CommandAnswer answer = replay(answers, "A,0,0,0\nA,\"1\nA,1,100,0\n");
        QVERIFY(answer.isFault);
        QVERIFY(answer.lines.contains("line 3, column 3: a quote without its closing one"));
        QCOMPARE(answer.json.toObject().value("updates").toArray().size(), 2);
        QCOMPARE(answer.json.toObject().value("faults").toArray().size(), 1);
    }

    void fileWithoutRecords_isAFault() {
        Answers answers;
        const CommandAnswer answer = replay(answers, "");
        QVERIFY(answer.isFault);
        QCOMPARE(answer.lines.last(), QString("no records"));
    }

    void oneOrder_isCountedInTheSingular() {
        Answers answers;
        QVERIFY(replay(answers, "A,0,0,0\n").lines.contains("1 update of 1 order, 1 stored"));
    }

    void interrupt_isReported() {
        Answers answers;
        answers.interruptAfter = 1;
        QVERIFY(replay(answers, "A,0,0,0\nA,1,1,0\nA,1,2,0\n").interrupted);
        QCOMPARE(answers.calls.size(), 1);
    }

private:
    CommandAnswer replay(Answers& answers, const QByteArray& rows) {
        OrdersReplay orders(m_library, answers.function(), &successorsOf);
        return orders.replay(updates(rows), kWide);
    }

    FacadeLibrary m_library;
};

QTEST_GUILESS_MAIN(OrdersReplayTest)
#include "orders_replay_test.moc"
