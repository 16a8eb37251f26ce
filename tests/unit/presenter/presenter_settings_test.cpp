#include <QLoggingCategory>
#include <QtTest>

#include "client_world.h"
#include "log_capture.h"
#include "log_hook.h"
#include "shared_settings.h"
#include "velmar_business_data_manager_presenter_class.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "zncore/zn_core.h"

namespace {

using Presenter = VelmarBusinessDataManagerPresenterClass;

struct Disposal {
    void operator()(Presenter* presenter) const { presenter->deleteLater(); }
};
using OwnedPresenter = std::unique_ptr<Presenter, Disposal>;

OwnedPresenter makePresenter() {
    return OwnedPresenter(new Presenter("Test.Presenter", nullptr));
}

}  // namespace

/// What a presenter reads in its constructor.
class PresenterSettingsTest : public QObject {
    Q_OBJECT

private slots:
    void alwaysSaveDB_onlyTheNumberOne_isYes_data() {
        QTest::addColumn<QString>("value");
        QTest::addColumn<bool>("expected");
        QTest::newRow("one") << "1" << true;
        QTest::newRow("zero") << "0" << false;
        QTest::newRow("two") << "2" << false;
        QTest::newRow("no number") << "true" << false;
    }
    void alwaysSaveDB_onlyTheNumberOne_isYes() {
        QFETCH(QString, value);
        QFETCH(bool, expected);
        const ClientWorld world(
            {}, StaticDbBuilder().section("BusiMsgCenter", {{"AlwaysSaveDB", value}}));
        QCOMPARE(makePresenter()->alwaysSaveDB(), expected);
    }

    void alwaysSaveDB_absent_isNo() {
        const ClientWorld world;
        QVERIFY(!makePresenter()->alwaysSaveDB());
    }

    void patchSettings_theFileOfTheStandingUser_isRead() {
        const ClientWorld world;
        const QString file = VelmarUtils::GetDefaultUserCfgFileDir() + "patchClientSet.cfg";
        SharedSettings(file, nullptr).lockedSetValue("patch", "补丁");
        const OwnedPresenter presenter = makePresenter();
        QCOMPARE(presenter->patchSettings().file(), file);
        QCOMPARE(presenter->patchSettings().lockedValue("patch").toString(), QString("补丁"));
    }

    void netElapseStat_ofEachGate_holdsFourSamplesForEachMinute() {
        const ClientWorld world;
        ZnCore::instance()->saveSetting(SystemSetting::SysMultiTimeOutCount, 2);
        const OwnedPresenter presenter = makePresenter();
        const QMap<QString, VelmarStatisticAssist> stats = presenter->netDelays().netElapseStat();
        QStringList gates{NetGateType::TradeGate, NetGateType::InfoGate,
                          NetGateType::MarketTcpGate};
        gates.sort();
        QCOMPARE(stats.keys(), gates);
        for (VelmarStatisticAssist stat : stats) {
            bool valid = true;
            for (int i = 0; i < 7; ++i) {
                stat.AppendData(1);
            }
            QCOMPARE(stat.GetAvgData(&valid), 1.0);
            QVERIFY(!valid);
            stat.AppendData(1);
            QCOMPARE(stat.GetAvgData(&valid), 1.0);
            QVERIFY(valid);
            stat.AppendData(9);  // drops the oldest of eight
            QCOMPARE(stat.GetAvgData(&valid), 2.0);
        }
    }

    void netElapseStat_settingTooLargeForItsSamples_holdsAsManyAsPossible() {
        const ClientWorld world;
        ZnCore::instance()->saveSetting(SystemSetting::SysMultiTimeOutCount, 1000000000);
        const OwnedPresenter presenter = makePresenter();
        VelmarStatisticAssist stat =
            presenter->netDelays().netElapseStat().value(NetGateType::TradeGate);
        stat.AppendData(1);
        stat.AppendData(3);
        bool valid = true;
        QCOMPARE(stat.GetAvgData(&valid), 2.0);
        QVERIFY(!valid);
    }

    void netElapseStat_settingChangedBeforeItsEventIsSubscribed_isTaken() {
        const ClientWorld world;
        const auto save = [](int minutes) {
            ZnCore::instance()->saveSetting(SystemSetting::SysMultiTimeOutCount, minutes);
        };
        save(5);
        QLoggingCategory::setFilterRules("velmar.platform.traffic.debug=true");
        const LogCapture log;
        const LogHook change("subscribes to event 0x1000A", [&save] { save(1); });
        const OwnedPresenter presenter = makePresenter();
        VelmarStatisticAssist stat =
            presenter->netDelays().netElapseStat().value(NetGateType::TradeGate);
        bool valid = false;
        for (int beat = 1; beat <= 4; ++beat) {
            stat.AppendData(1);
            stat.GetAvgData(&valid);
            QCOMPARE(valid, beat == 4);
        }
        QLoggingCategory::setFilterRules({});
    }

    void busiMsgMenuMap_relations_areSplitWithoutEmptyParts() {
        const ClientWorld world({}, StaticDbBuilder().section(
                                        DictionaryKey::BusiMsgMenuRela,
                                        {{"1", "M1|M2||M3"}, {"2", "M4"}, {"3", ""}, {"4", "|"}}));
        const QMap<QString, QStringList> expected{{"1", {"M1", "M2", "M3"}}, {"2", {"M4"}}};
        QCOMPARE(makePresenter()->busiMsgMenuMap(), expected);
    }
};

QTEST_GUILESS_MAIN(PresenterSettingsTest)
#include "presenter_settings_test.moc"
