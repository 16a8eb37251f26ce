#pragma once

#include <QObject>
#include <QString>
#include <QVariant>

#include "platform_export.h"

/// Base of the object that a plug-in registers by "metaId" and that the host creates from that id.
/// Lives on the application's thread, also when another thread creates it without a parent.
class PLATFORM_API ZnPluginBaseObject : public QObject {
    Q_OBJECT

public:
    explicit ZnPluginBaseObject(QObject* parent = nullptr);
    /// A new object with the other's parent and nothing else of it, as the meta-type system
    /// requires.
    ZnPluginBaseObject(const ZnPluginBaseObject& other);
    ZnPluginBaseObject& operator=(const ZnPluginBaseObject&) = delete;
    ~ZnPluginBaseObject() override;

    /// A property of the plug-in, an invalid value when it was never set. Properties belong to the
    /// plug-in's class, so that every object of one class sees the same. Any thread.
    QVariant getPluginObjectPropety(const QString& key) const;
    void setPluginWidgetPropety(const QString& key, const QVariant& value);

    /// Called once by the host after it created the object.
    virtual void initialize();
    /// Called by the host when every plug-in object is initialised.
    virtual void initialized();
};
