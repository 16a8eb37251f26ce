#include "plugin_manager.h"
#include "plugin_object_properties.h"

#include <QFile>
#include <QLibraryInfo>
#include <QPointer>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>
#include <memory>
#include <thread>

#include "test_paths.h"
#include "zncm/id.h"
#include "znwidget/zn_plugin_base_object.h"

namespace {

inline const QString kFixture =
    QStringLiteral(VELMAR_BINARY_DIR "/plugins/fixtures/libFixturePlugin.so");
inline const QString kUnresolved =
    QStringLiteral(VELMAR_BINARY_DIR "/plugins/fixtures/libUnresolvedPlugin.so");
constexpr const char* kCalls = "fixtureCalls";
constexpr const char* kRefusal = "fixtureRefusal";

/// A copy of the fixture in which a text of its metadata is replaced by another of the same length.
QString fixtureWith(const QTemporaryDir& dir, const QByteArray& text, const QByteArray& other) {
    QFile original(kFixture);
    QString path = dir.filePath("libChanged.so");
    QFile changed(path);
    if (!original.open(QIODevice::ReadOnly) || !changed.open(QIODevice::WriteOnly)) {
        return {};
    }
    QByteArray bytes = original.readAll();
    if (!bytes.contains(text) || text.size() != other.size()) {
        return {};
    }
    changed.write(bytes.replace(text, other));
    return path;
}

}  // namespace

class OneObject : public ZnPluginBaseObject {
    Q_OBJECT

public:
    using ZnPluginBaseObject::ZnPluginBaseObject;
    OneObject(const OneObject& other) = default;
};

class OtherObject : public ZnPluginBaseObject {
    Q_OBJECT

public:
    using ZnPluginBaseObject::ZnPluginBaseObject;
};

class PluginManagerTest : public QObject {
    Q_OBJECT

private slots:
    void init();

    void load_missingFile_namesIt();
    void load_noLibrary_namesTheFile();
    void load_pluginOfAnotherKind_namesTheFileAndTheKind();
    void load_metaDataThatDoesNotFit_isRefusedUnloaded_data();
    void load_metaDataThatDoesNotFit_isRefusedUnloaded();
    void load_symbolMissing_namesTheFileAndTheSymbol();
    void load_initializeRefuses_namesTheFileAndTheReason();
    void load_twice_isRefused();
    void load_good_initializesWithTheLibrarysName();
    void descriptor_unknownName_isNull();
    void makePluginObject_unknownName_isNull();
    void makePluginObject_badMetaId_namesTheFile_data();
    void makePluginObject_badMetaId_namesTheFile();
    void makePluginObject_good_isInitialised();
    void makePluginObjects_ofALibrary_makesEachThatItCan();
    void makePluginObjects_libraryWithoutObject_saysSo();
    void lifeOfAPlugin_callsComeInOrder();
    void destructor_withoutShutdown_deletesEverything();
    void properties_belongToTheClass();
    void properties_cleared_areGone();
    void pluginObject_parentless_movesToTheApplicationsThread();
    void pluginObject_copy_isFreshAndHasTheSameParent();
    void id_toSetting_isItsNameAsText();

private:
    static QStringList calls() { return qApp->property(kCalls).toStringList(); }
    static void forgetCalls() { qApp->setProperty(kCalls, QVariant()); }
    void refused(const QString& file, const QString& part) {
        PluginManager manager;
        QString error;
        QVERIFY(!manager.load(file, &error));
        QVERIFY2(error.contains(file) && error.contains(part), qPrintable(error));
    }
};

void PluginManagerTest::init() {
    forgetCalls();
    qApp->setProperty(kRefusal, QVariant());
    clearPluginObjectProperties();
}

void PluginManagerTest::load_missingFile_namesIt() {
    refused("/nowhere/libNothing.so", "no such file");
}

void PluginManagerTest::load_noLibrary_namesTheFile() {
    const QTemporaryDir dir;
    const QString path = dir.filePath("libText.so");
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("not a library");
    file.close();
    refused(path, "not a plug-in");
}

void PluginManagerTest::load_pluginOfAnotherKind_namesTheFileAndTheKind() {
    const QString file =
        QLibraryInfo::location(QLibraryInfo::PluginsPath) + "/sqldrivers/libqsqlite.so";
    QVERIFY2(QFile::exists(file), qPrintable(file));
    refused(file, "QSqlDriverFactoryInterface");
}

