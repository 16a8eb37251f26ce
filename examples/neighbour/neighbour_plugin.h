#pragma once

#include "znplugin/i_plugin.h"

/// What the host finds in the library: it tells the host which plug-in object to make.
class NeighbourPlugin : public IPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "ZNAppPlugin" FILE "neighbour.json")
    Q_INTERFACES(IPlugin)

public:
    bool initialize(const QStringList& arguments, QString* errorString,
                    const QString& dllName) override;
    void extensionsInitialized() override {}
};
