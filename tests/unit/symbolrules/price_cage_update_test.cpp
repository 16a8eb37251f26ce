#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>
#include <future>
#include <memory>
#include <mutex>

#include "local_platform.h"
#include "log_capture.h"
#include "price_room.h"
#include "wait_for.h"
#include "zncore/zn_core.h"

namespace {

const QString kProfile = Quindar_MsgType::getUserProfileDataRequest;
const QString kConfig = Velmar_MsgType::getSysConfigRequest;
const QString kWrite = Velmar_MsgType::alterAllUserProfileDataAndSendKafkaRequest;

const CageRecords kApplyChange{{"ETF", {{CageField::status, false}, {"title", "not taken"}}},
                               {"New", {{CageField::status, true}}}};
const CageRecords kCageChange{{"1",
                               {{CageField::userBuyPercent, 0.015},
                                {CageField::userBuyUnit, 8},
                                {CageField::userSellPercent, 0.016},
                                {CageField::userSellUnit, 7},
                                {CageField::controlType, 1}}}};

/// Notes of each request, by its type, whether its sender held a lock of the plug-in.
class LockNotingLink final : public ScriptedLink {
public:
    bool send(const GatewayRequest& sent) override {
        const QString type = headerOf(sent.body).value(System::msgType).toString();
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_underLock[type].append(HeldLocks::any());
        }
        return ScriptedLink::send(sent);
    }
    QMap<QString, QList<bool>> underLock() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_underLock;
    }

private:
    mutable std::mutex m_mutex;  // guards m_underLock
    QMap<QString, QList<bool>> m_underLock;
};

QVariant savedSetting(const QString& key) {
    return ZnCore::instance()->settings(key);
}

QVariantMap recordOf(const QString& json) {
    return QJsonDocument::fromJson(json.toUtf8()).object().toVariantMap();
}

}  // namespace

class PriceCageUpdateTest : public QObject {
    Q_OBJECT

private slots:
    void update_accepted_changesTablesAndLocalCopies() {
        PriceRoom room;
        room.cage.initCageMap(room.presenter, false);
        room.world.link().on(kWrite, ScriptedReply::rows({}));
        const CageIndex index = room.cage.GetCageIndexMap();
        const LogCapture log;
        QCOMPARE(room.cage.updateUserCageInfo(room.presenter, kApplyChange, kCageChange),
                 QString());
        const QVariantMap cage = room.cage.GetAllCageMap().value("1");
        QCOMPARE(cage.value(CageField::userBuyPercent).toDouble(), 0.015);
        QCOMPARE(cage.value(CageField::userBuyUnit).toInt(), 8);
        QCOMPARE(cage.value(CageField::userSellPercent).toDouble(), 0.016);
        QCOMPARE(cage.value(CageField::userSellUnit).toInt(), 7);
        // Only the four figures; the rest of the record stays.
        QCOMPARE(cage.value(CageField::controlType).toInt(), 3);
        QVERIFY(cage.contains("title"));
        QVERIFY(!room.cage.IsCageApply("ETF"));
        QVERIFY(room.cage.IsCageApply("New"));
        QCOMPARE(room.cage.GetCageApplyMap().value("ETF").value("title").toString(),
                 QString("ETF套利"));
        QCOMPARE(room.cage.GetCageApplyMap().value("New"),
                 (QVariantMap{{CageField::status, true}}));
        QCOMPARE(room.cage.GetCageIndexMap(), index);
        // The tables are the user's own now.
        QString text = "untouched";
        QVERIFY(room.cage.IsGetUserCageInfo(text));
        QCOMPARE(text, QString());
        const QString apply = savedSetting(ETFTradeSetting::Self_AllPriceCageApply).toString();
        const QString cages = savedSetting(ETFTradeSetting::Self_AllPriceCageMap).toString();
        QCOMPARE(recordOf(apply).value("New").toMap().value(CageField::status).toBool(), true);
        QCOMPARE(recordOf(cages).value("1").toMap().value(CageField::userBuyUnit).toInt(), 8);
        QVERIFY(!apply.contains('\n'));
        QVERIFY(log.contains(QtInfoMsg, "价格笼子应用设置JSON:"));
        QVERIFY(log.contains(QtInfoMsg, "价格笼子参数设置JSON:"));
        QVERIFY(log.contains(QtDebugMsg, "价格笼子自定义参数后台更新: 0 \"\""));
    }