void PluginManagerTest::load_metaDataThatDoesNotFit_isRefusedUnloaded_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("other");
    QTest::addColumn<QString>("why");
    QTest::newRow("another interface id")
        << QByteArray("ZNAppPlugin") << QByteArray("ZNAppWidget") << "\"ZNAppWidget\"";
    QTest::newRow("older CompatVersion")
        << QByteArray("2.0.0") << QByteArray("1.9.9") << "version 1.9.9 of the plug-in interface";
    QTest::newRow("CompatVersion is not a version")
        << QByteArray("2.0.0") << QByteArray("newer") << "no \"CompatVersion\"";
    QTest::newRow("no CompatVersion")
        << QByteArray("CompatVersion") << QByteArray("ComputVersion") << "no \"CompatVersion\"";
}

void PluginManagerTest::load_metaDataThatDoesNotFit_isRefusedUnloaded() {
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, other);
    QFETCH(QString, why);
    const QTemporaryDir dir;
    const QString file = fixtureWith(dir, text, other);
    QVERIFY(!file.isEmpty());
    QVERIFY2(PluginManager::unfitness(file).contains(why), qPrintable(file));
    refused(file, why);
    QCOMPARE(calls(), QStringList());
}

void PluginManagerTest::load_symbolMissing_namesTheFileAndTheSymbol() {
    refused(kUnresolved, "isDefinedNowhere");
}

void PluginManagerTest::load_initializeRefuses_namesTheFileAndTheReason() {
    qApp->setProperty(kRefusal, "no licence");
    refused(kFixture, "no licence");
    QVERIFY(calls().contains("delete Good"));
}

void PluginManagerTest::load_twice_isRefused() {
    PluginManager manager;
    QString error;
    QVERIFY2(manager.load(kFixture, &error), qPrintable(error));
    QVERIFY(!manager.load(kFixture, &error));
    QVERIFY2(error.contains(kFixture) && error.contains("already"), qPrintable(error));
    QCOMPARE(calls().filter("initialize").size(), 1);
}

void PluginManagerTest::load_good_initializesWithTheLibrarysName() {
    PluginManager manager;
    QCOMPARE(PluginManager::unfitness(kFixture), QString());
    QVERIFY(manager.load(kFixture, nullptr));
    QCOMPARE(calls(), QStringList{"initialize 0 libFixturePlugin"});
    QObject* const descriptor = manager.descriptor("Good");
    QVERIFY(descriptor);
    QCOMPARE(descriptor->objectName(), QString("Good"));
}

void PluginManagerTest::descriptor_unknownName_isNull() {
    PluginManager manager;
    QVERIFY(!manager.descriptor("Good"));
    QVERIFY(manager.load(kFixture, nullptr));
    QVERIFY(!manager.descriptor("Nobody"));
}

void PluginManagerTest::makePluginObject_unknownName_isNull() {
    PluginManager manager;
    QString error;
    QVERIFY(!manager.makePluginObject("Nobody", &error));
    QVERIFY2(error.contains("Nobody"), qPrintable(error));
}

void PluginManagerTest::makePluginObject_badMetaId_namesTheFile_data() {
    QTest::addColumn<QString>("name");
    QTest::newRow("no metaId") << "NoMetaId";
    QTest::newRow("no number") << "TextMetaId";
    QTest::newRow("unknown type") << "UnknownMetaId";
    QTest::newRow("a type of Qt's own") << "QtMetaId";
}

void PluginManagerTest::makePluginObject_badMetaId_namesTheFile() {
    QFETCH(QString, name);
    PluginManager manager;
    QVERIFY(manager.load(kFixture, nullptr));
    QString error;
    QVERIFY(!manager.makePluginObject(name, &error));
    QVERIFY2(error.contains(kFixture) && error.contains(name), qPrintable(error));
}

void PluginManagerTest::makePluginObject_good_isInitialised() {
    PluginManager manager;
    QVERIFY(manager.load(kFixture, nullptr));
    forgetCalls();
    QString error;
    ZnPluginBaseObject* const object = manager.makePluginObject("Good", &error);
    QVERIFY2(object, qPrintable(error));
    QCOMPARE(object->metaObject()->className(), "FixtureObject");
    QCOMPARE(calls(), QStringList{"object initialize"});
}

