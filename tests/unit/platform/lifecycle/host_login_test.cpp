#include "host_msg_type.h"
#include "platform_fixture.h"
#include "vocabulary/constants.h"
#include "vocabulary/values.h"
#include "znbusinessdata/c_business_data_base.h"

class HostLoginTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_platform = std::make_unique<PlatformFixture>(); }
    void cleanup() { m_platform.reset(); }

    void login_accepted_setsTheLoginAndTheAccountTree();
    void login_refused_returnsTheReasonAndChangesNothing();
    void login_withoutALink_fails();

private:
    ScriptedLink& link() { return *m_platform->link; }

    std::unique_ptr<PlatformFixture> m_platform;
};

void HostLoginTest::login_accepted_setsTheLoginAndTheAccountTree() {
    link().on(HostMsgType::login, ScriptedReply::rows({{{UserAccount::userID, "U1"}}}));
    link().on(HostMsgType::accountTree,
              ScriptedReply::rows({{{UserAccount::tradingAccount, "A1"},
                                    {HostField::authorityTypes, AuthorityType::AccountQuery}}}));
    QString error;
    QVERIFY2(LocalPlatform::instance().login("U1", "secret", &error), qPrintable(error));
    const QVariantMap header = link().lastRequest(HostMsgType::login).header;
    QCOMPARE(header.value(UserAccount::loginUserId), QVariant("U1"));
    QCOMPARE(header.value(HostField::password), QVariant("secret"));
    QCOMPARE(header.value(System::msgType), QVariant(HostMsgType::login));
    QCOMPARE(link().lastRequest(HostMsgType::accountTree).header.value(UserAccount::loginUserId),
             QVariant("U1"));
    CBusinessDataBase* const data = CBusinessDataBase::GetInstance();
    QCOMPARE(data->GetLoginAccount(), QString("U1"));
    QCOMPARE(data->GetTradeAccountList({AuthorityType::AccountQuery}), QStringList{"A1"});
    QVariant ready;
    QVERIFY(data->GetCacheData(Constants::USER_ACCOUNTLIST_INITED, ready) && ready.toBool());
}

void HostLoginTest::login_refused_returnsTheReasonAndChangesNothing() {
    link().on(HostMsgType::login, ScriptedReply::refusal("wrong password"));
    QString error;
    QVERIFY(!LocalPlatform::instance().login("U1", "wrong", &error));
    QVERIFY2(error.contains("wrong password"), qPrintable(error));
    QCOMPARE(CBusinessDataBase::GetInstance()->GetLoginAccount(), QString());
    QCOMPARE(link().requestCount(HostMsgType::accountTree), 0);
}

void HostLoginTest::login_withoutALink_fails() {
    LocalPlatform::instance().setLink(nullptr, nullptr);
    QString error;
    QVERIFY(!LocalPlatform::instance().login("U1", "secret", &error));
    QVERIFY2(error.contains("no link"), qPrintable(error));
}

QTEST_GUILESS_MAIN(HostLoginTest)
#include "host_login_test.moc"
