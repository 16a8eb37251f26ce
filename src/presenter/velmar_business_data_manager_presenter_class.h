#pragma once

#include <QList>
#include <QMap>
#include <QReadWriteLock>
#include <QString>
#include <QStringList>
#include <QTime>
#include <QVariant>
#include <QVariantList>
#include <QVariantMap>
#include <atomic>
#include <functional>
#include <memory>

#include "client_info_sink.h"
#include "client_patches.h"
#include "client_performance.h"
#include "clock.h"
#include "guarded.h"
#include "heart_beat.h"
#include "net_delay_reminder.h"
#include "realized_profit.h"
#include "znwidget/zn_presenter_class.h"

class QTimer;
class SharedSettings;
class VelmarDelayBuffer;
class ZnBusinessDataManager;

/// The plug-in's connection to the message layer: subscribes to pushes and events, turns what
/// arrives into signals of its own or of the core, runs the start-up sequence and owns the timers.
/// Slots and timers run on its object thread, the Proc entries on its message thread.
class VelmarBusinessDataManagerPresenterClass : public ZnPresenterClass,
                                                private HeartBeatSink,
                                                private NetDelayAlarm,
                                                private ClientInfoSink {
    Q_OBJECT

public:
    /// Creates the core if it does not exist, then subscribes; starts no thread.
    VelmarBusinessDataManagerPresenterClass(const QString& name, QObject* parent);
    ~VelmarBusinessDataManagerPresenterClass() override;

    ZnBusinessDataManager* dataManager() const { return m_dataManager; }

    // Settings that the constructor read. On the object thread, or before initPresenter().

    /// Whether business messages always go to the database.
    bool alwaysSaveDB() const { return m_alwaysSaveDB; }
    /// "patchClientSet.cfg"; the settings' own operations may be called from any thread.
    SharedSettings& patchSettings() const { return *m_patchSettings; }
    /// Menu ids by message type; contains only the types that have a relation.
    const QMap<QString, QStringList>& busiMsgMenuMap() const { return m_busiMsgMenuMap; }

    /// Realized profit of the day. Any thread.
    const RealizedProfit& realizedProfit() const { return m_realizedProfit; }

    /// The heartbeats, their statistics by gate, and the delays' sliding averages. Any thread.
    const HeartBeat& heartBeats() const { return m_heartBeats; }
    const NetDelayReminder& netDelays() const { return m_netDelays; }

    void ProcSubMsg(QString pluginPid, QVariant msgType, QVariant body) override;
    void ProcEventMsg(QString srcId, QVariant eventId, QVariant body) override;
    void ProcOtherMsg(QString, QVariant, QVariant) override {}
    void ProcResponseMsg(QString pluginPid, QString clientMsgId, QVariant msgType,
                         QVariant body) override;

signals:
    void signalInitPosData();
    void signalPositionUpdated(QVariantMap data);
    void signalBusiMsgRecved(QVariantMap data, bool bSaveDb = false);
    void signalNetReconnect(QString netType, ZnPresenterClass* prtClass);
    void signalNetDisconnected(QString netType);
    void signalQueryBusiMsgResponse(QList<QVariantMap> resList);
    void signalNoticeSymbolChanged(QList<QVariantMap> noticeInfoList);
    void signalClientInfoCollect(QVariantMap dataMap);
    void signalClientInfoCollectAPM(QString netType, QVariantList dataList);
    void signalTradeFeeSettingChanged();
    void signalNetElapseUpdated(QString netType, QTime time, int elapse);
    void signalMultiDelaySettingChanged();
    void signalRestartTimer(QString netType);

public slots:
    /// The start-up sequence up to the core's InitData.
    void slotInitFundAccount();
    /// The start-up sequence. Blocks the object thread until the account list has come; ends early
    /// only when the presenter or the host is closing.
    void slotInitData();
    void slotBusiMsgRead(QVariantMap busiMsg);
    void slotSecurityAccountSettingChanged();
    void slotInitPosData();
    void queryBusiMsg();
    void slotBusiMsgAdd(QVariantMap& msgMap);
    void slotClientInfoUpload(QList<QVariantMap> clientInfoList);
    void slotClientInfoCollectAPM(QString netType, QVariantList dataList);
    void slotReportThreadNum();
    void slotPriceCageInfoFinishInit();
    void slotUploadClientPerformance(QString type);
    void slotMultiDelaySettingChanged();
    void slotSendStaticDbErrorInfo();
    void slotNetElapseUpdated(QString netType, QTime time, int elapse);
    void slotNetReconnect(QString netType);

protected:
    /// Runs slotUploadClientPerformance() for the type whose timer fired.
    void timerEvent(QTimerEvent* event) override;
    /// Uploads the performance items of a type again and again, a period apart. Returns the timer's
    /// id. Object thread only.
    int startPerformTimer(const QString& type, int periodMs);

private:
    struct GateTables {
        QMap<QString, QString> m_gateStateMap;
    };

    /// Whether the realized profit was never loaded, is being loaded first or anew, or is loaded.
    enum class ProfitState { None, Loading, Loaded };

    // construction
    void subscribeEvents();
    void readSettings();
    void readMenuRelations();

    // start-up
    bool waitForAccountList() const;
    bool initFundAccountSteps();
    void loadPrices();
    void startPosTimer();
    void subscribeBusiMsgTopic();
    /// Requests the risk notices when the server has a later version of them.
    void checkProductDataVersion();
    /// Requests and emits the risk notices. False when no row came.
    bool queryRiskNotices();
    void startHeartBeats();
    void addHeartBeatTimer(const QString& gate, const std::function<void()>& beat);
    void restartHeartBeatTimer(const QString& gate);
    /// A repeating timer, made when it is null.
    void startReportTimer(QTimer** timer, int intervalMs, const std::function<void()>& report);
    /// The reports about the client, in their order. False when the presenter is closing.
    bool sendStartUpReports();
    /// Reads which performance items are uploaded and starts their timers.
    void startPerformUpload();
    void subscribePatchPush();

    /// Puts the number of beats without an answer on the board.
    void noteBeatsOnTheirWay();

    // sinks of the monitoring
    void sendHeartBeat(const ServerRequest& request) override;
    void publishHeartBeatStatistic(const QString& gate, const NetDelayStat& stat) override;
    void netElapseUpdated(const QString& gate, const QTime& time, int elapse) override;
    void remindOfDelay(const QString& text) override;
    void reconnectGate(const QString& gatewayName) override;
    void collectClientInfo(const QVariantMap& item) override;

    // what arrives
    void procNamedEvent(int eventId, const QVariant& body);
    void procPosition(const QVariantMap& record);
    void procClientInfo(const QVariantMap& record);
    void procClientInfoApm(const QVariant& body);
    void procSettingChange(const QVariant& body);
    void procGateState(const QString& gate, const QString& netState);
    void procMessagePush(const QVariant& body);
    /// Finds out whether the user may see messages of a type, by the menus that show it. Blocks for
    /// a request while the user's menus are not loaded.
    void judgeByMenus(const QString& type);
    /// The client id under which the server's message of this record is kept; empty if none is.
    QString keptClientId(const QVariantMap& record) const;
    void publishBusiMsg(const QVariantMap& record);
    void procPatchPush(const QVariant& body);
    void queueRealizedProfitInit();
    void queueRealizedProfitRefresh();
    void queueDeals(const QVariant& body);
    void initRealizedProfit();
    void takeDeals(const QVariant& body);
    void addBufferedDeals();

    ZnBusinessDataManager* const m_dataManager;
    const SystemClock m_clock;
    HeartBeat m_heartBeats;
    QMap<QString, QTimer*> m_heartBeatTimers;  // object thread only
    Guarded<GateTables> m_gateStateLock{"m_gateStateLock", LockRank::Leaf};
    QTimer* m_posTimer = nullptr;  // object thread only
    bool m_alwaysSaveDB = false;
    SharedSettings* m_patchSettings = nullptr;
    std::unique_ptr<ClientPatches> m_patches;
    QTimer* m_staticDbErrTimer = nullptr;  // object thread only
    QTimer* m_threadNumTimer = nullptr;    // object thread only
    QMap<QString, int> m_performTimerMap;  // object thread only
    ClientPerformance m_performance;       // object thread only
    NetDelayReminder m_netDelays;
    QMap<QString, QStringList> m_busiMsgMenuMap;
    /// Whether the user may see messages of a type, as far as known. Object thread only.
    QMap<QString, bool> m_busiMsgMenuRight;
    QTimer* m_busiMsgRetryTimer = nullptr;  // object thread only
    QMap<QString, int> m_dataVersionMap;    // object thread only
    RealizedProfit m_realizedProfit;
    /// Set on the object thread. Deals that arrive in the state None are dropped.
    std::atomic<ProfitState> m_realizedProfitInited{ProfitState::None};
    VelmarDelayBuffer* m_dealBuffer = nullptr;  // object thread only
};

/// The presenter of the plug-in object that was initialised last, null before the first one. It is
/// not reset when that presenter is deleted: code that uses the object takes a PresenterUse.
extern std::atomic<VelmarBusinessDataManagerPresenterClass*> s_presenter;
