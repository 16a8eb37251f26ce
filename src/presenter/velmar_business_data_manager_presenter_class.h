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

#include "guarded.h"
#include "net_delay_stat.h"
#include "realized_profit.h"
#include "velmarutils/velmar_statistic_assist.h"
#include "znwidget/zn_presenter_class.h"

class QTimer;
class SharedSettings;
class VelmarDelayBuffer;
class ZnBusinessDataManager;

/// The plug-in's connection to the message layer: subscribes to pushes and events, turns what
/// arrives into signals of its own or of the core, runs the start-up sequence and owns the timers.
/// Slots and timers run on its object thread, the Proc entries on its message thread.
class VelmarBusinessDataManagerPresenterClass : public ZnPresenterClass {
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
    /// The network delays of each gate that has a heartbeat.
    const QMap<QString, VelmarStatisticAssist>& netElapseStat() const { return m_netElapseStat; }
    /// Menu ids by message type; contains only the types that have a relation.
    const QMap<QString, QStringList>& busiMsgMenuMap() const { return m_busiMsgMenuMap; }

    /// Realized profit of the day. Any thread.
    const RealizedProfit& realizedProfit() const { return m_realizedProfit; }

    /// The heart-beat records by gate, without the gates that were never connected. Any thread.
    QMap<QString, NetDelayStat> heartBeatInfo() const;

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
    int startPerformTimer(const QString& type, int periodSeconds);

private:
    struct HeartBeatTables {
        QMap<QString, NetDelayStat> m_heartBeatInfo;
    };
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

    // what arrives
    void procNamedEvent(int eventId, const QVariant& body);
    void procPosition(const QVariantMap& record);
    void procClientInfo(const QVariantMap& record);
    void procClientInfoApm(const QVariant& body);
    void procSettingChange(const QVariant& body);
    void procGateState(const QString& gate, const QString& netState);
    void procPatchPush(const QVariant& body);
    void queueRealizedProfitInit();
    void queueRealizedProfitRefresh();
    void queueDeals(const QVariant& body);
    void initRealizedProfit();
    void takeDeals(const QVariant& body);
    void addBufferedDeals();
    void takeClientPatchInfo(const QList<QVariantMap>& patches);

    ZnBusinessDataManager* const m_dataManager;
    Guarded<HeartBeatTables> m_heartBeatLock{"m_heartBeatLock", LockRank::HeartBeat};
    Guarded<GateTables> m_gateStateLock{"m_gateStateLock", LockRank::Leaf};
    QTimer* m_posTimer = nullptr;  // object thread only
    bool m_alwaysSaveDB = false;
    SharedSettings* m_patchSettings = nullptr;
    QTimer* m_threadNumTimer = nullptr;
    QMap<QString, int> m_performTimerMap;
    QMap<QString, VelmarStatisticAssist> m_netElapseStat;
    QMap<QString, QStringList> m_busiMsgMenuMap;
    RealizedProfit m_realizedProfit;
    /// Set on the object thread. Deals that arrive in the state None are dropped.
    std::atomic<ProfitState> m_realizedProfitInited{ProfitState::None};
    VelmarDelayBuffer* m_dealBuffer = nullptr;  // object thread only
};

/// The presenter of the plug-in object that was initialised last, null before the first one. It is
/// not reset when that presenter is deleted: code that uses the object takes a PresenterUse.
extern std::atomic<VelmarBusinessDataManagerPresenterClass*> s_presenter;
