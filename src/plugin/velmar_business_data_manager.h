#pragma once

#include <QMetaType>
#include <QPointer>

#include "velmar_business_data_manager_presenter_class.h"
#include "znwidget/zn_plugin_base_object.h"

/// The plug-in object: made by the host from "metaId", or by the first facade call. Lives on the
/// application's thread.
class VelmarBusinessDataManager : public ZnPluginBaseObject {
    Q_OBJECT

public:
    explicit VelmarBusinessDataManager(QObject* parent = nullptr);
    /// What the meta-type system needs: a fresh object that is not initialised.
    VelmarBusinessDataManager(const VelmarBusinessDataManager& other);
    VelmarBusinessDataManager& operator=(const VelmarBusinessDataManager&) = delete;
    ~VelmarBusinessDataManager() override;

    /// Builds the presenter, wires it to the core, hands the start-up sequence over to it and
    /// starts its threads. Returns before that sequence has run. Any thread.
    void initialize() override;
    void initialized() override {}

    VelmarBusinessDataManagerPresenterClass* presenter() const { return m_presenter; }

signals:
    void signalInitFundAccount();
    void signalInitData();

private:
    void connectPresenter(VelmarBusinessDataManagerPresenterClass* presenter);

    // The platform disposes of presenters before this object goes, when the application ends first.
    QPointer<VelmarBusinessDataManagerPresenterClass> m_presenter;
};

Q_DECLARE_METATYPE(VelmarBusinessDataManager)
