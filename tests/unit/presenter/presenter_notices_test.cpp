#include <QDate>
#include <QDateTime>
#include <QDirIterator>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QtTest>

#include "fake_clock.h"
#include "held_close.h"
#include "local_platform.h"
#include "log_capture.h"
#include "message_client.h"
#include "process_per_case.h"
#include "run_on_thread.h"
#include "scripted_link.h"
#include "static_db_builder.h"
#include "velmar_business_data_manager_presenter_class.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/quindar_msg_type.h"

namespace {

using Presenter = VelmarBusinessDataManagerPresenterClass;

const QString kMenus = Quindar_MsgType::menuConfigurationRequest;
const QString kBlocked = QStringLiteral("收到菜单权限控制外的消息，屏蔽之");
const QString kEmpty = QStringLiteral("接收到空消息，废弃之");

/// The menus of the user as the server answers them.
ScriptedReply menus(const QStringList& menuIds) {
    QList<QVariantMap> rows;
    for (const QString& menuId : menuIds) {
        rows.append({{UserAccount::menuId, menuId}, {UserAccount::menuCaption, "菜单" + menuId}});
    }
    return ScriptedReply::rows(rows);
}

/// A column of the messages in the work database of a home, whose client is closed.
QStringList storedColumn(const QString& home, const QString& column) {
    QDirIterator files(home, {"user_*.sqlite"}, QDir::Files, QDirIterator::Subdirectories);
    QStringList texts;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE", "reader");
        database.setDatabaseName(files.hasNext() ? files.next() : QString());
        if (!database.open()) {
            return {"no database"};
        }
        QSqlQuery query("SELECT * FROM BUSI_MSG_CENTER", database);
        while (query.next()) {
            texts.append(query.value(column).toString());
        }
    }
    QSqlDatabase::removeDatabase("reader");
    return texts;
}

StaticDbBuilder menuRelation(const QString& menuIds) {
    return StaticDbBuilder().section(DictionaryKey::BusiMsgMenuRela, {{"7", menuIds}});
}

}  // namespace

/// The notices of the plug-ins: which of them are published and which are kept.
class PresenterNoticesTest : public QObject {
    Q_OBJECT

private slots:
    void notice_ofAnotherPlugin_getsIdTimeAndReadState() {
        MessageClient client;
        QVERIFY(client.start());
        const FakeClock clock(QDateTime::currentDateTime().addSecs(-3600));
        LocalPlatform::instance().setClock(clock.function());
        client.notify(notice("文", {{System::clientMsgID, ""},
                                    {System::createTime, ""},
                                    {BusiMsgCenter::ReadStatus, true}}));
        QVERIFY(client.waitForUpdates(1));
        const QVariantMap record = client.updates().first();
        QVERIFY(!record.value(System::clientMsgID).toString().isEmpty());
        QCOMPARE(record.value(System::createTime).toDateTime(), clock.now());
        QCOMPARE(record.value(BusiMsgCenter::ReadStatus), QVariant(false));
        QCOMPARE(client.messages().GetAllBusiMsgList(), client.updates());
    }

    void notice_withIdAndTime_keepsThem() {
        MessageClient client;
        QVERIFY(client.start());
        const FakeClock clock(QDateTime::currentDateTime().addSecs(-3600));
        LocalPlatform::instance().setClock(clock.function());
        const QDateTime time(clock.now().date(), QTime(0, 0, 1));
        client.notify(notice("文", {{System::clientMsgID, "own"}, {System::createTime, time}}));
        client.notify(notice(
            "二", {{System::clientMsgID, "own2"}, {System::createTime, time.addYears(7000)}}));
        QVERIFY(client.waitForUpdates(2));
        QCOMPARE(client.updates().at(0).value(System::clientMsgID).toString(), QString("own"));
        QCOMPARE(client.updates().at(0).value(System::createTime).toDateTime(), time);
        QCOMPARE(client.updates().at(1).value(System::createTime).toDateTime(), clock.now());
    }

