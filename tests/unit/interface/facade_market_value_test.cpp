#include <QJsonArray>
#include <QJsonObject>
#include <QtTest>

#include "client_world.h"
#include "facade_function.h"
#include "local_platform.h"
#include "log_capture.h"
#include "process_per_case.h"
#include "run_on_thread.h"
#include "scripted_neighbour.h"
#include "velmar_business_data_interface.h"
#include "velmar_business_data_manager.h"
#include "vocabulary/fields.h"
#include "vocabulary/tick_fields.h"
#include "vocabulary/values.h"
#include "wait_for.h"

namespace {

using Facade = VelmarBusinessDataInterface;

StaticDbBuilder securities() {
    StaticDbBuilder data;
    const auto add = [&data](const QString& symbol, const QString& type) {
        data.reference("security", symbol,
                       {{Security::symbol, symbol},
                        {Security::securityID, symbol.section('.', 0, 0)},
                        {UserAccount::securityExchange, Exchange::sh},
                        {MDCFieldDefine::mdcSecurityType, type}});
    };
    add("600000.SH", MdcSecurityType::StockType);
    add("136001.SH", MdcSecurityType::BondType);
    add("888880.SH", MdcSecurityType::BondType);
    return data;
}

QVariantMap position(const QString& account, double quantity) {
    return {{UserAccount::tradingAccount, account},
            {Security::securityID, "600000"},
            {UserAccount::securityExchange, Exchange::sh},
            {Security::nominalQty, quantity},
            {Security::omsAverageCost, 9.0}};
}

/// Calls an exported function by name, as the command line does.
QJsonObject call(const QString& name, const QStringList& arguments) {
    int count = 0;
    const FacadeFunction* const functions = velmarFacadeFunctions(&count);
    QString error;
    const FacadeFunction* const function =
        chooseFacadeFunction(functions, count, name, arguments, &error);
    return function ? function->call(arguments) : QJsonObject{{"error", error}};
}

}  // namespace

class FacadeMarketValueTest : public QObject {
    Q_OBJECT

private slots:
    void marketValue_startedPlugin_followsPositionsAndTicks() {
        ClientWorld world({TestAccount("A1"), TestAccount("A2")}, securities());
        const auto neighbour = std::make_shared<ScriptedNeighbour>();
        LocalPlatform::instance().setNeighbourData(neighbour);
        neighbour->setPositions({position("A1", 10)});
        world.login();
        VelmarBusinessDataManager object;
        object.initialize();
        QVERIFY(world.link().waitForRequestCount("325005", 1));
        LocalPlatform::instance().publishTick("600000.SH", {{TickField::lastPrice, 10.0}});
        const auto value = [] { return Facade::GetMarketValueByTradingAccount("A1").marketValue; };
        QVERIFY(waitFor([&value] { return value() == 10000.0; }));
        LocalPlatform::instance().publishEvent(0x31002, packRows(position("A1", 20), {}));
        QVERIFY(waitFor([&value] { return value() == 20000.0; }));

        const QJsonObject shown =
            call("GetMarketValueByTradingAccount", {"A1"}).value("result").toObject();
        QCOMPARE(shown, (QJsonObject{{"tradingAccount", "A1"},
                                     {"marketValue", 20000.0},
                                     {"costValue", 18000.0},
                                     {"symbolMarketValueMap", QJsonObject{{"600000.SH", 20000.0}}},
                                     {"symbolCostValueMap", QJsonObject{{"600000.SH", 18000.0}}}}));
        QCOMPARE(Facade::GetMarketValueByTradingAccount("A2").tradingAccount, QString("A2"));
        QCOMPARE(Facade::GetMarketValueByTradingAccount("nobody").tradingAccount, QString());
    }

    void calcMarketValue_noPresenter_values() {
        const ClientWorld world({}, securities());
        QString error = "before";
        QCOMPARE(Facade::calcMarketValue(error, "600000.SH", 1000, 10.0, 5.0), 10000.0);
        QCOMPARE(Facade::calcMarketValue(error, "888880.SH", 1000, 10.0, 1.0), 100000.0);
        QCOMPARE(error, QString("before"));
        QCOMPARE(Facade::calcMarketValue(error, "136001.SH", 1000, 10.0, 1.0), 0.0);
        QCOMPARE(error, QStringLiteral("未找到债券代码136001.SH的应计利息（stockInterest）"));
    }

    void calcMarketValue_calledByName_givesValueAndError() {
        const ClientWorld world({}, securities());
        const QJsonObject answer = call("calcMarketValue", {"", "136001.SH", "1000", "10", "1"});
        QCOMPARE(answer.value("result").toDouble(), 0.0);
        QVERIFY(answer.value("out").toArray().at(0).toObject().value("value").toString().contains(
            "136001.SH"));
    }

    void requeryFunds_noPresenter_asksNobodyAndMakesNoCore() {
        const ClientWorld world({TestAccount("A1")});
        const auto neighbour = std::make_shared<ScriptedNeighbour>();
        LocalPlatform::instance().setNeighbourData(neighbour);
        const LogCapture log;
        Facade::RequeryFundInfo();
        QVERIFY(neighbour->fundPresenters().isEmpty());
        QVERIFY(!log.contains("RequeryFundInfo"));
        QVERIFY(!log.contains("init ZnBusinessDataManager"));
    }

    void requeryFunds_presenter_isAskedOnceWithIt() {
        ClientWorld world({TestAccount("A1")}, securities());
        const auto neighbour = std::make_shared<ScriptedNeighbour>();
        LocalPlatform::instance().setNeighbourData(neighbour);
        world.login();
        VelmarBusinessDataManager object;
        object.initialize();
        runOnThreadAndWait(object.presenter(), [] {});  // the start-up has ended
        const LogCapture log;
        Facade::RequeryFundInfo();
        QCOMPARE(neighbour->fundPresenters(), QList<ZnPresenterClass*>{s_presenter.load()});
        QCOMPARE(log.texts().filter("RequeryFundInfo").size(), 1);

        // Without a neighbour there is nobody to ask.
        LocalPlatform::instance().setNeighbourData(nullptr);
        Facade::RequeryFundInfo();
        QCOMPARE(neighbour->fundPresenters().size(), 1);
        QCOMPARE(log.texts().filter("RequeryFundInfo").size(), 2);
        // A subscription of the start-up that is tried again is refused with a warning.
        for (const LogCapture::Line& line : log.lines()) {
            QVERIFY2(line.type != QtWarningMsg || line.category == "velmar.requests",
                     qPrintable(line.category + ": " + line.text));
        }
    }
};

VELMAR_PROCESS_PER_CASE_MAIN(FacadeMarketValueTest)
#include "facade_market_value_test.moc"
