#pragma once

#include <QList>
#include <QPointer>
#include <QString>
#include <memory>
#include <vector>

#include "platform_export.h"

class IPlugin;
class QObject;
class QPluginLoader;
class ZnPluginBaseObject;

/// Loads plug-in libraries, makes their objects and takes them down again. On the main thread. A
/// text handed out on failure names the library's file.
class PLATFORM_API PluginManager {
public:
    PluginManager();
    /// Shuts down when that was not done yet. The libraries stay loaded, as types and static
    /// objects of theirs are in use to the end of the process.
    ~PluginManager();
    PluginManager(const PluginManager&) = delete;
    PluginManager& operator=(const PluginManager&) = delete;

    /// Loads a library and calls its initialize(). A library that is loaded already is refused.
    bool load(const QString& file, QString* error);
    /// The object of that name which a plug-in handed in, null when there is none.
    QObject* descriptor(const QString& name) const;
    /// Makes an object from the descriptor's property "metaId", the id of a class whose first base
    /// is ZnPluginBaseObject, and calls its initialize(). Null with a text on failure.
    ZnPluginBaseObject* makePluginObject(const QString& name, QString* error);
    /// Calls extensionsInitialized() of every plug-in in the order of loading, then
    /// delayedInitialize() of every plug-in.
    void extensionsInitialized();
    /// Calls initialized() of every plug-in object made since the last call.
    void objectsInitialized();
    /// Calls aboutToShutdown() in reverse order of loading, then deletes plug-in objects and
    /// handed-in objects, the last one first.
    void shutdown();

private:
    struct Library {
        QString file;
        std::unique_ptr<QPluginLoader> loader;
        QPointer<IPlugin> plugin;
    };
    struct PluginObject {
        QPointer<ZnPluginBaseObject> object;
        int metaId;
        bool initialized = false;
    };

    const Library* ownerOf(const QString& name, QObject** descriptor) const;

    std::vector<Library> m_libraries;
    std::vector<PluginObject> m_objects;
};
