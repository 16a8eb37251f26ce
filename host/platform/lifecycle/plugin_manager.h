#pragma once

#include <QList>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <memory>
#include <vector>

#include "platform_export.h"

class IPlugin;
class QObject;
class QPluginLoader;
class ZnPluginBaseObject;

/// Loads plug-in libraries, creates their objects and takes them down again. On the main thread.
/// The text of a failure names the library's file; it is logged as a warning too.
class PLATFORM_API PluginManager {
public:
    PluginManager();
    /// Shuts down unless that was done before. The libraries stay loaded, since their types and
    /// static objects are in use until the process ends.
    ~PluginManager();
    PluginManager(const PluginManager&) = delete;
    PluginManager& operator=(const PluginManager&) = delete;

    /// Why a library's metadata rules it out, empty when it does not: the metadata is missing,
    /// names another interface id than "ZNAppPlugin", or its "CompatVersion" is missing or older
    /// than this platform supports. Loads nothing.
    static QString unfitness(const QString& file);
    /// Loads a library and calls its initialize(). Refuses, without loading it, a library that
    /// unfitness() rules out, and one that is loaded already.
    bool load(const QString& file, QString* error);
    /// The handed-in object of that name, null when no loaded plug-in has one.
    QObject* descriptor(const QString& name) const;
    /// Creates the object of the class whose meta-type id is the descriptor's property "metaId" and
    /// calls its initialize(). The class is the plug-in's, and its first base must be
    /// ZnPluginBaseObject, which cannot be checked. Null with a text on failure.
    ZnPluginBaseObject* makePluginObject(const QString& name, QString* error);
    /// The same for each object with a "metaId" that the library handed in; `file` as it was given
    /// to load(). Returns the names of the created ones; `errors` gets a text for each that could
    /// not be created, or one when the library handed in no such object.
    QStringList makePluginObjects(const QString& file, QStringList* errors);
    /// Calls extensionsInitialized() of every plug-in in the order of loading, then
    /// delayedInitialize() of every plug-in.
    void extensionsInitialized();
    /// Calls initialized() of every plug-in object created since the last call.
    void objectsInitialized();
    /// Calls aboutToShutdown() in reverse order of loading, then deletes the plug-in objects and
    /// the handed-in objects, the newest first.
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
    ZnPluginBaseObject* make(const QString& file, const QObject& descriptor, QString* error);

    std::vector<Library> m_libraries;
    std::vector<PluginObject> m_objects;
};
