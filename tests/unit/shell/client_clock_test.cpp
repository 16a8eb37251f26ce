#include <QTemporaryDir>
#include <QtTest>
#include <ctime>

#include "client_stage.h"
#include "commonquotahandler/common_quota_handler.h"
#include "process_per_case.h"
#include "small_client.h"
#include "znbusinessdata/c_business_data_base.h"

namespace {

constexpr int kLimitMs = 60000;
constexpr int kExchangeOffset = 8 * 3600;

QDateTime serverTime() {
    return CBusinessDataBase::GetInstance()->getCurrentBusinessDateTime();
}

}  // namespace

class ClientClockTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        // A machine far from the exchanges.
        qputenv("TZ", "America/New_York");
        tzset();
        QVERIFY(QDateTime::currentDateTime().offsetFromUtc() < 0);
    }
    void stageClock_isTheClientsBeforeAndAfterTheStart();
    void businessClock_isOfTheExchangesZone();
    void startedClock_runsOnFromThere();

private:
    static Client::Options optionsOf(const QTemporaryDir& home) {
        Client::Options options = smallClient(home);
        options.ticksPerSecond = 1;
        return options;
    }
};

void ClientClockTest::businessClock_isOfTheExchangesZone() {
    const QTemporaryDir home;
    Client client(optionsOf(home), Client::Listener());
    QString error;
    QVERIFY2(client.begin(&error), qPrintable(error));
    const QDateTime before = QDateTime::currentDateTimeUtc();
    const QDateTime time = serverTime();
    QVERIFY(before <= time && time <= QDateTime::currentDateTimeUtc());
    QCOMPARE(time.offsetFromUtc(), kExchangeOffset);
    QCOMPARE(time.date(), time.toUTC().addSecs(kExchangeOffset).date());
    client.stop();
}

void ClientClockTest::startedClock_runsOnFromThere() {
    const QTemporaryDir home;
    Client::Options options = optionsOf(home);
    options.clock = QDateTime(QDate(2026, 1, 5), QTime(9, 30));
    options.tickSymbols = QStringList{"600000.SH"};
    options.ticksPerSecond = 100;
    QStringList steps;
    Client::Listener listener;
    listener.platformStarted = [] { CommonQuotaHandler::instance().Init(); };
    listener.stepEnded = [&steps](const QString& text) { steps.append(text); };
    QList<QDateTime> times;
    connect(&CommonQuotaHandler::instance(), &CommonQuotaHandler::sigTickDataUpdate, this,
            [&times](const QString&, const QVariantMap& tick) {
                times.append(tick.value("TickTime").toDateTime());
            });
    Client client(options, listener);
    QString error;
    QVERIFY2(client.start(&error), qPrintable(error));
    const QDateTime opening(QDate(2026, 1, 5), QTime(9, 30), Qt::OffsetFromUTC, kExchangeOffset);
    QVERIFY(serverTime() > opening && serverTime() < opening.addMSecs(kLimitMs));
    const QDateTime read = serverTime();
    QTRY_VERIFY(serverTime() > read);
    QCOMPARE(steps.filter("server clock set to 2026-01-05T09:30:00+08:00").size(), 1);
    QCOMPARE(steps.filter("continuous trading around the clock").size(), 1);
    QTRY_VERIFY_WITH_TIMEOUT(times.size() > 2, kLimitMs);
    QVERIFY(times.last() > opening && times.last() < opening.addMSecs(kLimitMs));
    QCOMPARE(times.last().offsetFromUtc(), kExchangeOffset);
    client.stop();
}

void ClientClockTest::stageClock_isTheClientsBeforeAndAfterTheStart() {
    const QTemporaryDir home;
    ClientStage stage(optionsOf(home), std::make_shared<ScenarioTape>());
    // A scenario's time has no zone; it is the exchanges' own.
    stage.setClock(QDateTime(QDate(2026, 1, 5), QTime(9, 30)));
    const QDateTime opening(QDate(2026, 1, 5), QTime(9, 30), Qt::OffsetFromUTC, kExchangeOffset);
    QCOMPARE(serverTime(), opening);

    QString error;
    QVERIFY2(stage.begin({}, &error), qPrintable(error));
    QCOMPARE(serverTime(), opening);
    QVERIFY2(stage.ready(kLimitMs, &error), qPrintable(error));
    QCOMPARE(serverTime(), opening);

    stage.advanceClock(60000);
    QCOMPARE(serverTime(), opening.addSecs(60));
    // A stopped clock moves by exactly that, over midnight too.
    stage.advanceClock(24LL * 3600 * 1000);
    QCOMPARE(serverTime(), opening.addDays(1).addSecs(60));
    stage.setClock(opening.addDays(7));
    QCOMPARE(serverTime(), opening.addDays(7));
    stage.stop();
}

VELMAR_PROCESS_PER_CASE_MAIN(ClientClockTest)
#include "client_clock_test.moc"
