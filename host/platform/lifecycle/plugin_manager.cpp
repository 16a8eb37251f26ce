#include "plugin_manager.h"

#include <QFileInfo>
#include <QJsonObject>
#include <QMetaType>
#include <QPluginLoader>
#include <QVariant>
#include <algorithm>
#include <utility>

#include "handed_in_objects.h"
#include "log_refusal.h"
#include "message_log.h"
#include "znplugin/i_plugin.h"
#include "znwidget/zn_plugin_base_object.h"

namespace {

inline const QString kPluginIid = QStringLiteral("ZNAppPlugin");
constexpr const char* kMetaIdProperty = "metaId";

bool refuse(const QString& file, const QString& why, QString* error) {
    return logRefusal(lcPluginHost(), file, why, error);
}

}  // namespace

PluginManager::PluginManager() = default;

PluginManager::~PluginManager() {
    shutdown();
}

bool PluginManager::load(const QString& file, QString* error) {
    const QFileInfo info(file);
    if (!info.isFile()) {
        return refuse(file, QStringLiteral("no such file"), error);
    }
    auto loader = std::make_unique<QPluginLoader>(info.absoluteFilePath());
    const QJsonObject metaData = loader->metaData();
    if (metaData.isEmpty()) {
        return refuse(file, QStringLiteral("not a plug-in"), error);
    }
    const QString iid = metaData.value(QStringLiteral("IID")).toString();
    if (iid != kPluginIid) {
        return refuse(file, QStringLiteral("a plug-in of the kind \"%1\"").arg(iid), error);
    }
    auto* const plugin = qobject_cast<IPlugin*>(loader->instance());
    if (!plugin) {
        return refuse(file,
                      loader->isLoaded() ? QStringLiteral("its root object is no IPlugin")
                                         : loader->errorString(),
                      error);
    }
    if (std::any_of(m_libraries.cbegin(), m_libraries.cend(),
                    [plugin](const Library& it) { return it.plugin == plugin; })) {
        return refuse(file, QStringLiteral("loaded already"), error);
    }
    QString why;
    if (!plugin->initialize({}, &why, info.completeBaseName())) {
        HandedInObjects::deleteAll(plugin);
        return refuse(file, QStringLiteral("refuses to start: %1").arg(why), error);
    }
    m_libraries.push_back({file, std::move(loader), plugin});
    return true;
}

const PluginManager::Library* PluginManager::ownerOf(const QString& name,
                                                     QObject** descriptor) const {
    for (const Library& library : m_libraries) {
        const QList<QObject*> objects = HandedInObjects::of(library.plugin);
        for (QObject* const object : objects) {
            if (object->objectName() == name) {
                *descriptor = object;
                return &library;
            }
        }
    }
    return nullptr;
}

QObject* PluginManager::descriptor(const QString& name) const {
    QObject* found = nullptr;
    ownerOf(name, &found);
    return found;
}

ZnPluginBaseObject* PluginManager::makePluginObject(const QString& name, QString* error) {
    QObject* description = nullptr;
    const Library* const owner = ownerOf(name, &description);
    if (!owner) {
        refuse(name, QStringLiteral("no loaded plug-in has an object of this name"), error);
        return nullptr;
    }
    bool isNumber = false;
    const int metaId = description->property(kMetaIdProperty).toInt(&isNumber);
    if (!isNumber || !QMetaType::isRegistered(metaId)) {
        refuse(owner->file, QStringLiteral("\"%1\" has no metaId of a registered type").arg(name),
               error);
        return nullptr;
    }
    auto* const object = static_cast<ZnPluginBaseObject*>(QMetaType::create(metaId));
    if (!object) {
        refuse(owner->file, QStringLiteral("\"%1\" cannot be made").arg(name), error);
        return nullptr;
    }
    m_objects.push_back({object, metaId});
    object->initialize();
    return object;
}

void PluginManager::extensionsInitialized() {
    for (const Library& library : m_libraries) {
        library.plugin->extensionsInitialized();
    }
    for (const Library& library : m_libraries) {
        library.plugin->delayedInitialize();
    }
}

void PluginManager::objectsInitialized() {
    for (PluginObject& made : m_objects) {
        if (made.object && !std::exchange(made.initialized, true)) {
            made.object->initialized();
        }
    }
}

void PluginManager::shutdown() {
    for (auto it = m_libraries.rbegin(); it != m_libraries.rend(); ++it) {
        it->plugin->aboutToShutdown();
    }
    for (; !m_objects.empty(); m_objects.pop_back()) {
        if (ZnPluginBaseObject* const object = m_objects.back().object) {
            QMetaType::destroy(m_objects.back().metaId, object);
        }
    }
    for (; !m_libraries.empty(); m_libraries.pop_back()) {
        HandedInObjects::deleteAll(m_libraries.back().plugin);
    }
}