    void notice_emptyText_isDroppedWithALogLine() {
        MessageClient client;
        QVERIFY(client.start());
        client.notify(notice(""));
        client.messages().AddBusiMsg("2", "", "7", "", "", "", true, "");
        QVERIFY(client.settle());
        QCOMPARE(client.log.texts(QtInfoMsg).filter(kEmpty).size(), 2);
        QVERIFY(client.log.contains("VelmarBusinessDataManagerPresenterClass::slotBusiMsgAdd"));
        QVERIFY(client.updates().isEmpty());
        QVERIFY(client.messages().GetAllBusiMsgList().isEmpty());
    }

    void notice_addedByTheClient_isListedBeforeItsEvent() {
        MessageClient client;
        QVERIFY(client.start());
        client.messages().AddBusiMsg("2", "文本", "7", "71", "项", "值", false, "");
        QVERIFY(client.waitForUpdates(1));
        const QVariantMap record = client.updates().first();
        QCOMPARE(client.messages().GetAllBusiMsgList(), QList<QVariantMap>{record});
        QCOMPARE(record.value(System::BusiMsgSubType).toString(), QString("71"));
        QCOMPARE(record.value(System::itemName).toString(), QString("项"));
        QCOMPARE(record.value(System::itemValue).toString(), QString("值"));
    }

    void notice_saveFlag_orTheProductsSetting_keepsIt_data() {
        QTest::addColumn<QString>("always");
        QTest::addColumn<QVariant>("saveDb");
        QTest::addColumn<bool>("kept");
        QTest::newRow("flag") << "0" << QVariant(true) << true;
        QTest::newRow("no flag") << "0" << QVariant(false) << false;
        QTest::newRow("flag missing") << "0" << QVariant() << false;
        QTest::newRow("no flag, all kept") << "1" << QVariant(false) << true;
        QTest::newRow("flag missing, all kept") << "1" << QVariant() << true;
    }
    void notice_saveFlag_orTheProductsSetting_keepsIt() {
        QFETCH(QString, always);
        QFETCH(QVariant, saveDb);
        QFETCH(bool, kept);
        MessageClient client(
            StaticDbBuilder().section("BusiMsgCenter", {{"AlwaysSaveDB", always}}));
        QVERIFY(client.start());
        QList<bool> saved;
        QObject context;
        connect(
            client.presenter(), &Presenter::signalBusiMsgRecved, &context,
            [&saved](const QVariantMap&, bool bSaveDb) { saved.append(bSaveDb); },
            Qt::DirectConnection);
        QVariantMap fields = notice("文");
        if (saveDb.isValid()) {
            fields.insert(BusiMsgCenter::SaveDB, saveDb);
        }
        client.notify(fields);
        QVERIFY(client.settle());
        QCOMPARE(saved, QList<bool>{kept});
    }

    void notice_withoutSaveFlagAllKept_isInTheTableAfterTheEnd() {
        MessageClient client(StaticDbBuilder().section("BusiMsgCenter", {{"AlwaysSaveDB", "1"}}));
        QVERIFY(client.start());
        client.messages().AddBusiMsg("2", "文本", "7", "", "", "", false, "");
        QVERIFY(client.waitForUpdates(1));
        LocalPlatform::instance().close();
        QCOMPARE(storedColumn(client.world.homeDir(), "content"), QStringList{"文本"});
    }

    void message_markedReadJustBeforeTheClose_isReadInTheTable() {
        MessageClient client;
        QVERIFY(client.start());
        client.push(serverRow("S1", "1"));
        QVERIFY(client.waitForUpdates(1));
        const QString clientId = client.updates().first().value(System::clientMsgID).toString();
        runOnThreadAndWait(client.presenter(), [&] { client.messages().SetBusiMsgRead(clientId); });
        LocalPlatform::instance().close();
        QCOMPARE(storedColumn(client.world.homeDir(), "readStatus"), QStringList{"1"});
    }

    void notice_typeOutsideTheMenus_passesOnceThenIsBlocked() {
        MessageClient client(menuRelation("M1|M2"));
        client.world.link().on(kMenus, menus({"M8", "M9"}));
        QVERIFY(client.start());
        for (const char* text : {"一", "二", "三"}) {
            client.notify(notice(text));
        }
        QVERIFY(client.settle());
        QCOMPARE(textsOf(client.updates()), QStringList{"一"});
        QCOMPARE(textsOf(client.messages().GetAllBusiMsgList()), QStringList{"一"});
        QCOMPARE(client.log.texts(QtInfoMsg).filter(kBlocked).size(), 2);
        QCOMPARE(client.world.link().requestCount(kMenus), 1);
    }

