#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <QtTest>

#include "market_server.h"
#include "vocabulary/plugin_propety.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

inline const QString kOfUser = Quindar_MsgType::menuConfigurationRequest;
inline const QString kOfSystem = Velmar_MsgType::getSysMenuRequest;

QVariantMap client(const QString& user = SampleLogin::user) {
    return {{UserAccount::menuType, MenuType::client}, {UserAccount::userID, user}};
}

}  // namespace

/// Requests for menus to the sample market's server.
class MenuHandlersTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QString error;
        QVERIFY2(m_server.make(&error), qPrintable(error));
    }

    void userMenus_eachRow_hasIdCaptionAndReadablePosition() {
        const QVariantMap header = m_server.ask(kOfUser, client());
        QCOMPARE(header.value(System::subGroupNumber).toInt(), m_server.rows().size());
        QVERIFY(m_server.rows().size() > 20);
        int plugins = 0;
        for (const QVariantMap& row : m_server.rows()) {
            QVERIFY(!row.value(UserAccount::menuCaption).toString().isEmpty());
            const QString text = row.value(UserAccount::menuPosition).toString();
            const auto document = QJsonDocument::fromJson(text.toUtf8());
            QVERIFY2(document.isArray() || document.isObject(), qPrintable(text));
            const QJsonObject first =
                document.isArray() ? document.array().first().toObject() : document.object();
            if (!first.isEmpty()) {
                ++plugins;
                QCOMPARE(first.value(PluginPropety::MENUID).toString(),
                         row.value(UserAccount::menuId).toString());
            }
        }
        QVERIFY(plugins > 15);
    }

    void userMenus_secondLogin_lacksSome() {
        m_server.ask(kOfUser, client());
        const QStringList first = m_server.column(UserAccount::menuId);
        m_server.ask(kOfUser, client(SampleLogin::secondUser));
        const QStringList second = m_server.column(UserAccount::menuId);
        QVERIFY(first.contains("menu.risk.warning") && !second.contains("menu.risk.warning"));
        QVERIFY(second.contains("menu.trade.order"));
    }

    void systemMenus_haveThoseThatNoUserHas() {
        m_server.ask(kOfUser, client());
        const QStringList first = m_server.column(UserAccount::menuId);
        QCOMPARE(m_server.refusal(kOfSystem, {{UserAccount::menuType, MenuType::client}}),
                 QString());
        const QStringList all = m_server.column(UserAccount::menuId);
        QVERIFY(all.contains("menu.admin.user") && !first.contains("menu.admin.user"));
        for (const QString& id : first) {
            QVERIFY2(all.contains(id), qPrintable(id));
        }
        QCOMPARE(m_server.rows().first().value(UserAccount::menuCaption).toString(),
                 QStringLiteral("交易"));
    }

    void menus_otherType_isASuccessWithoutRows() {
        const QVariantMap other{{UserAccount::menuType, "web"},
                                {UserAccount::userID, SampleLogin::user}};
        for (const QString& type : {kOfUser, kOfSystem}) {
            QCOMPARE(m_server.refusal(type, other), QString());
            QVERIFY(m_server.rows().isEmpty());
        }
    }

    void menus_missingOrUnknownField_isRefused() {
        QCOMPARE(m_server.refusal(kOfUser, client("nobody")), QString("用户nobody不存在"));
        QCOMPARE(m_server.refusal(kOfUser, {{UserAccount::userID, SampleLogin::user}}),
                 QStringLiteral("请求缺少%1").arg(UserAccount::menuType));
        QCOMPARE(m_server.refusal(kOfSystem, {}),
                 QStringLiteral("请求缺少%1").arg(UserAccount::menuType));
    }

private:
    MarketServer m_server;
};

QTEST_GUILESS_MAIN(MenuHandlersTest)
#include "menu_handlers_test.moc"
