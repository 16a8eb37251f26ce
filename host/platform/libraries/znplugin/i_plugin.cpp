#include "znplugin/i_plugin.h"

#include <QHash>
#include <QPointer>

#include "handed_in_objects.h"
#include "message_log.h"
#include "never_destroyed.h"

namespace {

using Handed = QHash<const IPlugin*, QList<QPointer<QObject>>>;

// Main thread only, as all calls of a plug-in are.
Handed& handed() {
    return neverDestroyed([] { return new Handed; });
}

}  // namespace

void HandedInObjects::add(const IPlugin* plugin, QObject* object) {
    handed()[plugin].append(object);
}

QList<QObject*> HandedInObjects::of(const IPlugin* plugin) {
    QList<QObject*> live;
    for (const QPointer<QObject>& object : handed().value(plugin)) {
        if (object) {
            live.append(object);
        }
    }
    return live;
}

void HandedInObjects::deleteAll(const IPlugin* plugin) {
    QList<QPointer<QObject>> objects = handed().take(plugin);
    while (!objects.isEmpty()) {
        delete objects.takeLast();
    }
}

IPlugin::IPlugin() = default;

IPlugin::~IPlugin() {
    HandedInObjects::deleteAll(this);
}

bool IPlugin::delayedInitialize() {
    return false;
}

IPlugin::ShutdownFlag IPlugin::aboutToShutdown() {
    return SynchronousShutdown;
}

QObject* IPlugin::remoteCommand(const QStringList&, const QString&, const QStringList&) {
    return nullptr;
}

QList<QObject*> IPlugin::createTestObjects() const {
    return {};
}

void IPlugin::addAutoReleasedObject(QObject* object) {
    if (!object) {
        qCWarning(lcPluginHost) << metaObject()->className() << "adds a null object";
        return;
    }
    HandedInObjects::add(this, object);
}
