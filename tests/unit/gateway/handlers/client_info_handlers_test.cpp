#include <QtTest>

#include "log_capture.h"
#include "market_server.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

inline const QString kItems = Velmar_MsgType::ClientInfoUploadRequest;
inline const QString kMeasurements = Velmar_MsgType::ClientInfoUploadAPMRequest;
inline const QString kSharedEnvelope = QStringLiteral("325005");

}  // namespace

/// The client's reports about itself to the sample market's server.
class ClientInfoHandlersTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QString error;
        QVERIFY2(m_server.make(&error), qPrintable(error));
    }

    void report_rows_areTakenAndCountedInTheLog_data() {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("envelope");
        QTest::addColumn<QString>("user");
        QTest::addColumn<int>("rows");
        QTest::newRow("items") << kItems << kItems << "tester" << 3;
        QTest::newRow("no item") << kItems << kItems << "tester" << 0;
        QTest::newRow("nobody logged in") << kItems << kItems << "" << 1;
        QTest::newRow("measurements") << kMeasurements << kMeasurements << "tester" << 5000;
        QTest::newRow("info gate") << kMeasurements << kSharedEnvelope << "tester" << 2;
    }
    void report_rows_areTakenAndCountedInTheLog() {
        QFETCH(QString, type);
        QFETCH(QString, envelope);
        QFETCH(QString, user);
        QFETCH(int, rows);
        const LogCapture log;
        const QVariantMap header = send(type, envelope, user, rows);
        QCOMPARE(header.value(System::requestExeStatus).toString(),
                 QString(RequestExeStatus::success));
        QCOMPARE(rowsOf(m_server.answer).size(), 0);
        QVERIFY(log.contains(
            QtDebugMsg,
            QStringLiteral("client information of \"%1\" with %2 rows").arg(user).arg(rows)));
    }

    void measurements_moreThanAMessageHolds_areRefused() {
        const QVariantMap header = send(kMeasurements, kMeasurements, "tester", 5001);
        QVERIFY(header.value(System::requestExeStatus).toString() != RequestExeStatus::success);
        QCOMPARE(header.value(System::textDescription).toString(),
                 QString("一次最多上报5000条性能数据，实有5001条"));
    }

private:
    QVariantMap send(const QString& type, const QString& envelope, const QString& user, int rows) {
        QList<QVariantMap> items;
        for (int i = 0; i < rows; ++i) {
            items.append({{System::itemValue, i}});
        }
        m_server.answer = m_server.engine->handle(
            m_server.session, envelope,
            packRows({{System::msgType, type}, {UserAccount::userID, user}}, items));
        return headerOf(m_server.answer);
    }

    MarketServer m_server;
};

QTEST_GUILESS_MAIN(ClientInfoHandlersTest)
#include "client_info_handlers_test.moc"
