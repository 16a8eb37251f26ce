#include "velmar_business_data_manager.h"

#include <QThread>

#include "first_load.h"
#include "log.h"
#include "vocabulary/plugin_propety.h"
#include "zn_business_data_manager.h"

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
    VelmarBusinessDataManagerPresenterClass* presenter = nullptr;
    {
        const InitializeGuard guard;
        QString id = getPluginObjectPropety(PluginPropety::PLUGININSTANCE_ID).toString();
        if (id.isEmpty()) {
            id = kPluginInstanceId;
            setPluginWidgetPropety(PluginPropety::PLUGININSTANCE_ID, id);
        }
        presenter = new VelmarBusinessDataManagerPresenterClass(id, this);
        m_presenter = presenter;
        s_presenter = presenter;
    }
    connect(this, &VelmarBusinessDataManager::signalInitData, presenter,
            &VelmarBusinessDataManagerPresenterClass::slotInitData);
    emit signalInitData();
    connectPresenter(presenter);
    qCInfo(lcPlugin) << "lauch VelmarBusinessDataManager"
                     << static_cast<const void*>(s_presenter.load()) << QThread::currentThreadId();
    presenter->initPresenter();
}

void VelmarBusinessDataManager::connectPresenter(
    VelmarBusinessDataManagerPresenterClass* presenter) {
    using Presenter = VelmarBusinessDataManagerPresenterClass;
    using Core = ZnBusinessDataManager;
    Core* const core = presenter->dataManager();
    connect(presenter, &Presenter::signalPositionUpdated, core, &Core::slotPositionUpdated);
    connect(presenter, &Presenter::signalBusiMsgRecved, core, &Core::slotRecvBusiMsgPush);
    // Direct, so that the core's slots run on the message thread, where they may send synchronous
    // requests.
    connect(presenter, &Presenter::signalNetReconnect, core, &Core::slotNetReconnect,
            Qt::DirectConnection);
    connect(presenter, &Presenter::signalNetDisconnected, core, &Core::slotNetDisconnected,
            Qt::DirectConnection);
    connect(core, &Core::signalBusiMsgRead, presenter, &Presenter::slotBusiMsgRead);
    connect(core, &Core::signalBusiMsgAdd, presenter, &Presenter::slotBusiMsgAdd);
    connect(core, &Core::signalSecurityAccountSettingChanged, presenter,
            &Presenter::slotSecurityAccountSettingChanged);
    connect(presenter, &Presenter::signalNoticeSymbolChanged, core, &Core::slotNoticeSymbolChanged);
    connect(core, &Core::signalPriceCageInfoFinishInit, presenter,
            &Presenter::slotPriceCageInfoFinishInit);
    connect(presenter, &Presenter::signalClientInfoCollect, core, &Core::slotClientInfoCollect);
    connect(core, &Core::signalClientInfoUpload, presenter, &Presenter::slotClientInfoUpload);
}