void PluginManagerTest::makePluginObjects_ofALibrary_makesEachThatItCan() {
    PluginManager manager;
    QVERIFY(manager.load(kFixture, nullptr));
    forgetCalls();
    QStringList errors;
    QCOMPARE(manager.makePluginObjects(kFixture, &errors), QStringList{"Good"});
    QCOMPARE(calls(), QStringList{"object initialize"});
    QCOMPARE(errors.size(), 3);
    const QStringList bad{"TextMetaId", "UnknownMetaId", "QtMetaId"};
    for (int i = 0; i < bad.size(); ++i) {
        QVERIFY2(errors.at(i).contains(kFixture) && errors.at(i).contains(bad.at(i)),
                 qPrintable(errors.at(i)));
    }
}

void PluginManagerTest::makePluginObjects_libraryWithoutObject_saysSo() {
    PluginManager manager;
    QStringList errors;
    QCOMPARE(manager.makePluginObjects(kFixture, &errors), QStringList());
    QCOMPARE(errors.size(), 1);
    QVERIFY2(errors.first().contains(kFixture) && errors.first().contains("no object"),
             qPrintable(errors.first()));
}

void PluginManagerTest::lifeOfAPlugin_callsComeInOrder() {
    PluginManager manager;
    QVERIFY(manager.load(kFixture, nullptr));
    QVERIFY(manager.makePluginObject("Good", nullptr));
    manager.extensionsInitialized();
    manager.objectsInitialized();
    manager.objectsInitialized();
    manager.shutdown();
    manager.shutdown();
    QCOMPARE(calls(), (QStringList{"initialize 0 libFixturePlugin", "object initialize",
                                   "extensionsInitialized", "delayedInitialize",
                                   "object initialized", "aboutToShutdown", "delete object",
                                   "delete QtMetaId", "delete UnknownMetaId", "delete TextMetaId",
                                   "delete NoMetaId", "delete Good"}));
    QVERIFY(!manager.descriptor("Good"));
}

void PluginManagerTest::destructor_withoutShutdown_deletesEverything() {
    QPointer<QObject> descriptor;
    QPointer<QObject> object;
    {
        PluginManager manager;
        QVERIFY(manager.load(kFixture, nullptr));
        object = manager.makePluginObject("Good", nullptr);
        descriptor = manager.descriptor("Good");
        QVERIFY(object && descriptor);
    }
    QVERIFY(!object);
    QVERIFY(!descriptor);
    QVERIFY(calls().contains("aboutToShutdown"));
}

void PluginManagerTest::properties_belongToTheClass() {
    OneObject first;
    OneObject second;
    OtherObject other;
    QVERIFY(!first.getPluginObjectPropety("key").isValid());
    first.setPluginWidgetPropety("key", 5);
    QCOMPARE(second.getPluginObjectPropety("key"), QVariant(5));
    QVERIFY(!second.getPluginObjectPropety("another key").isValid());
    QVERIFY(!other.getPluginObjectPropety("key").isValid());
    second.setPluginWidgetPropety("key", 6);
    QCOMPARE(first.getPluginObjectPropety("key"), QVariant(6));
}

void PluginManagerTest::properties_cleared_areGone() {
    OneObject object;
    object.setPluginWidgetPropety("key", 5);
    clearPluginObjectProperties();
    QVERIFY(!object.getPluginObjectPropety("key").isValid());
}

void PluginManagerTest::pluginObject_parentless_movesToTheApplicationsThread() {
    std::unique_ptr<OneObject> made;
    std::thread([&] { made = std::make_unique<OneObject>(); }).join();
    QCOMPARE(made->thread(), qApp->thread());
}

void PluginManagerTest::pluginObject_copy_isFreshAndHasTheSameParent() {
    QObject parent;
    auto* const original = new OneObject(&parent);
    original->setObjectName("original");
    auto* const copy = new OneObject(*original);
    QCOMPARE(copy->parent(), &parent);
    QCOMPARE(copy->objectName(), QString());
}

void PluginManagerTest::id_toSetting_isItsNameAsText() {
    QCOMPARE(Id("ZNApp.Some").toSetting(), QVariant(QStringLiteral("ZNApp.Some")));
}

QTEST_GUILESS_MAIN(PluginManagerTest)
#include "plugin_manager_test.moc"
