#include <QJsonObject>
#include <QtTest>
#include <algorithm>
#include <thread>

#include "client_world.h"
#include "facade_function.h"
#include "first_load.h"
#include "local_platform.h"
#include "process_per_case.h"
#include "velmar_business_data_interface.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "wait_for.h"
#include "zn_business_data_manager.h"

namespace {

using Facade = VelmarBusinessDataInterface;

constexpr int kStartUpMs = 30000;
inline const QString kUpload = Velmar_MsgType::ClientInfoUploadRequest;
inline const QString kType = QStringLiteral("a type of this test");

/// The rows of this test among all that were sent; the start-up reports more.
QList<QVariantMap> sentRows(ClientWorld& world) {
    QList<QVariantMap> rows;
    for (const ScriptedLink::Request& request : world.link().requests(kUpload)) {
        std::copy_if(request.rows.cbegin(), request.rows.cend(), std::back_inserter(rows),
                     [](const QVariantMap& row) { return row.value(System::itemType) == kType; });
    }
    return rows;
}

/// Calls an exported function by its name, as a command line does.
QJsonObject callByName(const QString& name, const QStringList& arguments) {
    int count = 0;
    const FacadeFunction* const functions = velmarFacadeFunctions(&count);
    QString error;
    const FacadeFunction* const chosen =
        chooseFacadeFunction(functions, count, name, arguments, &error);
    if (!chosen) {
        QTest::qFail(qPrintable(error), __FILE__, __LINE__);
        return {};
    }
    return chosen->call(arguments);
}

}  // namespace

class FacadeMonitorTest : public QObject {
    Q_OBJECT

private slots:
    void functions_firstCalls_bringNoPresenterUp() {
        ClientWorld world;
        Facade::UploadAllClientInfo();
        Facade::AddClientInfo(kType, "a", "b", 1, QTime(), 0);
        Facade::UploadAllClientInfo();
        QCOMPARE(Facade::GetLinkageEventID("first"), 136449);
        QCoreApplication::processEvents();
        QCOMPARE(LocalPlatform::instance().presenterCount(), 0);
        QCOMPARE(world.link().requestCount(), 0);
    }

    void addClientInfo_beforeThePluginIsUp_isSentLater() {
        ClientWorld world;
        world.login();
        std::thread caller([] {
            Facade::AddClientInfo(kType, "early", "more", QVariant(QStringList{"x"}),
                                  QTime(9, 30, 1, 250), 0);
            Facade::UploadAllClientInfo();
        });
        caller.join();
        QCoreApplication::processEvents();
        QVERIFY(sentRows(world).isEmpty());
        InitVelmarBusinessManagePlugin();
        Facade::UploadAllClientInfo();
        QVERIFY(waitFor([&] { return !sentRows(world).isEmpty(); }, kStartUpMs));
        const QVariantMap expected{
            {System::itemType, kType},           {System::itemValue, "early"},
            {System::itemValueEx, "more"},       {System::operType, QStringList{"x"}},
            {System::timeStamp, "09:30:01.250"}, {Strategy::logTriggerTime, 0}};
        QCOMPARE(sentRows(world), QList<QVariantMap>{expected});
    }

    void addClientInfo_urgent_isSentWithoutAnUpload() {
        ClientWorld world;
        world.login();
        InitVelmarBusinessManagePlugin();
        Facade::AddClientInfo(kType, "waits", "", 0, QTime(), 0);
        Facade::AddClientInfo(kType, "now", "", 0, QTime(), 1);
        QVERIFY(waitFor([&] { return !sentRows(world).isEmpty(); }, kStartUpMs));
        // The first item comes with the batch of its window, which may have ended by now.
        const auto uploads = world.link().requests(kUpload);
        const auto urgent = std::find_if(
            uploads.cbegin(), uploads.cend(), [](const ScriptedLink::Request& request) {
                return request.rows.value(0).value(System::itemValue) == "now";
            });
        QVERIFY(urgent != uploads.cend());
        QCOMPARE(urgent->rows.size(), 1);
        QCOMPARE(sentRows(world).first().value(System::itemValue).toString(), QString("now"));
    }

    void addClientInfo_byName_readsItsTexts_data() {
        QTest::addColumn<QString>("time");
        QTest::addColumn<QString>("sent");
        QTest::newRow("a time") << "09:30:00"
                                << "09:30:00.000";
        QTest::newRow("none") << ""
                              << "";
    }
    void addClientInfo_byName_readsItsTexts() {
        QFETCH(QString, time);
        QFETCH(QString, sent);
        const ClientWorld world;
        QList<QVariantMap> items;
        QObject context;
        connect(ZnBusinessDataManager::instance(), &ZnBusinessDataManager::signalClientInfoCollect,
                &context, [&items](const QVariantMap& item) { items.append(item); });
        callByName("AddClientInfo", {kType, "value", "", "2", time, "0"});
        QCOMPARE(items.size(), 1);
        const QVariantMap item = items.first();
        QCOMPARE(item.value(System::itemType).toString(), kType);
        QCOMPARE(item.value(System::itemValue).toString(), QString("value"));
        QCOMPARE(item.value(System::operType).toInt(), 2);
        const QString stamp = item.value(System::timeStamp).toString();
        if (sent.isEmpty()) {
            QVERIFY(QTime::fromString(stamp, "hh:mm:ss.zzz").isValid());
        } else {
            QCOMPARE(stamp, sent);
        }
    }

    void linkageEventId_byName_isTheSameAsByCall() {
        const ClientWorld world;
        QCOMPARE(Facade::GetLinkageEventID("one"), 136449);
        QCOMPARE(callByName("GetLinkageEventID", {"two"}).value("result").toInt(), 136450);
        QCOMPARE(Facade::GetLinkageEventID("two"), 136450);
        QCOMPARE(callByName("GetLinkageEventID", {"one"}).value("result").toInt(), 136449);
    }
};

VELMAR_PROCESS_PER_CASE_MAIN(FacadeMonitorTest)
#include "facade_monitor_test.moc"
