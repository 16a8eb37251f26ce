#pragma once

#include <QMetaType>
#include <QPointer>
#include <QVariantMap>

#include "neighbour_presenter.h"
#include "znwidget/zn_plugin_base_object.h"

/// The plug-in object: prints the accounts, follows the ticks of one symbol, and owns the presenter
/// that receives events. The host creates and deletes it on the main thread.
class Neighbour : public ZnPluginBaseObject {
    Q_OBJECT

public:
    explicit Neighbour(QObject* parent = nullptr) : ZnPluginBaseObject(parent) {}
    /// Required by the meta-type system, from which the host creates the object.
    Neighbour(const Neighbour& other) : ZnPluginBaseObject(other) {}
    Neighbour& operator=(const Neighbour&) = delete;
    ~Neighbour() override;

    /// Blocks until the account table is loaded.
    void initialize() override;

private:
    void followTicks();
    void takeTick(const QString& symbol, const QVariantMap& tick);

    // The host disposes of every presenter when the application quits, maybe before this object.
    QPointer<NeighbourPresenter> m_presenter;
    bool m_followsTicks = false;
    int m_ticks = 0;
};

Q_DECLARE_METATYPE(Neighbour)