    void notice_typeWithOneOfItsMenus_passesEachTime() {
        MessageClient client(menuRelation("M1||M9"));
        client.world.link().on(kMenus, menus({"M8", "M9"}));
        QVERIFY(client.start());
        client.notify(notice("一"));
        client.notify(notice("二"));
        QVERIFY(client.settle());
        QCOMPARE(textsOf(client.updates()), (QStringList{"一", "二"}));
        QCOMPARE(client.world.link().requestCount(kMenus), 1);
    }

    void notice_menusNotLoaded_passesEachTimeWithOneRequestEach() {
        MessageClient client(menuRelation("M1|M2|M3"));
        client.world.link().on(kMenus, ScriptedReply::failure("no menus"));
        QVERIFY(client.start());
        client.notify(notice("一"));
        client.notify(notice("二"));
        QVERIFY(client.settle());
        QCOMPARE(textsOf(client.updates()), (QStringList{"一", "二"}));
        QCOMPARE(client.world.link().requestCount(kMenus), 2);
        client.world.link().on(kMenus, menus({"M9"}));
        client.notify(notice("三"));
        client.notify(notice("四"));
        QVERIFY(client.settle());
        QCOMPARE(textsOf(client.updates()), (QStringList{"一", "二", "三"}));
        QCOMPARE(client.world.link().requestCount(kMenus), 3);
    }

    void notice_typeWithoutMenus_needsNoRequest_data() {
        QTest::addColumn<QString>("relation");
        QTest::newRow("no relation") << "";
        QTest::newRow("empty parts only") << "||";
    }
    void notice_typeWithoutMenus_needsNoRequest() {
        QFETCH(QString, relation);
        MessageClient client(menuRelation(relation));
        QVERIFY(client.start());
        client.notify(notice("一"));
        client.notify(notice("二"));
        QVERIFY(client.settle());
        QCOMPARE(client.updates().size(), 2);
        QCOMPARE(client.world.link().requestCount(kMenus), 0);
    }

    void push_typeOutsideTheMenus_isNotBlocked() {
        MessageClient client(menuRelation("M1"));
        client.world.link().on(kMenus, menus({"M9"}));
        QVERIFY(client.start());
        client.notify(notice("一"));
        QVERIFY(client.settle());
        client.push(notice("二"));
        QVERIFY(client.waitForUpdates(2));
    }

    void notice_serverIdKnown_isPublishedOnlyIfItIsNotStored() {
        MessageClient client;
        QVERIFY(client.start());
        client.push(serverRow("S1", "000001"));
        QVERIFY(client.waitForUpdates(1));
        QVariantMap again = serverRow("S1", "000002");
        again.insert(BusiMsgCenter::SaveDB, true);
        client.notify(again);
        QVERIFY(client.settle());
        QCOMPARE(client.updates().size(), 1);
        QCOMPARE(client.messages().GetAllBusiMsgList().size(), 1);
        again.insert(BusiMsgCenter::SaveDB, false);
        client.notify(again);
        QVERIFY(client.settle());
        QCOMPARE(client.updates().size(), 2);
        QCOMPARE(client.messages().GetAllBusiMsgList().size(), 2);
    }

    void notice_onlyPresenterCloses_isLostWithAWarning() {
        MessageClient client;
        QVERIFY(client.start());
        const HeldClose close(client.presenter());
        QVERIFY(close.isClosing());
        client.messages().AddBusiMsg("2", "一", "7", "", "", "", true, "");
        QVERIFY(client.log.contains(QtWarningMsg, "there is no open presenter"));
        QVERIFY(client.messages().GetAllBusiMsgList().isEmpty());
    }
};

VELMAR_PROCESS_PER_CASE_MAIN(PresenterNoticesTest)
#include "presenter_notices_test.moc"
