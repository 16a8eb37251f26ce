#include <QTemporaryDir>
#include <QtTest>

#include "client.h"
#include "commonquotahandler/common_quota_handler.h"
#include "log_capture.h"
#include "small_market.h"
#include "test_paths.h"
#include "znbusinessdata/c_business_data_base.h"

namespace {

inline const QString kChosen = QStringLiteral("600000.SH");
inline const QString kSubscribed = QStringLiteral("600001.SH");
constexpr int kLimitMs = 30000;

}  // namespace

class ClientTicksTest : public QObject {
    Q_OBJECT

private slots:
    void chosenAndSubscribedSymbols_tickWhileTheClientIsUp() {
        const QTemporaryDir home;
        Client::Options options;
        options.homeDir = home.path();
        options.pluginsDir = QStringLiteral(VELMAR_BINARY_DIR "/plugins");
        options.user = SampleLogin::user;
        options.market = smallMarket();
        options.tickSymbols = QStringList{kChosen};
        options.ticksPerSecond = 100;
        QMap<QString, QVariantMap> ticks;
        CommonQuotaHandler& handler = CommonQuotaHandler::instance();
        const auto noteTick = [&ticks](const QString& symbol, const QVariantMap& tick) {
            ticks.insert(symbol, tick);
        };
        connect(&handler, &CommonQuotaHandler::sigTickDataUpdate, this, noteTick);
        const LogCapture log;
        Client client(options, Client::Listener());
        QString error;
        QVERIFY2(client.start(&error), qPrintable(error));
        QTRY_VERIFY_WITH_TIMEOUT(ticks.contains(kChosen), kLimitMs);
        QVERIFY(!ticks.contains(kSubscribed));
        QCOMPARE(ticks.value(kChosen).value("Symbol").toString(), kChosen);
        // The figures come from the security's record, not from the standard ones.
        const QVariantMap record =
            CBusinessDataBase::GetInstance()->GetSecurityDetailsBySymbol(kChosen);
        QVERIFY(record.value("PreClosePx").toDouble() > 0);
        QCOMPARE(ticks.value(kChosen).value("PreClosePx"), record.value("PreClosePx"));
        handler.subscribe({QStringLiteral("NOPE.SH"), kSubscribed}, 1, 0);
        QTRY_VERIFY_WITH_TIMEOUT(ticks.contains(kSubscribed), kLimitMs);
        QVERIFY(!ticks.contains(QStringLiteral("NOPE.SH")));
        QVERIFY(log.contains(QtWarningMsg, QStringLiteral("no ticks for \"NOPE.SH\"")));
        client.stop();
    }
};

QTEST_GUILESS_MAIN(ClientTicksTest)
#include "client_ticks_test.moc"
