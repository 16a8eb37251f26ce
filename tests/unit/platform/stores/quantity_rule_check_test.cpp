#include "quantity_rule_check.h"

#include <QtTest>

#include "local_platform.h"
#include "log_capture.h"
#include "quantity_sections.h"
#include "static_db_builder.h"
#include "temp_home.h"
#include "vocabulary/fields.h"
#include "znbusinessdata/c_business_data_base.h"

namespace {

const QMap<QString, QString> kSteps{{"*", "100"}, {"02200", "1"}, {"9", "1"}, {"3", "1000"}};
const QMap<QString, QString> kMinimums{{"*", "100"}, {"02200", "200"}, {"9", "1"}, {"3", "1000"}};

QVariantMap security(const QString& type, const QString& subType, double lot = 0) {
    QVariantMap record{{MDCFieldDefine::mdcSecurityType, type},
                       {MDCFieldDefine::mdcSubSecurityType, subType}};
    if (lot != 0) {
        record.insert(Security::LotSize, lot);
    }
    return record;
}

}  // namespace

class QuantityRuleCheckTest : public QObject {
    Q_OBJECT

private slots:
    void minimum_andStep_areComparedByTheirRules_data() {
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<QVariantMap>("record");
        QTest::addColumn<QString>("minimumAndStep");  // empty when they fit
        QTest::newRow("any") << "A.SH" << security("2", "02001") << QString();
        QTest::newRow("sub-type") << "A.SH" << security("2", "02200") << QString();
        QTest::newRow("type") << "A.SH" << security("3", "03100") << QString();
        QTest::newRow("lot of one") << "A.SGE" << security("9", "09100", 1) << QString();
        QTest::newRow("lot above the minimum") << "A.SGE" << security("9", "09100", 10) << "1 10";
        QTest::newRow("lot beside the minimum") << "A.SH" << security("2", "02001", 30) << "100 30";
        QTest::newRow("lot beyond an int")
            << "A.SH" << security("2", "02001", 1e300) << "100 2147483647";
        QTest::newRow("lot below one") << "A.SH" << security("2", "02001", 0.5) << "100 0";
        QTest::newRow("lot that counts as none")
            << "A.SH" << security("2", "02001", 1e-11) << QString();
        QTest::newRow("Hong Kong") << "A.HK" << security("2", "02400", 500) << QString();
    }

    void minimum_andStep_areComparedByTheirRules() {
        QFETCH(QString, symbol);
        QFETCH(QVariantMap, record);
        QFETCH(QString, minimumAndStep);
        const QStringList sentences = minimumsOffTheirStep({{symbol, record}}, kSteps, kMinimums);
        QCOMPARE(sentences.size(), minimumAndStep.isEmpty() ? 0 : 1);
        for (const QString& sentence : sentences) {
            QVERIFY2(sentence.startsWith(symbol), qPrintable(sentence));
            QVERIFY2(sentence.contains(" of " + minimumAndStep.section(' ', 0, 0) + ",") &&
                         sentence.endsWith(" " + minimumAndStep.section(' ', 1)),
                     qPrintable(sentence));
        }
    }

    void withoutRules_theDefaultsAreCompared() {
        QCOMPARE(minimumsOffTheirStep({{"A.SH", security("2", "02001")}}, {}, {}), QStringList());
    }

    void securitiesAreLoaded_eachBadOneIsWarnedOfOnce() {
        TempHome home;
        const QString file = home.filePath("static.db");
        StaticDbBuilder()
            .section(QuantitySection::step, kSteps)
            .section(QuantitySection::min, kMinimums)
            .reference("security", "BAD.SGE", security("9", "09100", 10))
            .reference("security", "GOOD.SGE", security("9", "09100", 1))
            .write(file);
        QString error;
        QVERIFY2(LocalPlatform::instance().start(home.options(file), &error), qPrintable(error));
        const LogCapture log;
        for (int i = 0; i < 2; ++i) {
            QVERIFY(!CBusinessDataBase::GetInstance()
                         ->GetSecurityDetailsBySymbol("GOOD.SGE")
                         .isEmpty());
        }
        QCOMPARE(log.texts(QtWarningMsg).filter("not a multiple").size(), 1);
        QVERIFY(log.contains(QtWarningMsg, "BAD.SGE has a minimum quantity of 1"));
        LocalPlatform::instance().close();
    }
};

QTEST_GUILESS_MAIN(QuantityRuleCheckTest)
#include "quantity_rule_check_test.moc"
