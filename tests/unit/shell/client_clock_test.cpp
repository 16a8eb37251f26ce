#include <QTemporaryDir>
#include <QtTest>

#include "client_stage.h"
#include "small_market.h"
#include "test_paths.h"
#include "znbusinessdata/c_business_data_base.h"

namespace {

constexpr int kLimitMs = 60000;

QDateTime serverTime() {
    return CBusinessDataBase::GetInstance()->getCurrentBusinessDateTime();
}

}  // namespace

class ClientClockTest : public QObject {
    Q_OBJECT

private slots:
    void stageClock_isTheClientsBeforeAndAfterTheStart();
};

void ClientClockTest::stageClock_isTheClientsBeforeAndAfterTheStart() {
    const QTemporaryDir home;
    Client::Options options;
    options.homeDir = home.path();
    options.pluginsDir = QStringLiteral(VELMAR_BINARY_DIR "/plugins");
    options.user = SampleLogin::user;
    options.market = smallMarket();
    ClientStage stage(options, std::make_shared<ScenarioTape>());
    const QDateTime opening(QDate(2026, 1, 5), QTime(9, 30));
    stage.setClock(opening);
    QCOMPARE(serverTime(), opening);

    QString error;
    QVERIFY2(stage.begin({}, &error), qPrintable(error));
    QCOMPARE(serverTime(), opening);
    QVERIFY2(stage.ready(kLimitMs, &error), qPrintable(error));
    QCOMPARE(serverTime(), opening);

    stage.advanceClock(60000);
    QCOMPARE(serverTime(), opening.addSecs(60));
    // From where it stands, over midnight too.
    stage.advanceClock(24LL * 3600 * 1000);
    QCOMPARE(serverTime(), opening.addDays(1).addSecs(60));
    stage.setClock(opening.addDays(7));
    QCOMPARE(serverTime(), opening.addDays(7));
    stage.stop();
}

QTEST_GUILESS_MAIN(ClientClockTest)
#include "client_clock_test.moc"
