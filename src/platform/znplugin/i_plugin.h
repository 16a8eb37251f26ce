#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include "platform_export.h"

/// The root object of a plug-in library, as the plug-in manager uses it. Main thread only.
class PLATFORM_API IPlugin : public QObject {
    Q_OBJECT

public:
    enum ShutdownFlag { SynchronousShutdown, AsynchronousShutdown };

    IPlugin();
    ~IPlugin() override;

    /// Called after the library was loaded; false with a text in `errorString` refuses to start.
    /// `dllName` is the name of the library's file.
    virtual bool initialize(const QStringList& arguments, QString* errorString,
                            const QString& dllName) = 0;
    /// Called when every plug-in of the start-up is initialised.
    virtual void extensionsInitialized() = 0;
    /// Called later, when the host is idle; true asks for a pause before the next plug-in.
    virtual bool delayedInitialize();
    /// Called before the plug-ins are deleted, in reverse order of loading.
    virtual ShutdownFlag aboutToShutdown();
    virtual QObject* remoteCommand(const QStringList& options, const QString& workingDirectory,
                                   const QStringList& arguments);
    virtual QList<QObject*> createTestObjects() const;

    /// Passes an object to the plug-in manager, which deletes it at shut-down.
    void addAutoReleasedObject(QObject* object);
};

Q_DECLARE_INTERFACE(IPlugin, "com.ondrelsoft.com.IPlugin")
