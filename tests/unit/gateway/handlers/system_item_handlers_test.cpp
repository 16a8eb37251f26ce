#include <QtTest>

#include "report_server.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/quindar_msg_type.h"

class SystemItemHandlersTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QString error;
        QVERIFY2(m_server.make(&error), qPrintable(error));
    }

    void announcement_withTheValue_isTheLongForm() {
        const QString shorter =
            item(SystemItemName::TagAnnoucement).value(System::itemDesp).toString();
        QVERIFY(shorter.contains("尊敬的客户"));
        m_server.ask(
            Velmar_MsgType::getSysConfigRequest,
            {{System::itemName, SystemItemName::TagAnnoucement}, {System::itemValue, "1"}});
        const QString longer = m_server.column(System::itemDesp).value(0);
        QVERIFY(longer.contains("尊敬的客户"));
        QVERIFY(longer.size() > shorter.size());
        QVERIFY(longer.contains('\n'));
    }

    void otherItems_haveOneDescriptionOnly() {
        const QVariantMap plain = item(SystemItemName::TagPriceCage);
        m_server.ask(Velmar_MsgType::getSysConfigRequest,
                     {{System::itemName, SystemItemName::TagPriceCage}, {System::itemValue, "1"}});
        QCOMPARE(m_server.rows(), QList<QVariantMap>{plain});
    }

    void eachItem_hasADescription() {
        const QStringList names = m_server.stored("SELECT item_name FROM system_item");
        QVERIFY(names.size() >= 6);
        for (const QString& name : names) {
            const QVariantMap row = item(name);
            QCOMPARE(row.value(System::itemName).toString(), name);
            QVERIFY2(!row.value(System::itemDesp).toString().isEmpty(), qPrintable(name));
        }
    }

    void performanceConfig_isARecordOfReports() {
        QVariantMap config;
        const QString value =
            item(SystemItemName::TagClientPerformanceCfg).value(System::itemValue).toString();
        QCOMPARE(VelmarUtils::TransStr2Map(value, config), QString());
        QCOMPARE(config.take("UploadDst").toInt(), 3);
        QCOMPARE(QStringList(config.keys()),
                 (QStringList{ClientPerformType::CpuUsage, ClientPerformType::DiskUsage,
                              ClientPerformType::MemUsage, ClientPerformType::NetStat}));
        for (const QVariant& one : qAsConst(config)) {
            QVERIFY(!one.toMap().value("items").toStringList().isEmpty());
            QVERIFY(one.toMap().value("period").toInt() >= 60);
        }
    }

    void uploadOfLogs_isOn() {
        QCOMPARE(item("torvi.sys.dmp.autouploadlog").value(System::itemValue).toBool(), true);
    }

    void configRequest_byItemName_isTheItem() {
        const QVariantMap item = this->item(SystemItemName::TagClientPerformanceCfg);
        QVERIFY(isSuccess(config({{System::itemName, SystemItemName::TagClientPerformanceCfg}})));
        QCOMPARE(m_server.rows(), QList<QVariantMap>{item});
    }

    void configRequest_byKey_isTheValueAlone() {
        QVERIFY(isSuccess(config({{System::sysConfigKey, "torvi.sys.dmp.autouploadlog"}})));
        const QVariantMap expected{{System::sysConfigKey, "torvi.sys.dmp.autouploadlog"},
                                   {System::sysConfigValue, "true"}};
        QCOMPARE(m_server.rows(), QList<QVariantMap>{expected});
    }

    void configRequest_byBoth_goesByTheKey() {
        config({{System::sysConfigKey, "torvi.sys.notice.url"},
                {System::itemName, SystemItemName::TagPriceCage}});
        const QVariantMap expected{{System::sysConfigKey, "torvi.sys.notice.url"},
                                   {System::sysConfigValue, ""}};
        QCOMPARE(m_server.rows(), QList<QVariantMap>{expected});
    }

    void configRequest_unknownKey_isASuccessWithoutRows() {
        QVERIFY(isSuccess(config({{System::sysConfigKey, "nothing"}})));
        QVERIFY(m_server.rows().isEmpty());
        QVERIFY(isSuccess(config({})));
        QVERIFY(m_server.rows().isEmpty());
    }

    void itemWithoutAValue_isARowWithAnEmptyOne() {
        const QVariantMap row = item("torvi.sys.notice.url");
        QVERIFY(row.contains(System::itemValue));
        QCOMPARE(row.value(System::itemValue).toString(), QString());
    }

    void unknownOrMissingName_isASuccessWithoutRows() {
        for (const QVariantMap& fields : {QVariantMap{{System::itemName, "nothing"}},
                                          QVariantMap{{System::itemName, ""}}, QVariantMap{}}) {
            QVERIFY(isSuccess(m_server.ask(Velmar_MsgType::getSysConfigRequest, fields)));
            QVERIFY(m_server.rows().isEmpty());
        }
    }

private:
    QVariantMap item(const QString& name) {
        m_server.ask(Velmar_MsgType::getSysConfigRequest, {{System::itemName, name}});
        return m_server.rows().value(0);
    }

    QVariantMap config(const QVariantMap& fields) {
        return m_server.ask(Quindar_MsgType::sysConfigRequest, fields);
    }

    ReportServer m_server;
};

QTEST_GUILESS_MAIN(SystemItemHandlersTest)
#include "system_item_handlers_test.moc"
