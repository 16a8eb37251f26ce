#include "request_failure_log.h"

#include <QtTest>
#include <thread>
#include <vector>

#include "log_capture.h"

namespace {

using Outcome = ServerReply::Outcome;

/// Shows the same time until a test moves it.
class StandingClock final : public Clock {
public:
    QDateTime now() const override { return m_now; }
    void advance(int seconds) { m_now = m_now.addSecs(seconds); }

private:
    QDateTime m_now{{2024, 3, 4}, {9, 30}};
};

}  // namespace

class RequestFailureLogTest : public QObject {
    Q_OBJECT

    StandingClock m_clock;

private slots:
    void failure_warning_containsTypeOutcomeAndReason_data() {
        QTest::addColumn<int>("outcome");
        QTest::addColumn<QString>("text");
        QTest::newRow("timed out") << int(Outcome::TimedOut) << "request 120006 timed out: 原因";
        QTest::newRow("failed") << int(Outcome::Failed) << "request 120006 failed: 原因";
        QTest::newRow("refused") << int(Outcome::Refused) << "request 120006 was refused: 原因";
    }
    void failure_warning_containsTypeOutcomeAndReason() {
        QFETCH(int, outcome);
        QFETCH(QString, text);
        RequestFailureLog failures(m_clock);
        const LogCapture log;
        failures.report("120006", Outcome(outcome), "原因");
        QCOMPARE(log.texts(QtWarningMsg), QStringList{text});
        QCOMPARE(log.lines().front().category, QString("velmar.requests"));
    }

    void failure_repeatedWithinAMinute_isLoggedOnce() {
        RequestFailureLog failures(m_clock);
        const LogCapture log;
        for (int i = 0; i < 60; ++i) {
            failures.report("120006", Outcome::Failed, "busy");
            m_clock.advance(1);
        }
        QCOMPARE(log.texts(QtWarningMsg), QStringList{"request 120006 failed: busy"});
        QCOMPARE(log.count(QtDebugMsg, "request 120006 failed: busy"), 59);
    }

    void failure_repeatedAfterAMinute_isLoggedWithTheNumberInBetween() {
        RequestFailureLog failures(m_clock);
        const LogCapture log;
        for (int i = 0; i <= 120; ++i) {
            failures.report("120006", Outcome::Failed, "busy");
            m_clock.advance(1);
        }
        QCOMPARE(log.texts(QtWarningMsg),
                 (QStringList{"request 120006 failed: busy",
                              "request 120006 failed: busy (59 more since the last warning)",
                              "request 120006 failed: busy (59 more since the last warning)"}));
    }

    void failure_repeatedAfterAQuietMinute_hasNoNumber() {
        RequestFailureLog failures(m_clock);
        const LogCapture log;
        failures.report("120006", Outcome::Failed, "busy");
        m_clock.advance(60);
        failures.report("120006", Outcome::Failed, "busy");
        QCOMPARE(log.count(QtWarningMsg, "request 120006 failed: busy"), 2);
    }

    void failure_anotherTypeOrReason_isLoggedAtOnce() {
        RequestFailureLog failures(m_clock);
        const LogCapture log;
        failures.report("120006", Outcome::Failed, "busy");
        failures.report("120007", Outcome::Failed, "busy");
        failures.report("120006", Outcome::Failed, "down");
        failures.report("120006", Outcome::Failed, "busy");
        QCOMPARE(log.texts(QtWarningMsg).size(), 3);
    }

    void failure_clockSetBack_isLogged() {
        RequestFailureLog failures(m_clock);
        const LogCapture log;
        failures.report("120006", Outcome::Failed, "busy");
        m_clock.advance(-3600);
        failures.report("120006", Outcome::Failed, "busy");
        QCOMPARE(log.texts(QtWarningMsg).size(), 2);
        failures.report("120006", Outcome::Failed, "busy");
        QCOMPARE(log.texts(QtWarningMsg).size(), 2);
    }

    void reasons_moreThanAreKept_pushOutTheOldestAlone() {
        RequestFailureLog failures(m_clock);
        LogCapture log;
        failures.report("120006", Outcome::Failed, "oldest");
        m_clock.advance(1);
        failures.report("120006", Outcome::Failed, "second");
        m_clock.advance(1);
        for (int i = 0; i < 255; ++i) {
            failures.report("120006", Outcome::Failed, QString::number(i));
        }
        log.clear();
        failures.report("120006", Outcome::Failed, "second");
        failures.report("120006", Outcome::Failed, "254");
        QVERIFY(log.texts(QtWarningMsg).isEmpty());
        failures.report("120006", Outcome::Failed, "oldest");
        QCOMPARE(log.texts(QtWarningMsg).size(), 1);
    }

    void failures_ofManyThreads_giveOneWarningEachReason() {
        RequestFailureLog failures(m_clock);
        const LogCapture log;
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&failures] {
                for (int round = 0; round < 200; ++round) {
                    failures.report("120006", Outcome::Failed, QString::number(round % 2));
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        QCOMPARE(log.texts(QtWarningMsg).size(), 2);
        QCOMPARE(log.texts(QtDebugMsg).size(), 798);
    }
};

QTEST_GUILESS_MAIN(RequestFailureLogTest)
#include "request_failure_log_test.moc"