    void update_sent_hasARowForEachTable() {
        PriceRoom room;
        room.cage.initCageMap(room.presenter, false);
        room.world.link().on(kWrite, ScriptedReply::rows({}));
        room.cage.updateUserCageInfo(room.presenter, kApplyChange, kCageChange);
        const ScriptedLink::Request request = room.world.link().lastRequest(kWrite);
        QCOMPARE(request.header.value(System::msgType).toString(), kWrite);
        QCOMPARE(request.header.value(System::subGroupNumber).toInt(), 2);
        QCOMPARE(request.rows.size(), 2);
        QCOMPARE(request.rows.at(0).value(System::profileKey).toString(),
                 QString("user_priceCage:Self_PriceCageApply"));
        QCOMPARE(request.rows.at(1).value(System::profileKey).toString(),
                 QString("user_priceCage:Self_AllPriceCageMap"));
        for (const QVariantMap& row : request.rows) {
            QCOMPARE(row.value(UserAccount::userID).toString(), QString("tester"));
            QCOMPARE(row.value(System::accessLevel).toInt(), 2);
            QCOMPARE(row.value(Security::alterType).toString(), AlterType::create);
        }
        QCOMPARE(request.rows.at(0).value(System::profileData),
                 savedSetting(ETFTradeSetting::Self_AllPriceCageApply));
        QCOMPARE(request.rows.at(1).value(System::profileData),
                 savedSetting(ETFTradeSetting::Self_AllPriceCageMap));
    }

    void update_writtenThenLoaded_isTheSame() {
        PriceRoom room;
        room.cage.initCageMap(room.presenter, false);
        room.world.link().on(kWrite, ScriptedReply::rows({}));
        room.cage.updateUserCageInfo(room.presenter, kApplyChange, kCageChange);
        const QList<QVariantMap> rows = room.world.link().lastRequest(kWrite).rows;
        const CageRecords before = room.cage.GetAllCageMap();
        room.world.link().on(kProfile, ScriptedReply::rows(rows));
        QCOMPARE(room.cage.initCageMap(room.presenter, true), QString());
        QCOMPARE(room.cage.GetAllCageMap().value("1").value(CageField::userBuyPercent),
                 before.value("1").value(CageField::userBuyPercent));
        QVERIFY(room.cage.IsCageApply("New"));
        QVERIFY(!room.cage.IsCageApply("ETF"));
        QString text = "untouched";
        QVERIFY(room.cage.IsGetUserCageInfo(text));
        QCOMPARE(text, QString());
    }

    void update_unknownCage_getsARecordOfTheFourFigures() {
        PriceRoom room;
        room.cage.initCageMap(room.presenter, false);
        room.world.link().on(kWrite, ScriptedReply::rows({}));
        QCOMPARE(room.cage.updateUserCageInfo(room.presenter, {},
                                              {{"X", {{CageField::userBuyUnit, 5}, {"t", 1}}}}),
                 QString());
        const QVariantMap record = room.cage.GetAllCageMap().value("X");
        QCOMPARE(QStringList(record.keys()),
                 (QStringList{CageField::userBuyPercent, CageField::userBuyUnit,
                              CageField::userSellPercent, CageField::userSellUnit}));
        QCOMPARE(record.value(CageField::userBuyUnit).toInt(), 5);
    }

