#include "client_world.h"

#include <QSet>
#include <QtTest>
#include <deque>
#include <mutex>

#include "host_msg_type.h"
#include "local_platform.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

inline const QString kExternalQuery = QStringLiteral("120006");
inline const QString kUser = QStringLiteral("tester");

/// The link that the platform owns; it forwards to the scripted link of the test.
class LentLink final : public GatewayLink {
public:
    explicit LentLink(std::shared_ptr<ScriptedLink> link) : m_link(std::move(link)) {}

    bool start(GatewayLinkListener* listener, QString* error) override {
        return m_link->start(listener, error);
    }
    void stop() override { m_link->stop(); }
    bool send(const GatewayRequest& request) override { return m_link->send(request); }

private:
    const std::shared_ptr<ScriptedLink> m_link;
};

}  // namespace

TestAccount::TestAccount(const QString& tradingAccount)
    : account(tradingAccount),
      tree{{UserAccount::tradingAccount, tradingAccount},
           {UserAccount::tradingAccountName, QStringLiteral("交易账号") + tradingAccount},
           {UserAccount::assetAccount, QStringLiteral("asset") + tradingAccount},
           {UserAccount::assetAccountName, QStringLiteral("资产") + tradingAccount},
           {UserAccount::productAccount, QStringLiteral("P1")},
           {UserAccount::productName, QStringLiteral("产品一")},
           {UserAccount::investorAccount, QStringLiteral("I1")},
           {UserAccount::investorName, QStringLiteral("投资者一")}},
      authorities{AuthorityType::AccountQuery, AuthorityType::AccountTrade},
      counter{{UserAccount::tradingAccount, tradingAccount},
              {QStringLiteral("10081"), QStringLiteral("fund") + tradingAccount},
              {QStringLiteral("10086"), FundAccountType::Cash},
              {QStringLiteral("11354"), QStringLiteral("柜台") + tradingAccount},
              {QStringLiteral("10078"), CounterSysCode::Normal_ZN},
              {QStringLiteral("10079"), QStringLiteral("client1")},
              {QStringLiteral("10083"), QStringLiteral("node1")},
              {QStringLiteral("10087"), 11},
              {QStringLiteral("11352"), QStringLiteral("org1")},
              {UserAccount::passStatus, QStringLiteral("1")},
              {UserAccount::OTCFundAccount, QStringLiteral("otc") + tradingAccount},
              {UserAccount::counterSiteType, 0},
              {UserAccount::accountStatus, QStringLiteral("0")}} {}

TestAccount& TestAccount::with(const QString& treeField, const QVariant& value) {
    tree.insert(treeField, value);
    return *this;
}

TestAccount& TestAccount::withCounter(const QString& counterField, const QVariant& value) {
    counter.insert(counterField, value);
    return *this;
}

TestAccount& TestAccount::withAuthorities(const QStringList& types) {
    authorities = types;
    return *this;
}

TestAccount& TestAccount::under(const QString& product, const QString& productName) {
    return with(UserAccount::productAccount, product).with(UserAccount::productName, productName);
}

TestAccount& TestAccount::withSecurityAccount(const QString& exchange,
                                              const QString& securityAccount,
                                              const QString& isMain) {
    securityAccounts.append(QVariantMap{{UserAccount::securityExchange, exchange},
                                        {UserAccount::securityAccount, securityAccount},
                                        {UserAccount::isMainAccount, isMain}});
    return *this;
}

TestAccount& TestAccount::frozen() {
    return withCounter(UserAccount::accountStatus, AccountStatus::freezing);
}

TestAccount& TestAccount::distributed() {
    return withCounter(UserAccount::counterSiteType, 1);
}

QList<TestAccount> numberedAccounts(int count) {
    QList<TestAccount> accounts;
    for (int i = 1; i <= count; ++i) {
        accounts.append(TestAccount(QStringLiteral("T%1").arg(i, 4, 10, QLatin1Char('0'))));
    }
    return accounts;
}

ClientWorld::ClientWorld(const QList<TestAccount>& accounts)
    : ClientWorld(accounts, static_cast<const StaticDbBuilder*>(nullptr)) {}

