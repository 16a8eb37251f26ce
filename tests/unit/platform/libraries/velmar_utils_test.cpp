#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QStandardPaths>
#include <QtTest>
#include <limits>

#include "data_stores.h"
#include "local_platform.h"
#include "log_capture.h"
#include "temp_home.h"
#include "test_paths.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/names.h"
#include "vocabulary/own_keys.h"
#include "vocabulary/velmar_event_msg_id.h"

namespace {

constexpr int kFirstLinkageId = 136449;

QString written(const QVariantMap& record) {
    QString error;
    const QString text = VelmarUtils::TransMap2Str(record, error);
    return error.isEmpty() ? text : QStringLiteral("error: ") + error;
}

/// The names as the header of the vocabulary declares them, so that the test covers all.
QStringList declaredEventNames() {
    QFile file(QStringLiteral(VELMAR_SOURCE_DIR "/src/platform/vocabulary/torvi_keys.h"));
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QRegularExpression declaration(QStringLiteral("VELMAR_TEXT\\(\\w+,\\s+\"([^\"]+)\"\\)"));
    QStringList names;
    auto matches = declaration.globalMatch(QString::fromUtf8(file.readAll()));
    while (matches.hasNext()) {
        names.append(matches.next().captured(1));
    }
    return names;
}

}  // namespace

class VelmarUtilsTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_home = std::make_unique<TempHome>();
        QVERIFY(LocalPlatform::instance().start(m_home->options(), nullptr));
    }

    // Record text

    void record_becomesCompactTextWithSortedKeys() {
        const QVariantMap record{
            {"b", 1},
            {"a", "x\"y"},
            {"C", QVariantMap{{"z", QVariantList{1, "2", true, QVariant()}}, {"y", 0.5}}}};
        QCOMPARE(written(record), QString("{\"C\":{\"y\":0.5,\"z\":[1,\"2\",true,null]},"
                                          "\"a\":\"x\\\"y\",\"b\":1}"));
        QCOMPARE(written({}), QString("{}"));
    }

    void record_comesBackAsItWas_data() {
        QTest::addColumn<QVariant>("value");
        QTest::newRow("text") << QVariant(QString::fromUtf8("中文 \\ \n\t\x01/\x7f😀"));
        QTest::newRow("empty text") << QVariant(QString(""));
        QTest::newRow("true") << QVariant(true);
        QTest::newRow("false") << QVariant(false);
        QTest::newRow("zero") << QVariant(qlonglong(0));
        QTest::newRow("2^53 + 1") << QVariant(qlonglong(9007199254740993LL));
        QTest::newRow("-2^53 - 1") << QVariant(qlonglong(-9007199254740993LL));
        QTest::newRow("largest") << QVariant(std::numeric_limits<qlonglong>::max());
        QTest::newRow("smallest") << QVariant(std::numeric_limits<qlonglong>::min());
        QTest::newRow("fraction") << QVariant(0.1);
        QTest::newRow("tiny") << QVariant(4.9e-324);
        QTest::newRow("huge") << QVariant(1.7976931348623157e308);
        QTest::newRow("floating beyond 64 bits") << QVariant(9223372036854775808.0);
        QTest::newRow("floating far beyond 64 bits") << QVariant(-1e20);
        QTest::newRow("null") << QVariant();
        QTest::newRow("list") << QVariant(QVariantList{qlonglong(1), "a", QVariantList{}});
        QTest::newRow("map") << QVariant(QVariantMap{{"k", QVariantMap{{"", "v"}}}});
        QTest::newRow("text of a number") << QVariant("99999999999999999999");
        QTest::newRow("text that ends in a backslash") << QVariant("\\");
    }

    void record_comesBackAsItWas() {
        QFETCH(QVariant, value);
        const QVariantMap record{{"key", value}, {"other", "99999999999999999999"}};
        QString error("old");
        const QString text = VelmarUtils::TransMap2Str(record, error);
        QCOMPARE(error, QString());
        QVariantMap read{{"old", 1}};
        QCOMPARE(VelmarUtils::TransStr2Map(text, read), QString());
        QCOMPARE(read, record);
        QCOMPARE(read.value("key").userType(), value.userType());
    }

    void wholeNumbers_comeBackAs64Bits_data() {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<qlonglong>("read");
        QTest::newRow("int") << QVariant(-7) << qlonglong(-7);
        QTest::newRow("unsigned") << QVariant(4000000000U) << 4000000000LL;
        QTest::newRow("short") << QVariant::fromValue(short(5)) << 5LL;
        QTest::newRow("unsigned 64 bits that fit") << QVariant(qulonglong(5)) << 5LL;
        QTest::newRow("whole floating number") << QVariant(3.0) << 3LL;
        QTest::newRow("large whole floating number")
            << QVariant(1152921504606846976.0) << 1152921504606846976LL;
    }

    void wholeNumbers_comeBackAs64Bits() {
        QFETCH(QVariant, value);
        QVariantMap read;
        QCOMPARE(VelmarUtils::TransStr2Map(written({{"n", value}}), read), QString());
        QCOMPARE(read.value("n").userType(), int(QMetaType::LongLong));
        QTEST(read.value("n").toLongLong(), "read");
    }

    void datesTimesAndTextLists_becomeTexts_data() {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QString>("text");
        const QDate date(2024, 2, 29);
        const QTime time(9, 30, 0, 5);
        QTest::newRow("date") << QVariant(date) << "\"2024-02-29\"";
        QTest::newRow("time") << QVariant(time) << "\"09:30:00.005\"";
        QTest::newRow("both") << QVariant(QDateTime(date, time)) << "\"2024-02-29T09:30:00.005\"";
        QTest::newRow("both, UTC")
            << QVariant(QDateTime(date, time, Qt::UTC)) << "\"2024-02-29T09:30:00.005Z\"";
        QTest::newRow("invalid date") << QVariant(QDate()) << "\"\"";
        QTest::newRow("texts") << QVariant(QStringList{"a", "b"}) << "[\"a\",\"b\"]";
        QTest::newRow("bytes") << QVariant(QByteArray("\xe4\xb8\xad"))
                               << QString::fromUtf8("\"中\"");
        QTest::newRow("character") << QVariant(QChar('c')) << "\"c\"";
        QTest::newRow("hash") << QVariant(QVariantHash{{"a", 1}}) << "{\"a\":1}";
    }

    void datesTimesAndTextLists_becomeTexts() {
        QFETCH(QVariant, value);
        QFETCH(QString, text);
        QCOMPARE(written({{"k", value}}), QStringLiteral("{\"k\":%1}").arg(text));
    }

    void valueWithoutTextForm_isAnErrorThatNamesIt_data() {
        QTest::addColumn<QVariant>("value");
        QTest::newRow("object") << QVariant::fromValue<QObject*>(this);
        QTest::newRow("no number") << QVariant(std::numeric_limits<double>::quiet_NaN());
        QTest::newRow("infinite") << QVariant(-std::numeric_limits<double>::infinity());
        QTest::newRow("beyond 63 bits") << QVariant(qulonglong(1) << 63);
        QTest::newRow("bytes that are not a text") << QVariant(QByteArray("\xff\xfe"));
        QTest::newRow("half a character") << QVariant(QString(QChar(0xd83d)));
        QTest::newRow("rectangle") << QVariant(QRect(1, 2, 3, 4));
    }

    void valueWithoutTextForm_isAnErrorThatNamesIt() {
        QFETCH(QVariant, value);
        const QList<QVariantMap> records{
            {{"bad", value}},
            {{"good", 1}, {"outer", QVariantMap{{"bad", value}}}},
            {{"outer", QVariantList{1, QVariantMap{{"bad", QVariantList{value}}}}}}};
        for (const QVariantMap& record : records) {
            QString error;
            QCOMPARE(VelmarUtils::TransMap2Str(record, error), QString());
            QVERIFY2(error.contains("bad"), qPrintable(error));
        }
    }

    void keyThatHoldsHalfACharacter_isAnError() {
        QVERIFY(written({{QString(QChar(0xdc00)), 1}}).startsWith("error: "));
    }

    void depth_whatIsWrittenCanBeRead() {
        const auto nested = [](int depth) {
            QVariant value = 1;
            for (int i = 0; i < depth; ++i) {
                value = QVariantList{value};
            }
            return QVariantMap{{"k", value}};
        };
        QVariantMap read;
        QCOMPARE(VelmarUtils::TransStr2Map(written(nested(400)), read), QString());
        QCOMPARE(read.value("k").toList().size(), 1);
        QVERIFY(written(nested(5000)).startsWith("error: "));
        const QString deep = "{\"k\":" + QString(5000, '[') + QString(5000, ']') + "}";
        QVERIFY(!VelmarUtils::TransStr2Map(deep, read).isEmpty());
        QVERIFY(read.isEmpty());
    }

    void badText_isAnErrorAndReturnsNothing_data() {
        QTest::addColumn<QString>("text");
        QTest::newRow("null") << QString();
        QTest::newRow("empty") << "";
        QTest::newRow("blank") << " \n\t";
        QTest::newRow("word") << "record";
        QTest::newRow("number") << "5";
        QTest::newRow("text") << "\"a\"";
        QTest::newRow("list") << "[{\"a\":1}]";
        QTest::newRow("no end") << "{\"a\":1";
        QTest::newRow("more behind") << "{\"a\":1}x";
        QTest::newRow("no quotes") << "{a:1}";
        QTest::newRow("comma at the end") << "{\"a\":1,}";
        QTest::newRow("half a character") << "{\"a\":\"" + QString(QChar(0xd83d)) + "\"}";
        QTest::newRow("number beyond 63 bits") << "{\"a\":9223372036854775808}";
        QTest::newRow("negative number beyond 63 bits") << "{\"a\":[1.5e3,-9223372036854775809]}";
        QTest::newRow("number beyond everything") << "{\"a\":1e999}";
    }

    void badText_isAnErrorAndReturnsNothing() {
        QFETCH(QString, text);
        QVariantMap read{{"old", 1}};
        QVERIFY(!VelmarUtils::TransStr2Map(text, read).isEmpty());
        QVERIFY(read.isEmpty());
    }

    void goodTextWithBlanksAndFractions_isRead() {
        QVariantMap read;
        const QString text(" { \"a\" : [ 1.5e3 , -2E-2, 99999999999999999999.5, 1e20 ] }\n");
        QCOMPARE(VelmarUtils::TransStr2Map(text, read), QString());
        const QVariantList numbers = read.value("a").toList();
        QCOMPARE(numbers.size(), 4);
        QCOMPARE(numbers.at(0).toDouble(), 1500.0);
        QCOMPARE(numbers.at(1).toDouble(), -0.02);
        QCOMPARE(numbers.at(3).toDouble(), 1e20);
    }

    // Events

    void everyNamedEvent_hasAnIdOfItsOwnInTheRange() {
        const QStringList names = declaredEventNames();
        QVERIFY(names.contains(EventMsgName::Velmar_Fundaccount_Inited));
        QVERIFY(names.size() >= 13);
        QSet<int> ids;
        for (const QString& name : names) {
            const int id = VelmarUtils::GetTorviEventMsgIdByStr(name);
            QVERIFY2(id > VelmarEventMsgID::TORVI_BASE_TYPE, qPrintable(name));
            QVERIFY2(id < kFirstLinkageId, qPrintable(name));
            QCOMPARE(VelmarUtils::GetTorviEventMsgIdByStr(name), id);
            ids.insert(id);
        }
        QCOMPARE(ids.size(), names.size());
    }

    void eventIds_areTheSameInEveryRun() {
        // Other processes and stored logs refer to these numbers.
        QCOMPARE(VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::BUSI_HEART_BEAT_STATISTIC),
                 0x20001);
        QCOMPARE(VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::Velmar_Fundaccount_Inited),
                 0x2000D);
        QCOMPARE(VelmarUtils::GetTorviEventMsgIdByStr(OwnKeys::historyQueryProgress), 0x2000E);
    }

    void unknownEvent_hasNoIdAndIsLogged_data() {
        QTest::addColumn<QString>("name");
        QTest::newRow("empty") << "";
        QTest::newRow("unknown") << "NoSuchEvent";
        QTest::newRow("other case") << EventMsgName::BUSI_MSG_ADD.toLower();
    }

    void unknownEvent_hasNoIdAndIsLogged() {
        QFETCH(QString, name);
        const LogCapture log;
        QCOMPARE(VelmarUtils::GetTorviEventMsgIdByStr(name), 0);
        QCOMPARE(log.texts(QtWarningMsg).size(), 1);
        QVERIFY(log.contains(QtWarningMsg, '"' + name + '"'));
    }

    void eventWithoutPresenter_isRefusedAndLogged() {
        const LogCapture log;
        QCOMPARE(VelmarUtils::SendEventMsg(nullptr, 0x31000, QVariant()), -1);
        QCOMPARE(VelmarUtils::SendEventMsg(nullptr, EventMsgName::BUSI_MSG_ADD, QVariant()), -1);
        QCOMPARE(log.texts(QtWarningMsg).size(), 2);
    }

    // Order station

    void orderStation_isTheSameInARun_behindThePrefix() {
        const QString station = VelmarUtils::GetVelmarOrderStation(QString());
        const QStringList parts = station.split(';');
        QCOMPARE(parts, (QStringList{QSysInfo::machineHostName(), QSysInfo::productType(),
                                     QSysInfo::productVersion()}));
        QCOMPARE(VelmarUtils::GetVelmarOrderStation(""), station);
        QCOMPARE(VelmarUtils::GetVelmarOrderStation("柜台 1"), "柜台 1;" + station);
        QCOMPARE(VelmarUtils::GetVelmarOrderStation(";"), ";;" + station);
    }

    // Directories

    void directories_areUnderTheHomeAndMade() {
        const QString user = VelmarUtils::GetUserCfgFileDir();
        const QString common = VelmarUtils::GetDefaultUserCfgFileDir();
        QCOMPARE(user, m_home->path() + "/config/user/");
        QCOMPARE(common, m_home->path() + "/config/default/");
        QVERIFY(QDir(user).exists());
        QVERIFY(QDir(common).exists());
        QVERIFY(QDir(user).removeRecursively());
        QCOMPARE(VelmarUtils::GetUserCfgFileDir(), user);
        QVERIFY(QDir(user).exists());
    }

    void login_doesNotChangeTheDirectory() {
        const QString before = VelmarUtils::GetUserCfgFileDir();
        DataStores::businessData().setLogin({{"userID", "u1"}});
        QCOMPARE(VelmarUtils::GetUserCfgFileDir(), before);
    }

    void homeGivenInAnyForm_isTheSamePath() {
        LocalPlatform::Options options;
        options.homeDir = m_home->path() + "/sub/../home//";
        QVERIFY(LocalPlatform::instance().start(options, nullptr));
        QCOMPARE(LocalPlatform::instance().homeDir(), m_home->path() + "/home");
        QCOMPARE(VelmarUtils::GetUserCfgFileDir(), m_home->path() + "/home/config/user/");
    }

    void withoutAHome_theUsersOwnFolderIsUsed() {
        QStandardPaths::setTestModeEnabled(true);
        const QString folder =
            QDir::cleanPath(QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation));
        QVERIFY(LocalPlatform::instance().start(LocalPlatform::Options(), nullptr));
        QCOMPARE(LocalPlatform::instance().homeDir(), folder);
        QCOMPARE(VelmarUtils::GetUserCfgFileDir(), folder + "/config/user/");
        QVERIFY(QDir(folder).removeRecursively());
    }

    void directoryThatCannotBeMade_isLogged() {
        QFile blocker(m_home->filePath("config"));
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        const LogCapture log;
        QCOMPARE(VelmarUtils::GetUserCfgFileDir(), m_home->path() + "/config/user/");
        QVERIFY(log.contains(QtWarningMsg, "cannot be made"));
    }

private:
    std::unique_ptr<TempHome> m_home;
};

QTEST_GUILESS_MAIN(VelmarUtilsTest)
#include "velmar_utils_test.moc"
