#include "velmar_business_data_manager.h"

#include <QThread>

#include "first_load.h"
#include "log.h"
#include "responsible_presenter.h"
#include "vocabulary/plugin_propety.h"
#include "zn_business_data_manager.h"

namespace {

using Presenter = VelmarBusinessDataManagerPresenterClass;
using Core = ZnBusinessDataManager;

void connectToCore(Presenter* presenter, Core* core) {
    QObject::connect(presenter, &Presenter::signalPositionUpdated, core,
                     &Core::slotPositionUpdated);
    // Direct, so that a subscriber of the event that follows finds the message in the lists.
    QObject::connect(presenter, &Presenter::signalBusiMsgRecved, core, &Core::slotRecvBusiMsgPush,
                     Qt::DirectConnection);
    // Direct, so that the core's slots run on the message thread, where they may send synchronous
    // requests.
    QObject::connect(presenter, &Presenter::signalNetReconnect, core, &Core::slotNetReconnect,
                     Qt::DirectConnection);
    QObject::connect(presenter, &Presenter::signalNetDisconnected, core, &Core::slotNetDisconnected,
                     Qt::DirectConnection);
    QObject::connect(core, &Core::signalBusiMsgRead, presenter, &Presenter::slotBusiMsgRead);
    QObject::connect(core, &Core::signalBusiMsgAdd, presenter, &Presenter::slotBusiMsgAdd);
    QObject::connect(core, &Core::signalSecurityAccountSettingChanged, presenter,
                     &Presenter::slotSecurityAccountSettingChanged);
    QObject::connect(presenter, &Presenter::signalNoticeSymbolChanged, core,
                     &Core::slotNoticeSymbolChanged);
    QObject::connect(core, &Core::signalPriceCageInfoFinishInit, presenter,
                     &Presenter::slotPriceCageInfoFinishInit);
    QObject::connect(presenter, &Presenter::signalClientInfoCollect, core,
                     &Core::slotClientInfoCollect);
    QObject::connect(core, &Core::signalClientInfoUpload, presenter,
                     &Presenter::slotClientInfoUpload);
}

}  // namespace

VelmarBusinessDataManager::VelmarBusinessDataManager(QObject* parent)
    : ZnPluginBaseObject(parent) {}

VelmarBusinessDataManager::VelmarBusinessDataManager(const VelmarBusinessDataManager& other)
    : ZnPluginBaseObject(other) {}

VelmarBusinessDataManager::~VelmarBusinessDataManager() {
    qCDebug(lcPlugin) << "VelmarBusinessDataManager::~VelmarBusinessDataManager";
    if (m_presenter) {
        m_presenter->deleteLater();
    }
    m_presenter = nullptr;
}

void VelmarBusinessDataManager::initialize() {
    // A platform that closes meanwhile waits for initPresenter(), the last use of this pointer,
    // before it deletes the presenter.
    VelmarBusinessDataManagerPresenterClass* newPresenter = nullptr;
    {
        const InitializeGuard guard;
        QString id = getPluginObjectPropety(PluginPropety::PLUGININSTANCE_ID).toString();
        if (id.isEmpty()) {
            id = kPluginInstanceId;
            setPluginWidgetPropety(PluginPropety::PLUGININSTANCE_ID, id);
        }
        newPresenter = new VelmarBusinessDataManagerPresenterClass(id, this);
        m_presenter = newPresenter;
        s_presenter = newPresenter;
    }
    connect(this, &VelmarBusinessDataManager::signalInitData, newPresenter,
            &VelmarBusinessDataManagerPresenterClass::slotInitData);
    emit signalInitData();
    connectToCore(newPresenter, newPresenter->dataManager());
    ResponsiblePresenter::add(newPresenter);
    qCInfo(lcPlugin) << "lauch VelmarBusinessDataManager"
                     << static_cast<const void*>(s_presenter.load()) << QThread::currentThreadId();
    newPresenter->initPresenter();
}
