#include <unistd.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>
#include <atomic>
#include <functional>
#include <future>
#include <limits>
#include <memory>
#include <mutex>

#include "local_platform.h"
#include "log_capture.h"
#include "price_fixture.h"
#include "thread_state.h"
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

/// Records for each request, by its type, whether its sender held a lock of the plug-in.
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

/// A question about the cage on a thread of its own.
struct Question {
    explicit Question(std::function<void()> ask)
        : result(std::async(std::launch::async, [this, ask = std::move(ask)] {
              threadId = gettid();
              ask();
              isAnswered = true;
          })) {}
    /// Waits until the question is either answered or waits for something.
    bool waitUntilAnsweredOrBlocked() const {
        return waitFor([this] { return isAnswered || (threadId > 0 && isThreadAsleep(threadId)); });
    }

    std::atomic<int> threadId{0};
    std::atomic<bool> isAnswered{false};
    const std::future<void> result;  // last: its thread uses the others
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
        PriceFixture fixture;
        fixture.cage.initCageMap(fixture.presenter, false);
        fixture.world.link().on(kWrite, ScriptedReply::rows({}));
        const CageIndex index = fixture.cage.GetCageIndexMap();
        const LogCapture log;
        QCOMPARE(fixture.cage.updateUserCageInfo(fixture.presenter, kApplyChange, kCageChange),
                 QString());
        const QVariantMap cage = fixture.cage.GetAllCageMap().value("1");
        QCOMPARE(cage.value(CageField::userBuyPercent).toDouble(), 0.015);
        QCOMPARE(cage.value(CageField::userBuyUnit).toInt(), 8);
        QCOMPARE(cage.value(CageField::userSellPercent).toDouble(), 0.016);
        QCOMPARE(cage.value(CageField::userSellUnit).toInt(), 7);
        // Only the four figures; the rest of the record stays.
        QCOMPARE(cage.value(CageField::controlType).toInt(), 3);
        QVERIFY(cage.contains("title"));
        QVERIFY(!fixture.cage.IsCageApply("ETF"));
        QVERIFY(fixture.cage.IsCageApply("New"));
        QCOMPARE(fixture.cage.GetCageApplyMap().value("ETF").value("title").toString(),
                 QString("ETF套利"));
        QCOMPARE(fixture.cage.GetCageApplyMap().value("New"),
                 (QVariantMap{{CageField::status, true}}));
        QCOMPARE(fixture.cage.GetCageIndexMap(), index);
        // The tables are the user's own now.
        QString text = "untouched";
        QVERIFY(fixture.cage.IsGetUserCageInfo(text));
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
        PriceFixture fixture;
        fixture.cage.initCageMap(fixture.presenter, false);
        fixture.world.link().on(kWrite, ScriptedReply::rows({}));
        fixture.cage.updateUserCageInfo(fixture.presenter, kApplyChange, kCageChange);
        const ScriptedLink::Request request = fixture.world.link().lastRequest(kWrite);
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
        PriceFixture fixture;
        fixture.cage.initCageMap(fixture.presenter, false);
        fixture.world.link().on(kWrite, ScriptedReply::rows({}));
        fixture.cage.updateUserCageInfo(fixture.presenter, kApplyChange, kCageChange);
        const QList<QVariantMap> rows = fixture.world.link().lastRequest(kWrite).rows;
        const CageRecords before = fixture.cage.GetAllCageMap();
        fixture.world.link().on(kProfile, ScriptedReply::rows(rows));
        QCOMPARE(fixture.cage.initCageMap(fixture.presenter, true), QString());
        QCOMPARE(fixture.cage.GetAllCageMap().value("1").value(CageField::userBuyPercent),
                 before.value("1").value(CageField::userBuyPercent));
        QVERIFY(fixture.cage.IsCageApply("New"));
        QVERIFY(!fixture.cage.IsCageApply("ETF"));
        QString text = "untouched";
        QVERIFY(fixture.cage.IsGetUserCageInfo(text));
        QCOMPARE(text, QString());
    }

    void update_unknownCage_getsARecordOfTheFourFigures() {
        PriceFixture fixture;
        fixture.cage.initCageMap(fixture.presenter, false);
        fixture.world.link().on(kWrite, ScriptedReply::rows({}));
        QCOMPARE(fixture.cage.updateUserCageInfo(fixture.presenter, {},
                                                 {{"X", {{CageField::userBuyUnit, 5}, {"t", 1}}}}),
                 QString());
        const QVariantMap record = fixture.cage.GetAllCageMap().value("X");
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
        PriceFixture fixture;
        fixture.cage.initCageMap(fixture.presenter, false);
        const CageRecords cages = fixture.cage.GetAllCageMap();
        const CageRecords apply = fixture.cage.GetCageApplyMap();
        fixture.world.link().on(kWrite, replies[kind]);
        const LogCapture capture;
        QCOMPARE(fixture.cage.updateUserCageInfo(fixture.presenter, kApplyChange, kCageChange),
                 text);
        QVERIFY(capture.contains(QtDebugMsg, log));
        QCOMPARE(fixture.cage.GetAllCageMap(), cages);
        QCOMPARE(fixture.cage.GetCageApplyMap(), apply);
        QVERIFY(!savedSetting(ETFTradeSetting::Self_AllPriceCageApply).isValid());
        QVERIFY(!savedSetting(ETFTradeSetting::Self_AllPriceCageMap).isValid());
    }

    void update_acceptedByAnAnswerWithMissingRows_isAccepted() {
        PriceFixture fixture;
        fixture.cage.initCageMap(fixture.presenter, false);
        // The rows of this answer are not read.
        fixture.world.link().on(kWrite, ScriptedReply::rows({}, {{System::subGroupNumber, 2}}));
        QCOMPARE(fixture.cage.updateUserCageInfo(fixture.presenter, kApplyChange, kCageChange),
                 QString());
        QVERIFY(!fixture.cage.IsCageApply("ETF"));
    }

    void update_noPresenter_returnsItsTextAndChangesNothing() {
        PriceFixture fixture;
        fixture.cage.initCageMap(nullptr, false);
        const CageRecords cages = fixture.cage.GetAllCageMap();
        QCOMPARE(fixture.cage.updateUserCageInfo(nullptr, kApplyChange, kCageChange),
                 QStringLiteral("prtClass为空，无法上报价格笼子设置至后台！"));
        QCOMPARE(fixture.cage.GetAllCageMap(), cages);
        QCOMPARE(fixture.world.link().requestCount(kWrite), 0);
    }

    void update_underWay_doesNotBlockQuestionsThatNeedNoTable() {
        PriceFixture fixture;
        fixture.world.link().on(kProfile, ScriptedReply::rows({}));
        fixture.cage.initCageMap(fixture.presenter, false);
        fixture.world.link().on(kWrite, ScriptedReply::rows({}).held());
        const auto writer = std::async(std::launch::async, [&fixture] {
            fixture.cage.updateUserCageInfo(fixture.presenter, kApplyChange, kCageChange);
        });
        QVERIFY(fixture.world.link().waitForRequestCount(kWrite, 1));
        QString text = "untouched";
        QVERIFY(fixture.cage.IsGetUserCageInfo(text));
        QVERIFY(fixture.cage.IsUserCageInfoInited(QString(), text));
        QCOMPARE(text, QString("untouched"));
        QCOMPARE(fixture.cage.getCageUpdateTime(), QTime(9, 30, 15));
        // The request is still pending, so none of the questions waited for it.
        QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 1);
        QVERIFY(waitFor([&] { return fixture.world.link().release(kWrite) == 1; }));
        writer.wait();
        QVERIFY(!fixture.cage.IsCageApply("ETF"));
    }

    void update_underWay_blocksEveryReaderOfTheTables_data() {
        QTest::addColumn<int>("question");
        QTest::newRow("GetAllCageMap") << 0;
        QTest::newRow("GetCageApplyMap") << 1;
        QTest::newRow("GetCageIndexMap") << 2;
        QTest::newRow("IsCageApply") << 3;
        QTest::newRow("GetCageMapBySymbol") << 4;
        QTest::newRow("CheckCagePrice") << 5;
    }
    void update_underWay_blocksEveryReaderOfTheTables() {
        QFETCH(int, question);
        PriceFixture fixture;
        fixture.cage.initCageMap(fixture.presenter, false);
        const QVariantMap tick{
            {"Symbol", "600000.SH"}, {"TradingPhaseCode", "3"}, {"Sell1Price", 10.0}};
        fixture.cage.CheckCagePrice(10.0, tick, false);  // reads the reference data once
        const std::function<void()> questions[] = {
            [&] { fixture.cage.GetAllCageMap(); },
            [&] { fixture.cage.GetCageApplyMap(); },
            [&] { fixture.cage.GetCageIndexMap(); },
            [&] { fixture.cage.IsCageApply("ETF"); },
            [&] { fixture.cage.GetCageMapBySymbol("600000.SH"); },
            [&] { fixture.cage.CheckCagePrice(10.0, tick, false); }};
        fixture.world.link().on(kWrite, ScriptedReply::rows({}).held());
        const auto writer = std::async(std::launch::async, [&fixture] {
            fixture.cage.updateUserCageInfo(fixture.presenter, kApplyChange, kCageChange);
        });
        QVERIFY(fixture.world.link().waitForRequestCount(kWrite, 1));
        // Only m_cageLock held for writing keeps all of them out.
        const Question asked(questions[question]);
        const bool decided = asked.waitUntilAnsweredOrBlocked();
        const bool early = asked.isAnswered;
        QVERIFY(waitFor([&] { return fixture.world.link().release(kWrite) == 1; }));
        asked.result.wait();
        QVERIFY(decided);
        QVERIFY(!early);
    }

    void update_twoAtOnce_keepsTheChangesOfBoth() {
        PriceFixture fixture;
        fixture.cage.initCageMap(fixture.presenter, false);
        fixture.world.link().on(kWrite, ScriptedReply::rows({}).held());
        const auto update = [&fixture](const QString& function, int ticks) {
            return std::async(std::launch::async, [&fixture, function, ticks] {
                return fixture.cage.updateUserCageInfo(
                    fixture.presenter, {{function, {{CageField::status, true}}}},
                    {{function, {{CageField::userBuyUnit, ticks}}}});
            });
        };
        auto one = update("One", 1);
        auto two = update("Two", 2);
        // The second is not sent before the first one is answered.
        QVERIFY(waitFor([&] { return fixture.world.link().release(kWrite) == 1; }));
        QVERIFY(fixture.world.link().waitForRequestCount(kWrite, 2));
        QVERIFY(waitFor([&] { return fixture.world.link().release(kWrite) == 1; }));
        QCOMPARE(one.get(), QString());
        QCOMPARE(two.get(), QString());
        QVERIFY(fixture.cage.IsCageApply("One") && fixture.cage.IsCageApply("Two"));
        const CageRecords cages = fixture.cage.GetAllCageMap();
        QCOMPARE(cages.value("One").value(CageField::userBuyUnit).toInt(), 1);
        QCOMPARE(cages.value("Two").value(CageField::userBuyUnit).toInt(), 2);
        // The later request and the local copies contain both.
        const QList<QVariantMap> rows = fixture.world.link().lastRequest(kWrite).rows;
        for (const QString& json :
             {rows.at(0).value(System::profileData).toString(),
              rows.at(1).value(System::profileData).toString(),
              savedSetting(ETFTradeSetting::Self_AllPriceCageApply).toString(),
              savedSetting(ETFTradeSetting::Self_AllPriceCageMap).toString()}) {
            QVERIFY(recordOf(json).contains("One") && recordOf(json).contains("Two"));
        }
    }

    void update_unusableFigure_isRefusedBeforeAnythingIsSent_data() {
        QTest::addColumn<QString>("field");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<bool>("accepted");
        const double infinity = std::numeric_limits<double>::infinity();
        const QString& ratio = CageField::userBuyPercent;
        const QString& ticks = CageField::userSellUnit;
        QTest::newRow("ratio") << ratio << QVariant(0.02) << true;
        QTest::newRow("ratio as text") << ratio << QVariant("0.02") << true;
        QTest::newRow("ratio 0") << ratio << QVariant(0) << true;
        QTest::newRow("ratio negative") << ratio << QVariant(-0.01) << false;
        QTest::newRow("ratio negative as text") << ratio << QVariant("-0.01") << false;
        QTest::newRow("ratio is not a number") << ratio << QVariant("two") << false;
        QTest::newRow("ratio empty") << ratio << QVariant("") << false;
        QTest::newRow("ratio is NaN")
            << ratio << QVariant(std::numeric_limits<double>::quiet_NaN()) << false;
        QTest::newRow("ratio is NaN as text") << ratio << QVariant("nan") << false;
        QTest::newRow("ratio infinite") << ratio << QVariant(infinity) << false;
        QTest::newRow("ratio infinite as text") << ratio << QVariant("inf") << false;
        QTest::newRow("ratio is a record") << ratio << QVariant(QVariantMap()) << false;
        QTest::newRow("ratio is a truth value") << ratio << QVariant(true) << false;
        QTest::newRow("ratio left out") << ratio << QVariant() << true;
        QTest::newRow("ticks") << ticks << QVariant(10) << true;
        QTest::newRow("ticks as text") << ticks << QVariant("10") << true;
        QTest::newRow("ticks negative") << ticks << QVariant(-1) << false;
        // It would be read back as 0.
        QTest::newRow("ticks as a text with decimals") << ticks << QVariant("9.7") << false;
        // Not one of the figures in force, so it is ignored.
        QTest::newRow("other field") << "title" << QVariant("two") << true;
    }
    void update_unusableFigure_isRefusedBeforeAnythingIsSent() {
        QFETCH(QString, field);
        QFETCH(QVariant, value);
        QFETCH(bool, accepted);
        PriceFixture fixture;
        fixture.cage.initCageMap(fixture.presenter, false);
        const CageRecords before = fixture.cage.GetAllCageMap();
        fixture.world.link().on(kWrite, ScriptedReply::rows({}));
        const LogCapture log;
        const QString text = fixture.cage.updateUserCageInfo(fixture.presenter, kApplyChange,
                                                             {{"1", {{field, value}}}});
        QCOMPARE(text.isEmpty(), accepted);
        QCOMPARE(fixture.world.link().requestCount(kWrite), accepted ? 1 : 0);
        if (!accepted) {
            QVERIFY(text.startsWith("设置失败，失败原因：") && text.contains(field));
            QVERIFY(log.contains(QtWarningMsg, "changes of price cage \"1\" are refused"));
            QCOMPARE(fixture.cage.GetAllCageMap(), before);
            QVERIFY(fixture.cage.IsCageApply("ETF"));
        }
    }

    void update_figureLeftOut_isEmptied() {
        PriceFixture fixture;
        fixture.cage.initCageMap(fixture.presenter, false);
        fixture.world.link().on(kWrite, ScriptedReply::rows({}));
        QCOMPARE(fixture.cage.updateUserCageInfo(fixture.presenter, {},
                                                 {{"1", {{CageField::userBuyUnit, 5}}}}),
                 QString());
        const QVariantMap cage = fixture.cage.GetAllCageMap().value("1");
        QCOMPARE(cage.value(CageField::userBuyUnit).toInt(), 5);
        for (const QString& field :
             {CageField::userBuyPercent, CageField::userSellPercent, CageField::userSellUnit}) {
            QVERIFY(cage.contains(field) && !cage.value(field).isValid());
        }
    }

    void update_noPresenterWhileOneIsUnderWay_returnsAtOnce() {
        PriceFixture fixture;
        fixture.cage.initCageMap(fixture.presenter, false);
        fixture.world.link().on(kWrite, ScriptedReply::rows({}).held());
        const auto writer = std::async(std::launch::async, [&fixture] {
            fixture.cage.updateUserCageInfo(fixture.presenter, kApplyChange, kCageChange);
        });
        QVERIFY(fixture.world.link().waitForRequestCount(kWrite, 1));
        QCOMPARE(fixture.cage.updateUserCageInfo(nullptr, kApplyChange, kCageChange),
                 QStringLiteral("prtClass为空，无法上报价格笼子设置至后台！"));
        QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 1);
        QVERIFY(waitFor([&] { return fixture.world.link().release(kWrite) == 1; }));
    }

    void requests_loadsAndUpdate_areSentUnderALockByTheUpdateOnly() {
#ifdef QT_NO_DEBUG
        QSKIP("only debug builds record the held locks");
#endif
        PriceFixture fixture;
        auto made = std::make_unique<LockNotingLink>();
        LockNotingLink& link = *made;
        QString error;
        QVERIFY2(LocalPlatform::instance().setLink(std::move(made), &error), qPrintable(error));
        link.on(kWrite, ScriptedReply::rows({}));
        fixture.hongKong.initHKExchangeRate(fixture.presenter);
        fixture.hongKong.initHKPriceUnit(fixture.presenter);
        fixture.cage.initCageMap(fixture.presenter, false);
        fixture.cage.initCageMap(fixture.presenter, true);
        // No price may be checked against figures that the server is replacing at that moment.
        QCOMPARE(fixture.cage.updateUserCageInfo(fixture.presenter, kApplyChange, kCageChange),
                 QString());
        const QMap<QString, QList<bool>> expected{
            {Velmar_MsgType::HKStockExchangeRateRequest, {false}},
            {Velmar_MsgType::HKPriceUnitRequest, {false, false}},
            {kProfile, {false, false}},
            {kConfig, {false, false, false, false}},
            {kWrite, {true}}};
        QCOMPARE(link.underLock(), expected);
    }

    void update_symbolLookedUpBefore_hasTheNewFigures() {
        PriceFixture fixture;
        fixture.cage.initCageMap(nullptr, false);
        const QVariantMap tick{{"Symbol", "600000.SH"},
                               {"TradingPhaseCode", "3"},
                               {"Buy1Price", 10.0},
                               {"Sell1Price", 10.0}};
        const auto limit = [&](bool isSell) {
            double found = -1.0;
            return fixture.cage.getCageLimitPrice(found, tick, isSell) ? found : -2.0;
        };
        QCOMPARE(limit(false), 10.20);
        QCOMPARE(limit(true), 9.80);
        fixture.world.link().on(kWrite, ScriptedReply::rows({}));
        QCOMPARE(fixture.cage.updateUserCageInfo(fixture.presenter, kApplyChange, kCageChange),
                 QString());
        const QVariantMap cage = fixture.cage.GetCageMapBySymbol("600000.SH");
        QCOMPARE(cage, fixture.cage.GetAllCageMap().value("1"));
        QCOMPARE(cage.value(CageField::userBuyPercent).toDouble(), 0.015);
        // 1.5 percent and 8 ticks up, 1.6 percent and 7 ticks down, the wider of the two.
        QCOMPARE(limit(false), 10.15);
        QCOMPARE(limit(true), 9.84);
    }

    void inited_beforeTheLoad_isFalse() {
        PriceFixture fixture;
        QString text = "untouched";
        QVERIFY(!fixture.cage.IsUserCageInfoInited("ETF", text));
        VelmarInitStateMgr::instance().StartInit(InitTypeCode::PriceCageInfo);
        QVERIFY(!fixture.cage.IsUserCageInfoInited("ETF", text));
        QCOMPARE(text, QString("untouched"));
    }

    void inited_severalAdvices_areGivenInTheirOrder() {
        PriceFixture fixture;
        fixture.cage.initCageMap(fixture.presenter, false);  // the profile is refused
        QString text;
        QVERIFY(fixture.cage.IsUserCageInfoInited("Strategy", text));
        QCOMPARE(text, QStringLiteral("查询价格笼子设置失败，请点击右上角【设置】，"
                                      "在【价格笼子设置】中确认当前价格笼子的启用情况及参数详情，"
                                      "如不符合预期，您可手工刷新或重新设置。"));
        fixture.world.link().on(kProfile, ScriptedReply::rows({}));
        fixture.cage.initCageMap(fixture.presenter, true);
        const QString off = QStringLiteral(
            "当前未启用价格笼子控制，买卖股票易出现废单，"
            "建议点击右上角【设置】，在【价格笼子设置】中启用并调整参数值。");
        for (const char* key : {"Strategy", "nobody"}) {
            QVERIFY(fixture.cage.IsUserCageInfoInited(key, text));
            QCOMPARE(text, off);
        }
        for (const char* key : {"ETF", ""}) {
            text = "untouched";
            QVERIFY(fixture.cage.IsUserCageInfoInited(key, text));
            QCOMPARE(text, QString("untouched"));
        }
    }

    void inited_afterAFailedLoad_isTrue() {
        PriceFixture fixture(CageBuiltIn{});
        fixture.cage.initCageMap(nullptr, false);
        QString text = "untouched";
        QVERIFY(fixture.cage.IsUserCageInfoInited(QString(), text));
        QCOMPARE(text, QString("untouched"));
    }
};

QTEST_GUILESS_MAIN(PriceCageUpdateTest)
#include "price_cage_update_test.moc"
