#pragma once

#include <QCoreApplication>
#include <QList>
#include <QMap>
#include <QString>
#include <QVariantMap>
#include <memory>
#include <optional>

#include "busi_msg_sink.h"
#include "clock.h"
#include "fake_clock.h"
#include "local_platform.h"
#include "message_flow.h"
#include "message_store.h"
#include "platform_fixture.h"
#include "product_account_reader.h"
#include "remind_settings.h"
#include "static_db_builder.h"
#include "temp_home.h"
#include "vocabulary/fields.h"

/// Accounts with their product accounts.
class FewAccounts final : public ProductAccountReader {
public:
    std::optional<QString> productAccountOf(const QString& tradingAccount) const override {
        const auto found = products.constFind(tradingAccount);
        return found == products.cend() ? std::nullopt : std::optional<QString>(*found);
    }

    QMap<QString, QString> products{{"T0001", "P1"}};
};

/// Records what the flow announces.
class RecordingSink final : public BusiMsgSink {
public:
    bool busiMsgAdded(QVariantMap& busiMsg) override {
        added.append(busiMsg);
        return hasReceiver;
    }
    void busiMsgRead(const QVariantMap& busiMsg) override { read.append(busiMsg); }

    bool hasReceiver = true;
    QList<QVariantMap> added;
    QList<QVariantMap> read;
};

class StandingClock final : public Clock {
public:
    explicit StandingClock(FakeClock& clock) : m_clock(clock) {}
    QDateTime now() const override { return m_clock.now(); }

private:
    FakeClock& m_clock;
};

/// A message flow of its own over a started platform whose clock stands.
struct FlowWorld {
    explicit FlowWorld(const StaticDbBuilder& staticData = {})
        : platform([&](LocalPlatform::Options& options) {
              options.staticDbFile = folder.filePath("static.sqlite");
              staticData.write(options.staticDbFile);
          }) {
        qApp->setProperty("velmar.applicationFolder", folder.path());
        LocalPlatform::instance().setClock(clock.function());
    }

    TempHome folder;  ///< the installation's
    PlatformFixture platform;
    FakeClock clock{QDateTime(QDate(2024, 3, 1), QTime(9, 30))};
    const StandingClock storeClock{clock};
    MessageStore store{storeClock};
    RemindSettings reminders{storeClock};
    FewAccounts accounts;
    RecordingSink sink;
    MessageFlow flow{store, reminders, accounts, sink};

    QVariantMap stored(const QString& clientId) const {
        const auto tables = store.m_busiMsgLock.read();
        return tables->m_busiMsgMap.value(clientId);
    }
};
