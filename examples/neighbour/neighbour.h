#pragma once

#include <QMetaType>

#include "znwidget/zn_plugin_base_object.h"

/// The plug-in object: asks the business data plug-in for its accounts and prints them on stdout.
class Neighbour : public ZnPluginBaseObject {
    Q_OBJECT

public:
    explicit Neighbour(QObject* parent = nullptr) : ZnPluginBaseObject(parent) {}
    /// The meta-type system wants it; it makes a fresh object.
    Neighbour(const Neighbour&) = default;
    Neighbour& operator=(const Neighbour&) = delete;

    /// Blocks until the account table is loaded.
    void initialize() override;
};

Q_DECLARE_METATYPE(Neighbour)
