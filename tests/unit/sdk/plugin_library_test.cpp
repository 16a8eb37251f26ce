#include <QJsonArray>
#include <QJsonObject>
#include <QPluginLoader>
#include <QtTest>

#include "facade_function.h"
#include "plugin_manager.h"
#include "test_paths.h"
#include "znplugin/i_plugin.h"

namespace {

QString libraryFile() {
    return QStringLiteral(VELMAR_BINARY_DIR "/plugins/libVelmarBusinessDataManager.so");
}

}  // namespace

/// The library as a host sees it: loaded by file, not linked.
class PluginLibraryTest : public QObject {
    Q_OBJECT

private slots:
    void metaData_beforeLoading_isWhatTheHostReads() {
        const QPluginLoader loader(libraryFile());
        const QJsonObject all = loader.metaData();
        QCOMPARE(all.value("IID").toString(), QString("ZNAppPlugin"));
        QCOMPARE(all.value("className").toString(), QString("VelmarBusinessDataManagerPlugin"));
        const QJsonObject own = all.value("MetaData").toObject();
        QCOMPARE(own.value("Name").toString(), QString("VelmarBusinessDataManager"));
        QCOMPARE(own.value("Version").toString(), QString("2.0.0"));
        QCOMPARE(own.value("CompatVersion").toString(), QString("2.0.0"));
        QCOMPARE(own.value("Required"), QJsonValue(false));
        QCOMPARE(own.value("Category").toString(), QString("Page"));
        QCOMPARE(own.value("Description").toString(), QString("The option plugin for the ZNApp."));
        QCOMPARE(own.value("Arguments").toArray(), QJsonArray());
        QVERIFY(own.value("Arguments").isArray());
        QVERIFY(own.value("Dependencies").isArray());
        QCOMPARE(own.value("Dependencies").toArray(), QJsonArray());
        QVERIFY(own.contains("Vendor") && own.contains("License") && own.contains("Url"));
    }

    void instance_calledTwice_isTheSameUntilItIsDeleted() {
        QLibrary library(libraryFile());
        using Instance = QObject* (*)();
        const auto instance = reinterpret_cast<Instance>(library.resolve("qt_plugin_instance"));
        QVERIFY(instance);
        QVERIFY(library.resolve("qt_plugin_query_metadata"));
        QObject* const first = instance();
        QVERIFY(qobject_cast<IPlugin*>(first));
        QCOMPARE(instance(), first);
        QPointer<QObject> gone = first;
        delete first;
        QVERIFY(gone.isNull());
        QVERIFY(qobject_cast<IPlugin*>(instance()));
        delete instance();
    }

    void pluginClass_inTheLibrary_isExported() {
        QLibrary library(libraryFile());
        QVERIFY(library.resolve("_ZTV31VelmarBusinessDataManagerPlugin"));
        const auto* const metaObject = reinterpret_cast<const QMetaObject*>(
            library.resolve("_ZN31VelmarBusinessDataManagerPlugin16staticMetaObjectE"));
        QVERIFY(metaObject);
        QCOMPARE(metaObject->className(), "VelmarBusinessDataManagerPlugin");
        QVERIFY(metaObject->inherits(&IPlugin::staticMetaObject));
    }

    void initialize_descriptor_carriesIdDllNameAndMetaId() {
        PluginManager manager;
        QString error;
        QVERIFY2(manager.load(libraryFile(), &error), qPrintable(error));
        const QObject* const descriptor = manager.descriptor("VelmarBusinessDataManager");
        QVERIFY(descriptor);
        QVERIFY(!descriptor->parent());
        QCOMPARE(descriptor->property("id").toString(), QString("ZNApp.VelmarBusinessDataManager"));
        QCOMPARE(descriptor->property("dllname").toString(),
                 QString("libVelmarBusinessDataManager"));
        QCOMPARE(descriptor->property("metaId").toInt(),
                 QMetaType::type("VelmarBusinessDataManager"));
        QVERIFY(descriptor->property("metaId").toInt() != QMetaType::UnknownType);
        manager.shutdown();
    }

    void functionTable_resolvedByName_isComplete() {
        QLibrary library(libraryFile());
        const auto table =
            reinterpret_cast<FacadeFunctionsAccessor>(library.resolve("velmarFacadeFunctions"));
        QVERIFY(table);
        int count = 0;
        const FacadeFunction* const functions = table(&count);
        QVERIFY(count >= 8);
        QString error;
        const FacadeFunction* const chosen = chooseFacadeFunction(
            functions, count, "GetTradingAccountList", {"true", "16", "false"}, &error);
        QVERIFY2(chosen, qPrintable(error));
        QCOMPARE(chosen->signature(),
                 QString("QStringList GetTradingAccountList(bool, int, bool)"));
    }
};

QTEST_GUILESS_MAIN(PluginLibraryTest)
#include "plugin_library_test.moc"
