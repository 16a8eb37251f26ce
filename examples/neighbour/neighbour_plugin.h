#pragma once

#include "znplugin/i_plugin.h"

/// The root object of the library: hands the host a description of the plug-in object.
class NeighbourPlugin : public IPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "ZNAppPlugin" FILE "neighbour.json")
    Q_INTERFACES(IPlugin)

public:
    bool initialize(const QStringList& arguments, QString* errorString,
                    const QString& dllName) override;
    void extensionsInitialized() override {}
};
