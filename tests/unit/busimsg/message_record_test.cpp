#include "message_record.h"

#include <QtTest>
#include <limits>

#include "log_capture.h"
#include "vocabulary/fields.h"

namespace {

const QDateTime kNow(QDate(2024, 3, 1), QTime(9, 30));
const QDateTime kEarlier(QDate(2024, 2, 29), QTime(23, 59, 59));

}  // namespace

class MessageRecordTest : public QObject {
    Q_OBJECT

private slots:
    void time_ofAPush_isReadFromItsForms_data() {
        QTest::addColumn<QVariant>("given");
        QTest::addColumn<QDateTime>("expected");
        QTest::addColumn<bool>("logged");
        const qint64 ms = kEarlier.toMSecsSinceEpoch();
        QTest::newRow("milliseconds") << QVariant(ms) << kEarlier << false;
        QTest::newRow("milliseconds as text") << QVariant(QString::number(ms)) << kEarlier << false;
        QTest::newRow("date and time") << QVariant("20240229 235959") << kEarlier << false;
        QTest::newRow("QDateTime") << QVariant(kEarlier) << kEarlier << false;
        QTest::newRow("missing") << QVariant() << kNow << false;
        QTest::newRow("empty") << QVariant("") << kNow << false;
        QTest::newRow("zero") << QVariant(0) << kNow << true;
        QTest::newRow("zero as text") << QVariant("0") << kNow << true;
        QTest::newRow("no time") << QVariant("soon") << kNow << true;
        QTest::newRow("no such day") << QVariant("20240230 120000") << kNow << true;
        QTest::newRow("digits without a space") << QVariant("20240229235959") << kNow << true;
        QTest::newRow("end of tomorrow")
            << QVariant("20240302 235959") << QDateTime(QDate(2024, 3, 2), QTime(23, 59, 59))
            << false;
        QTest::newRow("after tomorrow") << QVariant("20240303 000000") << kNow << true;
        QTest::newRow("year 9999") << QVariant("99991231 235959") << kNow << true;
        QTest::newRow("QDateTime of the year 9999")
            << QVariant(QDateTime(QDate(9999, 12, 31), QTime(0, 0))) << kNow << true;
        QTest::newRow("largest number")
            << QVariant(std::numeric_limits<qint64>::max()) << kNow << true;
        QTest::newRow("smallest number")
            << QVariant(std::numeric_limits<qint64>::min()) << kNow << true;
        QTest::newRow("list") << QVariant(QVariantList{1}) << kNow << true;
        QTest::newRow("map") << QVariant(QVariantMap{{"a", 1}}) << kNow << true;
        QTest::newRow("ISO text") << QVariant("2024-02-29T23:59:59") << kNow << true;
        QTest::newRow("QDate") << QVariant(QDate(2024, 2, 29)) << kNow << true;
        QTest::newRow("true") << QVariant(true) << kNow << true;
        QTest::newRow("double") << QVariant(double(ms)) << kEarlier << false;
        QTest::newRow("NaN") << QVariant(qQNaN()) << kNow << true;
        QTest::newRow("infinity") << QVariant(qInf()) << kNow << true;
        QTest::newRow("1e300") << QVariant(1e300) << kNow << true;
        QTest::newRow("1e300 as text") << QVariant("1e300") << kNow << true;
        // Any other number is a number of milliseconds, also when it was meant as a date.
        QTest::newRow("negative") << QVariant(-1) << QDateTime::fromMSecsSinceEpoch(-1) << false;
        QTest::newRow("digits of a date")
            << QVariant("20240229") << QDateTime::fromMSecsSinceEpoch(20240229) << false;
    }
    void time_ofAPush_isReadFromItsForms() {
        QFETCH(QVariant, given);
        QFETCH(QDateTime, expected);
        QFETCH(bool, logged);
        const LogCapture log;
        QCOMPARE(timeOfMessage(given, kNow), expected);
        QCOMPARE(log.contains(QtInfoMsg, "the time of a message cannot be used"), logged);
    }

    void time_ofAnotherZone_isComparedByItsLocalDay() {
        const QDateTime lastSecond(QDate(2024, 3, 2), QTime(23, 59, 59));
        constexpr int kHalfDay = 12 * 3600;
        // At least one of these zones has another date at that time, whatever the local zone is.
        for (const int offset : {-kHalfDay, 0, kHalfDay}) {
            const QDateTime given = lastSecond.toOffsetFromUtc(offset);
            QCOMPARE(timeOfMessage(given, kNow), lastSecond);
            QCOMPARE(timeOfMessage(given.addSecs(1), kNow), kNow);
        }
    }

    void time_ofAQueriedRow_isInMillisecondsOnly_data() {
        QTest::addColumn<QVariant>("given");
        QTest::addColumn<QDateTime>("expected");
        QTest::newRow("milliseconds") << QVariant(kEarlier.toMSecsSinceEpoch()) << kEarlier;
        QTest::newRow("milliseconds as text")
            << QVariant(QString::number(kEarlier.toMSecsSinceEpoch())) << kEarlier;
        QTest::newRow("date and time") << QVariant("20240229 235959") << kNow;
        QTest::newRow("missing") << QVariant() << kNow;
        QTest::newRow("zero") << QVariant(0) << kNow;
        QTest::newRow("after tomorrow")
            << QVariant(QDateTime(QDate(2024, 3, 3), QTime(0, 0)).toMSecsSinceEpoch()) << kNow;
    }
    void time_ofAQueriedRow_isInMillisecondsOnly() {
        QFETCH(QVariant, given);
        QFETCH(QDateTime, expected);
        QCOMPARE(timeOfQueriedMessage(given, kNow), expected);
    }

    void hasMessageFields_controlFieldsOnly_isFalse() {
        QVERIFY(!hasMessageFields({}));
        const QVariantMap control{{System::clientMsgID, "1"},      {System::msgType, "t"},
                                  {System::subGroupNumber, 0},     {System::requestExeStatus, "0"},
                                  {System::positionStr, "000001"}, {System::createTime, 1},
                                  {UserAccount::userID, "u"}};
        QVERIFY(!hasMessageFields(control));
        for (const QString& field : {System::textDescription, System::BusiMsgType,
                                     BusiMsgCenter::ServerMsgId, QString("other")}) {
            QVariantMap record = control;
            record.insert(field, "");
            QVERIFY2(hasMessageFields(record), qPrintable(field));
        }
    }

    void missingFields_each_isALogLine_data() {
        QTest::addColumn<QVariantMap>("record");
        QTest::addColumn<QString>("line");
        const QVariantMap whole{
            {System::textDescription, "文"}, {System::BusiMsgType, "1"}, {System::BusiMsgLevel, 2}};
        const auto with = [&whole](const QString& field, const QVariant& value) {
            QVariantMap record = whole;
            record.insert(field, value);
            return record;
        };
        QTest::newRow("nothing") << whole << QString();
        QTest::newRow("text") << with(System::textDescription, "") << "a message has no text";
        QTest::newRow("type") << with(System::BusiMsgType, {}) << "a message has no type";
        QTest::newRow("level") << with(System::BusiMsgLevel, "高")
                               << "a message has an unknown level: \"高\"";
    }
    void missingFields_each_isALogLine() {
        QFETCH(QVariantMap, record);
        QFETCH(QString, line);
        const LogCapture log;
        logMissingFields(record);
        QCOMPARE(log.texts(), line.isEmpty() ? QStringList() : QStringList{line});
    }
};

QTEST_GUILESS_MAIN(MessageRecordTest)
#include "message_record_test.moc"
