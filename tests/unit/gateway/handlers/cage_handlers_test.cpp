#include <QTemporaryDir>
#include <QtTest>

#include "market_rules.h"
#include "market_store.h"
#include "profile_request.h"
#include "sample_market.h"
#include "scripted_link.h"
#include "server_engine.h"
#include "small_market.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

class NoTarget final : public PushTarget {
public:
    void pushed(const QString&, const QVariant&) override {}
};

}  // namespace

class CageHandlersTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QString error;
        QVERIFY2(makeSampleMarket(m_dir.path(), smallMarket(), {}, &error), qPrintable(error));
    }
    void init() {
        QString error;
        m_engine = ServerEngine::open(marketStoreFile(m_dir.path()), &error);
        QVERIFY2(m_engine, qPrintable(error));
        m_target = std::make_shared<NoTarget>();
        m_session = m_engine->openSession(m_target);
    }

    void systemItem_cageAndApply_areRecordsInTheTextForm_data() {
        QTest::addColumn<QString>("item");
        QTest::addColumn<QStringList>("keys");
        QTest::newRow("cages") << SystemItemName::TagPriceCage << QStringList{"1", "2", "3", "4"};
        QTest::newRow("functions") << SystemItemName::TagPriceCageApply
                                   << QStringList{"ETF", "MultiArbitrage", "Strategy"};
    }
    void systemItem_cageAndApply_areRecordsInTheTextForm() {
        QFETCH(QString, item);
        QFETCH(QStringList, keys);
        QVERIFY(succeeds(Velmar_MsgType::getSysConfigRequest, {{System::itemName, item}}));
        QCOMPARE(rows().size(), 1);
        QCOMPARE(rows().first().value(System::itemName).toString(), item);
        QVariantMap value;
        QCOMPARE(
            VelmarUtils::TransStr2Map(rows().first().value(System::itemValue).toString(), value),
            QString());
        QCOMPARE(QStringList(value.keys()), keys);
    }

    void systemItem_eachCage_hasTheFiguresOfItsBoards_data() {
        QTest::addColumn<QString>("id");
        QTest::addColumn<QStringList>("classes");
        QTest::addColumn<double>("ratio");
        QTest::addColumn<int>("ticks");
        QTest::addColumn<int>("control");
        // By ratio only (1), by ticks only (2), the larger of both (3).
        QTest::newRow("main boards") << "1" << QStringList{"1-2-*", "2-2-*"} << 0.02 << 10 << 3;
        QTest::newRow("science board") << "2" << QStringList{"1-2-02200"} << 0.02 << 10 << 1;
        QTest::newRow("Hong Kong") << "3" << QStringList{"G-2-*", "S-2-*"} << 0.02 << 9 << 2;
        QTest::newRow("Beijing") << "4" << QStringList{"B-2-*"} << 0.05 << 10 << 3;
    }
    void systemItem_eachCage_hasTheFiguresOfItsBoards() {
        QFETCH(QString, id);
        QFETCH(QStringList, classes);
        QFETCH(double, ratio);
        QFETCH(int, ticks);
        QFETCH(int, control);
        QVERIFY(succeeds(Velmar_MsgType::getSysConfigRequest,
                         {{System::itemName, SystemItemName::TagPriceCage}}));
        QVariantMap value;
        VelmarUtils::TransStr2Map(rows().first().value(System::itemValue).toString(), value);
        const QVariantMap cage = value.value(id).toMap();
        QCOMPARE(cage.value(CageField::securityType).toStringList(), classes);
        QCOMPARE(cage.value(CageField::buyPercent).toDouble(), ratio);
        QCOMPARE(cage.value(CageField::sellPercent).toDouble(), ratio);
        QCOMPARE(cage.value(CageField::buyUnit).toInt(), ticks);
        QCOMPARE(cage.value(CageField::sellUnit).toInt(), ticks);
        QCOMPARE(cage.value(CageField::controlType).toInt(), control);
    }

    void systemItem_unknown_isASuccessWithoutRows() {
        QVERIFY(succeeds(Velmar_MsgType::getSysConfigRequest, {{System::itemName, "nothing"}}));
        QVERIFY(rows().isEmpty());
    }

    void hongKongRates_asked_haveBothConnectExchanges() {
        QVERIFY(succeeds(Velmar_MsgType::HKStockExchangeRateRequest, {}));
        QStringList exchanges;
        for (const QVariantMap& row : rows()) {
            exchanges.append(row.value(UserAccount::securityExchange).toString());
            const double buy = row.value(HKSExchgRate::HKSExchgRateBuy).toDouble();
            QVERIFY(0.5 < buy && buy < row.value(HKSExchgRate::HKSExchgRateSell).toDouble());
        }
        QCOMPARE(exchanges, (QStringList{Exchange::hhk, Exchange::szhk}));
    }

    void hongKongPriceUnits_sharesAndFunds_areTheBandsOfTheRules() {
        MarketRules rules;
        QString error;
        QVERIFY2(rules.load(&error), qPrintable(error));
        const QMap<int, PriceLadder> ladders{{2, rules.hongKongShares}, {8, rules.hongKongFunds}};
        for (auto it = ladders.cbegin(); it != ladders.cend(); ++it) {
            QVERIFY(succeeds(Velmar_MsgType::HKPriceUnitRequest,
                             {{HKSExchgRate::HKPriceUnitType, it.key()}}));
            QCOMPARE(rows().size(), it->bands().size());
            for (int i = 0; i < rows().size(); ++i) {
                const PriceLadder::Band& band = it->bands().at(i);
                QCOMPARE(rows().at(i).value(HKSExchgRate::HKLevelUpPrice).toDouble() * 1000,
                         double(band.upTo));
                QCOMPARE(rows().at(i).value(HKSExchgRate::HKLevelPrice).toDouble(),
                         band.spread.toDouble());
            }
        }
    }

    void hongKongPriceUnits_otherType_isRefusedByNumber() {
        QVERIFY(
            !succeeds(Velmar_MsgType::HKPriceUnitRequest, {{HKSExchgRate::HKPriceUnitType, 5}}));
        QCOMPARE(text(), QStringLiteral("不支持的价差类别：5"));
    }

    void profile_written_isReadBackByItsUserAlone() {
        QVERIFY(succeeds(kWrite, {}, {profileRow(kApply, "{}"), profileRow(kCages, "{\"1\":{}}")}));
        QVERIFY(succeeds(kRead, fuzzy(SampleLogin::user)));
        QCOMPARE(rows().size(), 2);
        QCOMPARE(rows().at(0).value(System::profileKey).toString(), kCages);
        QCOMPARE(rows().at(0).value(System::profileData).toString(), QStringLiteral("{\"1\":{}}"));
        QCOMPARE(rows().at(1).value(System::profileKey).toString(), kApply);
        QVERIFY(succeeds(kRead, fuzzy(SampleLogin::secondUser)));
        QVERIFY(rows().isEmpty());
    }

    void profile_writtenAgain_isReplaced() {
        QVERIFY(succeeds(kWrite, {}, {profileRow(kApply, "one")}));
        QVERIFY(succeeds(kWrite, {}, {profileRow(kApply, "two")}));
        QVERIFY(succeeds(kRead, fuzzy(SampleLogin::user)));
        QCOMPARE(rows().size(), 1);
        QCOMPARE(rows().first().value(System::profileData).toString(), QStringLiteral("two"));
    }

    void profile_exactKey_findsThatKeyOnly() {
        QVERIFY(succeeds(kWrite, {}, {profileRow(kApply, "a"), profileRow(kCages, "c")}));
        QVariantMap request = fuzzy(SampleLogin::user);
        request.remove(System::fuzzy);
        QVERIFY(succeeds(kRead, request));
        QVERIFY(rows().isEmpty());
        request.insert(System::profileKey, kApply);
        QVERIFY(succeeds(kRead, request));
        QCOMPARE(rows().size(), 1);
    }

    void profile_badWrite_isRefusedAndStoresNothing_data() {
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("refusal");
        QTest::newRow("unknown user")
            << UserAccount::userID << "nobody" << QStringLiteral("用户nobody不存在");
        QTest::newRow("no key") << System::profileKey << "" << QStringLiteral("用户配置缺少键");
        QTest::newRow("other action")
            << Security::alterType << "drop"
            << QStringLiteral("用户配置%1的操作类型不支持：\"drop\"").arg(kCages);
    }
    void profile_badWrite_isRefusedAndStoresNothing() {
        QFETCH(QString, field);
        QFETCH(QString, value);
        QFETCH(QString, refusal);
        QVariantMap bad = profileRow(kCages, "c");
        bad.insert(field, value);
        QVERIFY(!succeeds(kWrite, {}, {profileRow(kApply, "a"), bad}));
        QCOMPARE(text(), refusal);
        QVERIFY(succeeds(kRead, fuzzy(SampleLogin::user)));
        QVERIFY(rows().isEmpty());
    }

    void profile_noRowsOrNoUser_isRefused() {
        QVERIFY(!succeeds(kWrite, {}));
        QCOMPARE(text(), QStringLiteral("没有需要保存的用户配置"));
        QVERIFY(!succeeds(kRead, fuzzy("nobody")));
        QCOMPARE(text(), QStringLiteral("用户nobody不存在"));
    }

private:
    static QVariantMap fuzzy(const QString& user) {
        return {{UserAccount::userID, user},
                {System::profileKey, "user_priceCage"},
                {System::fuzzy, "1"}};
    }
    bool succeeds(const QString& msgType, QVariantMap fields,
                  const QList<QVariantMap>& requestRows = {}) {
        fields.insert(System::msgType, msgType);
        m_answer = m_engine->handle(m_session, msgType, packRows(fields, requestRows));
        return headerOf(m_answer).value(System::requestExeStatus).toString() ==
               RequestExeStatus::success;
    }
    QList<QVariantMap> rows() const { return rowsOf(m_answer); }
    QString text() const { return headerOf(m_answer).value(System::textDescription).toString(); }

    QTemporaryDir m_dir;
    std::shared_ptr<ServerEngine> m_engine;
    std::shared_ptr<PushTarget> m_target;
    Session m_session;
    QVariant m_answer;
};

QTEST_GUILESS_MAIN(CageHandlersTest)
#include "cage_handlers_test.moc"
