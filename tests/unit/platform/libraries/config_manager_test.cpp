#include "zncfg/config_manager.h"

#include <QtTest>

#include "local_platform.h"
#include "static_db_builder.h"
#include "temp_home.h"
#include "vocabulary/fields.h"
#include "znbasebusinessdatamgr/zn_system_setting_data_mgr.h"
#include "zncore/zn_core.h"

namespace {

QVariantMap all() {
    return ConfigManager::instance()->getAlleffectiveKeyAndValues();
}

}  // namespace

class ConfigManagerTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_home = std::make_unique<TempHome>(); }
    void cleanup() { LocalPlatform::instance().close(); }

    void nothingSaved_isEmpty() {
        start();
        QVERIFY(all().isEmpty());
    }

    void savedKeys_haveTheirGroups() {
        start();
        ZnCore::instance()->saveSetting("plain", 1);
        ZnCore::instance()->saveSetting("name", "a,b", "Group");
        ZnCore::instance()->saveSetting("Group/deep/name", true);
        const QVariantMap expected{{"plain", 1}, {"Group/name", "a,b"}, {"Group/deep/name", true}};
        QCOMPARE(all(), expected);
    }

    void savedKeys_areThereAfterTheNextStart() {
        start();
        ZnCore::instance()->saveSetting("Group/name", "值,a");
        LocalPlatform::instance().close();
        start();
        QCOMPARE(all(), (QVariantMap{{"Group/name", "值,a"}}));
    }

    void systemSettings_holdForWhatTheUserNeverSaved() {
        StaticDbBuilder()
            .reference("setting", "Group/name", {{System::itemValue, "system"}})
            .reference("setting", "other", {{System::itemValue, 7}})
            .reference("setting", "without", {{"a", 1}})
            .write(m_home->filePath("static.db"));
        start(m_home->filePath("static.db"));
        ZnCore::instance()->saveSetting("Group/name", "user");
        QCOMPARE(all(), (QVariantMap{{"Group/name", "user"}}));
        QVERIFY(ZnSystemSettingDataMgr::instance().init());
        const QVariantMap expected{{"Group/name", "user"}, {"other", qint64(7)}};
        QCOMPARE(all(), expected);
        // The same that a single look-up finds.
        for (auto one = expected.cbegin(); one != expected.cend(); ++one) {
            QCOMPARE(ZnCore::instance()->settings(one.key()), one.value());
        }
    }

private:
    void start(const QString& staticDbFile = {}) {
        QString error;
        const bool started = LocalPlatform::instance().start(m_home->options(staticDbFile), &error);
        QVERIFY2(started, qPrintable(error));
    }

    std::unique_ptr<TempHome> m_home;
};

QTEST_GUILESS_MAIN(ConfigManagerTest)
#include "config_manager_test.moc"
