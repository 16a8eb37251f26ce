#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <functional>
#include <memory>

#include "local_platform.h"
#include "scripted_link.h"
#include "static_db_builder.h"
#include "temp_home.h"
#include "znwidget/zn_presenter_class.h"

/// A trading account as it is in the platform's tree and on the counter. A test changes the fields
/// that matter to it.
struct TestAccount {
    QString account;
    QVariantMap tree;         ///< the tree's record
    QStringList authorities;  ///< AuthorityType values
    QVariantMap counter;      ///< the counter's row
    /// Rows of the security accounts; when empty, the one that the tree's record names.
    QVariantList securityAccounts;

    /// A normal cash account on the central counter that may be traded, with a fund and an asset
    /// account of its own, under the product "P1".
    explicit TestAccount(const QString& tradingAccount);
    TestAccount& with(const QString& treeField, const QVariant& value);
    TestAccount& withCounter(const QString& counterField, const QVariant& value);
    TestAccount& withAuthorities(const QStringList& types);
    TestAccount& under(const QString& product, const QString& productName);
    /// One more security account; `isMain` is "1" for the exchange's main one.
    TestAccount& withSecurityAccount(const QString& exchange, const QString& securityAccount,
                                     const QString& isMain = QStringLiteral("0"));
    TestAccount& frozen();
    TestAccount& distributed();
};

QList<TestAccount> numberedAccounts(int count);

/// A local platform over a scripted server that has some accounts. One at a time in a process; its
/// destructor closes the platform.
class ClientWorld {
public:
    explicit ClientWorld(const QList<TestAccount>& accounts = {});
    /// The same with a static database.
    ClientWorld(const QList<TestAccount>& accounts, const StaticDbBuilder& staticData);
    /// The same with other options than the standing ones.
    ClientWorld(const QList<TestAccount>& accounts,
                const std::function<void(LocalPlatform::Options&)>& change);
    ~ClientWorld();

    ScriptedLink& link() { return *m_link; }
    QString homeDir() const { return m_home.path(); }

    /// Logs in and loads the account tree; fails the running test when the platform refuses.
    void login();
    /// The counter's answer to a "120006" request.
    QVariant counterAnswer(const QVariant& requestBody) const;
    /// The trading accounts that each "120006" request named, in order.
    QList<QStringList> requestedAccounts() const;

private:
    ClientWorld(const QList<TestAccount>& accounts, const StaticDbBuilder* staticData,
                const std::function<void(LocalPlatform::Options&)>& change = {});
    QVariant treeAnswer() const;

    TempHome m_home;
    QList<TestAccount> m_accounts;
    // Shared, since the platform destroys its link and a test still reads this one afterwards.
    const std::shared_ptr<ScriptedLink> m_link = std::make_shared<ScriptedLink>();
};

/// A presenter that records its calls. Created with new, disposed of by deleteLater().
class RecordingPresenter : public ZnPresenterClass {
    Q_OBJECT

public:
    struct Event {
        QString source;
        int id = 0;
        QVariant body;
    };

    explicit RecordingPresenter(const QString& name = QStringLiteral("Test.Presenter"));

    void ProcEventMsg(QString srcId, QVariant eventId, QVariant body) override;
    QList<Event> events() const;

private:
    struct Shared;
    const std::shared_ptr<Shared> m_shared;
};
