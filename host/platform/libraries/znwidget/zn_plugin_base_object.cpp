#include "znwidget/zn_plugin_base_object.h"

#include <QByteArray>
#include <QHash>
#include <QVariantHash>
#include <mutex>

#include "application_object.h"
#include "never_destroyed.h"
#include "plugin_object_properties.h"

namespace {

struct Properties {
    std::mutex mutex;  // guards the table
    QHash<QByteArray, QVariantHash> byClass;
};

Properties& properties() {
    return neverDestroyed<Properties>();
}

}  // namespace

void clearPluginObjectProperties() {
    const std::lock_guard<std::mutex> lock(properties().mutex);
    properties().byClass.clear();
}

ZnPluginBaseObject::ZnPluginBaseObject(QObject* parent) : QObject(parent) {
    if (!QObject::parent()) {
        moveToApplicationThread(this);
    }
}

ZnPluginBaseObject::ZnPluginBaseObject(const ZnPluginBaseObject& other)
    : ZnPluginBaseObject(other.parent()) {}

ZnPluginBaseObject::~ZnPluginBaseObject() = default;

QVariant ZnPluginBaseObject::getPluginObjectPropety(const QString& key) const {
    const std::lock_guard<std::mutex> lock(properties().mutex);
    return properties().byClass.value(metaObject()->className()).value(key);
}

void ZnPluginBaseObject::setPluginWidgetPropety(const QString& key, const QVariant& value) {
    const std::lock_guard<std::mutex> lock(properties().mutex);
    properties().byClass[metaObject()->className()].insert(key, value);
}

void ZnPluginBaseObject::initialize() {}

void ZnPluginBaseObject::initialized() {}
