#include <QtTest>

#include "client_world.h"
#include "first_load.h"
#include "local_platform.h"
#include "log_capture.h"
#include "process_per_case.h"
#include "velmar_business_data_interface.h"
#include "velmar_business_data_manager_presenter_class.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "wait_for.h"
#include "znbusinessdata/c_db_work_info_manager.h"
#include "zndatabase/zn_sql_query.h"

namespace {

using Facade = VelmarBusinessDataInterface;

const QString kTypes = Velmar_MsgType::QueryRiskSecurityFlagInfoRequest;
const QString kMonitor = Velmar_MsgType::QueryMonitorSymbolsRequest;
const QString kSt = QStringLiteral("600001.SH");
const QString kPlain = QStringLiteral("600002.SH");

QVariantMap row(const QString& id, const QString& field = {}, const QVariant& value = {}) {
    QVariantMap fields{{Security::securityID, id}, {UserAccount::securityExchange, Exchange::sh}};
    if (!field.isEmpty()) {
        fields.insert(field, value);
    }
    return fields;
}

StaticDbBuilder securities() {
    StaticDbBuilder data;
    data.reference("security", kSt, row("600001", Security::STFlag, StFlag::IsST));
    QVariantMap growth = row("600002", Security::chineseName, "新股-U");
    growth.insert(Security::ListingDate, "20250713");
    data.reference("security", kPlain, growth);
    return data;
}

/// The messages in the user's table.
QList<QVariant> savedRows() {
    ZnSqlQuery select;
    select.prepare("SELECT * FROM BUSI_MSG_CENTER");
    return CDBWorkInfoManager::getInstance()->executeQuery(select);
}

void script(ClientWorld& world) {
    world.link().on(Velmar_MsgType::queryProductDataVersionRequest,
                    ScriptedReply::rows(
                        {{{System::dataKey, "productinfo.riskInfo"}, {System::dataVersion, 1}}}));
    world.link().on(Velmar_MsgType::queryProductRiskInfoRequest,
                    ScriptedReply::rows({row("600001", Security::riskRemindInfo, "重点关注")}));
    world.link().on(kTypes, ScriptedReply::rows({row("600002", SymbolRiskType::riskFlagType,
                                                     SymbolRiskType::BrokenNetPrice)}));
    world.link().on(kMonitor, ScriptedReply::rows({row("600002")}));
}

}  // namespace

/// There is one core in a process, so each of these has a process of its own.
class FacadeRiskTest : public QObject {
    Q_OBJECT

private slots:
    void recordFlags_firstCallInTheProcess_answerFromTheReferenceData() {
        const ClientWorld world({}, securities());
        QVERIFY(Facade::IsSymbolInST(kSt) && !Facade::IsSymbolInST(kPlain));
        QString text = "before";
        QCOMPARE(Facade::GetSymbolStType(kPlain, text), StFlag::Normal);
        QCOMPARE(text, QString("before"));
        QCOMPARE(Facade::GetSymbolStType(kSt, text), StFlag::IsST);
        QVERIFY(text.startsWith("【其他风险警示、50万股买入限制】"));
        QCOMPARE(Facade::GetScienTechGrowFlagBySymbol(kPlain), 2);
        QCOMPARE(Facade::GetScienTechGrowFlagBySymbol(kSt), 0);
    }

    void lists_beforeAnyLoad_areEmpty() {
        const ClientWorld world({}, securities());
        QVERIFY(!Facade::IsSymbolKeyMonitor(kPlain));
        QVERIFY(!Facade::IsSymbolBreakingIssuePrice(kPlain));
        QVERIFY(!Facade::IsSymbolBrokenNetPrice(kPlain));
        QVERIFY(!Facade::CheckSymbolRiskInfo({kSt, kPlain}, "指令"));
    }

