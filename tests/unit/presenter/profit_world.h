#pragma once

#include <QThread>
#include <QtTest>
#include <algorithm>
#include <memory>
#include <thread>

#include "client_world.h"
#include "deal_record.h"
#include "local_platform.h"
#include "run_on_thread.h"
#include "scripted_neighbour.h"
#include "velmar_business_data_manager_presenter_class.h"
#include "velmarutils/velmar_delay_buffer.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/names.h"
#include "wait_for.h"
#include "znmsg/c_pack_message_common.h"

/// The accounts of a client for realized profit: T0001 and T0002 trade shares, M0001 trades on
/// margin; the others have no part in it.
inline QList<TestAccount> profitAccounts() {
    return {TestAccount("T0001"),
            TestAccount("T0002"),
            TestAccount("M0001").withCounter("10086", FundAccountType::Credit),
            TestAccount("F0001").withCounter("10086", FundAccountType::Future),
            TestAccount("Q0001").withAuthorities({AuthorityType::AccountQuery}),
            TestAccount("T0009").frozen()};
}

/// A client with loaded account tables, one for all cases of a program.
class ProfitClient {
public:
    /// `mostWaiting` limits the queue of each presenter.
    explicit ProfitClient(int mostWaiting = LocalPlatform::Options().mostWaiting)
        : m_world(profitAccounts(), [mostWaiting](LocalPlatform::Options& options) {
              options.mostWaiting = mostWaiting;
          }) {
        m_world.login();
        auto* const loader = new VelmarBusinessDataManagerPresenterClass("Test.Loader", nullptr);
        loader->initPresenter();
        runOnThreadAndWait(loader, [loader] { loader->slotInitFundAccount(); });
        loader->deleteLater();
    }

private:
    ClientWorld m_world;
};

/// A presenter over a scripted neighbour, and a subscriber of what it publishes.
class ProfitWorld {
public:
    using Presenter = VelmarBusinessDataManagerPresenterClass;

    static constexpr int kReloaded = 0x30001;
    static constexpr int kNormalDeal = 0x30006;
    static constexpr int kMarginDeal = 0x30004;

    explicit ProfitWorld(Presenter* made = new Presenter("Test.Profit", nullptr))
        : presenter(made), events(new RecordingPresenter("Test.Events")) {
        LocalPlatform::instance().setNeighbourData(neighbour);
        for (const QString& name :
             {EventMsgName::RealizedProfitInitedEvent, EventMsgName::RealizedProfitUpdateEvent}) {
            events->SubEvent(events->pluginPid(), named(name), 1);
        }
        events->SubEvent(events->pluginPid(), kMarker, 1);
        events->initPresenter();
        presenter->initPresenter();
    }
    ~ProfitWorld() {
        close();
        events->deleteLater();
        LocalPlatform::instance().setNeighbourData(nullptr);
    }

    static int named(const QString& event) { return VelmarUtils::GetTorviEventMsgIdByStr(event); }

    // What arrives, as the message thread delivers it.
    void init() const { send(named(EventMsgName::CalcRealizedProfitInitEvent), {}); }
    void reload() const { send(kReloaded, {}); }
    void deal(const QVariantMap& record, int event = kNormalDeal) const {
        CPackMessageCommon packer;
        packer.AddRowVaule(record);
        send(event, packer.GetPackedMsg(false));
    }
    /// On a thread of its own when the object thread is calling, as in a hook of the neighbour.
    void send(int event, const QVariant& body) const {
        if (presenter->thread() != QThread::currentThread()) {
            presenter->ProcEventMsg("test", event, body);
            return;
        }
        std::thread([&] { presenter->ProcEventMsg("test", event, body); }).join();
    }
    /// Waits until everything that is queued so far has run.
    void settle() const {
        runOnThreadAndWait(presenter, [] {});
    }
    void load() const {
        init();
        settle();
    }
    /// Ends the delay of the deals that wait, if any ever did.
    void flush() const {
        runOnThreadAndWait(presenter, [this] {
            if (auto* const buffer = presenter->findChild<VelmarDelayBuffer*>()) {
                emit buffer->bufferTimeOut();
            }
        });
    }
    void close() {
        if (presenter) {
            presenter->deleteLater();
            presenter = nullptr;
        }
    }

    double profit(const QString& account = QStringLiteral("T0001")) const {
        return presenter->realizedProfit().GetRealizedProfitByAccount(account);
    }
    QStringList accounts() const {
        return presenter->realizedProfit().GetAllRealizedProfitMap().keys();
    }
    /// The events of a name that the subscriber has received.
    QVariantList received(const QString& name) const {
        QVariantList bodies;
        for (const RecordingPresenter::Event& event : events->events()) {
            if (event.id == named(name)) {
                bodies.append(event.body);
            }
        }
        return bodies;
    }
    int inits() const { return received(EventMsgName::RealizedProfitInitedEvent).size(); }
    QVariantList updates() const { return received(EventMsgName::RealizedProfitUpdateEvent); }
    /// Waits until the subscriber has received all events that were published before.
    void receiveAll() {
        const int marker = ++m_markers;
        LocalPlatform::instance().publishEvent(kMarker, marker);
        QVERIFY(waitFor([&] {
            const auto all = events->events();
            return std::any_of(all.cbegin(), all.cend(), [marker](const auto& event) {
                return event.id == kMarker && event.body == QVariant(marker);
            });
        }));
    }

    const std::shared_ptr<ScriptedNeighbour> neighbour = std::make_shared<ScriptedNeighbour>();
    Presenter* presenter;
    RecordingPresenter* const events;

private:
    static constexpr int kMarker = 0x7FFF01;
    int m_markers = 0;
};
