#pragma once

#include <QMetaType>
#include <QPointer>

#include "velmar_business_data_manager_presenter_class.h"
#include "znwidget/zn_plugin_base_object.h"

/// The plug-in object: created by the host from "metaId", or by the first facade call. Lives on the
/// application's thread.
class VelmarBusinessDataManager : public ZnPluginBaseObject {
    Q_OBJECT

public:
    explicit VelmarBusinessDataManager(QObject* parent = nullptr);
    /// Required by the meta-type system: the copy is a new object that is not initialised.
    VelmarBusinessDataManager(const VelmarBusinessDataManager& other);
    VelmarBusinessDataManager& operator=(const VelmarBusinessDataManager&) = delete;
    ~VelmarBusinessDataManager() override;

    /// Builds the presenter, connects it to the core, queues the start-up sequence to it and starts
    /// its threads. Returns before that sequence has run. Any thread.
    void initialize() override;
    void initialized() override {}

    VelmarBusinessDataManagerPresenterClass* presenter() const { return m_presenter; }

signals:
    void signalInitFundAccount();
    void signalInitData();

private:
    // Cleared when the platform deletes the presenter first, which it does at the application's
    // end.
    QPointer<VelmarBusinessDataManagerPresenterClass> m_presenter;
};

Q_DECLARE_METATYPE(VelmarBusinessDataManager)