    void keyMonitor_loaded_isRequestedByEveryCall() {
        ClientWorld world({}, securities());
        script(world);
        world.login();
        Facade::InitKeyMonitorSymbols();
        QVERIFY(Facade::IsSymbolKeyMonitor(kPlain) && !Facade::IsSymbolKeyMonitor(kSt));
        Facade::InitKeyMonitorSymbols();
        QCOMPARE(world.link().requestCount(kMonitor), 2);
    }

    void riskTypes_loadedByTheFacade_areNotLoadedByTheStartUp() {
        ClientWorld world(numberedAccounts(1), securities());
        script(world);
        // The start-up sequence waits for the account list, which comes with the login.
        Facade::InitSymbolRiskTypeInfo();
        QCOMPARE(world.link().requestCount(kTypes), 1);
        QVERIFY(Facade::IsSymbolBrokenNetPrice(kPlain));
        QVERIFY(!Facade::IsSymbolBreakingIssuePrice(kPlain));
        LogCapture log;
        world.login();
        QVERIFY(log.waitFor("初始化/更新风险警示股"));
        QVERIFY(world.link().waitUntilIdle());
        LocalPlatform::instance().close();
        QCOMPARE(world.link().requestCount(kTypes), 1);
    }

    void check_afterTheStartUp_raisesSavedTradeMessages() {
        ClientWorld world(numberedAccounts(1), securities());
        script(world);
        QVariantMap notice = row("600001", Security::riskRemindInfo, "重点关注");
        notice.insert(Security::STFlag, true);
        world.link().on(Velmar_MsgType::queryProductRiskInfoRequest, ScriptedReply::rows({notice}));
        world.login();
        LogCapture log;
        Facade::InitSymbolRiskTypeInfo();
        QVERIFY(log.waitFor("初始化/更新风险警示股"));
        QVERIFY(Facade::CheckSymbolRiskInfo({kSt, kPlain}, "投资指令"));
        QVERIFY(waitFor([] { return Facade::GetAllBusiMsgList().size() == 3; }));
        QStringList texts;
        for (const QVariantMap& message : Facade::GetAllBusiMsgList()) {
            texts.append(message.value(System::textDescription).toString());
            QCOMPARE(message.value(System::BusiMsgLevel).toString(), BusiMsgLevel::Important);
            QCOMPARE(message.value(System::BusiMsgType).toString(), BusiMsgType::TradeMsg);
            QCOMPARE(message.value(System::BusiMsgSubType).toString(), QString("4001"));
        }
        texts.sort();
        QCOMPARE(texts.size(), 3);
        QCOMPARE(texts.at(0), QString("检测到投资指令下达尝试破发或破净标的，交易代码：600002.SH"));
        QVERIFY(texts.at(1).startsWith("检测到投资指令尝试交易代码：600001.SH为风险警示股，"));
        QCOMPARE(texts.at(2), QString("检测到投资指令尝试交易代码：600001.SH，该代码重点关注"));
        QVERIFY(waitFor([] { return savedRows().size() == 3; }));
        QStringList saved;
        for (const QVariant& one : savedRows()) {
            const QVariantMap fields = one.toMap();
            saved.append(fields.value("content").toString());
        }
        saved.sort();
        QCOMPARE(saved, texts);
        QVERIFY(!Facade::CheckSymbolRiskInfo({kSt, kPlain}, "投资指令"));
    }

    void loads_hostIsClosed_returnAndLeaveTheLists() {
        ClientWorld world({}, securities());
        script(world);
        world.login();
        Facade::InitKeyMonitorSymbols();
        LocalPlatform::instance().close();
        const int before = world.link().requestCount();
        Facade::InitKeyMonitorSymbols();
        Facade::InitSymbolRiskTypeInfo();
        QCOMPARE(world.link().requestCount(), before);
        QVERIFY(Facade::IsSymbolKeyMonitor(kPlain));
    }
};

VELMAR_PROCESS_PER_CASE_MAIN(FacadeRiskTest)
#include "facade_risk_test.moc"
