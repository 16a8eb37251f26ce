#include "velmar_business_data_manager_presenter_class.h"

#include <QTimer>
#include <QTimerEvent>
#include <algorithm>

#include "event_ids.h"
#include "presenter_use.h"
#include "responsible_presenter.h"
#include "shared_settings.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "zn_business_data_manager.h"
#include "zndatabase/c_data_base.h"

std::atomic<VelmarBusinessDataManagerPresenterClass*> s_presenter{nullptr};

namespace {

constexpr int kSubscribe = 1;

}  // namespace

VelmarBusinessDataManagerPresenterClass::VelmarBusinessDataManagerPresenterClass(
    const QString& name, QObject* parent)
    : ZnPresenterClass(name, parent, IMessageInterface::OwnThreads),
      m_dataManager(ZnBusinessDataManager::instance()),
      m_heartBeats(m_clock, static_cast<HeartBeatSink&>(*this)),
      m_performance(m_clock, static_cast<ClientInfoSink&>(*this)),
      m_netDelays(static_cast<NetDelayAlarm&>(*this)) {
    using Self = VelmarBusinessDataManagerPresenterClass;
    subscribeEvents();
    connect(this, &Self::signalInitPosData, this, &Self::slotInitPosData);
    connect(this, &Self::signalClientInfoCollectAPM, this, &Self::slotClientInfoCollectAPM);
    Sub(pluginPid(), Velmar_MsgType::MessageCenterPushMsg, kSubscribe);
    Sub(pluginPid(), Velmar_MsgType::ClientPatchInfoPush, kSubscribe);
    readSettings();
    connect(this, &Self::signalNetElapseUpdated, this, &Self::slotNetElapseUpdated);
    connect(this, &Self::signalNetReconnect, this, &Self::slotNetReconnect);
    connect(this, &Self::signalMultiDelaySettingChanged, this, &Self::slotMultiDelaySettingChanged);
    readMenuRelations();
    SubEvent(pluginPid(), EventIds::named(EventMsgName::CalcRealizedProfitInitEvent), kSubscribe);
    PresenterUse::enter(this);
}

VelmarBusinessDataManagerPresenterClass::~VelmarBusinessDataManagerPresenterClass() {
    ResponsiblePresenter::remove(this);
    PresenterUse::leave(this);
    for (QTimer* const timer : {m_posTimer, m_threadNumTimer}) {
        if (timer) {
            timer->stop();
        }
    }
    for (const int timerId : qAsConst(m_performTimerMap)) {
        killTimer(timerId);
    }
}

void VelmarBusinessDataManagerPresenterClass::subscribeEvents() {
    const int ids[] = {EventIds::positionsLoaded,
                       EventIds::positionsReloaded,
                       EventIds::positionUpdated,
                       EventIds::named(EventMsgName::BUSI_MSG_ADD),
                       EventIds::clientInfo,
                       EventIds::clientInfoApm,
                       EventIds::named(EventMsgName::ETFTRADESETTING_TRADEFEECHANGE),
                       EventIds::executionsReloaded,
                       EventIds::normalDeal,
                       EventIds::marginDeal,
                       EventIds::tradeGateState,
                       EventIds::infoGateState,
                       EventIds::marketTcpGateState,
                       EventIds::marketGrpcGateState,
                       EventIds::settingsChanged};
    for (const int id : ids) {
        SubEvent(pluginPid(), id, kSubscribe);
    }
}

void VelmarBusinessDataManagerPresenterClass::readSettings() {
    m_alwaysSaveDB =
        CDataBase::GetInstance()
            ->GetStaticCfgValue(QStringLiteral("BusiMsgCenter"), QStringLiteral("AlwaysSaveDB"))
            .toInt() == 1;
    m_patchSettings = new SharedSettings(
        QStringLiteral("%1/patchClientSet.cfg").arg(VelmarUtils::GetDefaultUserCfgFileDir()), this);
    m_patches = std::make_unique<ClientPatches>(*m_patchSettings);
    // Once more, since a change before the subscription of its event would be missed.
    m_netDelays.slotMultiDelaySettingChanged();
}

void VelmarBusinessDataManagerPresenterClass::readMenuRelations() {
    const QMap<QString, QString> relations =
        CDataBase::GetInstance()->GetStaticValuesBySection(DictionaryKey::BusiMsgMenuRela);
    m_busiMsgMenuMap.clear();
    for (auto it = relations.cbegin(); it != relations.cend(); ++it) {
        const QStringList menuIds = it.value().split(QLatin1Char('|'), Qt::SkipEmptyParts);
        if (!menuIds.isEmpty()) {
            m_busiMsgMenuMap.insert(it.key(), menuIds);
        }
    }
}

int VelmarBusinessDataManagerPresenterClass::startPerformTimer(const QString& type, int periodMs) {
    const int timerId = startTimer(periodMs, Qt::VeryCoarseTimer);
    m_performTimerMap.insert(type, timerId);
    return timerId;
}

void VelmarBusinessDataManagerPresenterClass::timerEvent(QTimerEvent* event) {
    const auto found =
        std::find(m_performTimerMap.cbegin(), m_performTimerMap.cend(), event->timerId());
    if (found != m_performTimerMap.cend()) {
        slotUploadClientPerformance(found.key());
    }
}