    void update_notAccepted_changesNothing_data() {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("log");
        QTest::newRow("time-out") << 0 << "设置超时，您可点击【刷新】按钮确认结果或重新设置。"
                                  << "价格笼子自定义参数后台更新: 1";
        QTest::newRow("refusal") << 1 << "设置失败，失败原因：满%1，请重新设置。"
                                 << "价格笼子自定义参数后台更新: 0";
        QTest::newRow("failure") << 2 << "设置失败，失败原因：断线，请重新设置。"
                                 << "价格笼子自定义参数后台更新: 2";
    }
    void update_notAccepted_changesNothing() {
        QFETCH(int, kind);
        QFETCH(QString, text);
        QFETCH(QString, log);
        const ScriptedReply replies[] = {ScriptedReply::timeOut(), ScriptedReply::refusal("满%1"),
                                         ScriptedReply::failure("断线")};
        PriceRoom room;
        room.cage.initCageMap(room.presenter, false);
        const CageRecords cages = room.cage.GetAllCageMap();
        const CageRecords apply = room.cage.GetCageApplyMap();
        room.world.link().on(kWrite, replies[kind]);
        const LogCapture capture;
        QCOMPARE(room.cage.updateUserCageInfo(room.presenter, kApplyChange, kCageChange), text);
        QVERIFY(capture.contains(QtDebugMsg, log));
        QCOMPARE(room.cage.GetAllCageMap(), cages);
        QCOMPARE(room.cage.GetCageApplyMap(), apply);
        QVERIFY(!savedSetting(ETFTradeSetting::Self_AllPriceCageApply).isValid());
        QVERIFY(!savedSetting(ETFTradeSetting::Self_AllPriceCageMap).isValid());
    }

    void update_acceptedByACutAnswer_isAccepted() {
        PriceRoom room;
        room.cage.initCageMap(room.presenter, false);
        // Nobody reads the rows of this answer.
        room.world.link().on(kWrite, ScriptedReply::rows({}, {{System::subGroupNumber, 2}}));
        QCOMPARE(room.cage.updateUserCageInfo(room.presenter, kApplyChange, kCageChange),
                 QString());
        QVERIFY(!room.cage.IsCageApply("ETF"));
    }

    void update_noPresenter_saysSoAndChangesNothing() {
        PriceRoom room;
        room.cage.initCageMap(nullptr, false);
        const CageRecords cages = room.cage.GetAllCageMap();
        QCOMPARE(room.cage.updateUserCageInfo(nullptr, kApplyChange, kCageChange),
                 QStringLiteral("prtClass为空，无法上报价格笼子设置至后台！"));
        QCOMPARE(room.cage.GetAllCageMap(), cages);
        QCOMPARE(room.world.link().requestCount(kWrite), 0);
    }

