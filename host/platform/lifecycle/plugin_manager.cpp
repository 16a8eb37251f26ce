#include "plugin_manager.h"

#include <QFileInfo>
#include <QJsonObject>
#include <QMetaType>
#include <QPluginLoader>
#include <QVariant>
#include <QVersionNumber>
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

/// The oldest plug-in interface whose plug-ins still run here: the version that a plug-in was
/// built against is "CompatVersion" in its metadata.
QVersionNumber oldestInterface() {
    return QVersionNumber(2, 0, 0);
}

bool refuse(const QString& file, const QString& why, QString* error) {
    return logRefusal(lcPluginHost(), file, why, error);
}

/// Why the metadata of a library rules it out, empty when it does not.
QString whyUnfit(const QJsonObject& metaData) {
    if (metaData.isEmpty()) {
        return QStringLiteral("not a plug-in");
    }
    const QString iid = metaData.value(QStringLiteral("IID")).toString();
    if (iid != kPluginIid) {
        return QStringLiteral("a plug-in of the interface \"%1\", not \"%2\"").arg(iid, kPluginIid);
    }
    const QString compatVersion = metaData.value(QStringLiteral("MetaData"))
                                      .toObject()
                                      .value(QStringLiteral("CompatVersion"))
                                      .toString();
    const QVersionNumber builtFor = QVersionNumber::fromString(compatVersion);
    if (builtFor.isNull()) {
        return QStringLiteral("its metadata has no \"CompatVersion\"");
    }
    if (builtFor < oldestInterface()) {
        return QStringLiteral(
                   "built for version %1 of the plug-in interface, at least %2 is needed")
            .arg(compatVersion, oldestInterface().toString());
    }
    return {};
}

/// A class of a plug-in's own, as opposed to a type of Qt's.
bool isClassOfPlugin(int metaId) {
    return metaId >= QMetaType::User && QMetaType::isRegistered(metaId);
}

}  // namespace

PluginManager::PluginManager() = default;

PluginManager::~PluginManager() {
    shutdown();
}

QString PluginManager::unfitness(const QString& file) {
    return whyUnfit(QPluginLoader(QFileInfo(file).absoluteFilePath()).metaData());
}

bool PluginManager::load(const QString& file, QString* error) {
    const QFileInfo info(file);
    if (!info.isFile()) {
        return refuse(file, QStringLiteral("no such file"), error);
    }
    auto loader = std::make_unique<QPluginLoader>(info.absoluteFilePath());
    const QString unfit = whyUnfit(loader->metaData());
    if (!unfit.isEmpty()) {
        return refuse(file, unfit, error);
    }
    // A missing function is an error here and not the end of the process at its first call.
    loader->setLoadHints(QLibrary::ResolveAllSymbolsHint | QLibrary::PreventUnloadHint);
    auto* const plugin = qobject_cast<IPlugin*>(loader->instance());
    if (!plugin) {
        return refuse(file,
                      loader->isLoaded() ? QStringLiteral("its root object is not an IPlugin")
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
    qCInfo(lcPluginHost).noquote() << file << "loaded";
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
    return make(owner->file, *description, error);
}

QStringList PluginManager::makePluginObjects(const QString& file, QStringList* errors) {
    const auto library = std::find_if(m_libraries.cbegin(), m_libraries.cend(),
                                      [&file](const Library& it) { return it.file == file; });
    QList<QObject*> descriptors;
    if (library != m_libraries.cend()) {
        descriptors = HandedInObjects::of(library->plugin);
    }
    QStringList made;
    bool hasObject = false;
    QString error;
    for (const QObject* const descriptor : qAsConst(descriptors)) {
        if (!descriptor->property(kMetaIdProperty).isValid()) {
            continue;
        }
        hasObject = true;
        if (make(file, *descriptor, &error)) {
            made.append(descriptor->objectName());
        } else {
            errors->append(error);
        }
    }
    if (!hasObject) {
        refuse(file, QStringLiteral("no object with a \"metaId\" was handed in"), &error);
        errors->append(error);
    }
    return made;
}

ZnPluginBaseObject* PluginManager::make(const QString& file, const QObject& descriptor,
                                        QString* error) {
    const QString name = descriptor.objectName();
    bool isNumber = false;
    const int metaId = descriptor.property(kMetaIdProperty).toInt(&isNumber);
    if (!isNumber || !isClassOfPlugin(metaId)) {
        refuse(file, QStringLiteral("\"%1\" has no metaId of a registered class").arg(name), error);
        return nullptr;
    }
    auto* const object = static_cast<ZnPluginBaseObject*>(QMetaType::create(metaId));
    if (!object) {
        refuse(file, QStringLiteral("\"%1\" cannot be created").arg(name), error);
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
