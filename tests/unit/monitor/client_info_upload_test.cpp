#include <QDateTime>
#include <QtTest>
#include <atomic>
#include <memory>

#include "client_info_upload.h"
#include "client_world.h"
#include "local_platform.h"
#include "log_capture.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "zncore/zn_core.h"

namespace {

constexpr int kWaitMs = 30000;
constexpr qint64 kHourMs = 3600000;
inline const QString kNumber = QStringLiteral("number");

/// Measurements that contain their numbers, from 0.
QVariantList measurements(int count) {
    QVariantList list;
    for (int i = 0; i < count; ++i) {
        list.append(QVariantMap{{kNumber, i}});
    }
    return list;
}

}  // namespace

class ClientInfoUploadTest : public QObject {
    Q_OBJECT

    std::unique_ptr<ClientWorld> m_world;
    RecordingPresenter* m_presenter = nullptr;

    QList<ScriptedLink::Request> sent(const QString& type, int count) const {
        m_world->link().waitForRequestCount(type, count, kWaitMs);
        return m_world->link().requests(type);
    }

private slots:
    void init() {
        m_world = std::make_unique<ClientWorld>();
        m_world->login();
        m_world->link().on(Velmar_MsgType::ClientInfoUploadRequest, ScriptedReply::rows({}));
        m_world->link().on(Velmar_MsgType::ClientInfoUploadAPMRequest, ScriptedReply::rows({}));
        m_presenter = new RecordingPresenter;
        m_presenter->initPresenter();
    }
    void cleanup() {
        m_presenter->deleteLater();
        LocalPlatform::instance().setClock(nullptr);
        m_world.reset();
    }

    void items_any_goInOneMessage() {
        const QList<QVariantMap> items{
            {{System::itemType, "t1"}, {System::itemValue, "a"}, {System::operType, 1}},
            {{System::itemType, "t2"}, {System::itemValueEx, QStringList{"x", "y"}}},
            {{"any", true}}};
        QVERIFY(uploadClientInfo(m_presenter, items));
        const auto requests = sent(Velmar_MsgType::ClientInfoUploadRequest, 1);
        QCOMPARE(requests.size(), 1);
        const ScriptedLink::Request& request = requests.first();
        const QVariantMap header{{System::msgType, Velmar_MsgType::ClientInfoUploadRequest},
                                 {UserAccount::userID, "tester"},
                                 {System::subGroupNumber, 3}};
        QCOMPARE(request.header, header);
        QCOMPARE(request.rows, items);
        QCOMPARE(request.envelopeType, Velmar_MsgType::ClientInfoUploadRequest);
        QCOMPARE(request.sourceId, m_presenter->pluginPid());
    }

    void items_none_goAsAMessageWithoutRows() {
        QVERIFY(uploadClientInfo(m_presenter, {}));
        const auto requests = sent(Velmar_MsgType::ClientInfoUploadRequest, 1);
        QCOMPARE(requests.size(), 1);
        QCOMPARE(requests.first().header.value(System::subGroupNumber), QVariant(0));
        QVERIFY(requests.first().rows.isEmpty());
    }

    void items_withoutAPresenter_areDroppedWithAWarning() {
        const LogCapture log;
        QVERIFY(!uploadClientInfo(nullptr, {{{"a", 1}}}));
        uploadClientInfoApm(nullptr, NetGateType::TradeGate, measurements(1));
        QCOMPARE(log.texts(QtWarningMsg).size(), 2);
        QCOMPARE(m_world->link().requestCount(Velmar_MsgType::ClientInfoUploadRequest), 0);
        QCOMPARE(m_world->link().requestCount(Velmar_MsgType::ClientInfoUploadAPMRequest), 0);
    }