    void update_underWay_answersWhatNeedsNoTable() {
        PriceRoom room;
        room.world.link().on(kProfile, ScriptedReply::rows({}));
        room.cage.initCageMap(room.presenter, false);
        room.world.link().on(kWrite, ScriptedReply::rows({}).held());
        const auto writer = std::async(std::launch::async, [&room] {
            room.cage.updateUserCageInfo(room.presenter, kApplyChange, kCageChange);
        });
        QVERIFY(room.world.link().waitForRequestCount(kWrite, 1));
        QString text = "untouched";
        QVERIFY(room.cage.IsGetUserCageInfo(text));
        QVERIFY(room.cage.IsUserCageInfoInited(QString(), text));
        QCOMPARE(text, QString("untouched"));
        QCOMPARE(room.cage.getCageUpdateTime(), QTime(9, 30, 15));
        // Whoever had waited for the lock would have met the end of the request.
        QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 1);
        QVERIFY(waitFor([&] { return room.world.link().release(kWrite) == 1; }));
        writer.wait();
        QVERIFY(!room.cage.IsCageApply("ETF"));
    }

    void requests_ofLoadsAndOfTheUpdate_areSentUnderALockByTheUpdateAlone() {
#ifdef QT_NO_DEBUG
        QSKIP("held locks are known to debug builds only");
#endif
        PriceRoom room;
        auto made = std::make_unique<LockNotingLink>();
        LockNotingLink& link = *made;
        QString error;
        QVERIFY2(LocalPlatform::instance().setLink(std::move(made), &error), qPrintable(error));
        link.on(kWrite, ScriptedReply::rows({}));
        room.hongKong.initHKExchangeRate(room.presenter);
        room.hongKong.initHKPriceUnit(room.presenter);
        room.cage.initCageMap(room.presenter, false);
        room.cage.initCageMap(room.presenter, true);
        // Nobody may judge a price by figures of which the server is just told otherwise.
        QCOMPARE(room.cage.updateUserCageInfo(room.presenter, kApplyChange, kCageChange),
                 QString());
        const QMap<QString, QList<bool>> expected{
            {Velmar_MsgType::HKStockExchangeRateRequest, {false}},
            {Velmar_MsgType::HKPriceUnitRequest, {false, false}},
            {kProfile, {false, false}},
            {kConfig, {false, false, false, false}},
            {kWrite, {true}}};
        QCOMPARE(link.underLock(), expected);
    }

    void update_symbolAskedBefore_hasTheNewFigures() {
        PriceRoom room;
        room.cage.initCageMap(nullptr, false);
        const QVariantMap tick{{"Symbol", "600000.SH"},
                               {"TradingPhaseCode", "3"},
                               {"Buy1Price", 10.0},
                               {"Sell1Price", 10.0}};
        const auto limit = [&](bool isSell) {
            double found = -1.0;
            return room.cage.getCageLimitPrice(found, tick, isSell) ? found : -2.0;
        };
        QCOMPARE(limit(false), 10.20);
        QCOMPARE(limit(true), 9.80);
        room.world.link().on(kWrite, ScriptedReply::rows({}));
        QCOMPARE(room.cage.updateUserCageInfo(room.presenter, kApplyChange, kCageChange),
                 QString());
        const QVariantMap cage = room.cage.GetCageMapBySymbol("600000.SH");
        QCOMPARE(cage, room.cage.GetAllCageMap().value("1"));
        QCOMPARE(cage.value(CageField::userBuyPercent).toDouble(), 0.015);
        // 1.5 percent and 8 ticks up, 1.6 percent and 7 ticks down, the wider of the two.
        QCOMPARE(limit(false), 10.15);
        QCOMPARE(limit(true), 9.84);
    }

    void inited_beforeTheLoad_isFalse() {
        PriceRoom room;
        QString text = "untouched";
        QVERIFY(!room.cage.IsUserCageInfoInited("ETF", text));
        VelmarInitStateMgr::instance().StartInit(InitTypeCode::PriceCageInfo);
        QVERIFY(!room.cage.IsUserCageInfoInited("ETF", text));
        QCOMPARE(text, QString("untouched"));
    }

    void inited_eachAdvice_isGivenInItsOrder() {
        PriceRoom room;
        room.cage.initCageMap(room.presenter, false);  // the profile is refused
        QString text;
        QVERIFY(room.cage.IsUserCageInfoInited("Strategy", text));
        QCOMPARE(text, QStringLiteral("查询价格笼子设置失败，请点击右上角【设置】，"
                                      "在【价格笼子设置】中确认当前价格笼子的启用情况及参数详情，"
                                      "如不符合预期，您可手工刷新或重新设置。"));
        room.world.link().on(kProfile, ScriptedReply::rows({}));
        room.cage.initCageMap(room.presenter, true);
        const QString off = QStringLiteral(
            "当前未启用价格笼子控制，买卖股票易出现废单，"
            "建议点击右上角【设置】，在【价格笼子设置】中启用并调整参数值。");
        for (const char* key : {"Strategy", "nobody"}) {
            QVERIFY(room.cage.IsUserCageInfoInited(key, text));
            QCOMPARE(text, off);
        }
        for (const char* key : {"ETF", ""}) {
            text = "untouched";
            QVERIFY(room.cage.IsUserCageInfoInited(key, text));
            QCOMPARE(text, QString("untouched"));
        }
    }

    void inited_afterAFailedLoad_isTrue() {
        PriceRoom room(CageBuiltIn{});
        room.cage.initCageMap(nullptr, false);
        QString text = "untouched";
        QVERIFY(room.cage.IsUserCageInfoInited(QString(), text));
        QCOMPARE(text, QString("untouched"));
    }
};

QTEST_GUILESS_MAIN(PriceCageUpdateTest)
#include "price_cage_update_test.moc"