ClientWorld::ClientWorld(const QList<TestAccount>& accounts, const StaticDbBuilder& staticData)
    : ClientWorld(accounts, &staticData) {}

ClientWorld::ClientWorld(const QList<TestAccount>& accounts,
                         const std::function<void(LocalPlatform::Options&)>& change)
    : ClientWorld(accounts, nullptr, change) {}

ClientWorld::ClientWorld(const QList<TestAccount>& accounts, const StaticDbBuilder* staticData,
                         const std::function<void(LocalPlatform::Options&)>& change)
    : m_accounts(accounts) {
    LocalPlatform::Options options = m_home.options();
    if (staticData) {
        options.staticDbFile = m_home.filePath(QStringLiteral("static.sqlite"));
        staticData->write(options.staticDbFile);
    }
    if (change) {
        change(options);
    }
    QString error;
    m_link->on(HostMsgType::login, ScriptedReply::rows({{{UserAccount::userID, kUser}}}));
    m_link->on(HostMsgType::accountTree, [this](const QVariant&) { return treeAnswer(); });
    // Sent by every client that closes.
    m_link->on(Velmar_MsgType::ClientInfoUploadRequest, ScriptedReply::rows({}));
    m_link->on(kExternalQuery, [this](const QVariant& body) { return counterAnswer(body); });
    m_link->on(Velmar_MsgType::BusiHeartBeatRequest, ScriptedReply::rows({}));
    if (!LocalPlatform::instance().start(options, &error) ||
        !LocalPlatform::instance().setLink(std::make_unique<LentLink>(m_link), &error)) {
        qFatal("the local platform did not start: %s", qPrintable(error));
    }
}

ClientWorld::~ClientWorld() {
    LocalPlatform::instance().close();
}

void ClientWorld::login() {
    QString error;
    const bool loggedIn = LocalPlatform::instance().login(kUser, QStringLiteral("secret"), &error);
    QVERIFY2(loggedIn, qPrintable(error));
}

QVariant ClientWorld::treeAnswer() const {
    QList<QVariantMap> rows;
    for (const TestAccount& account : m_accounts) {
        QVariantMap row = account.tree;
        row.insert(HostField::authorityTypes, account.authorities.join(QLatin1Char(',')));
        if (!account.securityAccounts.isEmpty()) {
            row.insert(HostField::securityAccounts, account.securityAccounts);
        }
        rows.append(row);
    }
    return packRows({{System::requestExeStatus, RequestExeStatus::success}}, rows);
}

QVariant ClientWorld::counterAnswer(const QVariant& requestBody) const {
    const QStringList accounts =
        headerOf(requestBody).value(UserAccount::tradingAccount).toString().split(QLatin1Char(','));
    const QSet<QString> wanted(accounts.cbegin(), accounts.cend());
    QList<QVariantMap> rows;
    for (const TestAccount& account : m_accounts) {
        if (wanted.contains(account.account)) {
            rows.append(account.counter);
        }
    }
    return makeAnswer(requestBody, rows, {{System::requestExeStatus, 0}});
}

QList<QStringList> ClientWorld::requestedAccounts() const {
    QList<QStringList> accounts;
    for (const ScriptedLink::Request& request : m_link->requests(kExternalQuery)) {
        accounts.append(
            request.header.value(UserAccount::tradingAccount).toString().split(QLatin1Char(',')));
    }
    return accounts;
}

struct RecordingPresenter::Shared {
    mutable std::mutex lock;  // guards events
    QList<Event> events;
};

RecordingPresenter::RecordingPresenter(const QString& name)
    : ZnPresenterClass(name, nullptr, IMessageInterface::OwnThreads),
      m_shared(std::make_shared<Shared>()) {}

void RecordingPresenter::ProcEventMsg(QString srcId, QVariant eventId, QVariant body) {
    const std::lock_guard<std::mutex> guard(m_shared->lock);
    m_shared->events.append({srcId, eventId.toInt(), body});
}

QList<RecordingPresenter::Event> RecordingPresenter::events() const {
    const std::lock_guard<std::mutex> guard(m_shared->lock);
    return m_shared->events;
}