    void apm_list_isSplitInOrder_data() {
        QTest::addColumn<int>("count");
        QTest::addColumn<QList<int>>("sizes");
        QTest::newRow("0") << 0 << QList<int>{0};
        QTest::newRow("1") << 1 << QList<int>{1};
        QTest::newRow("5000") << 5000 << QList<int>{5000};
        QTest::newRow("5001") << 5001 << QList<int>{5000, 1};
        QTest::newRow("10000") << 10000 << QList<int>{5000, 5000};
        QTest::newRow("10001") << 10001 << QList<int>{5000, 5000, 1};
    }
    void apm_list_isSplitInOrder() {
        QFETCH(int, count);
        QFETCH(QList<int>, sizes);
        const LogCapture log;
        uploadClientInfoApm(m_presenter, NetGateType::TradeGate, measurements(count));
        const auto requests = sent(Velmar_MsgType::ClientInfoUploadAPMRequest, sizes.size());
        QCOMPARE(requests.size(), sizes.size());
        int next = 0;
        for (int i = 0; i < sizes.size(); ++i) {
            QCOMPARE(requests.at(i).rows.size(), sizes.at(i));
            QCOMPARE(requests.at(i).header.value(System::subGroupNumber), QVariant(sizes.at(i)));
            for (const QVariantMap& row : requests.at(i).rows) {
                QCOMPARE(row.value(kNumber).toInt(), next++);
            }
        }
        QCOMPARE(next, count);
        const QString line =
            QStringLiteral(
                "VelmarBusinessDataManagerPresenterClass::slotClientInfoCollectAPM "
                "APM Report Split: %1 %2")
                .arg(count)
                .arg(sizes.size());
        QCOMPARE(log.count(QtDebugMsg, line), sizes.size() > 1 ? 1 : 0);
    }

    void apm_message_hasItsHeaderAndEnvelope_data() {
        QTest::addColumn<QString>("gate");
        QTest::addColumn<QString>("envelope");
        const QString own = Velmar_MsgType::ClientInfoUploadAPMRequest;
        QTest::newRow("trade") << NetGateType::TradeGate << own;
        QTest::newRow("info") << NetGateType::InfoGate << "325005";
        QTest::newRow("market") << NetGateType::MarketTcpGate << own;
        QTest::newRow("unknown") << "elsewhere" << own;
        QTest::newRow("empty") << "" << own;
    }
    void apm_message_hasItsHeaderAndEnvelope() {
        QFETCH(QString, gate);
        QFETCH(QString, envelope);
        uploadClientInfoApm(m_presenter, gate, measurements(2));
        const auto requests = sent(Velmar_MsgType::ClientInfoUploadAPMRequest, 1);
        QCOMPARE(requests.size(), 1);
        const ScriptedLink::Request& request = requests.first();
        const QString address = ZnCore::instance()->getCurrentConnectIP();
        QVERIFY(!address.isEmpty());
        const QVariantMap header{{System::msgType, Velmar_MsgType::ClientInfoUploadAPMRequest},
                                 {UserAccount::userID, "tester"},
                                 {System::ip, address},
                                 {System::subGroupNumber, 2}};
        QCOMPARE(request.header, header);
        QCOMPARE(request.envelopeType, envelope);
        QCOMPARE(request.sourceId, m_presenter->pluginPid());
    }

    void apm_timeDifference_isReadOnceAMessage() {
        // Each reading is an hour later than the one before.
        const auto readings = std::make_shared<std::atomic<int>>(0);
        LocalPlatform::instance().setClock(
            [readings] { return QDateTime::currentDateTime().addMSecs(++*readings * kHourMs); });
        uploadClientInfoApm(m_presenter, NetGateType::TradeGate, measurements(5001));
        const auto requests = sent(Velmar_MsgType::ClientInfoUploadAPMRequest, 2);
        QCOMPARE(requests.size(), 2);
        const qint64 first = requests.at(0).rows.first().value(System::clientTimeDiff).toLongLong();
        for (const QVariantMap& row : requests.at(0).rows) {
            QCOMPARE(row.value(System::clientTimeDiff).toLongLong(), first);
        }
        const qint64 second =
            requests.at(1).rows.first().value(System::clientTimeDiff).toLongLong();
        const qint64 apart = second - first;
        QVERIFY2(apart > kHourMs / 2 && apart < kHourMs * 3 / 2,
                 qPrintable(QString::number(apart)));
    }

    void apm_elementThatIsNoRecord_isARowWithTheTimeDifferenceAlone() {
        uploadClientInfoApm(m_presenter, NetGateType::TradeGate,
                            {5, QVariantMap{{System::clientTimeDiff, "own"}, {"a", 1}}});
        const auto requests = sent(Velmar_MsgType::ClientInfoUploadAPMRequest, 1);
        QCOMPARE(requests.size(), 1);
        const QList<QVariantMap> rows = requests.first().rows;
        QCOMPARE(rows.size(), 2);
        QCOMPARE(rows.at(0).keys(), QStringList{System::clientTimeDiff});
        QCOMPARE(rows.at(1).value("a").toInt(), 1);
        QVERIFY(rows.at(1).value(System::clientTimeDiff) != QVariant("own"));
    }
};

QTEST_GUILESS_MAIN(ClientInfoUploadTest)
#include "client_info_upload_test.moc"
