#include <QJsonObject>
#include <QtTest>

#include "client_world.h"
#include "deal_record.h"
#include "facade_function.h"
#include "local_platform.h"
#include "process_per_case.h"
#include "scripted_neighbour.h"
#include "velmar_business_data_interface.h"
#include "velmar_business_data_manager.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/names.h"
#include "wait_for.h"
#include "znmsg/c_pack_message_common.h"

namespace {

using Facade = VelmarBusinessDataInterface;
using Profits = QMap<QString, QMap<QString, QMap<QString, double>>>;

/// Calls an exported function by name, as the command line does.
QJsonValue result(const QString& name, const QStringList& arguments) {
    int count = 0;
    const FacadeFunction* const functions = velmarFacadeFunctions(&count);
    QString error;
    const FacadeFunction* const function =
        chooseFacadeFunction(functions, count, name, arguments, &error);
    return function ? function->call(arguments).value("result") : QJsonValue(error);
}

void publish(const QString& event) {
    LocalPlatform::instance().publishEvent(VelmarUtils::GetTorviEventMsgIdByStr(event), {});
}

/// A client whose neighbour has the executions of two accounts.
struct Client {
    Client() : world(numberedAccounts(2)) {
        neighbour->setExecutions({TestDeal::buy(100, 10), TestDeal::sell(50, 11, 5),
                                  TestDeal::buy(100, 10, 2).in("600000.SH", "A2"),
                                  TestDeal::buy(100, 10, 3).of("T0002").in("000001.SZ", "Z1")});
        LocalPlatform::instance().setNeighbourData(neighbour);
        world.login();
    }

    ClientWorld world;
    const std::shared_ptr<ScriptedNeighbour> neighbour = std::make_shared<ScriptedNeighbour>();
};

const Profits kExpected{{"T0001", {{"600000.SH", {{"A1", 45.0}, {"A2", -2.0}}}}},
                        {"T0002", {{"000001.SZ", {{"Z1", -3.0}}}}}};

void compareWithNothing() {
    QCOMPARE(Facade::GetRealizedProfitByAccount("T0001"), 0.0);
    QCOMPARE(Facade::GetRealizedProfitByAccountAndSymbol("T0001", "600000.SH", "A1"), 0.0);
    QVERIFY(Facade::GetRealizedProfitMapByAccount("T0001").isEmpty());
    QVERIFY(Facade::GetAllRealizedProfitMap().isEmpty());
}

}  // namespace

class FacadeProfitTest : public QObject {
    Q_OBJECT

private slots:
    void profit_withoutAPresenter_isNothing() {
        const Client client;
        compareWithNothing();
    }

    void profit_beforeTheFirstLoad_isNothing() {
        const Client client;
        VelmarBusinessDataManager object;
        object.initialize();
        compareWithNothing();
    }

    void profit_loaded_isReadByEveryFunction() {
        const Client client;
        VelmarBusinessDataManager object;
        object.initialize();
        publish(EventMsgName::CalcRealizedProfitInitEvent);
        QVERIFY(waitFor([] { return Facade::GetAllRealizedProfitMap() == kExpected; }));
        QCOMPARE(Facade::GetRealizedProfitByAccount("T0001"), 43.0);
        QCOMPARE(Facade::GetRealizedProfitByAccountAndSymbol("T0001", "600000.SH", "A1"), 45.0);
        QCOMPARE(Facade::GetRealizedProfitByAccountAndSymbol("T0001", "600000.SH", ""), 43.0);
        QCOMPARE(Facade::GetRealizedProfitByAccountAndSymbol("T0001", "000001.SZ", ""), 0.0);
        QCOMPARE(Facade::GetRealizedProfitMapByAccount("T0002"), kExpected.value("T0002"));
        QVERIFY(Facade::GetRealizedProfitMapByAccount("T9").isEmpty());
    }

    void profit_calledByName_isTheSame() {
        const Client client;
        VelmarBusinessDataManager object;
        object.initialize();
        publish(EventMsgName::CalcRealizedProfitInitEvent);
        QVERIFY(waitFor([] { return Facade::GetAllRealizedProfitMap() == kExpected; }));
        QCOMPARE(result("GetRealizedProfitByAccount", {"T0001"}).toDouble(), 43.0);
        QCOMPARE(
            result("GetRealizedProfitByAccountAndSymbol", {"T0001", "600000.SH", "A2"}).toDouble(),
            -2.0);
        const QJsonObject ofT2{{"000001.SZ", QJsonObject{{"Z1", -3.0}}}};
        QCOMPARE(result("GetRealizedProfitMapByAccount", {"T0002"}).toObject(), ofT2);
        QCOMPARE(result("GetAllRealizedProfitMap", {}).toObject().value("T0002").toObject(), ofT2);
    }

    void profit_dealsAndReloads_areFollowed() {
        const Client client;
        VelmarBusinessDataManager object;
        object.initialize();
        publish(EventMsgName::CalcRealizedProfitInitEvent);
        QVERIFY(waitFor([] { return Facade::GetRealizedProfitByAccount("T0002") == -3.0; }));
        CPackMessageCommon packer;
        packer.AddRowVaule(TestDeal::sell(100, 12, 1).of("T0002").in("000001.SZ", "Z1"));
        LocalPlatform::instance().publishEvent(0x30006, packer.GetPackedMsg(false));
        QVERIFY(waitFor([] { return Facade::GetRealizedProfitByAccount("T0002") == 196.0; }));
        client.neighbour->setExecutions({});
        LocalPlatform::instance().publishEvent(0x30001, {});
        QVERIFY(waitFor([] { return Facade::GetAllRealizedProfitMap().isEmpty(); }));
    }

    void profit_afterThePresenter_isNothing() {
        const Client client;
        VelmarBusinessDataManager object;
        object.initialize();
        publish(EventMsgName::CalcRealizedProfitInitEvent);
        QVERIFY(waitFor([] { return Facade::GetAllRealizedProfitMap() == kExpected; }));
        LocalPlatform::instance().close();
        compareWithNothing();
    }
};

VELMAR_PROCESS_PER_CASE_MAIN(FacadeProfitTest)
#include "facade_profit_test.moc"
