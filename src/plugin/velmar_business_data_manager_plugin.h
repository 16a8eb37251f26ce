#pragma once

#include "znplugin/i_plugin.h"

/// The library's root object: registers the plug-in object by "metaId" and does nothing else.
/// Exported with its name, like the facade.
class Q_DECL_EXPORT VelmarBusinessDataManagerPlugin : public IPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "ZNAppPlugin" FILE "velmar_business_data_manager.json")
    Q_INTERFACES(IPlugin)

public:
    bool initialize(const QStringList& arguments, QString* errorString,
                    const QString& dllName) override;
    void extensionsInitialized() override {}
};
